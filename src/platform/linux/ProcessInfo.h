#pragma once

#include <QString>

namespace quendra {

// Whether the process runs: a zombie still has a /proc entry, yet has terminated.
bool processAlive(qint64 processId);
// The file name of the program the process runs ("gedit"), empty when unknown.
QString executableName(qint64 processId);

} // namespace quendra

#pragma once

#include <QString>

#include <expected>

namespace quendra {

// Why a note recording could not start or lost a source.
enum class NoteCaptureError { microphoneUnavailable, systemAudioUnavailable, diskFull };

QString message(NoteCaptureError error);

// A recording needs at least 1 GB free on the notes volume before it starts.
std::expected<void, NoteCaptureError> checkFreeSpace(qint64 freeBytes);

} // namespace quendra

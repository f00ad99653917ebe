#pragma once

#include <QString>

namespace quendra {

// $XDG_DATA_HOME, or ~/.local/share when it is unset or not absolute.
QString dataHome();
// $XDG_CONFIG_HOME, or ~/.config when it is unset or not absolute.
QString configHome();
// The application's own data folder: <data home>/Quendra.
QString applicationDataDirectory();

// Creates `path` and any missing parents, each with permissions 0700, and
// makes sure the folder itself is 0700.
bool makePrivateDirectory(const QString& path, QString* error = nullptr);

} // namespace quendra

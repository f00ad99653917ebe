#pragma once

#include <QString>

#include <functional>
#include <optional>

namespace quendra {

// Bytes an unprivileged user may still write on the volume holding `path`
// (reserved blocks do not count); none when the volume cannot be asked.
std::optional<qint64> availableBytes(const QString& path);

using FreeSpaceProbe = std::function<std::optional<qint64>(const QString& path)>;

} // namespace quendra

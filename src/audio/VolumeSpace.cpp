#include "audio/VolumeSpace.h"

#include <QFile>

#include <sys/statvfs.h>

namespace quendra {

std::optional<qint64> availableBytes(const QString& path) {
    struct statvfs info {};
    if (::statvfs(QFile::encodeName(path).constData(), &info) != 0)
        return std::nullopt;
    return qint64(info.f_bavail) * qint64(info.f_frsize);
}

} // namespace quendra

#include "AppPaths.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {
QString xdgHome(const char* variable, const QString& fallback) {
    const QString value = qEnvironmentVariable(variable);
    if (!value.isEmpty() && QDir::isAbsolutePath(value))
        return QDir::cleanPath(value);
    return QDir::homePath() + fallback;
}
} // namespace

QString dataHome() {
    return xdgHome("XDG_DATA_HOME", u"/.local/share"_s);
}

QString configHome() {
    return xdgHome("XDG_CONFIG_HOME", u"/.config"_s);
}

QString applicationDataDirectory() {
    return dataHome() + u"/Quendra"_s;
}

bool makePrivateDirectory(const QString& path, QString* error) {
    const QString clean = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    QStringList missing;
    for (QString p = clean; !QFileInfo(p).isDir(); p = QFileInfo(p).absolutePath()) {
        if (QFileInfo(p).absolutePath() == p)
            break;
        missing.prepend(p);
    }
    for (const QString& p : std::as_const(missing)) {
        const QByteArray native = QFile::encodeName(p);
        if (::mkdir(native.constData(), 0700) != 0 && errno != EEXIST) {
            if (error)
                *error = QString::fromLocal8Bit(std::strerror(errno));
            return false;
        }
    }
    if (!QFileInfo(clean).isDir()) {
        if (error)
            *error = u"Not a folder"_s;
        return false;
    }
    ::chmod(QFile::encodeName(clean).constData(), 0700);
    return true;
}

} // namespace quendra

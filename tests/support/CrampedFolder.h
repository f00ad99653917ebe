#pragma once

// A folder whose path is so long that no file made in it has a path the
// system takes: a stand-in for a full or read-only temporary folder that
// needs neither root nor a mount.

#include <QDir>
#include <QString>

#include <algorithm>
#include <climits>

// Below `base`; names of twenty characters or more no longer fit in it.
inline QString crampedFolder(const QString& base) {
    constexpr qsizetype longest = PATH_MAX - 20;
    QString path = QDir(base).absolutePath();
    while (path.size() < longest) {
        path += u'/' + QString(std::min<qsizetype>(200, longest - path.size()), u'd');
        QDir().mkdir(path);
    }
    return path;
}

#include "ProcessInfo.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

bool processAlive(qint64 processId) {
    QFile status(u"/proc/%1/stat"_s.arg(processId));
    if (!status.open(QIODevice::ReadOnly))
        return false;
    const QByteArray line = status.readAll();
    const qsizetype close = line.lastIndexOf(')');
    return close < 0 || line.mid(close + 2, 1) != "Z";
}

QString executableName(qint64 processId) {
    return QFileInfo(QFile::symLinkTarget(u"/proc/%1/exe"_s.arg(processId))).fileName();
}

} // namespace quendra

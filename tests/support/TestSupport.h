#pragma once

// Readable failure messages for Qt values in GoogleTest.

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <ostream>

QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}
inline void PrintTo(const QByteArray& b, std::ostream* os) {
    *os << '"' << b.toStdString() << '"';
}
inline void PrintTo(const QStringList& l, std::ostream* os) {
    *os << '[' << l.join(QStringLiteral(", ")).toStdString() << ']';
}
inline void PrintTo(const QUuid& u, std::ostream* os) {
    *os << u.toString().toStdString();
}
QT_END_NAMESPACE

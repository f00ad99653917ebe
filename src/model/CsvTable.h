#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <expected>

namespace quendra {

// Comma-separated values as RFC 4180 has them: a cell holding a comma, a
// quote or a line break is in double quotes, a quote in it doubled; rows end
// with CRLF or LF. Blank lines between rows are skipped.
namespace CsvTable {

struct Row {
    qsizetype line = 0; // where the row begins, from 1
    QStringList cells;
};

// Where and why the text is not CSV, as the end of a sentence ("line 4 has ...").
struct ParseError {
    QString reason;
};

std::expected<QList<Row>, ParseError> parse(const QString& text);
// UTF-8, rows ended by CRLF.
QByteArray encode(const QList<QStringList>& rows);

} // namespace CsvTable

} // namespace quendra

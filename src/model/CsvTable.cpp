#include "CsvTable.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace quendra::CsvTable {

std::expected<QList<Row>, ParseError> parse(const QString& text) {
    QList<Row> rows;
    const qsizetype n = text.size();
    qsizetype i = 0;
    qsizetype line = 1;
    auto atRowEnd = [&] {
        return i == n || text[i] == u'\n' ||
               (text[i] == u'\r' && i + 1 < n && text[i + 1] == u'\n');
    };
    while (i < n) {
        Row row{line, {}};
        bool quotedCell = false;
        for (;;) {
            QString cell;
            quotedCell = i < n && text[i] == u'"';
            if (quotedCell) {
                const qsizetype opened = line;
                for (++i;; ++i) {
                    if (i == n)
                        return std::unexpected(ParseError{
                            u"the quoted cell that begins on line %1 has no closing quote"_s.arg(
                                opened)});
                    if (text[i] == u'"') {
                        if (i + 1 < n && text[i + 1] == u'"') {
                            cell += u'"';
                            ++i;
                            continue;
                        }
                        ++i;
                        break;
                    }
                    if (text[i] == u'\n')
                        ++line;
                    cell += text[i];
                }
                if (!atRowEnd() && text[i] != u',')
                    return std::unexpected(ParseError{
                        u"line %1 has text after the closing quote of a cell"_s.arg(line)});
            } else {
                const qsizetype start = i;
                while (!atRowEnd() && text[i] != u',') {
                    if (text[i] == u'"')
                        return std::unexpected(ParseError{
                            u"line %1 has a quote inside a cell that does not begin with one"_s.arg(
                                line)});
                    ++i;
                }
                cell = text.mid(start, i - start);
            }
            row.cells << cell;
            if (i < n && text[i] == u',') {
                ++i;
                continue;
            }
            break;
        }
        // The row ends here: at the end of the text or at its line break.
        if (i < n) {
            i += text[i] == u'\r' ? 2 : 1;
            ++line;
        }
        const bool blank = row.cells.size() == 1 && row.cells[0].isEmpty() && !quotedCell;
        if (!blank)
            rows.append(std::move(row));
    }
    return rows;
}

namespace {

QString quoted(const QString& cell) {
    static const QString special = u",\"\r\n"_s;
    const bool needsQuotes =
        std::any_of(cell.begin(), cell.end(), [](QChar c) { return special.contains(c); }) ||
        cell.startsWith(u' ') || cell.endsWith(u' ');
    if (!needsQuotes)
        return cell;
    return u'"' + QString(cell).replace(u"\""_s, u"\"\""_s) + u'"';
}

} // namespace

QByteArray encode(const QList<QStringList>& rows) {
    QString text;
    for (const QStringList& row : rows) {
        for (qsizetype c = 0; c < row.size(); ++c) {
            if (c > 0)
                text += u',';
            text += quoted(row[c]);
        }
        text += u"\r\n"_s;
    }
    return text.toUtf8();
}

} // namespace quendra::CsvTable

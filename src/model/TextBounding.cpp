#include "TextBounding.h"

#include <QTextBoundaryFinder>

namespace quendra {

qsizetype characterCount(const QString& text) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

QString prefixCharacters(const QString& text, qsizetype maxCharacters) {
    if (text.size() <= maxCharacters)
        return text; // a cluster is at least one code unit
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    for (qsizetype i = 0; i < maxCharacters; ++i) {
        const qsizetype next = finder.toNextBoundary();
        if (next == -1)
            break;
        end = next;
    }
    return text.left(end);
}

QString boundText(const QString& text, qsizetype maxCharacters) {
    return prefixCharacters(text.simplified(), maxCharacters).trimmed();
}

} // namespace quendra

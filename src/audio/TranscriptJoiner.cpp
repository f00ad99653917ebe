#include "audio/TranscriptJoiner.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

QStringList words(const QString& text) {
    static const QRegularExpression whitespace(u"\\s+"_s);
    return text.split(whitespace, Qt::SkipEmptyParts);
}

QString normalised(const QString& word) {
    qsizetype begin = 0;
    qsizetype end = word.size();
    while (begin < end && word[begin].isPunct())
        ++begin;
    while (end > begin && word[end - 1].isPunct())
        --end;
    return word.mid(begin, end - begin).toLower();
}

} // namespace

QString TranscriptJoiner::append(const QString& existing, const QString& next) {
    if (existing.isEmpty())
        return next;
    if (next.isEmpty())
        return existing;
    const QStringList before = words(existing);
    const QStringList after = words(next);
    const qsizetype limit = std::min({before.size(), after.size(), longestOverlapWords});
    // One shared word is never an overlap: a word said twice at the seam stays.
    if (limit < 2)
        return existing + u' ' + next;
    for (qsizetype n = limit; n >= 2; --n) {
        bool matches = true;
        bool anyContent = false;
        for (qsizetype i = 0; i < n && matches; ++i) {
            const QString tail = normalised(before[before.size() - n + i]);
            matches = tail == normalised(after[i]);
            anyContent = anyContent || !tail.isEmpty();
        }
        if (!matches || !anyContent)
            continue;
        if (n == after.size())
            return existing;
        return existing + u' ' + after.mid(n).join(u' ');
    }
    return existing + u' ' + next;
}

QString TranscriptJoiner::combine(const QStringList& texts) {
    QString joined;
    for (const QString& text : texts)
        joined = append(joined, text);
    return joined;
}

} // namespace quendra

#include "notes/SectionTranscriber.h"

#include <QRegularExpression>

namespace quendra {

namespace {

QStringList tokens(const QString& text) {
    static const QRegularExpression blanks(QStringLiteral("\\s+"));
    return text.split(blanks, Qt::SkipEmptyParts);
}

void spread(QList<TimedWord>& out, const QStringList& words, qint64 startMs, qint64 endMs) {
    if (words.isEmpty())
        return;
    const qint64 span = std::max<qint64>(endMs - startMs, 0);
    const auto count = qint64(words.size());
    for (qsizetype i = 0; i < words.size(); ++i)
        out.append({words[i], startMs + span * i / count, startMs + span * (i + 1) / count, 0});
}

} // namespace

QList<TimedWord> wordsFromSegments(const QList<TranscriptionSegment>& segments, const QString& text,
                                   qint64 durationMs) {
    QList<TimedWord> out;
    for (const TranscriptionSegment& segment : segments)
        spread(out, tokens(segment.text), segment.startMs,
               std::max(segment.endMs, segment.startMs));
    if (out.isEmpty())
        spread(out, tokens(text), 0, durationMs);
    return out;
}

} // namespace quendra

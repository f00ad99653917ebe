#pragma once

#include <QString>
#include <QStringList>

namespace quendra {

// Glues the texts of consecutive audio parts, dropping the words that both
// parts heard at their seam. Stateless.
class TranscriptJoiner {
public:
    static constexpr qsizetype longestOverlapWords = 30;

    static QString append(const QString& existing, const QString& next);
    // The texts in order, each appended to the joined text before it.
    static QString combine(const QStringList& texts);
};

} // namespace quendra

#include "TranscriptAssembler.h"

#include "SpeakerLabeler.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <ranges>
#include <vector>

namespace quendra {

namespace {

constexpr qint64 turnPauseMs = 1500;
constexpr qsizetype sentenceTurnWords = 70;
constexpr qsizetype longestTurnWords = 160;
// Bounds the alignment at a seam when a transcriber's times are far off.
constexpr qsizetype longestSeamWords = 256;

qint64 middleMs(const TimedWord& word) {
    return word.startMs + (word.endMs - word.startMs) / 2;
}

// Case and the punctuation around a word differ between two transcriptions
// of the same audio.
QString matchKey(const QString& text) {
    qsizetype first = 0;
    qsizetype last = text.size();
    while (first < last && !text.at(first).isLetterOrNumber())
        ++first;
    while (last > first && !text.at(last - 1).isLetterOrNumber())
        --last;
    return text.mid(first, last - first).toCaseFolded();
}

struct Pair {
    qsizetype earlier = 0;
    qsizetype later = 0;
};

// The longest in-order pairing of equal words whose times agree within the
// tolerance (a longest common subsequence, so one stray match cannot skew it);
// among pairings as long, the one whose times agree best, so that a word said
// twice in a row is paired with its own copy.
std::vector<Pair> align(const QList<TimedWord>& earlier, const QList<TimedWord>& later) {
    const qsizetype rows = earlier.size();
    const qsizetype columns = later.size();
    QStringList earlierKeys;
    QStringList laterKeys;
    for (const auto& word : earlier)
        earlierKeys.append(matchKey(word.text));
    for (const auto& word : later)
        laterKeys.append(matchKey(word.text));
    const auto distanceMs = [&](qsizetype i, qsizetype j) {
        return std::abs(middleMs(earlier[i]) - middleMs(later[j]));
    };
    const auto matches = [&](qsizetype i, qsizetype j) {
        return !earlierKeys[i].isEmpty() && earlierKeys[i] == laterKeys[j] &&
               distanceMs(i, j) <= TranscriptAssembler::matchToleranceMs;
    };

    // best(i, j): the best pairing of earlier[i..] with later[j..].
    struct Score {
        int pairs = 0;
        qint64 distanceMs = 0;
        bool operator<(const Score& other) const {
            return pairs != other.pairs ? pairs < other.pairs : distanceMs > other.distanceMs;
        }
    };
    std::vector<Score> best(static_cast<std::size_t>((rows + 1) * (columns + 1)));
    const auto at = [&](qsizetype i, qsizetype j) -> Score& {
        return best[static_cast<std::size_t>(i * (columns + 1) + j)];
    };
    const auto paired = [&](qsizetype i, qsizetype j) {
        const Score rest = at(i + 1, j + 1);
        return Score{rest.pairs + 1, rest.distanceMs + distanceMs(i, j)};
    };
    for (qsizetype i = rows - 1; i >= 0; --i) {
        for (qsizetype j = columns - 1; j >= 0; --j) {
            Score score = std::max(at(i + 1, j), at(i, j + 1));
            if (matches(i, j))
                score = std::max(score, paired(i, j));
            at(i, j) = score;
        }
    }
    std::vector<Pair> pairs;
    qsizetype i = 0;
    qsizetype j = 0;
    while (i < rows && j < columns) {
        const Score here = at(i, j);
        if (matches(i, j) && !(paired(i, j) < here)) {
            pairs.push_back({i, j});
            ++i;
            ++j;
        } else if (!(at(i + 1, j) < here)) {
            ++i;
        } else {
            ++j;
        }
    }
    return pairs;
}

// Joins the next section's words to the words so far across the stretch
// [overlapStartMs, overlapEndMs] that both hold.
void joinAtSeam(QList<TimedWord>& joined, const QList<TimedWord>& next, qint64 overlapStartMs,
                qint64 overlapEndMs) {
    const qint64 tolerance = TranscriptAssembler::matchToleranceMs;
    const qint64 boundaryMs = overlapStartMs + (overlapEndMs - overlapStartMs) / 2;

    qsizetype earlierFrom = joined.size();
    while (earlierFrom > 0 && joined.size() - earlierFrom < longestSeamWords &&
           middleMs(joined[earlierFrom - 1]) >= overlapStartMs - tolerance)
        --earlierFrom;
    qsizetype laterTo = 0;
    while (laterTo < next.size() && laterTo < longestSeamWords &&
           middleMs(next[laterTo]) <= overlapEndMs + tolerance)
        ++laterTo;

    const QList<TimedWord> earlier = joined.mid(earlierFrom);
    const std::vector<Pair> pairs = align(earlier, next.first(laterTo));
    joined.resize(earlierFrom);

    // Words heard alike by both sections are kept once, from the section that
    // holds them farther from its edge; every other word of the stretch is
    // kept by the section whose half of the stretch it lies in. A word cut by
    // either edge lies in the other section's half, whose whole copy is kept.
    qsizetype i = 0;
    qsizetype j = 0;
    const auto keepUnpaired = [&](qsizetype earlierEnd, qsizetype laterEnd) {
        for (; i < earlierEnd; ++i) {
            if (middleMs(earlier[i]) < boundaryMs)
                joined.append(earlier[i]);
        }
        for (; j < laterEnd; ++j) {
            if (middleMs(next[j]) >= boundaryMs)
                joined.append(next[j]);
        }
    };
    for (const Pair& pair : pairs) {
        keepUnpaired(pair.earlier, pair.later);
        const TimedWord& mine = earlier[pair.earlier];
        const TimedWord& theirs = next[pair.later];
        joined.append((middleMs(mine) + middleMs(theirs)) / 2 < boundaryMs ? mine : theirs);
        ++i;
        ++j;
    }
    keepUnpaired(earlier.size(), laterTo);
    joined.append(next.mid(laterTo));
}

} // namespace

QList<TimedWord> TranscriptAssembler::words(const NoteSection& section) {
    QList<TimedWord> result = section.words;
    for (auto& word : result)
        word.section = section.index;
    return result;
}

QList<TimedWord> TranscriptAssembler::joinedWords(const QList<NoteSection>& sections) {
    QList<NoteSection> ordered = sections;
    std::ranges::stable_sort(ordered, {}, &NoteSection::index);

    QList<TimedWord> joined;
    std::optional<qint64> previousEndMs;
    for (const auto& section : ordered) {
        const QList<TimedWord> next = words(section);
        if (previousEndMs && *previousEndMs > section.startMs)
            joinAtSeam(joined, next, section.startMs, *previousEndMs);
        else
            joined.append(next);
        // A section's words never reach past its audio, so they also bound
        // its end when the recorded end is missing.
        qint64 endMs = section.endMs;
        for (const auto& word : next)
            endMs = std::max(endMs, word.endMs);
        previousEndMs = std::max(previousEndMs.value_or(endMs), endMs);
    }
    return joined;
}

QList<NoteTurn> TranscriptAssembler::turns(const QList<TimedWord>& words,
                                           const QStringList& speakers) {
    QList<NoteTurn> result;
    QStringList texts;
    NoteTurn current;
    const auto close = [&] {
        current.text = texts.join(u' ');
        result.append(current);
        texts.clear();
    };
    for (qsizetype i = 0; i < words.size(); ++i) {
        const TimedWord& word = words[i];
        const QString speaker = i < speakers.size() ? speakers[i] : SpeakerLabel::room.toString();
        if (!texts.isEmpty()) {
            const TimedWord& previous = words[i - 1];
            const qint64 gapMs = word.startMs - previous.endMs;
            const qsizetype n = texts.size();
            const bool sentenceEnded = previous.text.endsWith(u'.') ||
                                       previous.text.endsWith(u'?') || previous.text.endsWith(u'!');
            const bool joins = speaker == current.speaker && gapMs <= turnPauseMs &&
                               (n < sentenceTurnWords || (n < longestTurnWords && !sentenceEnded));
            if (joins) {
                texts.append(word.text);
                current.endMs = word.endMs;
                continue;
            }
            close();
        }
        current = NoteTurn{speaker, word.startMs, word.endMs, {}};
        texts.append(word.text);
    }
    if (!texts.isEmpty())
        close();
    return result;
}

} // namespace quendra

#pragma once

// Test aid: speech with known word times, and what a transcriber returns for
// each overlapping section of it.

#include "model/Note.h"

#include <QList>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <random>

namespace quendra::simulated {

inline const QStringList& vocabulary() {
    static const QStringList words = {
        QStringLiteral("we"),      QStringLiteral("should"),    QStringLiteral("ship"),
        QStringLiteral("the"),     QStringLiteral("release"),   QStringLiteral("on"),
        QStringLiteral("Friday."), QStringLiteral("and"),       QStringLiteral("then"),
        QStringLiteral("review"),  QStringLiteral("it,"),       QStringLiteral("together"),
        QStringLiteral("a"),       QStringLiteral("plan?"),     QStringLiteral("absolutely"),
        QStringLiteral("the"),     QStringLiteral("customers"), QStringLiteral("wait!"),
    };
    return words;
}

// Words from startMs to untilMs with random lengths and pauses; a word is
// placed across each time in `straddledMs`, the way speech runs over a cut.
inline QList<TimedWord> speak(qint64 startMs, qint64 untilMs, QList<qint64> straddledMs,
                              std::mt19937& random) {
    std::uniform_int_distribution<qint64> length(120, 450);
    std::uniform_int_distribution<qint64> pause(40, 300);
    std::uniform_int_distribution<int> longPause(0, 14);
    std::uniform_int_distribution<qsizetype> pick(0, vocabulary().size() - 1);
    std::ranges::sort(straddledMs);
    QList<TimedWord> words;
    qint64 t = startMs;
    const auto say = [&](qint64 wordStartMs, qint64 durationMs) {
        words.append(
            TimedWord{vocabulary()[pick(random)], wordStartMs, wordStartMs + durationMs, 0});
        t = wordStartMs + durationMs;
    };
    for (qsizetype k = 0; k <= straddledMs.size(); ++k) {
        const qint64 straddledLengthMs = length(random);
        const qint64 limitMs =
            k < straddledMs.size() ? straddledMs[k] - straddledLengthMs / 2 - 40 : untilMs;
        while (true) {
            const qint64 durationMs = length(random);
            const qint64 wordStartMs = t + (longPause(random) == 0 ? 1'800 : pause(random));
            if (wordStartMs + durationMs > limitMs)
                break;
            say(wordStartMs, durationMs);
        }
        if (k < straddledMs.size())
            say(straddledMs[k] - straddledLengthMs / 2, straddledLengthMs);
    }
    return words;
}

// Each section gets the words it heard: whole words shifted by up to
// ±jitterMs, a word cut by the section's edge as its audible part only (the
// first letters of a word cut at the end, the last ones of a word cut at the
// start), with its times inside the section.
inline QList<NoteSection> transcribe(QList<NoteSection> sections, const QList<TimedWord>& spoken,
                                     std::mt19937& random, qint64 jitterMs = 150) {
    std::uniform_int_distribution<qint64> jitter(-jitterMs, jitterMs);
    for (auto& section : sections) {
        section.words.clear();
        for (const auto& word : spoken) {
            if (word.endMs <= section.startMs || word.startMs >= section.endMs)
                continue;
            const qint64 heardStartMs = std::max(word.startMs, section.startMs);
            const qint64 heardEndMs = std::min(word.endMs, section.endMs);
            TimedWord heard = word;
            heard.section = section.index;
            const double share =
                double(heardEndMs - heardStartMs) / double(word.endMs - word.startMs);
            const auto letters =
                std::max<qsizetype>(1, std::llround(share * double(word.text.size())));
            if (heardStartMs > word.startMs)
                heard.text = word.text.right(letters);
            else if (heardEndMs < word.endMs)
                heard.text = word.text.left(letters);
            const qint64 shiftMs = jitter(random);
            heard.startMs = std::clamp(heardStartMs + shiftMs, section.startMs, section.endMs);
            heard.endMs = std::clamp(heardEndMs + shiftMs, heard.startMs, section.endMs);
            section.words.append(heard);
        }
        section.done = true;
        section.closed = true;
    }
    return sections;
}

} // namespace quendra::simulated

#include "AppDataStore.h"

#include <QRegularExpression>

#include <algorithm>

// Snippet expansion. A trigger matches where the text says its words in
// order, as whole words, ignoring case and any punctuation between or around
// them ("My address," matches the trigger "my address"). Where matches
// overlap, the one covering more words wins (then the longer trigger text,
// then the earlier snippet); the replaced stretch runs from the first matched
// word's first character to the last one's last character, so punctuation
// around the trigger stays in place.

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

struct Word {
    qsizetype start;
    qsizetype end;
    QString folded;
};

QList<Word> wordsOf(const QString& text) {
    static const QRegularExpression word(u"[\\p{L}\\p{N}\\p{M}]+"_s,
                                         QRegularExpression::UseUnicodePropertiesOption);
    QList<Word> words;
    for (auto it = word.globalMatch(text); it.hasNext();) {
        const auto m = it.next();
        words.append({m.capturedStart(), m.capturedEnd(), m.captured().toCaseFolded()});
    }
    return words;
}

struct Match {
    qsizetype firstWord;
    qsizetype wordCount;
    qsizetype triggerLength;
    qsizetype snippet;
};

} // namespace

QString AppDataStore::expandSnippet(const QString& text) const {
    return expandSnippet(text, snippets());
}

QString AppDataStore::expandSnippet(const QString& text, const QList<VoiceSnippet>& matching) {
    const QList<Word> words = wordsOf(text);
    QList<Match> matches;
    for (qsizetype s = 0; s < matching.size(); ++s) {
        const QList<Word> trigger = wordsOf(matching[s].trigger);
        if (trigger.isEmpty() || trigger.size() > words.size())
            continue;
        for (qsizetype i = 0; i + trigger.size() <= words.size(); ++i) {
            const bool same =
                std::equal(trigger.begin(), trigger.end(), words.begin() + i,
                           [](const Word& a, const Word& b) { return a.folded == b.folded; });
            if (same)
                matches.append({i, trigger.size(), matching[s].trigger.size(), s});
        }
    }
    std::stable_sort(matches.begin(), matches.end(), [](const Match& a, const Match& b) {
        if (a.wordCount != b.wordCount)
            return a.wordCount > b.wordCount;
        if (a.triggerLength != b.triggerLength)
            return a.triggerLength > b.triggerLength;
        return a.snippet < b.snippet;
    });

    QList<bool> taken(words.size(), false);
    QList<Match> chosen;
    for (const Match& m : matches) {
        const auto begin = taken.begin() + m.firstWord;
        if (std::any_of(begin, begin + m.wordCount, [](bool t) { return t; }))
            continue;
        std::fill(begin, begin + m.wordCount, true);
        chosen.append(m);
    }
    // Replace from the end so earlier positions stay valid.
    std::sort(chosen.begin(), chosen.end(),
              [](const Match& a, const Match& b) { return a.firstWord > b.firstWord; });
    QString result = text;
    for (const Match& m : chosen) {
        const qsizetype start = words[m.firstWord].start;
        const qsizetype end = words[m.firstWord + m.wordCount - 1].end;
        result.replace(start, end - start, matching[m.snippet].expansion);
    }
    return result;
}

} // namespace quendra

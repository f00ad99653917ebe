#include "WordSuggestions.h"

#include "AppDataStore.h"

#include <QFile>
#include <QHash>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString CommonWords::defaultPath() {
    return u"/usr/share/dict/american-english"_s;
}

CommonWords CommonWords::load(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return CommonWords(QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts));
}

const CommonWords& CommonWords::standard() {
    static const CommonWords words = load(defaultPath());
    return words;
}

CommonWords::CommonWords(const QStringList& list) {
    words.reserve(list.size());
    for (const QString& word : list)
        if (const QString trimmed = word.trimmed(); !trimmed.isEmpty())
            words.insert(trimmed.toLower());
}

bool CommonWords::contains(const QString& word) const {
    const QString lower = word.toLower();
    if (words.contains(lower))
        return true;
    // The list holds few compounds: "Well-Known" is common when its parts are.
    if (!lower.contains(u'-'))
        return false;
    const QStringList parts = lower.split(u'-', Qt::SkipEmptyParts);
    return !parts.isEmpty() && std::all_of(parts.begin(), parts.end(), [&](const QString& part) {
        return words.contains(part);
    });
}

namespace {

constexpr qsizetype longestWord = 40;
constexpr int fewestDictations = 2;

bool isInnerMark(QChar c) {
    return c == u'\'' || c == u'\u2019' || c == u'-';
}

// The candidate words of a text: letters and digits, with apostrophes and
// hyphens inside a word, without a possessive "'s".
QStringList wordsOf(const QString& text) {
    static const QRegularExpression token(u"[\\p{L}\\p{N}\\p{M}'\u2019-]+"_s,
                                          QRegularExpression::UseUnicodePropertiesOption);
    QStringList words;
    for (auto it = token.globalMatch(text); it.hasNext();) {
        QString word = it.next().captured();
        auto trim = [&] {
            qsizetype start = 0, end = word.size();
            while (start < end && isInnerMark(word[start]))
                ++start;
            while (end > start && isInnerMark(word[end - 1]))
                --end;
            word = word.mid(start, end - start);
        };
        trim();
        if (word.size() > 2 && (word.endsWith(u"'s"_s, Qt::CaseInsensitive) ||
                                word.endsWith(u"\u2019s"_s, Qt::CaseInsensitive))) {
            word.chop(2);
            trim();
        }
        if (word.size() > 1 && word.size() <= longestWord)
            words << word;
    }
    return words;
}

// Names and terms: a capital letter anywhere ("Kubernetes", "iPhone", "GPU"),
// or letters with digits ("S3", "gpt4o"). Numbers alone are not words.
bool looksLikeTerm(const QString& word) {
    bool letter = false, digit = false, upper = false;
    for (const QChar c : word) {
        letter = letter || c.isLetter();
        digit = digit || c.isDigit();
        upper = upper || c.isUpper();
    }
    return letter && (upper || digit);
}

struct Tally {
    int dictations = 0;
    // How often each form was written, in the order first seen.
    QList<std::pair<QString, int>> forms;

    QString mostFrequentForm() const {
        auto best = forms.begin();
        for (auto it = forms.begin(); it != forms.end(); ++it)
            if (it->second > best->second)
                best = it;
        return best->first;
    }
};

} // namespace

QList<WordSuggestion> suggestWords(const QList<TranscriptEntry>& history,
                                   const QList<PersonalDictionaryEntry>& dictionary,
                                   const QStringList& dismissed, const CommonWords& common) {
    // One word in any case and with any marks ("KubeCtl", "kube-ctl"), as
    // dismissals count it.
    const auto same = &AppDataStore::normalisedSuggestionWord;
    QSet<QString> spelled;
    for (const auto& entry : dictionary)
        spelled.insert(same(entry.spelling));
    const QSet<QString> turnedDown(dismissed.begin(), dismissed.end());

    QHash<QString, Tally> tallies;
    QStringList order; // keys in the order first seen, so that ties stay stable
    for (const auto& entry : history) {
        QSet<QString> inThisEntry;
        for (const QString& word : wordsOf(entry.text)) {
            if (!looksLikeTerm(word))
                continue;
            const QString key = same(word);
            if (spelled.contains(key) || turnedDown.contains(key) || common.contains(word))
                continue;
            auto it = tallies.find(key);
            if (it == tallies.end()) {
                it = tallies.insert(key, {});
                order << key;
            }
            auto form = std::find_if(it->forms.begin(), it->forms.end(),
                                     [&](const auto& f) { return f.first == word; });
            if (form == it->forms.end())
                it->forms.append({word, 1});
            else
                ++form->second;
            if (!inThisEntry.contains(key)) {
                inThisEntry.insert(key);
                ++it->dictations;
            }
        }
    }

    QList<WordSuggestion> suggestions;
    for (const QString& key : order)
        if (const Tally& tally = tallies[key]; tally.dictations >= fewestDictations)
            suggestions.append({tally.mostFrequentForm(), tally.dictations});
    std::stable_sort(suggestions.begin(), suggestions.end(), [](const auto& a, const auto& b) {
        if (a.dictations != b.dictations)
            return a.dictations > b.dictations;
        return a.word.compare(b.word, Qt::CaseInsensitive) < 0;
    });
    if (suggestions.size() > suggestionLimit)
        suggestions.resize(suggestionLimit);
    return suggestions;
}

QList<WordSuggestion> suggestWords(const AppDataStore& store) {
    return suggestWords(store.history(), store.dictionaryEntries(),
                        store.dismissedWordSuggestions(), CommonWords::standard());
}

} // namespace quendra

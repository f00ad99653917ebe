#pragma once

#include "DictionaryRecords.h"
#include "TranscriptEntry.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

namespace quendra {

class AppDataStore;

// The words of everyday English, which the transcriber knows without help.
// Compared without regard to case, so a sentence's first word is common too.
class CommonWords {
public:
    // The Debian word list (package wamerican).
    static QString defaultPath();
    // One word a line; a list that cannot be read holds no word.
    static CommonWords load(const QString& path);
    // The default list, read once on first use. Any thread.
    static const CommonWords& standard();

    CommonWords() = default;
    explicit CommonWords(const QStringList& words);

    bool contains(const QString& word) const;
    bool isEmpty() const { return words.isEmpty(); }

private:
    QSet<QString> words; // lower case
};

// A word the user may want in their Words, and in how many dictations it was seen.
struct WordSuggestion {
    QString word;
    int dictations = 0;

    friend bool operator==(const WordSuggestion&, const WordSuggestion&) = default;
};

// The words of the history that look like names or terms (a capital letter
// anywhere, or letters with digits), seen in at least two dictations, that
// are neither common, nor spelled in the dictionary, nor dismissed. Words
// that differ only in case and marks are one, as normalisedSuggestionWord has
// it; each is shown in its most frequent form, most dictations first, at most
// `suggestionLimit`.
inline constexpr qsizetype suggestionLimit = 50;
QList<WordSuggestion> suggestWords(const QList<TranscriptEntry>& history,
                                   const QList<PersonalDictionaryEntry>& dictionary,
                                   const QStringList& dismissed, const CommonWords& common);
// The same over what the store holds, with the standard common words.
QList<WordSuggestion> suggestWords(const AppDataStore& store);

} // namespace quendra

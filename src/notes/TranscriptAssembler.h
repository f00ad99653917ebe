#pragma once

// Turns the words of a note's transcribed sections into one word list and
// then into readable paragraphs, one speaker each.

#include "model/Note.h"
#include "model/TranscriptionResult.h"

#include <QList>
#include <QStringList>

namespace quendra {

class TranscriptAssembler {
public:
    // How far apart in time the same word may be placed by the transcriptions
    // of two overlapping sections and still be recognised as one word.
    static constexpr qint64 matchToleranceMs = 500;

    // The section's words, each marked with the section's index.
    static QList<TimedWord> words(const NoteSection& section);
    // All sections' words in time order, each word of the repeated overlap
    // stretch between consecutive sections kept once.
    static QList<TimedWord> joinedWords(const QList<NoteSection>& sections);
    // Paragraphs: a speaker's turn breaks at a pause longer than 1.5 s, at a
    // sentence end once it holds 70 words, and in any case after 160 words.
    // Words beyond the end of `speakers` are labelled "room".
    static QList<NoteTurn> turns(const QList<TimedWord>& words, const QStringList& speakers);
};

} // namespace quendra

#pragma once

#include <QString>

namespace quendra {

// Why a note's processing stopped, with the sentence the user reads. The
// note's `message` keeps the same sentence.
struct NoteProcessingError {
    enum class Kind {
        missing,        // no such note
        stillRecording, // the recording has not stopped
        busy,           // this note is being processed already
        audioGone,      // its audio was deleted; nothing can be transcribed again
        transcription,  // a section could not be transcribed
        assembly,       // the turns could not be made or stored
        audio,          // the saved audio could not be read or exported
        summary,        // the summary could not be made
        noSummarizer,   // nothing is set up that can summarise or answer
        storage,        // the note's record could not be written
        cancelled,
    };
    Kind kind = Kind::transcription;
    QString message;
};

// The sentences a note is left with when a step fails; each says what is
// kept, since the audio always is.
struct NoteSentences {
    static inline const QString notFinished =
        QStringLiteral("This note could not be finished. Your recording is kept on this computer.");
    static inline const QString audioUnreadable = QStringLiteral(
        "The saved audio could not be read. Your transcript is kept on this computer.");
    static inline const QString summaryFailed =
        QStringLiteral("The summary needs another attempt. Your transcript and recording are "
                       "kept on this computer.");
    static inline const QString noSummarizer =
        QStringLiteral("To get a summary, sign in to Parlevo or connect your Groq account in "
                       "Settings.");
};

} // namespace quendra

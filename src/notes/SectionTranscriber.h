#pragma once

// The seam between note processing and whatever turns one section's audio
// into timed words: the hosted service's note transcription, or one of the
// dictation engines asked for word times.

#include "hosted/CancellationFlag.h"
#include "model/TranscriptionResult.h"

#include <QCoro/QCoroTask>
#include <QList>
#include <QString>

#include <expected>
#include <optional>

namespace quendra {

// One section's text and words; word times are from the section's start.
struct SectionTranscript {
    QString text;
    QList<TimedWord> words;
};

struct SectionTranscriptionError {
    QString message;
    bool cancelled = false;
};

using SectionTranscriptResult = std::expected<SectionTranscript, SectionTranscriptionError>;

class SectionTranscriber {
public:
    virtual ~SectionTranscriber() = default;
    // `language` is the note's code ("auto" lets the engine find it).
    virtual QCoro::Task<SectionTranscriptResult>
    transcribe(QString wavPath, qint64 durationMs, QString language, Cancellation cancel) = 0;
    // Why nothing can be transcribed this way now (no sign-in, no key, not
    // installed, a language it does not know), or none.
    virtual std::optional<QString> unavailable(const QString& language) const = 0;
    // How many sections may be sent at once.
    virtual int concurrency() const { return 1; }
    // Names the engine in progress lines and logs ("Parlevo", "Groq", ...).
    virtual QString name() const = 0;
};

// The words of `segments` (times from the section's start). An engine that
// tells only phrase times has each phrase's words spread evenly over it; one
// that tells none has the text spread over the whole section, which keeps the
// words in order for the speaker labels even though their times are guesses.
QList<TimedWord> wordsFromSegments(const QList<TranscriptionSegment>& segments, const QString& text,
                                   qint64 durationMs);

} // namespace quendra

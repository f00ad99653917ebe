#pragma once

#include "model/Note.h"
#include "notes/NoteProcessingError.h"
#include "notes/NoteSummarizer.h"
#include "notes/SectionTranscriber.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QObject>
#include <QUuid>

#include <expected>
#include <functional>
#include <memory>

namespace quendra {

class NotesStore;

// Turns a stopped note into a finished one: its sections transcribed with
// word times (while the recording goes on, too), the words assembled into
// labelled turns, the audio exported as "audio.m4a" beside the sections, and
// a summary. Every step's result is stored in the note as soon as it exists,
// and `processingStage` names the step under way, so processing stopped by a
// crash or a quit starts again where it was: sections already `done` are not
// sent again. The section audio is kept until the user deletes it, so any
// step can be run again. Main thread only.
class NoteProcessor : public QObject {
    Q_OBJECT
public:
    struct Setup {
        // How sections are transcribed now, from the settings of the moment.
        std::function<std::shared_ptr<SectionTranscriber>()> transcriber;
        // What summarises and answers now; none when nothing is set up.
        std::function<std::shared_ptr<NoteSummarizer>()> summarizer;
        // Writes the note's whole audio, compressed, to the path. Runs on a
        // thread of its own.
        std::function<std::expected<void, QString>(const Note& note, const QString& path)>
            exportAudio;
    };

    // The names stored in `processingStage`.
    struct Stage {
        static inline const QString transcribing = QStringLiteral("transcribing");
        static inline const QString assembling = QStringLiteral("assembling");
        static inline const QString exporting = QStringLiteral("exporting");
        static inline const QString summarizing = QStringLiteral("summarizing");
    };
    static inline const QString audioFileName = QStringLiteral("audio.m4a");
    // What a stage is doing, in words ("Transcribing 3 of 12").
    static QString stageText(const QString& stage, int done, int total);

    NoteProcessor(NotesStore& store, Setup setup, QObject* parent = nullptr);
    ~NoteProcessor() override;

    using Outcome = std::expected<Note, NoteProcessingError>;
    using JsonOutcome = std::expected<SummaryReply, NoteProcessingError>;

    // Runs every step not done yet and leaves the note `ready`, or `retry`
    // with the sentence of the step that failed. Cancelled, the note stays
    // `finishing` and is resumed by the next `resumeUnfinished`.
    QCoro::Task<Outcome> process(QUuid id);
    // Forgets the transcript and runs every step again from the kept audio.
    QCoro::Task<Outcome> transcribeAgain(QUuid id);
    // While recording: transcribes the sections closed so far. A failure
    // waits for `process`, which tries the section again.
    QCoro::Task<> transcribeClosedSections(QUuid id);
    // A new summary of the current transcript (the stored one unless the
    // transcript changed or `fresh` is asked).
    QCoro::Task<JsonOutcome> summarize(QUuid id, bool fresh);
    QCoro::Task<JsonOutcome> ask(QUuid id, QString question);

    // Notes a crash or a quit left in processing. Reads every note; safe on
    // any thread.
    QList<QUuid> unfinished() const;
    // Processes each of them in turn.
    QCoro::Task<> resumeUnfinished();

    void cancel(const QUuid& id);
    void cancelAll();
    bool isProcessing(const QUuid& id) const;

    // The transcript as a summarizer reads it: one passage per turn, led by
    // the speaker's name.
    static QList<SummaryPassage> passages(const Note& note);
    // The key of `summaryCache` for a transcript.
    static QString summaryKey(const QList<SummaryPassage>& passages);

Q_SIGNALS:
    // `done` of `total` for the transcribing stage; 0 of 0 for the others.
    void progress(const QUuid& id, const QString& stage, int done, int total);
    // The note's stored record changed in a way the views show.
    void changed(const QUuid& id);

private:
    struct Job;
    std::shared_ptr<Job> job(const QUuid& id);
    void release(const QUuid& id, const std::shared_ptr<Job>& job);
    QCoro::Task<std::optional<NoteProcessingError>>
    transcribeSections(QUuid id, std::shared_ptr<Job> job,
                       std::shared_ptr<SectionTranscriber> transcriber, bool closedOnly);
    QCoro::Task<> transcribeSection(QUuid id, std::shared_ptr<Job> job,
                                    std::shared_ptr<SectionTranscriber> transcriber,
                                    NoteSection section, QString language);
    QCoro::Task<Outcome> run(QUuid id, std::shared_ptr<Job> job);
    QCoro::Task<JsonOutcome> makeSummary(QUuid id, bool fresh, Cancellation cancel);
    Outcome fail(const QUuid& id, NoteProcessingError error);
    std::expected<Note, NoteProcessingError> store(const QUuid& id,
                                                   const std::function<void(Note&)>& change);

    NotesStore& notes;
    Setup setup;
    QHash<QUuid, std::shared_ptr<Job>> jobs;
};

} // namespace quendra

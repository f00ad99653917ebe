#include "notes/NoteProcessor.h"

#include "hosted/Wakeup.h"
#include "notes/NoteAssembly.h"
#include "notes/NotesStore.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QSet>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

#include <QCoro/QCoroFuture>

#include <sys/stat.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

// What the steps running on one note share. The live transcription during
// recording and the processing after it use the same job, so a section is
// never sent twice at once.
struct NoteProcessor::Job {
    Cancellation cancel = std::make_shared<CancellationFlag>();
    bool processing = false;
    bool looping = false;
    // A section closed while the loop ran: look again before ending.
    bool rescan = false;
    int running = 0;
    QSet<int> inFlight;
    std::optional<NoteProcessingError> failure;
    Wakeup wakeup;
    std::vector<std::coroutine_handle<>> idleWaiters;

    // Resumes from the event loop whoever waits for the loop to end.
    void loopEnded() {
        looping = false;
        for (auto handle : std::exchange(idleWaiters, {}))
            QTimer::singleShot(0, [handle] { handle.resume(); });
    }
    auto idle() {
        struct Awaiter {
            Job& job;
            bool await_ready() const { return !job.looping; }
            void await_suspend(std::coroutine_handle<> h) { job.idleWaiters.push_back(h); }
            void await_resume() {}
        };
        return Awaiter{*this};
    }
};

namespace {

constexpr int summaryCacheLimit = 8;

NoteProcessingError storageError(const StoreError& error) {
    return {NoteProcessingError::Kind::storage, error.message};
}

NoteProcessingError cancelledError() {
    return {NoteProcessingError::Kind::cancelled, u"Processing was stopped."_s};
}

// A section file is only ever read when it is a plain file of its own: a
// symbolic link could send any file of this computer to a service.
bool plainFile(const QString& path) {
    struct stat info {};
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0 && S_ISREG(info.st_mode);
}

} // namespace

NoteProcessor::NoteProcessor(NotesStore& store, Setup setup, QObject* parent)
    : QObject(parent)
    , notes(store)
    , setup(std::move(setup)) {}

NoteProcessor::~NoteProcessor() {
    cancelAll();
}

std::shared_ptr<NoteProcessor::Job> NoteProcessor::job(const QUuid& id) {
    auto& held = jobs[id];
    if (!held)
        held = std::make_shared<Job>();
    return held;
}

void NoteProcessor::release(const QUuid& id, const std::shared_ptr<Job>& finished) {
    if (!finished->processing && !finished->looping && jobs.value(id) == finished)
        jobs.remove(id);
}

bool NoteProcessor::isProcessing(const QUuid& id) const {
    const auto found = jobs.find(id);
    return found != jobs.end() && ((*found)->processing || (*found)->looping);
}

void NoteProcessor::cancel(const QUuid& id) {
    if (const auto found = jobs.find(id); found != jobs.end())
        (*found)->cancel->cancel();
}

void NoteProcessor::cancelAll() {
    for (const auto& held : std::as_const(jobs))
        held->cancel->cancel();
}

std::expected<Note, NoteProcessingError>
NoteProcessor::store(const QUuid& id, const std::function<void(Note&)>& change) {
    auto updated = notes.update(id, change);
    if (!updated)
        return std::unexpected(storageError(updated.error()));
    Q_EMIT changed(id);
    return *updated;
}

NoteProcessor::Outcome NoteProcessor::fail(const QUuid& id, NoteProcessingError error) {
    if (error.kind == NoteProcessingError::Kind::cancelled)
        return std::unexpected(error);
    // The note says why it stopped; when even that cannot be written, the
    // caller still hears the first reason.
    (void)store(id, [&](Note& note) {
        note.state = NoteState::retry;
        note.message = error.message;
    });
    return std::unexpected(error);
}

QString NoteProcessor::stageText(const QString& stage, int done, int total) {
    if (stage == Stage::transcribing)
        return u"Transcribing %1 of %2"_s.arg(done).arg(total);
    if (stage == Stage::assembling)
        return u"Telling the speakers apart"_s;
    if (stage == Stage::exporting)
        return u"Saving the audio"_s;
    if (stage == Stage::summarizing)
        return u"Writing the summary"_s;
    return {};
}

QList<SummaryPassage> NoteProcessor::passages(const Note& note) {
    QList<SummaryPassage> out;
    for (const NoteTurn& turn : note.turns) {
        if (turn.text.trimmed().isEmpty())
            continue;
        QString name = note.displayName(turn.speaker);
        if (name.isEmpty())
            name = turn.speaker;
        out.append({name.isEmpty() ? turn.text : name + u": "_s + turn.text, turn.startMs});
    }
    return out;
}

QString NoteProcessor::summaryKey(const QList<SummaryPassage>& passages) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    for (const SummaryPassage& passage : passages) {
        hash.addData(QByteArray::number(passage.startMs));
        hash.addData(QByteArrayView("\x1f", 1));
        hash.addData(passage.text.toUtf8());
        hash.addData(QByteArrayView("\x1e", 1));
    }
    return QString::fromLatin1(hash.result().toHex());
}

QList<QUuid> NoteProcessor::unfinished() const {
    QList<QUuid> out;
    for (const Note& note : notes.loadAll().notes)
        if (note.state == NoteState::finishing)
            out.append(note.id);
    return out;
}

QCoro::Task<> NoteProcessor::resumeUnfinished() {
    QPointer<NoteProcessor> self(this);
    for (const QUuid& id : unfinished()) {
        (void)co_await process(id);
        if (!self)
            co_return;
    }
}

QCoro::Task<> NoteProcessor::transcribeClosedSections(QUuid id) {
    const auto held = job(id);
    if (held->looping) {
        held->rescan = true;
        held->wakeup.notify();
        co_return;
    }
    QPointer<NoteProcessor> self(this);
    const auto transcriber = setup.transcriber ? setup.transcriber() : nullptr;
    const auto note = notes.load(id);
    if (!transcriber || !note || transcriber->unavailable(note->language)) {
        release(id, held);
        co_return;
    }
    // Failures are for the processing after the recording to report.
    (void)co_await transcribeSections(id, held, transcriber, true);
    if (self)
        release(id, held);
}

QCoro::Task<std::optional<NoteProcessingError>>
NoteProcessor::transcribeSections(QUuid id, std::shared_ptr<Job> held,
                                  std::shared_ptr<SectionTranscriber> transcriber,
                                  bool closedOnly) {
    QPointer<NoteProcessor> self(this);
    held->looping = true;
    held->failure.reset();
    std::optional<NoteProcessingError> outcome;
    const int concurrency = std::max(1, transcriber->concurrency());
    while (true) {
        if (held->cancel->isCancelled()) {
            outcome = cancelledError();
            break;
        }
        held->rescan = false;
        const auto note = notes.load(id);
        if (!note) {
            held->failure = storageError(note.error());
            break;
        }
        QList<NoteSection> waiting;
        for (const NoteSection& section : note->sections)
            if (!section.done && !held->inFlight.contains(section.index) &&
                (section.closed || !closedOnly))
                waiting.append(section);
        const int total = int(note->sections.size());
        Q_EMIT progress(id, Stage::transcribing, note->completedSections(), total);
        if (held->failure && held->running == 0)
            break;
        for (qsizetype i = 0; i < waiting.size() && held->running < concurrency && !held->failure;
             ++i) {
            ++held->running;
            held->inFlight.insert(waiting[i].index);
            transcribeSection(id, held, transcriber, waiting[i], note->language);
        }
        if (held->running == 0 && !held->rescan)
            break;
        co_await held->wakeup;
        if (!self)
            co_return cancelledError();
    }
    // Sections still out were told through the flag; the loop is over.
    while (held->running > 0) {
        co_await held->wakeup;
        if (!self)
            co_return cancelledError();
    }
    if (!outcome && held->failure)
        outcome = held->failure;
    held->loopEnded();
    co_return outcome;
}

QCoro::Task<> NoteProcessor::transcribeSection(QUuid id, std::shared_ptr<Job> held,
                                               std::shared_ptr<SectionTranscriber> transcriber,
                                               NoteSection section, QString language) {
    QPointer<NoteProcessor> self(this);
    const QString path = notes.sectionAudioPath(id, section.index);
    std::optional<NoteProcessingError> failure;
    if (!plainFile(path)) {
        failure =
            NoteProcessingError{NoteProcessingError::Kind::audio, NoteSentences::audioUnreadable};
    } else {
        const qint64 durationMs = std::max<qint64>(section.endMs - section.startMs, 0);
        auto result = co_await transcriber->transcribe(path, durationMs, language, held->cancel);
        if (!self) {
            --held->running;
            co_return;
        }
        if (!result) {
            failure = result.error().cancelled
                          ? cancelledError()
                          : NoteProcessingError{NoteProcessingError::Kind::transcription,
                                                result.error().message.isEmpty()
                                                    ? NoteSentences::notFinished
                                                    : result.error().message};
        } else {
            QList<TimedWord> words;
            words.reserve(result->words.size());
            for (TimedWord word : std::as_const(result->words)) {
                word.startMs += section.startMs;
                word.endMs += section.startMs;
                word.section = section.index;
                words.append(std::move(word));
            }
            const auto stored = store(id, [&](Note& note) {
                for (NoteSection& kept : note.sections) {
                    if (kept.index != section.index)
                        continue;
                    kept.done = true;
                    kept.transcript = result->text;
                    kept.words = words;
                }
            });
            if (!stored)
                failure = stored.error();
        }
    }
    held->inFlight.remove(section.index);
    --held->running;
    if (failure && !held->failure)
        held->failure = failure;
    held->wakeup.notify();
}

QCoro::Task<NoteProcessor::Outcome> NoteProcessor::process(QUuid id) {
    const auto held = job(id);
    if (held->processing)
        co_return std::unexpected(NoteProcessingError{NoteProcessingError::Kind::busy,
                                                      u"This note is being processed already."_s});
    held->processing = true;
    QPointer<NoteProcessor> self(this);
    Outcome outcome = co_await run(id, held);
    if (!self)
        co_return outcome;
    held->processing = false;
    release(id, held);
    co_return outcome;
}

QCoro::Task<NoteProcessor::Outcome> NoteProcessor::run(QUuid id, std::shared_ptr<Job> held) {
    QPointer<NoteProcessor> self(this);
    const auto loaded = notes.load(id);
    if (!loaded) {
        if (loaded.error().kind == StoreError::Kind::missing)
            co_return std::unexpected(
                NoteProcessingError{NoteProcessingError::Kind::missing, loaded.error().message});
        co_return std::unexpected(storageError(loaded.error()));
    }
    if (loaded->state == NoteState::recording)
        co_return std::unexpected(
            NoteProcessingError{NoteProcessingError::Kind::stillRecording,
                                u"This note is still recording. Stop it first."_s});
    // A live transcription still out finishes first, so its section is not
    // sent twice.
    co_await held->idle();
    if (!self)
        co_return std::unexpected(cancelledError());

    auto note = store(id, [](Note& n) {
        n.state = NoteState::finishing;
        n.message.clear();
        n.processingStage = Stage::transcribing;
    });
    if (!note)
        co_return std::unexpected(note.error());

    if (note->completedSections() < note->sections.size()) {
        if (note->audioRemoved)
            co_return fail(id, {NoteProcessingError::Kind::audioGone,
                                u"The audio of this note was deleted, so it cannot be "
                                "transcribed."_s});
        const auto transcriber = setup.transcriber ? setup.transcriber() : nullptr;
        if (!transcriber)
            co_return fail(id,
                           {NoteProcessingError::Kind::transcription, NoteSentences::notFinished});
        if (const auto reason = transcriber->unavailable(note->language))
            co_return fail(id, {NoteProcessingError::Kind::transcription, *reason});
        const auto failure = co_await transcribeSections(id, held, transcriber, false);
        if (!self)
            co_return std::unexpected(cancelledError());
        if (failure)
            co_return fail(id, *failure);
        const auto reloaded = notes.load(id);
        if (!reloaded)
            co_return std::unexpected(storageError(reloaded.error()));
        note = *reloaded;
    }

    if (!note->turnsFinal) {
        note = store(id, [](Note& n) { n.processingStage = Stage::assembling; });
        if (!note)
            co_return std::unexpected(note.error());
        Q_EMIT progress(id, Stage::assembling, 0, 0);
        // Futures are made before the await: GCC 12 destroys temporaries
        // of an await expression twice.
        NotesStore* folder = &notes;
        QFuture<std::expected<Note, NoteAssemblyError>> assembling =
            QtConcurrent::run([folder, id] { return NoteAssembly::run(*folder, id); });
        auto assembled = co_await assembling;
        if (!self)
            co_return std::unexpected(cancelledError());
        if (!assembled)
            co_return fail(id, {NoteProcessingError::Kind::assembly, assembled.error().message});
        Q_EMIT changed(id);
        note = *assembled;
    }
    if (held->cancel->isCancelled())
        co_return std::unexpected(cancelledError());

    const QString audioPath = QDir(notes.noteDirectory(id)).filePath(audioFileName);
    if (!note->audioRemoved && setup.exportAudio &&
        (note->audioFile != audioFileName || !plainFile(audioPath))) {
        note = store(id, [](Note& n) { n.processingStage = Stage::exporting; });
        if (!note)
            co_return std::unexpected(note.error());
        Q_EMIT progress(id, Stage::exporting, 0, 0);
        QFuture<std::expected<void, QString>> exporting =
            QtConcurrent::run([exporter = setup.exportAudio, snapshot = *note, audioPath] {
                return exporter(snapshot, audioPath);
            });
        auto exported = co_await exporting;
        if (!self)
            co_return std::unexpected(cancelledError());
        if (!exported)
            co_return fail(id, {NoteProcessingError::Kind::audio, exported.error()});
        note = store(id, [](Note& n) { n.audioFile = audioFileName; });
        if (!note)
            co_return std::unexpected(note.error());
    }
    if (held->cancel->isCancelled())
        co_return std::unexpected(cancelledError());

    QString message = u"No speech was found in this recording."_s;
    if (!passages(*note).isEmpty()) {
        message.clear();
        note = store(id, [](Note& n) { n.processingStage = Stage::summarizing; });
        if (!note)
            co_return std::unexpected(note.error());
        Q_EMIT progress(id, Stage::summarizing, 0, 0);
        const auto summary = co_await makeSummary(id, false, held->cancel);
        if (!self)
            co_return std::unexpected(cancelledError());
        if (!summary) {
            switch (summary.error().kind) {
            case NoteProcessingError::Kind::noSummarizer:
                // The transcript is finished; the note says what would
                // summarise it.
                message = summary.error().message;
                break;
            case NoteProcessingError::Kind::cancelled:
            case NoteProcessingError::Kind::storage:
                co_return std::unexpected(summary.error());
            default:
                co_return fail(id,
                               {NoteProcessingError::Kind::summary,
                                NoteSentences::summaryFailed + u" "_s + summary.error().message});
            }
        }
    }
    co_return store(id, [&](Note& n) {
        n.state = NoteState::ready;
        n.processingStage.clear();
        n.message = message;
    });
}

QCoro::Task<NoteProcessor::Outcome> NoteProcessor::transcribeAgain(QUuid id) {
    const auto held = job(id);
    if (held->processing || held->looping)
        co_return std::unexpected(NoteProcessingError{NoteProcessingError::Kind::busy,
                                                      u"This note is being processed already."_s});
    const auto loaded = notes.load(id);
    if (!loaded)
        co_return std::unexpected(storageError(loaded.error()));
    if (loaded->state == NoteState::recording)
        co_return std::unexpected(
            NoteProcessingError{NoteProcessingError::Kind::stillRecording,
                                u"This note is still recording. Stop it first."_s});
    if (loaded->audioRemoved)
        co_return std::unexpected(NoteProcessingError{
            NoteProcessingError::Kind::audioGone,
            u"The audio of this note was deleted, so it cannot be transcribed."_s});
    const auto reset = store(id, [](Note& n) {
        for (NoteSection& section : n.sections) {
            section.done = false;
            section.transcript.clear();
            section.words.clear();
        }
        n.turns.clear();
        n.turnsFinal = false;
        n.originalTurns.reset();
        n.summary.reset();
        n.summaryNeedsRefresh = false;
        n.state = NoteState::finishing;
        n.processingStage = Stage::transcribing;
    });
    if (!reset)
        co_return std::unexpected(reset.error());
    co_return co_await process(id);
}

QCoro::Task<NoteProcessor::JsonOutcome> NoteProcessor::makeSummary(QUuid id, bool fresh,
                                                                   Cancellation cancel) {
    QPointer<NoteProcessor> self(this);
    const auto note = notes.load(id);
    if (!note)
        co_return std::unexpected(storageError(note.error()));
    const QList<SummaryPassage> parts = passages(*note);
    if (parts.isEmpty())
        co_return std::unexpected(
            NoteProcessingError{NoteProcessingError::Kind::summary,
                                u"This note has no transcript to summarise yet."_s});
    const QString key = summaryKey(parts);
    if (!fresh) {
        if (const auto cached = note->summaryCache.find(key); cached != note->summaryCache.end()) {
            const Json summary = *cached;
            const auto stored = store(id, [&](Note& n) {
                n.summary = summary;
                n.summaryNeedsRefresh = false;
            });
            if (!stored)
                co_return std::unexpected(stored.error());
            co_return SummaryReply{summary};
        }
    }
    const auto summarizer = setup.summarizer ? setup.summarizer() : nullptr;
    if (!summarizer)
        co_return std::unexpected(NoteProcessingError{NoteProcessingError::Kind::noSummarizer,
                                                      NoteSentences::noSummarizer});
    const auto reply = co_await summarizer->summarize(parts, cancel);
    if (!self)
        co_return std::unexpected(cancelledError());
    if (!reply)
        co_return std::unexpected(
            reply.error().cancelled
                ? cancelledError()
                : NoteProcessingError{NoteProcessingError::Kind::summary, reply.error().message});
    const Json summary = tidySummary(reply->object, note->durationMs);
    const auto stored = store(id, [&](Note& n) {
        n.summary = summary;
        // Only the newest few are kept: an edited transcript makes a new key.
        while (n.summaryCache.size() >= summaryCacheLimit && !n.summaryCache.contains(key))
            n.summaryCache.erase(n.summaryCache.begin());
        n.summaryCache.insert(key, summary);
        n.summaryNeedsRefresh = false;
        n.summaryRefreshRequested = false;
        if (!n.titleEdited)
            if (const auto title = field<QString>(summary, "title"); title && !title->isEmpty())
                n.title = *title;
    });
    if (!stored)
        co_return std::unexpected(stored.error());
    co_return SummaryReply{summary};
}

QCoro::Task<NoteProcessor::JsonOutcome> NoteProcessor::summarize(QUuid id, bool fresh) {
    const auto held = job(id);
    QPointer<NoteProcessor> self(this);
    auto outcome = co_await makeSummary(id, fresh, held->cancel);
    if (self)
        release(id, held);
    co_return outcome;
}

QCoro::Task<NoteProcessor::JsonOutcome> NoteProcessor::ask(QUuid id, QString question) {
    const auto note = notes.load(id);
    if (!note)
        co_return std::unexpected(storageError(note.error()));
    if (question.trimmed().isEmpty())
        co_return std::unexpected(
            NoteProcessingError{NoteProcessingError::Kind::summary, u"Type a question first."_s});
    const QList<SummaryPassage> parts = passages(*note);
    if (parts.isEmpty())
        co_return std::unexpected(
            NoteProcessingError{NoteProcessingError::Kind::summary,
                                u"This note has no transcript to ask about yet."_s});
    const auto summarizer = setup.summarizer ? setup.summarizer() : nullptr;
    if (!summarizer)
        co_return std::unexpected(NoteProcessingError{
            NoteProcessingError::Kind::noSummarizer,
            u"To ask about a note, sign in to Parlevo or connect your Groq account in "
            "Settings."_s});
    const auto held = job(id);
    QPointer<NoteProcessor> self(this);
    // Made before the await: GCC 12 destroys an await's temporaries twice.
    const QString asked = question.trimmed();
    const auto reply = co_await summarizer->ask(asked, parts, held->cancel);
    if (self)
        release(id, held);
    if (!reply)
        co_return std::unexpected(
            reply.error().cancelled
                ? cancelledError()
                : NoteProcessingError{NoteProcessingError::Kind::summary, reply.error().message});
    co_return SummaryReply{tidyAnswer(reply->object, note->durationMs)};
}

} // namespace quendra

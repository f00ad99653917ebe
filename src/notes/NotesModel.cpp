#include "notes/NotesModel.h"

#include "model/DisplayText.h"

#include "notes/NoteProcessor.h"
#include "notes/NoteSession.h"

#include <QFutureWatcher>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

NotesModel::NotesModel(NoteSession& session, NoteRecorder& recorder, NoteProcessor& processor,
                       Options options, QObject* parent)
    : QObject(parent)
    , session(session)
    , recorder(recorder)
    , processor(processor)
    , options(std::move(options)) {
    steady.start();
    meter.setInterval(100);
    connect(&meter, &QTimer::timeout, this, &NotesModel::tick);
    // After the session, which stores each section before it is sent.
    connect(&recorder, &NoteRecorder::reported, this, &NotesModel::follow);
    connect(&session, &NoteSession::notice, this, &NotesModel::setNotice);
    connect(&session, &NoteSession::failed, this, [this](const QString& message) {
        stop();
        Q_EMIT stoppedUnexpectedly(message);
    });
    connect(&session, &NoteSession::limitReached, this, [this] {
        stop();
        Q_EMIT stoppedUnexpectedly(u"The note reached its recording limit and was stopped."_s);
    });
    connect(&processor, &NoteProcessor::progress, this,
            [this](const QUuid& id, const QString& stage, int done, int total) {
                progress.insert(id, NoteProcessor::stageText(stage, done, total));
                Q_EMIT processingChanged(uuidText(id));
            });
    connect(&processor, &NoteProcessor::changed, this,
            [this](const QUuid& id) { Q_EMIT processingChanged(uuidText(id)); });
}

NotesModel::~NotesModel() {
    stop();
}

bool NotesModel::recording() const {
    QUENDRA_CHECK_THREAD(checker);
    return session.isRecording();
}

bool NotesModel::call() const {
    return session.isRecording() && session.currentSource() == NoteSource::call;
}

QString NotesModel::currentNoteId() const {
    return session.isRecording() ? uuidText(session.currentID()) : QString();
}

QString NotesModel::elapsedText() const {
    return session.isRecording() ? DisplayText::clock(now() - startedAt) : QString();
}

qint64 NotesModel::now() const {
    return options.now ? options.now() : steady.elapsed();
}

void NotesModel::refreshCallHint() {
    QUENDRA_CHECK_THREAD(checker);
    const CallHint found = options.callHint ? options.callHint() : CallHint{};
    if (found == hint)
        return;
    hint = found;
    Q_EMIT callHintChanged();
}

QString NotesModel::start(bool asCall) {
    QUENDRA_CHECK_THREAD(checker);
    if (session.isRecording())
        return u"A note is already being recorded."_s;
    refreshCallHint();
    const QString language = options.language ? options.language() : u"auto"_s;
    const auto started = session.start(asCall ? NoteSource::call : NoteSource::room,
                                       asCall ? hint.appName : std::nullopt, language);
    if (!started)
        return started.error();
    levels = {};
    loudestSystem = 0;
    silenceTold = false;
    startedAt = now();
    meter.start();
    setNotice(started->notice.value_or(QString()));
    Q_EMIT recordingChanged();
    Q_EMIT levelsChanged();
    return {};
}

void NotesModel::stop() {
    QUENDRA_CHECK_THREAD(checker);
    if (!session.isRecording())
        return;
    meter.stop();
    const auto finished = session.stop();
    levels = {};
    Q_EMIT recordingChanged();
    Q_EMIT levelsChanged();
    if (finished)
        runProcessing(finished->id, false);
}

void NotesModel::toggle() {
    if (session.isRecording()) {
        stop();
        return;
    }
    refreshCallHint();
    if (const QString failure = start(hint.likelyCall()); !failure.isEmpty())
        Q_EMIT stoppedUnexpectedly(failure);
}

void NotesModel::follow(const NoteRecorder::Event& event) {
    if (const auto* measured = std::get_if<NoteRecorder::Levels>(&event)) {
        levels = *measured;
        loudestSystem = std::max(loudestSystem, measured->system);
        Q_EMIT levelsChanged();
    } else if (std::holds_alternative<NoteRecorder::RecordedSection>(event)) {
        // Each closed section is sent while the recording goes on.
        if (session.isRecording())
            processor.transcribeClosedSections(session.currentID());
    }
}

void NotesModel::tick() {
    Q_EMIT levelsChanged();
    if (!call() || silenceTold || now() - startedAt < silentCallWindowMs)
        return;
    silenceTold = true;
    if (loudestSystem < silentLevel)
        setNotice(u"Nothing has been heard from this computer’s audio yet. If the other side "
                  "is talking, check that the call plays through this computer’s speakers or "
                  "headset; your side is being recorded."_s);
}

void NotesModel::setNotice(const QString& text) {
    if (text == noticeText)
        return;
    noticeText = text;
    Q_EMIT noticeChanged();
}

void NotesModel::runProcessing(const QUuid& id, bool again) {
    QPointer<NotesModel> self(this);
    auto task = again ? processor.transcribeAgain(id) : processor.process(id);
    std::move(task).then([self, id](const NoteProcessor::Outcome& outcome) {
        if (!self)
            return;
        self->progress.remove(id);
        const QString message = outcome ? outcome->message : outcome.error().message;
        const bool stopped =
            !outcome && outcome.error().kind == NoteProcessingError::Kind::cancelled;
        Q_EMIT self->processingChanged(uuidText(id));
        if (!stopped)
            Q_EMIT self->processed(uuidText(id), outcome ? QString() : message);
    });
    Q_EMIT processingChanged(uuidText(id));
}

void NotesModel::processNow(const QString& id) {
    const QUuid note = QUuid::fromString(id);
    if (!note.isNull() && !processor.isProcessing(note))
        runProcessing(note, false);
}

void NotesModel::transcribeAgain(const QString& id) {
    const QUuid note = QUuid::fromString(id);
    if (!note.isNull() && !processor.isProcessing(note))
        runProcessing(note, true);
}

void NotesModel::cancelProcessing(const QString& id) {
    processor.cancel(QUuid::fromString(id));
}

QString NotesModel::progressText(const QString& id) const {
    const QUuid note = QUuid::fromString(id);
    if (!processor.isProcessing(note))
        return {};
    return progress.value(note, u"Waiting to be processed"_s);
}

bool NotesModel::isProcessing(const QString& id) const {
    return processor.isProcessing(QUuid::fromString(id));
}

void NotesModel::resume() {
    // Finding them reads every note, which is no work for start-up's thread.
    auto* watcher = new QFutureWatcher<QList<QUuid>>(this);
    connect(watcher, &QFutureWatcherBase::finished, this, [this, watcher] {
        for (const QUuid& id : watcher->result())
            if (!processor.isProcessing(id))
                runProcessing(id, false);
        watcher->deleteLater();
    });
    watcher->setFuture(
        QtConcurrent::run([&processor = processor] { return processor.unfinished(); }));
}

} // namespace quendra

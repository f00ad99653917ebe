#include "notes/NoteRecorder.h"

#include "audio/PCMLevel.h"
#include "model/ApplicationId.h"

#include <QCoreApplication>
#include <QFile>
#include <QLoggingCategory>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {
Q_LOGGING_CATEGORY(recorderLog, QUENDRA_APPLICATION_ID ".notes")
}

QString NoteRecorder::microphoneStoppedMessage() {
    return u"The microphone stopped. The audio captured so far is saved."_s;
}

QString NoteRecorder::systemAudioLostNotice() {
    return u"This computer’s audio couldn’t be captured, so only your microphone is recorded."_s;
}

NoteRecorder::NoteRecorder(AudioSourceFactory& sources, int levelIntervalMs)
    : sources(sources) {
    levelTimer.setInterval(levelIntervalMs);
    QObject::connect(&levelTimer, &QTimer::timeout, this, [this] {
        deliver(Levels{microphoneLevel.load(), systemLevel.load()});
    });
}

NoteRecorder::~NoteRecorder() {
    // Nobody listens to a recorder that is going away.
    blockSignals(true);
    stop();
}

std::expected<NoteRecorder::Started, NoteRecorder::StartFailure>
NoteRecorder::start(const StartRequest& request) {
    QUENDRA_CHECK_THREAD(checker);
    if (isRecording())
        stop();
    if (request.freeBytes)
        if (const auto space = checkFreeSpace(*request.freeBytes); !space)
            return std::unexpected(StartFailure{space.error(), message(space.error())});

    const bool call = request.source == NoteSource::call;
    currentNote = request.noteID;
    failureReported = false;
    stopping = false;
    microphoneLevel = 0;
    systemLevel = 0;

    // The writer is ready before any audio can arrive.
    writer = std::make_unique<SectionWriter>(request.directory, call, request.configuration);
    writer->onSectionOpened = [this](int index, qint64 startMs) {
        post(SectionOpened{index, startMs});
    };
    writer->onSectionClosed = [this](int index, qint64 startMs, qint64 endMs) {
        post(RecordedSection{index, startMs, endMs});
    };
    writer->onCheckpoint = [this](int index, qint64 durationMs) {
        post(Checkpoint{index, durationMs});
    };
    writer->onFailure = [this](const QString& message) { reportFailure(message); };
    if (const auto opened = writer->start(); !opened) {
        writer.reset();
        return std::unexpected(StartFailure{std::nullopt, SectionWriter::writeFailureMessage()});
    }

    SectionWriter* sections = writer.get();
    microphone = sources.microphone(MicrophoneOptions{.voiceProcessing = call});
    microphone->onSamples = [this, sections](std::span<const float> samples) {
        microphoneLevel = PCMLevel::meter(PCMLevel::rms(samples));
        sections->appendMicrophone(samples);
    };
    microphone->onFailure = [this](const QString&) { reportFailure(microphoneStoppedMessage()); };
    if (const auto started = microphone->start(); !started) {
        qCWarning(recorderLog) << "microphone could not start:" << started.error();
        microphone.reset();
        writer->abandon();
        writer.reset();
        // A note that never started leaves no files.
        QFile::remove(SectionWriter::audioPath(request.directory, 0));
        QFile::remove(SectionWriter::envelopePath(request.directory, 0));
        return std::unexpected(StartFailure{NoteCaptureError::microphoneUnavailable,
                                            message(NoteCaptureError::microphoneUnavailable)});
    }

    Started result;
    if (call) {
        system = sources.computerAudio();
        system->onSamples = [this, sections](std::span<const float> samples) {
            systemLevel = PCMLevel::meter(PCMLevel::rms(samples));
            sections->appendSystem(samples);
        };
        system->onFailure = [this, sections](const QString& detail) {
            qCWarning(recorderLog) << "computer audio lost:" << detail;
            // What was captured so far is written, then the microphone goes on alone.
            sections->setSystemSourceActive(false);
            systemLevel = 0;
            post(Notice{systemAudioLostNotice()});
        };
        if (const auto started = system->start(); !started) {
            qCWarning(recorderLog) << "computer audio could not start:" << started.error();
            system.reset();
            writer->setSystemSourceActive(false);
            result.notice = systemAudioLostNotice();
        } else {
            result.systemSourceActive = true;
        }
    }
    levelTimer.start();
    return result;
}

qint64 NoteRecorder::stop() {
    QUENDRA_CHECK_THREAD(checker);
    if (!writer)
        return 0;
    stopping = true;
    levelTimer.stop();
    if (microphone)
        microphone->stop();
    if (system)
        system->stop();
    const qint64 durationMs = writer->close();
    // Deliver what the sources and the close reported before saying we are done.
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    microphone.reset();
    system.reset();
    writer.reset();
    microphoneLevel = 0;
    systemLevel = 0;
    return durationMs;
}

void NoteRecorder::reportFailure(const QString& message) {
    if (failureReported.exchange(true))
        return;
    post(Failure{message});
}

void NoteRecorder::post(Event event) {
    QMetaObject::invokeMethod(
        this, [this, event = std::move(event)] { deliver(event); }, Qt::QueuedConnection);
}

void NoteRecorder::deliver(const Event& event) {
    Q_EMIT reported(event);
}

} // namespace quendra

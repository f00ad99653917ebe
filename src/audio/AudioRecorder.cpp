#include "audio/AudioRecorder.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QUuid>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

double monotonicSeconds() {
    static QElapsedTimer clock = [] {
        QElapsedTimer t;
        t.start();
        return t;
    }();
    return double(clock.nsecsElapsed()) / 1e9;
}

} // namespace

AudioRecorder::AudioRecorder(AudioSourceFactory& sources, MicrophonePermission& permission,
                             IdleInhibitor* idle, Options options)
    : sources(sources)
    , permission(permission)
    , idle(idle)
    , options(std::move(options)) {
    if (!this->options.uptime)
        this->options.uptime = monotonicSeconds;
    timer.setInterval(this->options.pollIntervalMs);
    QObject::connect(&timer, &QTimer::timeout, this, [this] { poll(); });
}

AudioRecorder::AudioRecorder(AudioSourceFactory& sources, MicrophonePermission& permission,
                             IdleInhibitor* idle)
    : AudioRecorder(sources, permission, idle, Options{}) {}

AudioRecorder::~AudioRecorder() {
    stop();
}

QString AudioRecorder::temporaryFilePath() {
    const QString uuid = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    return QDir(QDir::tempPath()).filePath(u"quendra-"_s + uuid + u".wav"_s);
}

bool AudioRecorder::requestPermission() {
    QUENDRA_CHECK_THREAD(checker);
    return permission.request();
}

std::expected<void, AudioRecorderError> AudioRecorder::start(std::optional<QString> path) {
    QUENDRA_CHECK_THREAD(checker);
    if (isRecording())
        stop();
    if (!permission.granted())
        return std::unexpected(AudioRecorderError{AudioRecorderError::Case::permissionDenied});

    const QString url = path.value_or(temporaryFilePath());
    auto created = DictationPCMWriter::create(url, options.freeSpace);
    if (!created)
        return std::unexpected(
            AudioRecorderError{AudioRecorderError::Case::fileSystem, created.error()});

    writer = std::move(*created);
    source = sources.microphone(MicrophoneOptions{.voiceProcessing = false});
    fileURL = url;
    interruptionReported = false;
    const quint64 recording = ++recordingNumber;

    DictationPCMWriter* pcm = writer.get();
    source->onSamples = [pcm](std::span<const float> samples) { pcm->append(samples); };
    source->onFailure = [this, recording](const QString&) { postReport(recording); };
    writer->onFailure = [this, recording] { postReport(recording); };

    if (!source->start()) {
        stop();
        clearFile();
        return std::unexpected(AudioRecorderError{AudioRecorderError::Case::unavailable});
    }
    captureHealth = RecordingCaptureHealth{0, options.uptime(), false};
    if (idle)
        recordingActivity = idle->hold(u"Recording an explicitly started dictation"_s);
    timer.start();
    return {};
}

void AudioRecorder::postReport(quint64 recording) {
    // Sources and the writer call from their own threads; the recorder may be
    // gone by then, in which case Qt drops the call.
    QMetaObject::invokeMethod(
        this,
        [this, recording] {
            if (recording == recordingNumber)
                reportUnexpectedStop();
        },
        Qt::QueuedConnection);
}

std::optional<RecordingCapture> AudioRecorder::stop() {
    QUENDRA_CHECK_THREAD(checker);
    if (!source || !writer || !fileURL) {
        source.reset();
        writer.reset();
        return std::nullopt;
    }
    interruptionReported = true;
    timer.stop();
    source->stop();
    writer->stop();
    const DictationPCMWriter::Snapshot snapshot = writer->snapshot();
    source.reset();
    writer.reset();
    captureHealth.reset();
    recordingActivity.reset();
    return RecordingCapture{*fileURL, snapshot.seconds, snapshot.speech};
}

void AudioRecorder::clearFile() {
    QUENDRA_CHECK_THREAD(checker);
    if (!fileURL)
        return;
    QFile::remove(*fileURL);
    QFile::remove(*fileURL + u".progress.json"_s);
}

double AudioRecorder::level() const {
    QUENDRA_CHECK_THREAD(checker);
    return writer ? writer->snapshot().level : 0.0;
}

double AudioRecorder::elapsedSeconds() const {
    QUENDRA_CHECK_THREAD(checker);
    return writer ? writer->snapshot().seconds : 0.0;
}

void AudioRecorder::poll() {
    QUENDRA_CHECK_THREAD(checker);
    if (!source)
        return;
    if (!permission.granted()) {
        reportUnexpectedStop();
        return;
    }
    if (!captureHealth || captureHealth->reported)
        return;
    const double seconds = writer ? writer->snapshot().seconds : 0.0;
    const double now = options.uptime();
    if (captureHealth->lastElapsed + progressSeconds < seconds) {
        captureHealth->lastElapsed = seconds;
        captureHealth->lastProgress = now;
    } else if (now - captureHealth->lastProgress >= stallSeconds) {
        captureHealth->reported = true;
        reportUnexpectedStop();
    }
}

void AudioRecorder::reportUnexpectedStop() {
    if (!source || interruptionReported)
        return;
    interruptionReported = true;
    Q_EMIT unexpectedStop();
}

} // namespace quendra

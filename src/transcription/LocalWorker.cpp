#include "transcription/LocalWorker.h"

#include "audio/AudioDecoder.h"
#include "audio/WaveFileWriter.h"
#include "model/ApplicationId.h"
#include "model/Json.h"

#include <QCoro/QCoroFuture>
#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QMutex>
#include <QProcess>
#include <QSet>
#include <QUuid>

#include <csignal>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

Q_LOGGING_CATEGORY(workerLog, QUENDRA_APPLICATION_ID ".local-model")

using Result = std::expected<QString, WorkerFailure>;

// Touched only on the queue, but for what the mutex guards.
struct LocalWorker::State {
    SerialQueue* queue = nullptr;
    WorkerCommand command;
    std::chrono::milliseconds idleStop{};
    std::unique_ptr<QProcess> process;
    quint64 generation = 0; // a scheduled idle stop runs only if nothing came since
    quint64 lastTicket = 0; // main thread: one number per request

    // Cancellation comes from the main thread while the queue may be waiting
    // for the worker's answer.
    QMutex mutex;
    QSet<quint64> abandoned;
    quint64 answering = 0; // the request the worker is answering now
    qint64 workerPid = 0;

    void abandon(quint64 ticket) {
        const QMutexLocker lock(&mutex);
        abandoned.insert(ticket);
        // Ending the process wakes the queue from its wait for the answer.
        if (answering == ticket && workerPid > 0)
            ::kill(pid_t(workerPid), SIGKILL);
    }

    bool isAbandoned(quint64 ticket) {
        const QMutexLocker lock(&mutex);
        return abandoned.contains(ticket);
    }

    // False when the request was abandoned first.
    bool beginAnswer(quint64 ticket) {
        const QMutexLocker lock(&mutex);
        if (abandoned.contains(ticket))
            return false;
        answering = ticket;
        return true;
    }

    void endRequest(quint64 ticket) {
        const QMutexLocker lock(&mutex);
        answering = 0;
        abandoned.remove(ticket);
    }

    void setWorkerPid(qint64 pid) {
        const QMutexLocker lock(&mutex);
        workerPid = pid;
    }

    void stop() {
        if (!process)
            return;
        setWorkerPid(0);
        process->closeWriteChannel();
        if (!process->waitForFinished(2000)) {
            process->kill();
            process->waitForFinished(2000);
        }
        process.reset();
    }

    // Something went wrong mid-conversation: the stream cannot be trusted.
    void discard() {
        if (!process)
            return;
        setWorkerPid(0);
        process->kill();
        process->waitForFinished(2000);
        process.reset();
    }

    bool ensureStarted() {
        if (process && process->state() == QProcess::Running)
            return true;
        process.reset();
        auto started = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (auto it = command.environment.cbegin(); it != command.environment.cend(); ++it)
            environment.insert(it.key(), it.value());
        started->setProcessEnvironment(environment);
        started->setStandardErrorFile(command.errorLog.isEmpty() ? QProcess::nullDevice()
                                                                 : command.errorLog,
                                      QIODevice::Append);
        started->start(command.program, command.arguments);
        if (!started->waitForStarted(10'000)) {
            qCWarning(workerLog) << "could not start" << command.program;
            return false;
        }
        setWorkerPid(started->processId());
        process = std::move(started);
        return true;
    }

    // Reads one line; none when the worker ended first or the line is too long.
    std::expected<QByteArray, WorkerFailure> readLine() {
        QByteArray buffer;
        for (;;) {
            buffer += process->readAllStandardOutput();
            const qsizetype end = buffer.indexOf('\n');
            if (end > longestReplyBytes || (end < 0 && buffer.size() > longestReplyBytes)) {
                discard();
                return std::unexpected(WorkerFailure::couldNotFinish);
            }
            if (end >= 0) {
                // Anything after the reply belongs to no request of ours.
                return buffer.left(end);
            }
            if (!process->waitForReadyRead(-1) && process->bytesAvailable() == 0) {
                discard();
                return std::unexpected(WorkerFailure::stopped);
            }
        }
    }

    Result converse(const QString& audioPath, const QString& language, quint64 ticket) {
        if (!ensureStarted() || !beginAnswer(ticket))
            return std::unexpected(WorkerFailure::stopped);
        const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
        const QByteArray request =
            jsonBytes(Json{{"id", id}, {"audioPath", audioPath}, {"language", language}}) + '\n';
        if (process->write(request) != request.size() || !process->waitForBytesWritten(-1)) {
            discard();
            return std::unexpected(WorkerFailure::stopped);
        }
        const auto line = readLine();
        if (!line)
            return std::unexpected(line.error());
        const auto reply = parseJson(*line);
        if (!reply || !reply->is_object() || field<QString>(*reply, "id") != id) {
            qCWarning(workerLog) << "unreadable reply from" << command.program;
            return std::unexpected(WorkerFailure::couldNotFinish);
        }
        const auto transcript = field<QString>(*reply, "transcript");
        if (!transcript || reply->contains("error")) {
            qCWarning(workerLog) << "worker error:"
                                 << fieldOr<QString>(*reply, "error", u"no transcript"_s);
            return std::unexpected(WorkerFailure::couldNotFinish);
        }
        return *transcript;
    }
};

namespace {

// The worker reads 16 kHz mono 16-bit WAV whatever the recording was.
std::expected<QString, WorkerFailure> convert(const QString& path) {
    const QString converted =
        QDir(QDir::tempPath())
            .filePath(u"quendra-local-"_s + QUuid::createUuid().toString(QUuid::WithoutBraces) +
                      u".wav"_s);
    auto writer = WaveFileWriter::create(converted);
    if (!writer) {
        QFile::remove(converted);
        return std::unexpected(WorkerFailure::cannotWriteCopy);
    }
    bool tooLarge = false;
    bool unwritten = false;
    const auto decoded = AudioDecoder::decode(path, [&](std::span<const qint16> block) {
        if (writer->dataBytes() + qint64(block.size_bytes()) > LocalWorker::largestConvertedBytes) {
            tooLarge = true;
            return false;
        }
        unwritten = !writer->write(block);
        return !unwritten;
    });
    unwritten = unwritten || !writer->close();
    if (!decoded || unwritten) {
        QFile::remove(converted);
        return std::unexpected(tooLarge    ? WorkerFailure::recordingTooLarge
                               : unwritten ? WorkerFailure::cannotWriteCopy
                                           : WorkerFailure::unsupportedRecording);
    }
    return converted;
}

Result runOnQueue(const std::shared_ptr<LocalWorker::State>& state, const QString& path,
                  const QString& language, quint64 ticket) {
    const quint64 generation = ++state->generation;
    Result result = [&]() -> Result {
        if (state->isAbandoned(ticket))
            return std::unexpected(WorkerFailure::stopped);
        const auto converted = convert(path);
        if (!converted)
            return std::unexpected(converted.error());
        Result reply = state->converse(*converted, language, ticket);
        QFile::remove(*converted);
        return reply;
    }();
    state->endRequest(ticket);
    state->queue->asyncAfter(state->idleStop, [weak = std::weak_ptr(state), generation] {
        const auto alive = weak.lock();
        if (alive && alive->generation == generation)
            alive->stop();
    });
    return result;
}

} // namespace

LocalWorker::LocalWorker(SerialQueue& queue, WorkerCommand command,
                         std::chrono::milliseconds idleStop)
    : queue(queue)
    , state(std::make_shared<State>()) {
    state->queue = &queue;
    state->command = std::move(command);
    state->idleStop = idleStop;
}

LocalWorker::~LocalWorker() {
    queue.sync([state = state] { state->stop(); });
}

QCoro::Task<std::expected<QString, WorkerFailure>>
LocalWorker::transcribe(QString path, QString language, Cancellation cancel) {
    const quint64 ticket = ++state->lastTicket;
    QFuture<Result> future = queue.submit([state = state, path, language, ticket] {
        return runOnQueue(state, path, language, ticket);
    });
    const int hook =
        cancel ? cancel->onCancel([state = state, ticket] { state->abandon(ticket); }) : -1;
    Result result = co_await future;
    if (cancel)
        cancel->forget(hook);
    co_return result;
}

void LocalWorker::stopWorker() {
    queue.async([state = state] { state->stop(); });
}

bool LocalWorker::workerRunning() {
    bool running = false;
    queue.sync([&] { running = state->process && state->process->state() == QProcess::Running; });
    return running;
}

} // namespace quendra

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
#include <QPromise>
#include <QSet>
#include <QUuid>

#include <atomic>
#include <functional>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

Q_LOGGING_CATEGORY(workerLog, QUENDRA_APPLICATION_ID ".local-model")

using Result = std::expected<WorkerTranscript, WorkerFailure>;

namespace {
// How often the queue's wait for an answer looks whether it is still wanted.
constexpr int answerPollMs = 50;
} // namespace

// Touched only on the queue, but for what the mutex guards. Only the queue
// signals the process, so a pid is never reused under it.
struct LocalWorker::State {
    SerialQueue* queue = nullptr;
    WorkerCommand command;
    std::chrono::milliseconds idleStop{};
    std::unique_ptr<QProcess> process;
    quint64 generation = 0; // a scheduled idle stop runs only if nothing came since
    quint64 lastTicket = 0; // main thread: one number per request

    // Written by the main thread while the queue may be waiting for an answer.
    mutable QMutex mutex;
    QSet<quint64> abandoned;
    bool retired = false; // the LocalWorker is gone
    qint64 workerPid = 0;

    void abandon(quint64 ticket) {
        const QMutexLocker lock(&mutex);
        abandoned.insert(ticket);
    }

    void retire() {
        const QMutexLocker lock(&mutex);
        retired = true;
    }

    bool unwanted(quint64 ticket) const {
        const QMutexLocker lock(&mutex);
        return retired || abandoned.contains(ticket);
    }

    void endRequest(quint64 ticket) {
        const QMutexLocker lock(&mutex);
        abandoned.remove(ticket);
    }

    void setWorkerPid(qint64 pid) {
        const QMutexLocker lock(&mutex);
        workerPid = pid;
    }

    bool running() const {
        const QMutexLocker lock(&mutex);
        return workerPid != 0;
    }

    // Politely: its input is closed and it may finish what it was doing.
    // Otherwise, or when that takes too long: terminate, then kill after the grace.
    void end(bool politely) {
        if (!process)
            return;
        setWorkerPid(0);
        process->closeWriteChannel();
        if (!politely || !process->waitForFinished(2000)) {
            process->terminate();
            if (!process->waitForFinished(int(endGrace.count()))) {
                process->kill();
                process->waitForFinished(5000);
            }
        }
        process.reset();
    }

    // Something went wrong mid-conversation: the stream cannot be trusted.
    void discard() {
        if (!process)
            return;
        setWorkerPid(0);
        process->kill();
        process->waitForFinished(5000);
        process.reset();
    }

    bool ensureStarted() {
        if (process && process->state() == QProcess::Running)
            return true;
        setWorkerPid(0);
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

    // Reads one line; none when the worker ended first, the line is too long
    // or nobody wants the answer any more.
    std::expected<QByteArray, WorkerFailure> readLine(quint64 ticket) {
        QByteArray buffer;
        for (;;) {
            buffer += process->readAllStandardOutput();
            const qsizetype newline = buffer.indexOf('\n');
            if (newline > longestReplyBytes || (newline < 0 && buffer.size() > longestReplyBytes)) {
                discard();
                return std::unexpected(WorkerFailure::couldNotFinish);
            }
            if (newline >= 0) {
                // Anything after the reply belongs to no request of ours.
                return buffer.left(newline);
            }
            if (unwanted(ticket)) {
                end(false);
                return std::unexpected(WorkerFailure::stopped);
            }
            if (!process->waitForReadyRead(answerPollMs) &&
                process->state() == QProcess::NotRunning && process->bytesAvailable() == 0) {
                discard();
                return std::unexpected(WorkerFailure::stopped);
            }
        }
    }

    Result converse(const QString& audioPath, const QString& language, quint64 ticket) {
        if (unwanted(ticket) || !ensureStarted())
            return std::unexpected(WorkerFailure::stopped);
        const QString id = QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
        const QByteArray request =
            jsonBytes(Json{{"id", id}, {"audioPath", audioPath}, {"language", language}}) + '\n';
        if (process->write(request) != request.size() || !process->waitForBytesWritten(-1)) {
            discard();
            return std::unexpected(WorkerFailure::stopped);
        }
        const auto line = readLine(ticket);
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
        WorkerTranscript out{*transcript, {}};
        // Word times are optional: a worker that does not tell them still
        // transcribes, and a malformed word is left out rather than guessed.
        if (const auto words = reply->find("words"); words != reply->end() && words->is_array()) {
            for (const Json& word : *words) {
                const auto text = field<QString>(word, "text");
                const auto start = field<qint64>(word, "startMs");
                const auto end = field<qint64>(word, "endMs");
                if (text && start && end && *start >= 0 && *end >= *start)
                    out.words.append({*start, *end, *text, std::nullopt});
            }
        }
        return out;
    }
};

namespace {

// The worker reads 16 kHz mono 16-bit WAV whatever the recording was.
std::expected<QString, WorkerFailure> convert(const QString& path,
                                              const std::function<bool()>& unwanted) {
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
    bool stopped = false;
    const auto decoded = AudioDecoder::decode(path, [&](std::span<const qint16> block) {
        // A long recording is not converted for a request nobody waits for.
        if (unwanted()) {
            stopped = true;
            return false;
        }
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
        return std::unexpected(stopped     ? WorkerFailure::stopped
                               : tooLarge  ? WorkerFailure::recordingTooLarge
                               : unwritten ? WorkerFailure::cannotWriteCopy
                                           : WorkerFailure::unsupportedRecording);
    }
    return converted;
}

Result runOnQueue(const std::shared_ptr<LocalWorker::State>& state, const QString& path,
                  const QString& language, quint64 ticket) {
    const quint64 generation = ++state->generation;
    Result result = [&]() -> Result {
        if (state->unwanted(ticket))
            return std::unexpected(WorkerFailure::stopped);
        const auto converted = convert(path, [&] { return state->unwanted(ticket); });
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
            alive->end(true);
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
    QUENDRA_CHECK_THREAD(checker);
    // The queue may be waiting for this worker's answer: it sees the worker
    // retired at its next look and ends the process itself.
    state->retire();
    queue.async([state = state] { state->end(false); });
}

namespace {

// Settled by whichever comes first: the queue's answer or the cancellation.
struct PendingReply {
    QPromise<Result> promise;
    std::atomic<bool> settled = false;

    void settle(Result result) {
        if (settled.exchange(true))
            return;
        promise.addResult(std::move(result));
        promise.finish();
    }
};

} // namespace

QCoro::Task<std::expected<WorkerTranscript, WorkerFailure>>
LocalWorker::transcribe(QString path, QString language, Cancellation cancel) {
    QUENDRA_CHECK_THREAD(checker);
    const quint64 ticket = ++state->lastTicket;
    auto reply = std::make_shared<PendingReply>();
    reply->promise.start();
    QFuture<Result> future = reply->promise.future();
    queue.async([state = state, path, language, ticket, reply] {
        reply->settle(runOnQueue(state, path, language, ticket));
    });
    const int hook = cancel ? cancel->onCancel([state = state, ticket, reply] {
        state->abandon(ticket);
        reply->settle(std::unexpected(WorkerFailure::stopped));
    })
                            : -1;
    // Nothing of `this` is touched after the wait: the worker may be gone.
    Result result = co_await future;
    if (cancel)
        cancel->forget(hook);
    co_return result;
}

void LocalWorker::stopWorker() {
    QUENDRA_CHECK_THREAD(checker);
    queue.async([state = state] { state->end(true); });
}

bool LocalWorker::workerRunning() const {
    QUENDRA_CHECK_THREAD(checker);
    return state->running();
}

} // namespace quendra

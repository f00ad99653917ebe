#pragma once

#include "audio/SerialQueue.h"
#include "hosted/CancellationFlag.h"
#include "model/MainThreadChecker.h"
#include "model/TranscriptionResult.h"

#include <QCoro/QCoroTask>
#include <QMap>
#include <QString>
#include <QStringList>

#include <chrono>
#include <expected>
#include <memory>

namespace quendra {

// How to start a local speech worker.
struct WorkerCommand {
    QString program;
    QStringList arguments;
    QMap<QString, QString> environment; // added to the caller's environment
    QString errorLog;                   // where the worker's diagnostics go; none: discarded
};

// One file's text and, when the worker tells them, its words with their
// times in the file.
struct WorkerTranscript {
    QString text;
    QList<TranscriptionSegment> words;
};

enum class WorkerFailure {
    recordingTooLarge,    // more than 20 minutes once converted
    unsupportedRecording, // the audio could not be read
    cannotWriteCopy,      // the temporary folder took no converted copy
    couldNotFinish,       // an error reply, or a line that is not a reply
    stopped,              // the worker ended or closed its output before replying
};

// A long-lived worker process that transcribes one file per request: one JSON
// line in ({"id", "audioPath", "language"}), one JSON line out ({"id",
// "transcript"} with an optional "words" list, or {"id", "error"}). Started on first use, stopped
// after a while without work; all of it happens on one serial queue, so the worker never sees two
// requests at once.
//
// Thread contract: the public methods are for the main thread, and none of
// them waits for the queue, which may itself be waiting for the worker. A
// cancelled request returns at once; on the queue it is dropped if it has not
// started, stops its conversion, or ends the worker answering it (terminate,
// then kill after endGrace), and the next request starts a new worker.
// Destroying the LocalWorker ends its worker the same way, from the queue.
class LocalWorker {
public:
    static constexpr qint64 longestReplyBytes = 499'999;
    // Below 38,432,001 bytes: 20 minutes and 1 second of 16 kHz samples.
    static constexpr qint64 largestConvertedBytes = 38'432'000;
    static constexpr std::chrono::milliseconds defaultIdleStop{120'000};
    // How long an ended worker may take to go before it is killed.
    static constexpr std::chrono::milliseconds endGrace{500};

    LocalWorker(SerialQueue& queue, WorkerCommand command,
                std::chrono::milliseconds idleStop = defaultIdleStop);
    ~LocalWorker();
    LocalWorker(const LocalWorker&) = delete;
    LocalWorker& operator=(const LocalWorker&) = delete;

    QCoro::Task<std::expected<WorkerTranscript, WorkerFailure>>
    transcribe(QString path, QString language, Cancellation cancel = {});
    // Closes the worker's input and ends it; the next request starts a new one.
    void stopWorker();
    // Whether a worker process is running now, as the queue last saw it.
    bool workerRunning() const;

    struct State;

private:
    MainThreadChecker checker;
    SerialQueue& queue;
    std::shared_ptr<State> state;
};

} // namespace quendra

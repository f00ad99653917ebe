#pragma once

#include "audio/WaveFileWriter.h"

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <expected>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <vector>

namespace quendra {

struct SectionWriterConfiguration {
    int sampleRate = 16000;
    int sectionSeconds = 30;
    int overlapSeconds = 2;
    int envelopeFrameMs = 50;
    double maximumLagSeconds = 0.3;
    double checkpointSeconds = 1.0;
    // How the section files are made durable (fdatasync when empty).
    FileSync sync{};

    qint64 sectionSamples() const { return qint64(sectionSeconds) * sampleRate; }
    qint64 overlapSamples() const { return qint64(overlapSeconds) * sampleRate; }
    qint64 frameSamples() const { return qint64(sampleRate) * envelopeFrameMs / 1000; }
    qint64 maximumLagSamples() const { return qint64(maximumLagSeconds * sampleRate); }
    qint64 checkpointSamples() const { return qint64(checkpointSeconds * sampleRate); }
    // Envelope records repeated at the start of the next section.
    qint64 overlapFrames() const { return qint64(overlapSeconds) * 1000 / envelopeFrameMs; }
    qint64 milliseconds(qint64 samples) const { return samples * 1000 / sampleRate; }
};

// Mixes the microphone and (for a call) the computer's audio into overlapping
// sections in `directory`: part-<index>.wav holds the sum of both sources,
// part-<index>.env one record per envelope frame with each source's level
// (two little-endian uint16: microphone, then system). Every section after the
// first begins with the last `overlapSeconds` of its predecessor; those
// carried samples count toward the section's length, so no file is longer
// than `sectionSeconds`.
//
// Thread contract: the writer has a thread of its own that mixes, writes and
// syncs. appendMicrophone and appendSystem may be called from any thread (a
// sound server's callback): they copy the block and hand it over, taking only
// the hand-over lock, which is never held across I/O. Everything else is
// serialised behind the blocks handed over before it; start, close, abandon
// and settle wait for that, the rest does not. Callbacks run on the writer's
// thread, in order, and must not call back into the writer.
class SectionWriter {
public:
    struct Section {
        int index = 0;
        qint64 startMs = 0;
        qint64 endMs = 0;
        friend bool operator==(const Section&, const Section&) = default;
    };

    // The sentence the user sees when a section file cannot be written.
    static QString writeFailureMessage();
    static QString audioPath(const QString& directory, int index);
    static QString envelopePath(const QString& directory, int index);

    SectionWriter(QString directory, bool hasSystemSource,
                  SectionWriterConfiguration configuration = {});
    ~SectionWriter();
    SectionWriter(const SectionWriter&) = delete;
    SectionWriter& operator=(const SectionWriter&) = delete;

    // startMs of a section k > 0 is 2000 ms before the end of section k - 1. A
    // section is opened only when audio for it arrives, so a recording that
    // stops on a boundary ends without an empty section.
    std::function<void(int index, qint64 startMs)> onSectionOpened;
    std::function<void(int index, qint64 startMs, qint64 endMs)> onSectionClosed;
    // durationMs is the length of the whole note written so far.
    std::function<void(int index, qint64 durationMs)> onCheckpoint;
    // Reported once; afterwards nothing more is written. Sections closed
    // before stay valid, the open one is valid up to its last checkpoint.
    std::function<void(const QString& message)> onFailure;

    // Opens section 0 (reporting it) once the callbacks are set. A failure
    // here is returned, not reported through onFailure.
    std::expected<void, QString> start();

    // Never waits for the disk.
    void appendMicrophone(std::span<const float> samples);
    // Ignored while no system source is active.
    void appendSystem(std::span<const float> samples);
    // Pairs what both queues hold and emits whatever lags too far; with flush,
    // everything queued is emitted, the missing side as silence.
    void drain(bool flush);
    // Switching the system source off emits what is queued first, so nothing
    // captured so far is lost.
    void setSystemSourceActive(bool active);

    // Writes everything handed over, closes the open section (synced) and
    // returns the recorded length in ms (after a failure: up to the last
    // checkpoint). Idempotent.
    qint64 close();
    // Test aid: drops the open files as a crash would (no final header).
    void abandon();
    // Waits until everything handed over so far is written.
    void settle();

    // As of the last block written; call settle first for an exact figure.
    int sectionIndex() const { return shownIndex.load(); }
    qint64 writtenSamples() const { return shownWritten.load(); }
    bool failed() const { return shownFailed.load(); }

    // Appends two prepared sources alternately in blocks, as live sources would.
    void feed(std::span<const float> microphone, std::span<const float> system,
              qsizetype blockSamples);

    // Writes a whole note from two prepared sources (system may be empty),
    // fed alternately in blocks as live sources would; returns the closed
    // sections.
    static std::expected<QList<Section>, QString>
    record(const QString& directory, std::span<const float> microphone,
           std::span<const float> system, SectionWriterConfiguration configuration = {},
           qsizetype blockSamples = 320);

private:
    struct SampleQueue {
        std::vector<float> samples;
        std::size_t head = 0;
        qint64 size() const { return qint64(samples.size() - head); }
        std::span<const float> front(qint64 count) const {
            return {samples.data() + head, std::size_t(count)};
        }
        void append(std::span<const float> block);
        void consume(qint64 count);
        void clear();
    };

    using Step = std::expected<void, QString>;
    using Job = std::function<void()>;

    // Hands `job` to the writer's thread; `wait` returns once it has run.
    void post(Job job);
    void wait(Job job);
    void work();
    void publish();
    qint64 closeHere();

    void drainQueued(bool flush);
    void emitSamples(std::span<const float> microphone, std::span<const float> system,
                     qint64 count);
    Step openSection();
    Step closeSection();
    void finishFrame();
    Step flushPending();
    Step checkpoint();
    int syncFile(int fd) const;
    void fail(const QString& detail);
    void dropFiles();

    // Touched only on the writer's thread.
    QString directory;
    SectionWriterConfiguration configuration;
    bool systemSourceActive;

    int index = 0;
    bool started = false;
    bool finished = false;
    bool didFail = false;
    qint64 written = 0;
    qint64 durableSamples = 0;
    qint64 sectionLength = 0;
    qint64 sectionStartMs = 0;
    qint64 samplesSinceCheckpoint = 0;
    std::optional<WaveFileWriter> wave;
    std::unique_ptr<QFile> envelope;

    SampleQueue microphoneQueue;
    SampleQueue systemQueue;
    // Mixed samples and envelope records not yet handed to the files.
    std::vector<qint16> pendingSamples;
    QByteArray pendingRecords;

    // Ring of the last overlapSamples() written; tailFrames holds their records.
    std::vector<qint16> tail;
    std::size_t tailEnd = 0;
    qint64 tailCount = 0;
    QByteArray tailFrames;

    qint64 frameCount = 0;
    double microphoneSquares = 0;
    double systemSquares = 0;

    // Read from any thread.
    std::atomic<bool> accepting = true;
    std::atomic<int> shownIndex = 0;
    std::atomic<qint64> shownWritten = 0;
    std::atomic<bool> shownFailed = false;

    // The hand-over: held only to push or pop a job.
    std::mutex jobsLock;
    std::condition_variable jobsReady;
    std::deque<Job> jobs;
    bool quitting = false;
    // Last, so that it starts after and stops before the fields above.
    std::thread writerThread;
};

} // namespace quendra

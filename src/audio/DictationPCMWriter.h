#pragma once

#include "audio/PCMLevel.h"
#include "audio/SerialQueue.h"
#include "audio/VolumeSpace.h"
#include "audio/WaveFileWriter.h"

#include <QString>

#include <atomic>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <span>

namespace quendra {

// Writes one dictation: converts float blocks to 16-bit samples, keeps the
// meter level and the speech count, and makes the file valid on disk about
// once a second.
//
// Thread contract: append may be called from any thread (it copies and hands
// the block to the writer's own queue). snapshot reads what the queue last
// published and never waits; stop waits for the queue to write what it holds.
// onFailure runs on the queue, once.
class DictationPCMWriter {
public:
    struct Snapshot {
        double seconds = 0;
        double level = 0;
        bool speech = false;
    };

    static constexpr qint64 checkpointInterval = WaveFileWriter::bytesPerSecond;
    static constexpr qint64 minimumFreeBytes = 16'000'000;
    static QString queueLabel();

    // Creates the file with a header for no samples.
    static std::expected<std::unique_ptr<DictationPCMWriter>, QString>
    create(const QString& path, FreeSpaceProbe freeSpace = availableBytes);
    ~DictationPCMWriter();

    // Multiplied by 32767, clamped, truncated toward zero.
    static qint16 convert(float sample);

    // Set before the first append.
    std::function<void()> onFailure;

    void append(std::span<const float> samples);
    Snapshot snapshot() const;
    // Waits until every block handed over so far is written (tests, tools).
    void settle();
    // Closes the file (final header); later blocks are dropped.
    void stop();

private:
    DictationPCMWriter(WaveFileWriter wave, QString path, FreeSpaceProbe freeSpace);
    void process(const std::vector<float>& samples);
    void fail();

    QString path;
    FreeSpaceProbe freeSpace;
    // Touched only on the queue.
    std::optional<WaveFileWriter> writer;
    SpeechActivityTracker speech;
    qint64 bytes = 0;
    qint64 checkpointBytes = 0;
    bool failed = false;
    std::vector<qint16> converted;
    // Written on the queue after each block, read by the meters.
    std::atomic<qint64> shownBytes = 0;
    std::atomic<double> shownLevel = 0;
    std::atomic<bool> shownSpeech = false;
    // Last, so that it finishes its work before the fields above go away.
    SerialQueue queue;
};

} // namespace quendra

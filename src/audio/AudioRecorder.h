#pragma once

#include "audio/AudioRecorderError.h"
#include "audio/DictationPCMWriter.h"
#include "audio/RecordingCapture.h"
#include "model/MainThreadChecker.h"
#include "platform/AudioSource.h"
#include "platform/IdleInhibitor.h"
#include "platform/MicrophonePermission.h"

#include <QObject>
#include <QTimer>

#include <expected>
#include <functional>
#include <memory>
#include <optional>

namespace quendra {

// Records one dictation at a time from the microphone into a WAV file, with a
// live level, a speech count, a stall watch and one report when capture dies
// under it. The recorder never stops itself: its owner reacts to the report.
//
// Thread contract: main thread only; its signal is emitted there. The meters
// read what the writer last published and never wait for it.
class AudioRecorder : public QObject {
    Q_OBJECT

public:
    struct RecordingCaptureHealth {
        double lastElapsed = 0;
        double lastProgress = 0;
        bool reported = false;
    };

    struct Options {
        // Seconds of a monotonic clock.
        std::function<double()> uptime{};
        FreeSpaceProbe freeSpace = availableBytes;
        int pollIntervalMs = 200;
    };

    static constexpr double stallSeconds = 3.0;
    static constexpr double progressSeconds = 0.01;

    AudioRecorder(AudioSourceFactory& sources, MicrophonePermission& permission,
                  IdleInhibitor* idle, Options options);
    AudioRecorder(AudioSourceFactory& sources, MicrophonePermission& permission,
                  IdleInhibitor* idle = nullptr);
    ~AudioRecorder() override;

    // "quendra-" + an upper-case UUID + ".wav" in the temporary directory.
    static QString temporaryFilePath();

    bool requestPermission();
    // Without a path the recording goes to temporaryFilePath().
    std::expected<void, AudioRecorderError> start(std::optional<QString> path = std::nullopt);
    // Nothing when no recording is held.
    std::optional<RecordingCapture> stop();
    // Removes the file of the last recording and its progress sidecar.
    void clearFile();

    bool isRecording() const {
        QUENDRA_CHECK_THREAD(checker);
        return source != nullptr;
    }
    std::optional<QString> filePath() const {
        QUENDRA_CHECK_THREAD(checker);
        return fileURL;
    }
    // From the writer's latest buffer, 0..1; 0 while idle.
    double level() const;
    double elapsedSeconds() const;

    // The 0.2 s health and permission check (the timer runs it).
    void poll();

Q_SIGNALS:
    // Capture died under the recording, stalled, or lost its permission;
    // once per recording. The recording is still held: its owner stops it.
    void unexpectedStop();

private:
    void reportUnexpectedStop();
    // Runs `report` on the main thread unless this recording has ended.
    void postReport(quint64 recording);

    MainThreadChecker checker;
    AudioSourceFactory& sources;
    MicrophonePermission& permission;
    IdleInhibitor* idle;
    Options options;

    std::unique_ptr<AudioSource> source;
    std::unique_ptr<DictationPCMWriter> writer;
    std::optional<QString> fileURL;
    QTimer timer;
    std::unique_ptr<IdleInhibitor::Hold> recordingActivity;
    std::optional<RecordingCaptureHealth> captureHealth;
    bool interruptionReported = false;
    quint64 recordingNumber = 0;
};

} // namespace quendra

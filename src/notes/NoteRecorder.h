#pragma once

#include "audio/NoteCaptureError.h"
#include "audio/SectionWriter.h"
#include "model/MainThreadChecker.h"
#include "model/Note.h"
#include "platform/AudioSource.h"

#include <QObject>
#include <QTimer>
#include <QUuid>

#include <atomic>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <variant>

namespace quendra {

// Records a note: the microphone and, for a call, the computer's audio, mixed
// into overlapping sections by one SectionWriter. The recorder does not touch
// the note: its owner stores what the events report.
//
// Thread contract: main thread only; events are emitted there, in order. The
// sound server's callbacks only measure a level and hand their block to the
// writer's own thread; the writer's reports are posted back here.
class NoteRecorder : public QObject {
    Q_OBJECT

public:
    struct SectionOpened {
        int index = 0;
        qint64 startMs = 0;
    };
    struct RecordedSection {
        int index = 0;
        qint64 startMs = 0;
        qint64 endMs = 0;
    };
    struct Checkpoint {
        int index = 0;
        qint64 durationMs = 0;
    };
    // Meter levels 0..1 of the latest blocks.
    struct Levels {
        double microphone = 0;
        double system = 0;
    };
    // The recording cannot go on; its owner stops it. Reported once.
    struct Failure {
        QString message;
    };
    // The computer's audio was lost; the microphone goes on alone.
    struct Notice {
        QString message;
    };
    using Event = std::variant<SectionOpened, RecordedSection, Checkpoint, Levels, Failure, Notice>;

    struct StartRequest {
        QUuid noteID;
        QString directory;
        NoteSource source = NoteSource::room;
        SectionWriterConfiguration configuration{};
        // Free bytes of the notes volume; unknown lets the recording start.
        std::optional<qint64> freeBytes{};
    };
    struct Started {
        bool systemSourceActive = false;
        // Why a call records the microphone alone.
        std::optional<QString> notice{};
    };
    struct StartFailure {
        // None when the first section could not be written.
        std::optional<NoteCaptureError> error{};
        QString message{};
    };

    static QString microphoneStoppedMessage();
    static QString systemAudioLostNotice();

    explicit NoteRecorder(AudioSourceFactory& sources, int levelIntervalMs = 100);
    ~NoteRecorder() override;

    std::expected<Started, StartFailure> start(const StartRequest& request);
    // Stops both sources, writes what they left queued, closes the last section
    // and returns the recorded length in ms. Every event of the recording has
    // been delivered when it returns. 0 when nothing was recording.
    qint64 stop();

    bool isRecording() const {
        QUENDRA_CHECK_THREAD(checker);
        return writer != nullptr;
    }
    QUuid noteID() const {
        QUENDRA_CHECK_THREAD(checker);
        return currentNote;
    }

Q_SIGNALS:
    void reported(const quendra::NoteRecorder::Event& event);

private:
    void post(Event event);
    void deliver(const Event& event);
    void reportFailure(const QString& message);

    MainThreadChecker checker;
    AudioSourceFactory& sources;
    QTimer levelTimer;
    QUuid currentNote;
    std::unique_ptr<SectionWriter> writer;
    std::unique_ptr<AudioSource> microphone;
    std::unique_ptr<AudioSource> system;
    std::atomic<double> microphoneLevel = 0;
    std::atomic<double> systemLevel = 0;
    std::atomic<bool> failureReported = false;
    bool stopping = false;
};

} // namespace quendra

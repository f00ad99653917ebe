#pragma once

#include <QString>
#include <QStringList>

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <span>

namespace quendra {

// One running capture: blocks of 16 kHz mono float samples in -1..1.
//
// Thread contract: start and stop are called from the owner's thread; onSamples
// and onFailure run on the source's own thread and must neither block for long
// nor call start or stop. Set both callbacks before start.
class AudioSource {
public:
    static constexpr int sampleRate = 16000;

    virtual ~AudioSource();

    std::function<void(std::span<const float> samples)> onSamples;
    // A fatal stop after a successful start, reported at most once; nothing is
    // delivered afterwards.
    std::function<void(const QString& detail)> onFailure;

    // The detail of a failure is for logs; callers show their own sentence.
    virtual std::expected<void, QString> start() = 0;
    // Idempotent; no callback runs once it has returned.
    virtual void stop() = 0;
    // "Microphone", "Computer audio", or the device's own description.
    virtual QString displayName() const = 0;
    // Whether an echo-cancelled input is in use (microphones asked for it).
    virtual bool voiceProcessingActive() const { return false; }
};

struct MicrophoneOptions {
    // A call wants an echo-cancelled input; only one the system already offers
    // is used, and a refusal is remembered for the factory's lifetime.
    bool voiceProcessing = false;
    // A named input instead of the default one.
    std::optional<QString> device{};
};

// Which other programs use the sound server now, for the call hint.
struct AudioActivity {
    // Desktop ids, binaries or names of the programs playing sound.
    QStringList playing;
    // Another program records from a microphone (not from the speakers).
    bool microphoneInUse = false;
};

// Makes the capture sources of the running desktop.
//
// Thread contract: owner's thread only.
class AudioSourceFactory {
public:
    virtual ~AudioSourceFactory();

    virtual std::unique_ptr<AudioSource> microphone(const MicrophoneOptions& options) = 0;
    // What the computer plays (the other side of a call).
    virtual std::unique_ptr<AudioSource> computerAudio() = 0;
    // Nothing where the sound server cannot say.
    virtual AudioActivity activity() { return {}; }

    // The sound server of this session (defined by the platform folder).
    static std::unique_ptr<AudioSourceFactory> create();
};

} // namespace quendra

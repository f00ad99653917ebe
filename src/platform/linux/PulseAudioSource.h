#pragma once

#include "platform/AudioSource.h"
#include "platform/linux/PulseAudioConnection.h"

#include <memory>
#include <vector>

namespace quendra {

// Records one server source as 16 kHz mono float (the server resamples and
// mixes down). The stream is never moved by the server: a vanished microphone
// must not silently become a recording of a monitor. When the recorded input
// goes away, a microphone follows the new default input if that is a real
// input; otherwise, and whenever the server goes away, onFailure is reported.
class PulseAudioSource final : public AudioSource {
public:
    enum class Kind { microphone, computerAudio };

    // `voiceProcessingRefused` is shared by the microphones of one factory.
    PulseAudioSource(Kind kind, MicrophoneOptions options,
                     std::shared_ptr<bool> voiceProcessingRefused);
    ~PulseAudioSource() override;

    std::expected<void, QString> start() override;
    void stop() override;
    QString displayName() const override;
    bool voiceProcessingActive() const override { return echoCancelled; }

private:
    std::expected<QString, QString> chooseDevice();
    // With the loop locked.
    bool connectStream(const QString& device);
    void dropStream();
    void fail(const QString& detail);
    void followDefaultInput(int attempt);
    void scheduleFollow(int attempt);
    void deliver(const void* data, std::size_t bytes);

    static void streamState(pa_stream* stream, void* self);
    static void streamRead(pa_stream* stream, std::size_t bytes, void* self);

    Kind kind;
    MicrophoneOptions options;
    std::shared_ptr<bool> voiceProcessingRefused;
    std::unique_ptr<PulseAudioConnection> connection;
    pa_stream* stream = nullptr;
    QString device;
    QString deviceDescription;
    bool echoCancelled = false;
    bool ready = false;
    bool running = false; // start succeeded
    bool stopped = false;
    bool failed = false;
    std::vector<float> block;
};

} // namespace quendra

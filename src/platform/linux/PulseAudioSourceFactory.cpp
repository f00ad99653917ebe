#include "platform/linux/PulseAudioConnection.h"
#include "platform/linux/PulseAudioSource.h"

#include "platform/MicrophonePermission.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <atomic>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// A connection kept between queries and opened again once the server dropped
// it: opening one for each query would cost a new loop thread every time.
class KeptConnection {
public:
    PulseAudioConnection* get() {
        if (connection && lost)
            connection.reset();
        if (!connection) {
            auto opened = PulseAudioConnection::open(u"Parlevo"_s);
            if (!opened)
                return nullptr;
            connection = std::move(*opened);
            lost = false;
            connection->onContextFailed = [this] { lost = true; };
        }
        return connection.get();
    }

private:
    std::unique_ptr<PulseAudioConnection> connection;
    std::atomic<bool> lost = false;
};

class PulseAudioSourceFactory final : public AudioSourceFactory {
public:
    std::unique_ptr<AudioSource> microphone(const MicrophoneOptions& options) override {
        return std::make_unique<PulseAudioSource>(PulseAudioSource::Kind::microphone, options,
                                                  voiceProcessingRefused);
    }
    std::unique_ptr<AudioSource> computerAudio() override {
        return std::make_unique<PulseAudioSource>(PulseAudioSource::Kind::computerAudio,
                                                  MicrophoneOptions{}, voiceProcessingRefused);
    }
    AudioActivity activity() override {
        PulseAudioConnection* connection = kept.get();
        if (!connection)
            return {};
        const qint64 self = QCoreApplication::applicationPid();
        AudioActivity out;
        for (const auto& stream : connection->playbackStreams())
            if (stream.processId != self && !stream.application.isEmpty() &&
                !out.playing.contains(stream.application))
                out.playing << stream.application;
        for (const auto& stream : connection->recordingStreams())
            if (stream.processId != self && !stream.fromMonitor)
                out.microphoneInUse = true;
        return out;
    }

private:
    std::shared_ptr<bool> voiceProcessingRefused = std::make_shared<bool>(false);
    KeptConnection kept;
};

// There is no microphone prompt: access is granted when the server answers
// and has an input that is not a monitor. The answer is kept for a second so
// that a 0.2 s poll costs nothing.
class PulseAudioMicrophonePermission final : public MicrophonePermission {
public:
    bool granted() override {
        if (checked.isValid() && !checked.hasExpired(1000))
            return answer;
        checked.start();
        answer = ask();
        return answer;
    }

private:
    bool ask() {
        PulseAudioConnection* connection = kept.get();
        if (!connection)
            return false;
        for (const auto& source : connection->sources())
            if (!source.isMonitor)
                return true;
        return false;
    }

    KeptConnection kept;
    QElapsedTimer checked;
    bool answer = false;
};

} // namespace

std::unique_ptr<AudioSourceFactory> AudioSourceFactory::create() {
    return std::make_unique<PulseAudioSourceFactory>();
}

std::unique_ptr<MicrophonePermission> MicrophonePermission::create() {
    return std::make_unique<PulseAudioMicrophonePermission>();
}

} // namespace quendra

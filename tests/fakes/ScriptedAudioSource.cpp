#include "fakes/ScriptedAudioSource.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

ScriptedAudioSource::~ScriptedAudioSource() = default;

std::expected<void, QString> ScriptedAudioSource::start() {
    ++startCount;
    if (startError)
        return std::unexpected(*startError);
    isRunning = true;
    return {};
}

void ScriptedAudioSource::stop() {
    if (stopTally)
        ++*stopTally;
    isRunning = false;
}

void ScriptedAudioSource::deliver(std::span<const float> samples, qsizetype blockSamples) {
    for (std::size_t at = 0; at < samples.size() && isRunning; at += std::size_t(blockSamples)) {
        const std::size_t count =
            std::min<std::size_t>(std::size_t(blockSamples), samples.size() - at);
        if (onSamples)
            onSamples(samples.subspan(at, count));
    }
}

void ScriptedAudioSource::deliverConstant(float value, qsizetype count, qsizetype blockSamples) {
    const std::vector<float> samples(std::size_t(count), value);
    deliver(samples, blockSamples);
}

void ScriptedAudioSource::fail(const QString& detail) {
    if (!isRunning)
        return;
    isRunning = false;
    if (onFailure)
        onFailure(detail);
}

std::unique_ptr<AudioSource>
ScriptedAudioSourceFactory::microphone(const MicrophoneOptions& options) {
    microphoneRequests << options;
    auto source = std::make_unique<ScriptedAudioSource>(u"Microphone"_s, microphoneStartError);
    lastMicrophone = source.get();
    source->stopTally = &microphoneStops;
    return source;
}

std::unique_ptr<AudioSource> ScriptedAudioSourceFactory::computerAudio() {
    ++computerAudioRequests;
    auto source =
        std::make_unique<ScriptedAudioSource>(u"Computer audio"_s, computerAudioStartError);
    lastComputerAudio = source.get();
    return source;
}

} // namespace quendra

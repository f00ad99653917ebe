#pragma once

#include "platform/AudioSource.h"

#include <QList>

#include <optional>
#include <vector>

namespace quendra {

// A capture source the test drives: it delivers the blocks it is given, on
// the calling thread, and fails when told to.
class ScriptedAudioSource final : public AudioSource {
public:
    explicit ScriptedAudioSource(QString name, std::optional<QString> startError = std::nullopt)
        : name(std::move(name))
        , startError(std::move(startError)) {}
    ~ScriptedAudioSource() override;

    std::expected<void, QString> start() override;
    void stop() override;
    QString displayName() const override { return name; }

    bool running() const { return isRunning; }
    int starts() const { return startCount; }

    // Delivers `samples` in blocks of `blockSamples`, as a live source would;
    // nothing is delivered unless the source runs.
    void deliver(std::span<const float> samples, qsizetype blockSamples = 800);
    void deliverConstant(float value, qsizetype count, qsizetype blockSamples = 800);
    void fail(const QString& detail);

    // Counted here too, so a test can see the stop of a source already gone.
    int* stopTally = nullptr;

private:
    QString name;
    std::optional<QString> startError;
    bool isRunning = false;
    int startCount = 0;
};

// Hands out scripted sources and keeps a pointer to the latest of each kind
// (valid while its owner keeps it).
class ScriptedAudioSourceFactory final : public AudioSourceFactory {
public:
    std::unique_ptr<AudioSource> microphone(const MicrophoneOptions& options) override;
    std::unique_ptr<AudioSource> computerAudio() override;

    std::optional<QString> microphoneStartError;
    std::optional<QString> computerAudioStartError;

    ScriptedAudioSource* lastMicrophone = nullptr;
    ScriptedAudioSource* lastComputerAudio = nullptr;
    QList<MicrophoneOptions> microphoneRequests;
    int computerAudioRequests = 0;
    int microphoneStops = 0;
};

} // namespace quendra

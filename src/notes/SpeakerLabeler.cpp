#include "SpeakerLabeler.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace quendra {

namespace {

// Tuning of the labeller; the levels are RMS amplitudes 0..1.
constexpr float loudSystemLevel = 0.01f; // frames that can show the echo ratio
constexpr std::size_t minimumLeakFrames = 20;
constexpr double leakPercentile = 0.2;
constexpr float maximumLeak = 8.0f;
constexpr float microphoneFloor = 0.004f; // below: nobody speaks into the microphone
constexpr float systemFloor = 0.002f;     // below: the computer's audio is silent
constexpr std::size_t minimumReferenceFrames = 10;
constexpr double referencePercentile = 0.8;
constexpr float fallbackReference = 0.05f;
constexpr float dominance = 1.6f;
constexpr qint64 fillLimitMs = 300;

float residual(float microphone, float system, float leak) {
    return std::max(0.0f, microphone - leak * system);
}

// Running sums of each source's squared level, so that a word's energy costs
// the same however long the transcriber says it lasts.
struct SquareSums {
    std::vector<double> microphone{0.0};
    std::vector<double> system{0.0};

    SquareSums(const EnergyEnvelope& envelope, float leak) {
        const std::size_t count = envelope.frameCount();
        microphone.reserve(count + 1);
        system.reserve(count + 1);
        for (std::size_t i = 0; i < count; ++i) {
            const float s = envelope.system[i];
            const double m = residual(envelope.microphone[i], s, leak);
            microphone.push_back(microphone.back() + m * m);
            system.push_back(system.back() + double(s) * s);
        }
    }
};

std::optional<QStringView> wordLabel(const TimedWord& word, const EnergyEnvelope& envelope,
                                     const SquareSums& sums,
                                     const SpeakerLabeler::Calibration& calibration) {
    const auto count = static_cast<qint64>(envelope.frameCount());
    const qint64 frameMs = envelope.frameMs;
    const qint64 first = std::clamp<qint64>(word.startMs / frameMs, 0, count - 1);
    const qint64 last =
        std::clamp<qint64>((std::max(word.endMs, word.startMs + 1) - 1) / frameMs, 0, count - 1);
    const auto from = static_cast<std::size_t>(first);
    const auto to = static_cast<std::size_t>(last) + 1;
    const double microphoneSquares = std::max(0.0, sums.microphone[to] - sums.microphone[from]);
    const double systemSquares = std::max(0.0, sums.system[to] - sums.system[from]);
    const double frames = static_cast<double>(last - first + 1);
    const auto m = static_cast<float>(std::sqrt(microphoneSquares / frames));
    const auto s = static_cast<float>(std::sqrt(systemSquares / frames));

    if (m < microphoneFloor) {
        if (s >= systemFloor)
            return SpeakerLabel::them;
        return std::nullopt;
    }
    if (s < systemFloor)
        return SpeakerLabel::you;
    const float relativeMicrophone = m / calibration.microphoneReference;
    const float relativeSystem = s / calibration.systemReference;
    if (relativeSystem * dominance <= relativeMicrophone)
        return SpeakerLabel::you;
    if (relativeMicrophone * dominance <= relativeSystem)
        return SpeakerLabel::them;
    return std::nullopt;
}

} // namespace

float SpeakerLabeler::percentile(std::span<const float> values, double p) {
    std::vector<float> copy(values.begin(), values.end());
    return percentileInPlace(copy, p);
}

float SpeakerLabeler::percentileInPlace(std::vector<float>& values, double p) {
    if (values.empty())
        return 0.0f;
    const auto last = static_cast<qint64>(values.size()) - 1;
    const qint64 index = std::clamp<qint64>(std::llround(static_cast<double>(last) * p), 0, last);
    // Selecting the element gives the same value as sorting everything.
    const auto at = values.begin() + index;
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

SpeakerLabeler::Calibration SpeakerLabeler::calibrate(const EnergyEnvelope& envelope) {
    const std::size_t count = envelope.frameCount();
    const auto& microphone = envelope.microphone;
    const auto& system = envelope.system;

    std::vector<float> ratios;
    for (std::size_t i = 0; i < count; ++i) {
        if (system[i] >= loudSystemLevel)
            ratios.push_back(microphone[i] / system[i]);
    }
    Calibration calibration;
    if (ratios.size() >= minimumLeakFrames)
        calibration.leak = std::min(percentileInPlace(ratios, leakPercentile), maximumLeak);

    std::vector<float> residuals;
    std::vector<float> systemLevels;
    for (std::size_t i = 0; i < count; ++i) {
        const float r = residual(microphone[i], system[i], calibration.leak);
        if (r >= microphoneFloor)
            residuals.push_back(r);
        if (system[i] >= systemFloor)
            systemLevels.push_back(system[i]);
    }
    calibration.microphoneReference =
        residuals.size() < minimumReferenceFrames
            ? fallbackReference
            : std::max(percentileInPlace(residuals, referencePercentile), microphoneFloor);
    calibration.systemReference =
        systemLevels.size() < minimumReferenceFrames
            ? fallbackReference
            : std::max(percentileInPlace(systemLevels, referencePercentile), systemFloor);
    return calibration;
}

QStringList SpeakerLabeler::label(const QList<TimedWord>& words, const EnergyEnvelope& envelope) {
    return label(words, envelope, calibrate(envelope));
}

QStringList SpeakerLabeler::label(const QList<TimedWord>& words, const EnergyEnvelope& envelope,
                                  const Calibration& calibration) {
    const auto count = words.size();
    std::vector<std::optional<QStringView>> labels(static_cast<std::size_t>(count));
    if (envelope.frameCount() > 0 && envelope.frameMs >= 1) {
        const SquareSums sums(envelope, calibration.leak);
        for (qsizetype i = 0; i < count; ++i)
            labels[static_cast<std::size_t>(i)] = wordLabel(words[i], envelope, sums, calibration);
    }

    // A short word between two words of the same speaker, with short pauses on
    // both sides, is taken to be that speaker's too.
    for (qsizetype i = 1; i + 1 < count; ++i) {
        const auto at = static_cast<std::size_t>(i);
        if (labels[at] || !labels[at - 1] || labels[at - 1] != labels[at + 1])
            continue;
        const TimedWord& previous = words[i - 1];
        const TimedWord& word = words[i];
        const TimedWord& next = words[i + 1];
        if (word.endMs - word.startMs <= fillLimitMs &&
            word.startMs - previous.endMs <= fillLimitMs &&
            next.startMs - word.endMs <= fillLimitMs)
            labels[at] = labels[at - 1];
    }

    QStringList result;
    result.reserve(count);
    for (const auto& l : labels)
        result.append(l.value_or(SpeakerLabel::unclear).toString());
    return result;
}

} // namespace quendra

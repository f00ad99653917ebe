#include "notes/SpeakerLabeler.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

// An envelope of 50-ms frames, silent unless set.
EnergyEnvelope silentEnvelope(std::size_t frames) {
    EnergyEnvelope envelope;
    envelope.frameMs = 50;
    envelope.microphone.assign(frames, 0.0f);
    envelope.system.assign(frames, 0.0f);
    return envelope;
}

void setFrames(EnergyEnvelope& envelope, qint64 fromMs, qint64 toMs, float microphone,
               float system) {
    for (qint64 frame = fromMs / envelope.frameMs; frame < toMs / envelope.frameMs; ++frame) {
        envelope.microphone[static_cast<std::size_t>(frame)] = microphone;
        envelope.system[static_cast<std::size_t>(frame)] = system;
    }
}

TimedWord word(qint64 startMs, qint64 endMs) {
    return TimedWord{u"word"_s, startMs, endMs, 0};
}

} // namespace

TEST(SpeakerLabeler, PercentileTakesTheRoundedRankOfTheSortedValues) {
    EXPECT_EQ(SpeakerLabeler::percentile({}, 0.5), 0.0f);
    std::vector<float> values(21);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<float>(i) * 0.5f;
    std::ranges::shuffle(values, std::mt19937(7));
    // round(20 × 0.2) = 4, round(20 × 0.8) = 16, round(20 × 0.53) = 11.
    EXPECT_EQ(SpeakerLabeler::percentile(values, 0.2), 2.0f);
    EXPECT_EQ(SpeakerLabeler::percentile(values, 0.8), 8.0f);
    EXPECT_EQ(SpeakerLabeler::percentile(values, 0.53), 5.5f);
    EXPECT_EQ(SpeakerLabeler::percentile(values, -1.0), 0.0f);
    EXPECT_EQ(SpeakerLabeler::percentile(values, 3.0), 10.0f);
    // round(3 × 0.5) = 2 (halves round away from zero).
    const std::vector<float> four{4.0f, 1.0f, 3.0f, 2.0f};
    EXPECT_EQ(SpeakerLabeler::percentile(four, 0.5), 3.0f);
}

TEST(SpeakerLabeler, CalibrationMeasuresEchoOnlyWithEnoughLoudComputerAudio) {
    // Frames where the computer plays and the microphone hears k/10 of it.
    const auto echoEnvelope = [](int loudFrames) {
        EnergyEnvelope envelope = silentEnvelope(100);
        for (int i = 0; i < loudFrames; ++i) {
            const auto at = static_cast<std::size_t>(i);
            envelope.system[at] = 0.01f; // the least level that shows the ratio
            envelope.microphone[at] = 0.001f * static_cast<float>(i + 1);
        }
        return envelope;
    };
    EXPECT_EQ(SpeakerLabeler::calibrate(echoEnvelope(19)).leak, 0.0f);
    // Ratios 0.1, 0.2, ..., 2.0: the 0.2 percentile is the fifth smallest.
    EXPECT_NEAR(SpeakerLabeler::calibrate(echoEnvelope(20)).leak, 0.5f, 1e-5);
    // Ratios in between louder system frames are capped at 8.
    EnergyEnvelope loudMicrophone = silentEnvelope(40);
    setFrames(loudMicrophone, 0, 2'000, 0.5f, 0.02f);
    EXPECT_EQ(SpeakerLabeler::calibrate(loudMicrophone).leak, 8.0f);

    // References: 0.8 percentile of what is audible once the echo is gone,
    // 0.05 when fewer than ten frames are audible.
    EnergyEnvelope speech = silentEnvelope(200);
    for (int i = 0; i < 30; ++i) {
        speech.microphone[static_cast<std::size_t>(i)] = 0.01f * static_cast<float>(i + 1);
        speech.system[static_cast<std::size_t>(100 + i)] = 0.001f * static_cast<float>(i + 1);
    }
    const auto calibration = SpeakerLabeler::calibrate(speech);
    EXPECT_EQ(calibration.leak, 0.0f);
    // Residuals 0.01..0.30 (30 values, rank 23) and system levels 0.002..0.030
    // (29 values at least 0.002, rank 22).
    EXPECT_FLOAT_EQ(calibration.microphoneReference, 0.24f);
    EXPECT_FLOAT_EQ(calibration.systemReference, 0.024f);
    EnergyEnvelope quiet = silentEnvelope(200);
    setFrames(quiet, 0, 450, 0.2f, 0.0f);
    setFrames(quiet, 1'000, 1'450, 0.0f, 0.2f);
    const auto fallback = SpeakerLabeler::calibrate(quiet);
    EXPECT_EQ(fallback.microphoneReference, 0.05f);
    EXPECT_EQ(fallback.systemReference, 0.05f);
}

TEST(SpeakerLabeler, LabelsWordsByTheSourceThatDominatesTheirFrames) {
    EnergyEnvelope envelope = silentEnvelope(100);
    setFrames(envelope, 0, 500, 0.2f, 0.0f);     // microphone alone
    setFrames(envelope, 500, 1'000, 0.0f, 0.2f); // computer audio alone
    setFrames(envelope, 1'000, 1'500, 0.1f, 0.2f);
    setFrames(envelope, 1'500, 2'000, 0.001f, 0.0f);
    setFrames(envelope, 4'950, 5'000, 0.0f, 0.3f); // last frame
    const SpeakerLabeler::Calibration calibration{0.0f, 0.1f, 0.1f};
    const auto labels = SpeakerLabeler::label(
        {word(0, 450), word(600, 900), word(1'000, 1'400), word(1'600, 1'900), word(7'000, 7'000)},
        envelope, calibration);
    // The fourth word is too quiet and too far from its neighbours to share
    // their label; the last one lies past the levels and reads the last frame.
    EXPECT_EQ(labels, QStringList({u"you"_s, u"them"_s, u"them"_s, u"unclear"_s, u"them"_s}));

    // With both sources audible, each level is compared with its reference
    // and one must lead the other by a factor of 1.6.
    const auto compare = [&](float microphoneReference, float systemReference) {
        return SpeakerLabeler::label({word(1'000, 1'400)}, envelope,
                                     {0.0f, microphoneReference, systemReference})
            .front();
    };
    EXPECT_EQ(compare(0.05f, 0.2f), u"you"_s);     // M = 2, S = 1
    EXPECT_EQ(compare(0.1f, 0.1f), u"them"_s);     // M = 1, S = 2
    EXPECT_EQ(compare(0.1f, 0.15f), u"unclear"_s); // M = 1, S = 1.33

    // A word's frames run from startMs / 50 to (endMs − 1) / 50: a word ending
    // exactly where the computer's audio begins is still the microphone's.
    const auto alone = [&](qint64 startMs, qint64 endMs) {
        return SpeakerLabeler::label({word(startMs, endMs)}, envelope, calibration).front();
    };
    EXPECT_EQ(alone(400, 500), u"you"_s);
    EXPECT_EQ(alone(450, 501), u"unclear"_s);
    EXPECT_EQ(alone(499, 499), u"you"_s);
    EXPECT_EQ(alone(500, 500), u"them"_s);
}

TEST(SpeakerLabeler, TakesEchoOffTheMicrophoneBeforeComparing) {
    // The other side talks for 3 s and the microphone hears 90 % of it; the
    // user speaks quietly, alone and then over the other side.
    EnergyEnvelope envelope = silentEnvelope(200);
    setFrames(envelope, 0, 3'000, 0.18f, 0.2f);
    setFrames(envelope, 3'000, 6'000, 0.1f, 0.0f);
    setFrames(envelope, 6'000, 7'000, 0.28f, 0.2f);
    const auto calibration = SpeakerLabeler::calibrate(envelope);
    EXPECT_NEAR(calibration.leak, 0.9f, 1e-5);
    EXPECT_NEAR(calibration.microphoneReference, 0.1f, 1e-5);
    EXPECT_FLOAT_EQ(calibration.systemReference, 0.2f);
    const auto labels =
        SpeakerLabeler::label({word(0, 400), word(3'100, 3'500), word(6'100, 6'500)}, envelope);
    // Over the other side the user's residual 0.1 at reference 0.1 ties with
    // 0.2 at reference 0.2.
    EXPECT_EQ(labels, QStringList({u"them"_s, u"you"_s, u"unclear"_s}));
    // Left in, the echo would pass for the user.
    EXPECT_EQ(SpeakerLabeler::label({word(0, 400)}, envelope, {0.0f, 0.1f, 0.2f}),
              QStringList({u"you"_s}));
}

TEST(SpeakerLabeler, FillsAShortUnclearWordOnlyBetweenAgreeingNeighbours) {
    EnergyEnvelope envelope = silentEnvelope(400);
    setFrames(envelope, 0, 20'000, 0.2f, 0.0f);
    // A quiet word: residual 0.003, computer audio 0.001.
    const auto quietAt = [&](qint64 fromMs, qint64 toMs) {
        setFrames(envelope, fromMs, toMs, 0.003f, 0.001f);
    };
    quietAt(1'000, 1'300);
    quietAt(3'000, 3'300);
    quietAt(5'000, 5'350);
    quietAt(7'000, 7'300);
    setFrames(envelope, 7'400, 7'700, 0.0f, 0.2f);
    quietAt(9'000, 9'300);
    quietAt(9'300, 9'600);
    const SpeakerLabeler::Calibration calibration{0.0f, 0.1f, 0.1f};

    const auto labels = SpeakerLabeler::label(
        {
            word(500, 700),
            word(1'000, 1'300),
            word(1'600, 1'800), // gaps 300/300
            word(2'500, 2'699),
            word(3'000, 3'300),
            word(3'600, 3'800), // gap 301 before
            word(4'500, 4'800),
            word(5'000, 5'301),
            word(5'500, 5'700), // lasts 301
            word(6'500, 6'800),
            word(7'000, 7'300),
            word(7'400, 7'700), // "you" then "them"
            word(8'500, 8'800),
            word(9'000, 9'300),
            word(9'300, 9'600), // two quiet words
            word(9'700, 9'900),
        },
        envelope, calibration);
    EXPECT_EQ(labels, QStringList({u"you"_s, u"you"_s, u"you"_s, u"you"_s, u"unclear"_s, u"you"_s,
                                   u"you"_s, u"unclear"_s, u"you"_s, u"you"_s, u"unclear"_s,
                                   u"them"_s, u"you"_s, u"unclear"_s, u"unclear"_s, u"you"_s}));

    // Without levels nothing can be told, not even between agreeing words.
    EnergyEnvelope none;
    EXPECT_EQ(SpeakerLabeler::label({word(0, 100), word(100, 200)}, none),
              QStringList({u"unclear"_s, u"unclear"_s}));
    EnergyEnvelope broken = envelope;
    broken.frameMs = 0;
    EXPECT_EQ(SpeakerLabeler::label({word(0, 100)}, broken), QStringList({u"unclear"_s}));
}

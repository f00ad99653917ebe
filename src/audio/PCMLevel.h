#pragma once

#include <cmath>
#include <span>

namespace quendra {

// Loudness of a block of float samples in -1..1.
namespace PCMLevel {

double rms(std::span<const float> samples);
// 20·log10(rms), or -160 for silence.
double decibels(double rms);
// The meter's 0..1: -54 dBFS and below empty, -6 dBFS and above full.
double meter(double rms);

} // namespace PCMLevel

// Counts delivered buffers, and those loud enough to be speech.
struct SpeechActivityTracker {
    static constexpr double voicedDecibels = -50.0;

    long long voicedSamples = 0;
    long long totalSamples = 0;

    void add(double decibels) {
        ++totalSamples;
        if (std::isfinite(decibels) && decibels >= voicedDecibels)
            ++voicedSamples;
    }
    // The bar is low on purpose: whether clear speech was said is decided
    // after transcription.
    bool hasSpeech() const { return voicedSamples > 1; }
};

} // namespace quendra

#include "audio/PCMLevel.h"

#include <algorithm>

namespace quendra::PCMLevel {

double rms(std::span<const float> samples) {
    if (samples.empty())
        return 0.0;
    double sum = 0.0;
    for (const float s : samples)
        sum += double(s) * double(s);
    return std::sqrt(sum / double(samples.size()));
}

double decibels(double rms) {
    return rms > 0.0 ? 20.0 * std::log10(rms) : -160.0;
}

double meter(double rms) {
    if (rms <= 0.0)
        return 0.0;
    return std::clamp((20.0 * std::log10(rms) + 54.0) / 48.0, 0.0, 1.0);
}

} // namespace quendra::PCMLevel

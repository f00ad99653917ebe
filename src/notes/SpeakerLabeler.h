#pragma once

// Tells who spoke each word of a call from the loudness of the two sources:
// loud in the microphone and quiet in the computer's audio is "you", the
// reverse is "them". The microphone also hears the loudspeakers, so that echo
// is measured once per note and taken off before comparing.

#include "EnergyEnvelope.h"

#include "model/TranscriptionResult.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <span>
#include <vector>

namespace quendra {

namespace SpeakerLabel {
inline constexpr QStringView you = u"you";
inline constexpr QStringView them = u"them";
inline constexpr QStringView unclear = u"unclear";
// Words of a note recorded from the microphone alone.
inline constexpr QStringView room = u"room";
} // namespace SpeakerLabel

class SpeakerLabeler {
public:
    struct Calibration {
        // How much of the computer's audio reaches the microphone, as a level ratio.
        float leak = 0.0f;
        float microphoneReference = 0.0f;
        float systemReference = 0.0f;

        friend bool operator==(const Calibration&, const Calibration&) = default;
    };

    static Calibration calibrate(const EnergyEnvelope& envelope);
    // One label per word: "you", "them" or "unclear".
    static QStringList label(const QList<TimedWord>& words, const EnergyEnvelope& envelope);
    static QStringList label(const QList<TimedWord>& words, const EnergyEnvelope& envelope,
                             const Calibration& calibration);
    // The element at round((count − 1) × p) of the sorted values; 0 with none.
    static float percentile(std::span<const float> values, double p);

private:
    static float percentileInPlace(std::vector<float>& values, double p);
};

} // namespace quendra

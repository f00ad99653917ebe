#pragma once

#include "RawValueEnum.h"

namespace quendra {

// Raw value: minutes.
enum class RecordingDuration { five, ten, twenty, thirty, sixty };

template <>
struct RawValueTable<RecordingDuration> {
    static constexpr std::array<std::pair<RecordingDuration, int>, 5> entries{{
        {RecordingDuration::five, 5},
        {RecordingDuration::ten, 10},
        {RecordingDuration::twenty, 20},
        {RecordingDuration::thirty, 30},
        {RecordingDuration::sixty, 60},
    }};
};

int limitSeconds(RecordingDuration duration);
QString title(RecordingDuration duration);

} // namespace quendra

#pragma once

// The loudness of the two captured sources over a whole note, one value per
// envelope frame, assembled from the sections' envelope files.

#include <QByteArray>
#include <QString>

#include <algorithm>
#include <vector>

namespace quendra {

// One section's levels as read from its `part-<index>.env` file.
struct SectionLevels {
    std::vector<float> microphone;
    std::vector<float> system;
};

struct EnergyEnvelope {
    static constexpr int defaultFrameMs = 50;
    // One record: microphone level then system level, each uint16 little-endian.
    static constexpr int recordBytes = 4;

    int frameMs = defaultFrameMs;
    std::vector<float> microphone;
    std::vector<float> system;

    // Frames of the note that both sources have.
    std::size_t frameCount() const { return std::min(microphone.size(), system.size()); }

    // Puts one section's levels at its place in the note. Frames already there
    // are overwritten, so the overlap of a later section replaces the earlier
    // section's copy of the same stretch.
    void place(qint64 sectionStartMs, const std::vector<float>& sectionMicrophone,
               const std::vector<float>& sectionSystem);

    // A section's file holds one record per frame of its half minute; no
    // section lasts long enough to fill this.
    static constexpr qint64 largestFileBytes = 4 * 1024 * 1024;

    // Levels are the stored values divided by 65535; a trailing partial record
    // (a file cut off by a crash) is ignored.
    static SectionLevels decode(const QByteArray& bytes);
};

} // namespace quendra

#include "notes/EnergyEnvelope.h"

#include <QtEndian>

#include <gtest/gtest.h>

#include <vector>

using namespace quendra;

namespace {

std::vector<float> levels(std::size_t count, float value) {
    return std::vector<float>(count, value);
}

QByteArray record(quint16 microphone, quint16 system) {
    QByteArray bytes(4, '\0');
    qToLittleEndian<quint16>(microphone, bytes.data());
    qToLittleEndian<quint16>(system, bytes.data() + 2);
    return bytes;
}

} // namespace

TEST(EnergyEnvelope, PlacesSectionsAtTheirFramesAndLaterOverlapWins) {
    EnergyEnvelope envelope;
    envelope.place(0, levels(600, 0.1f), levels(600, 0.2f));
    envelope.place(28'000, levels(600, 0.5f), levels(600, 0.6f));

    // 28 000 ms / 50 ms: the second section begins at frame 560, over the
    // first section's last 40 frames.
    ASSERT_EQ(envelope.microphone.size(), 1160u);
    ASSERT_EQ(envelope.system.size(), 1160u);
    EXPECT_FLOAT_EQ(envelope.microphone[559], 0.1f);
    EXPECT_FLOAT_EQ(envelope.system[559], 0.2f);
    for (std::size_t frame = 560; frame < 600; ++frame) {
        EXPECT_FLOAT_EQ(envelope.microphone[frame], 0.5f) << frame;
        EXPECT_FLOAT_EQ(envelope.system[frame], 0.6f) << frame;
    }
    EXPECT_FLOAT_EQ(envelope.microphone.back(), 0.5f);

    // Only the frames both sources have are placed; a gap before a section
    // reads as silence; a start before the note is taken as the note's start.
    EnergyEnvelope partial;
    partial.place(1'000, levels(5, 0.3f), levels(3, 0.4f));
    ASSERT_EQ(partial.frameCount(), 23u);
    EXPECT_FLOAT_EQ(partial.microphone[19], 0.0f);
    EXPECT_FLOAT_EQ(partial.microphone[20], 0.3f);
    EXPECT_FLOAT_EQ(partial.system[22], 0.4f);
    partial.place(-500, levels(2, 0.9f), levels(2, 0.8f));
    EXPECT_FLOAT_EQ(partial.microphone[0], 0.9f);
    EXPECT_FLOAT_EQ(partial.microphone[2], 0.0f);
    EXPECT_EQ(partial.frameCount(), 23u);

    // An empty section still extends the note up to where it starts.
    partial.place(2'000, {}, {});
    EXPECT_EQ(partial.frameCount(), 40u);
    EXPECT_FLOAT_EQ(partial.system[39], 0.0f);
}

TEST(EnergyEnvelope, DecodesLevelRecordsAndIgnoresACutOffRecord) {
    const auto read = EnergyEnvelope::decode(record(65535, 0) + record(32768, 655) +
                                             record(1, 65534) + QByteArray(3, '\x7f'));
    ASSERT_EQ(read.microphone.size(), 3u);
    ASSERT_EQ(read.system.size(), 3u);
    EXPECT_FLOAT_EQ(read.microphone[0], 1.0f);
    EXPECT_FLOAT_EQ(read.system[0], 0.0f);
    EXPECT_FLOAT_EQ(read.microphone[1], 32768.0f / 65535.0f);
    EXPECT_FLOAT_EQ(read.system[1], 655.0f / 65535.0f);
    EXPECT_FLOAT_EQ(read.microphone[2], 1.0f / 65535.0f);
    EXPECT_FLOAT_EQ(read.system[2], 65534.0f / 65535.0f);

    EXPECT_TRUE(EnergyEnvelope::decode(QByteArray(3, '\x01')).microphone.empty());
}

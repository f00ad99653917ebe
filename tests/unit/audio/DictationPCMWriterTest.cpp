#include "audio/DictationPCMWriter.h"

#include "support/CoreApplication.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <vector>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int blockSamples = 800; // 50 ms, 1600 bytes

quint32 dataSizeOnDisk(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return 0xFFFFFFFF;
    const QByteArray header = file.read(44);
    return qFromLittleEndian<quint32>(header.constData() + 40);
}

float amplitudeFor(double decibels) {
    return float(std::pow(10.0, decibels / 20.0));
}

// The writer's queue runs a Qt event loop, which needs the application object.
class DictationPCMWriterTest : public ::testing::Test {
protected:
    DictationPCMWriterTest() { ensureCoreApplication(); }

    QTemporaryDir dir;
    QString path = dir.filePath(u"dictation.wav"_s);
    std::optional<qint64> free = 1'000'000'000'000;

    std::unique_ptr<DictationPCMWriter> make() {
        auto writer = DictationPCMWriter::create(path, [this](const QString&) { return free; });
        EXPECT_TRUE(writer.has_value());
        return std::move(*writer);
    }

    static void appendBlocks(DictationPCMWriter& writer, int blocks, float value) {
        const std::vector<float> block(blockSamples, value);
        for (int i = 0; i < blocks; ++i)
            writer.append(block);
        writer.settle();
    }
};

TEST_F(DictationPCMWriterTest, ConvertsScalesClampsAndTruncatesTowardZero) {
    EXPECT_EQ(DictationPCMWriter::convert(1.0f), 32767);
    EXPECT_EQ(DictationPCMWriter::convert(-1.0f), -32767);
    EXPECT_EQ(DictationPCMWriter::convert(-1.5f), -32768);
    EXPECT_EQ(DictationPCMWriter::convert(2.0f), 32767);
    EXPECT_EQ(DictationPCMWriter::convert(0.5f), 16383);   // 16383.5
    EXPECT_EQ(DictationPCMWriter::convert(-0.5f), -16383); // -16383.5
    EXPECT_EQ(DictationPCMWriter::convert(0.0f), 0);
}

TEST_F(DictationPCMWriterTest, WritesTheConvertedSamplesAfterTheHeader) {
    auto writer = make();
    writer->append(std::vector<float>{0.5f, -0.25f, 1.0f});
    writer->stop();
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    ASSERT_EQ(bytes.size(), 44 + 6);
    EXPECT_EQ(qFromLittleEndian<qint16>(bytes.constData() + 44), 16383);
    EXPECT_EQ(qFromLittleEndian<qint16>(bytes.constData() + 46), -8191);
    EXPECT_EQ(qFromLittleEndian<qint16>(bytes.constData() + 48), 32767);
    EXPECT_EQ(dataSizeOnDisk(path), 6u);
}

TEST_F(DictationPCMWriterTest, SpeechNeedsMoreThanOneVoicedBuffer) {
    auto writer = make();
    appendBlocks(*writer, 10, amplitudeFor(-60)); // below the -50 dB bar
    EXPECT_FALSE(writer->snapshot().speech);
    appendBlocks(*writer, 1, amplitudeFor(-49));
    EXPECT_FALSE(writer->snapshot().speech);
    appendBlocks(*writer, 1, amplitudeFor(-49));
    EXPECT_TRUE(writer->snapshot().speech);
}

TEST_F(DictationPCMWriterTest, MeterFollowsTheLatestBuffer) {
    auto writer = make();
    appendBlocks(*writer, 1, amplitudeFor(-30)); // halfway between -54 and -6 dB
    EXPECT_NEAR(writer->snapshot().level, 0.5, 1e-4);
    appendBlocks(*writer, 1, 1.0f);
    EXPECT_DOUBLE_EQ(writer->snapshot().level, 1.0);
    appendBlocks(*writer, 1, amplitudeFor(-70));
    EXPECT_DOUBLE_EQ(writer->snapshot().level, 0.0);
    appendBlocks(*writer, 1, 0.0f);
    EXPECT_DOUBLE_EQ(writer->snapshot().level, 0.0);
}

TEST_F(DictationPCMWriterTest, CheckpointsOncePerSecondOfAudioAndClosesTheRest) {
    auto writer = make();
    appendBlocks(*writer, 18, 0.1f); // 0.9 s
    EXPECT_DOUBLE_EQ(writer->snapshot().seconds, 0.9);
    EXPECT_EQ(dataSizeOnDisk(path), 0u) << "no checkpoint before one second";

    appendBlocks(*writer, 2, 0.1f); // 1.0 s
    EXPECT_EQ(dataSizeOnDisk(path), 32000u);
    appendBlocks(*writer, 30, 0.1f); // 2.5 s
    EXPECT_EQ(dataSizeOnDisk(path), 64000u) << "second checkpoint at 2 s";

    writer->stop();
    EXPECT_EQ(dataSizeOnDisk(path), 80000u);
    EXPECT_EQ(QFile(path).size(), 44 + 80000);
}

TEST_F(DictationPCMWriterTest, ShortRecordingGetsItsHeaderAtStop) {
    auto writer = make();
    appendBlocks(*writer, 18, 0.1f);
    writer->stop();
    EXPECT_EQ(dataSizeOnDisk(path), 28800u);
    appendBlocks(*writer, 5, 0.1f);
    EXPECT_DOUBLE_EQ(writer->snapshot().seconds, 0.9) << "blocks after stop are dropped";
}

// 16 MB must stay free; free space that cannot be read stops nothing. A
// failure is reported once and nothing is written after its checkpoint.
TEST_F(DictationPCMWriterTest, StopsOnceWhenTheVolumeRunsLow) {
    const struct {
        std::optional<qint64> free;
        int failures;
        double seconds;
    } cases[] = {{15'999'999, 1, 1.0}, {16'000'000, 0, 3.0}, {std::nullopt, 0, 3.0}};
    int run = 0;
    for (const auto& c : cases) {
        free = c.free;
        path = dir.filePath(u"dictation-%1.wav"_s.arg(++run));
        auto writer = make();
        std::atomic<int> failures = 0;
        writer->onFailure = [&] { ++failures; };
        appendBlocks(*writer, 60, 0.1f);
        EXPECT_EQ(failures, c.failures) << c.free.value_or(-1);
        EXPECT_DOUBLE_EQ(writer->snapshot().seconds, c.seconds) << c.free.value_or(-1);
        writer->stop();
        EXPECT_EQ(dataSizeOnDisk(path), quint32(c.seconds * 32000)) << c.free.value_or(-1);
    }
}

TEST_F(DictationPCMWriterTest, FileThatCannotBeCreatedIsAnError) {
    const auto writer = DictationPCMWriter::create(dir.filePath(u"missing/dictation.wav"_s));
    ASSERT_FALSE(writer.has_value());
    EXPECT_FALSE(writer.error().isEmpty());
}

} // namespace

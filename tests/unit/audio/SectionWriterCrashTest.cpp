#include "audio/SectionWriter.h"

#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

std::vector<float> noise(std::mt19937& random, qint64 count) {
    std::uniform_real_distribution<float> amplitude(-0.6f, 0.6f);
    std::vector<float> samples(static_cast<std::size_t>(count));
    for (float& sample : samples)
        sample = amplitude(random);
    return samples;
}

// Every second syncs to disk; on a memory file system that costs nothing, and
// what this test checks is what is in the files, not their durability.
QString scratchTemplate() {
    const QFileInfo shm(u"/dev/shm"_s);
    return shm.isDir() && shm.isWritable() ? u"/dev/shm/section-writer-XXXXXX"_s
                                           : QDir::temp().filePath(u"section-writer-XXXXXX"_s);
}

} // namespace

// A recording stopped at any moment without closing its files is, after
// repair, exactly the audio of an uninterrupted recording up to at least the
// last checkpoint: closed sections whole, the open one a prefix.
TEST(SectionWriter, aCrashAtAnyPointLosesNothingBeforeTheLastCheckpoint) {
    std::mt19937 random(20240611);
    const qint64 total = 75 * 16000;
    const auto microphone = noise(random, total);
    const auto system = noise(random, total);

    QTemporaryDir wholeDir(scratchTemplate());
    auto whole = SectionWriter::record(wholeDir.path(), microphone, system);
    ASSERT_TRUE(whole.has_value()) << whole.error().toStdString();
    ASSERT_EQ(whole->size(), 3);
    std::vector<QByteArray> wholeAudio;
    std::vector<QByteArray> wholeLevels;
    for (const auto& section : *whole) {
        wholeAudio.push_back(contents(SectionWriter::audioPath(wholeDir.path(), section.index)));
        wholeLevels.push_back(
            contents(SectionWriter::envelopePath(wholeDir.path(), section.index)));
    }

    std::uniform_int_distribution<qint64> stopAt(0, total);
    std::uniform_int_distribution<qint64> blockSize(1, 2000);
    for (int iteration = 0; iteration < 30; ++iteration) {
        SCOPED_TRACE(iteration);
        QTemporaryDir dir(scratchTemplate());
        std::map<int, qint64> startMs;
        QList<int> closed;
        qint64 lastCheckpointMs = 0;
        {
            SectionWriter writer(dir.path(), true);
            writer.onSectionOpened = [&](int index, qint64 ms) { startMs[index] = ms; };
            writer.onSectionClosed = [&](int index, qint64, qint64) { closed.append(index); };
            writer.onCheckpoint = [&](int, qint64 ms) { lastCheckpointMs = ms; };
            ASSERT_TRUE(writer.start());
            const qint64 stop = stopAt(random);
            for (qint64 offset = 0; offset < stop;) {
                const qint64 count = std::min(blockSize(random), stop - offset);
                writer.appendMicrophone(
                    std::span(microphone).subspan(std::size_t(offset), std::size_t(count)));
                writer.appendSystem(
                    std::span(system).subspan(std::size_t(offset), std::size_t(count)));
                offset += count;
            }
            writer.abandon();
        }

        const int open = startMs.rbegin()->first;
        for (const auto& [index, sectionStartMs] : startMs) {
            const QString audioPath = SectionWriter::audioPath(dir.path(), index);
            auto repaired = WaveFileWriter::repair(audioPath);
            ASSERT_TRUE(repaired.has_value()) << repaired.error().toStdString();
            const QByteArray audio = contents(audioPath);
            const QByteArray levels = contents(SectionWriter::envelopePath(dir.path(), index));
            const QByteArray& expectedAudio = wholeAudio[std::size_t(index)];
            const QByteArray& expectedLevels = wholeLevels[std::size_t(index)];
            const qint64 dataBytes = audio.size() - 44;
            EXPECT_EQ(audio.left(44), WaveFileWriter::header(dataBytes));
            if (index != open) {
                EXPECT_TRUE(closed.contains(index));
                EXPECT_EQ(audio, expectedAudio) << index;
                EXPECT_EQ(levels, expectedLevels) << index;
                continue;
            }
            EXPECT_FALSE(closed.contains(index));
            EXPECT_EQ(*repaired, dataBytes / 32);
            EXPECT_TRUE(expectedAudio.mid(44).startsWith(audio.mid(44))) << index;
            EXPECT_TRUE(expectedLevels.startsWith(levels)) << index;
            // The section's own samples reach at least the last checkpoint.
            const qint64 checkpointedBytes = (lastCheckpointMs - sectionStartMs) * 32;
            EXPECT_GE(dataBytes, checkpointedBytes);
            EXPECT_GE(levels.size() / 4, checkpointedBytes / 2 / 800);
        }
    }
}

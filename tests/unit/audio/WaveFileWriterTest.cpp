#include "audio/WaveFileWriter.h"

#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

quint32 headerField(const QByteArray& bytes, int offset) {
    return qFromLittleEndian<quint32>(bytes.constData() + offset);
}

std::vector<qint16> ramp(int count, int from) {
    std::vector<qint16> samples(static_cast<std::size_t>(count));
    std::iota(samples.begin(), samples.end(), qint16(from));
    return samples;
}

QByteArray bytesOf(const std::vector<qint16>& samples) {
    QByteArray bytes;
    for (qint16 sample : samples) {
        char le[2];
        qToLittleEndian(sample, le);
        bytes.append(le, 2);
    }
    return bytes;
}

} // namespace

TEST(WaveFileWriter, headerHoldsTheFormatFieldsAtTheirOffsets) {
    // 1234 data bytes: RIFF size 1270 (0x04F6), 16000 Hz (0x3E80), 32000 B/s (0x7D00).
    const QByteArray expected = QByteArray::fromHex("52494646"
                                                    "f6040000"
                                                    "57415645666d7420"
                                                    "10000000"
                                                    "0100"
                                                    "0100"
                                                    "803e0000"
                                                    "007d0000"
                                                    "0200"
                                                    "1000"
                                                    "64617461"
                                                    "d2040000");
    EXPECT_EQ(WaveFileWriter::header(1234), expected);
    EXPECT_EQ(WaveFileWriter::header(0).size(), 44);
    EXPECT_EQ(headerField(WaveFileWriter::header(0), 4), 36u);
    EXPECT_EQ(headerField(WaveFileWriter::header(0), 40), 0u);
}

TEST(WaveFileWriter, headerOnDiskFollowsCheckpointsAndClose) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"a.wav"_s);
    auto writer = WaveFileWriter::create(path);
    ASSERT_TRUE(writer.has_value()) << writer.error().toStdString();

    const auto first = ramp(300, -150);
    ASSERT_TRUE(writer->write(first));
    // Samples are on disk at once; the header still claims none until a checkpoint.
    QByteArray disk = contents(path);
    EXPECT_EQ(disk.size(), 44 + 600);
    EXPECT_EQ(headerField(disk, 40), 0u);

    ASSERT_TRUE(writer->checkpoint());
    disk = contents(path);
    EXPECT_EQ(headerField(disk, 40), 600u);
    EXPECT_EQ(headerField(disk, 4), 636u);
    EXPECT_EQ(disk.mid(44), bytesOf(first));

    // After a checkpoint the next samples still go to the end, not after the header.
    const auto second = ramp(5, 30000);
    ASSERT_TRUE(writer->write(second));
    EXPECT_EQ(writer->dataBytes(), 610);
    ASSERT_TRUE(writer->close());
    disk = contents(path);
    EXPECT_EQ(headerField(disk, 40), 610u);
    EXPECT_EQ(disk.mid(44), bytesOf(first) + bytesOf(second));
    EXPECT_FALSE(writer->write(second));

    // A path that cannot be a file fails with a readable message naming it.
    auto failed = WaveFileWriter::create(dir.path());
    ASSERT_FALSE(failed.has_value());
    EXPECT_TRUE(failed.error().contains(dir.path()));
}

TEST(WaveFileWriter, repairKeepsEveryWholeSampleOnDisk) {
    QTemporaryDir dir;

    // Cut off mid-sample after a checkpoint: 1501 whole samples and a stray byte.
    const QString cut = dir.filePath(u"cut.wav"_s);
    auto writer = WaveFileWriter::create(cut);
    ASSERT_TRUE(writer.has_value());
    const auto samples = ramp(1501, 7);
    ASSERT_TRUE(writer->write(std::span(samples).first(1000)));
    ASSERT_TRUE(writer->checkpoint());
    ASSERT_TRUE(writer->write(std::span(samples).subspan(1000)));
    writer->abandon();
    {
        QFile file(cut);
        ASSERT_TRUE(file.open(QIODevice::Append));
        file.write("\x01", 1);
    }
    auto repaired = WaveFileWriter::repair(cut);
    ASSERT_TRUE(repaired.has_value()) << repaired.error().toStdString();
    EXPECT_EQ(*repaired, 3002 * 1000 / 32000);
    QByteArray disk = contents(cut);
    EXPECT_EQ(disk.size(), 44 + 3002);
    EXPECT_EQ(disk.left(44), WaveFileWriter::header(3002));
    EXPECT_EQ(disk.mid(44), bytesOf(samples));

    // Never checkpointed: the header says 0 but a whole second is on disk.
    const QString unsaved = dir.filePath(u"unsaved.wav"_s);
    writer = WaveFileWriter::create(unsaved);
    ASSERT_TRUE(writer.has_value());
    const auto second = ramp(16000, -8000);
    ASSERT_TRUE(writer->write(second));
    writer->abandon();
    EXPECT_EQ(headerField(contents(unsaved), 40), 0u);
    EXPECT_EQ(WaveFileWriter::repair(unsaved), 1000);
    EXPECT_EQ(contents(unsaved).left(44), WaveFileWriter::header(32000));
    EXPECT_EQ(contents(unsaved).mid(44), bytesOf(second));

    // Shorter than a header: becomes a valid empty file.
    const QString stub = dir.filePath(u"stub.wav"_s);
    {
        QFile file(stub);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("RIFF", 4);
    }
    EXPECT_EQ(WaveFileWriter::repair(stub), 0);
    EXPECT_EQ(contents(stub), WaveFileWriter::header(0));

    auto missing = WaveFileWriter::repair(dir.filePath(u"missing.wav"_s));
    ASSERT_FALSE(missing.has_value());
    EXPECT_TRUE(missing.error().contains(u"missing.wav"_s));
}

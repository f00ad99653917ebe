#include "audio/AudioChunks.h"
#include "audio/AacEncoder.h"
#include "audio/AudioDecoder.h"

#include "support/CrampedFolder.h"
#include "support/PrivateTemporaryFolder.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray header(qint64 dataBytes, quint16 channels = 1, quint32 rate = 16000) {
    QByteArray h(44, '\0');
    char* p = h.data();
    std::memcpy(p, "RIFF", 4);
    qToLittleEndian(quint32(36 + dataBytes), p + 4);
    std::memcpy(p + 8, "WAVEfmt ", 8);
    qToLittleEndian(quint32(16), p + 16);
    qToLittleEndian(quint16(1), p + 20);
    qToLittleEndian(channels, p + 22);
    qToLittleEndian(rate, p + 24);
    qToLittleEndian(quint32(rate * channels * 2), p + 28);
    qToLittleEndian(quint16(channels * 2), p + 32);
    qToLittleEndian(quint16(16), p + 34);
    std::memcpy(p + 36, "data", 4);
    qToLittleEndian(quint32(dataBytes), p + 40);
    return h;
}

// Bytes that differ from position to position, so a misplaced cut shows.
QByteArray pattern(qint64 size) {
    QByteArray bytes(size, '\0');
    for (qint64 i = 0; i < size; ++i)
        bytes[i] = char((i * 7 + i / 251) & 0xff);
    return bytes;
}

QByteArray readAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

class AudioChunksTest : public ::testing::Test {
protected:
    QString write(const QString& name, const QByteArray& bytes) {
        const QString path = dir.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
        return path;
    }
    QString wave(const QString& name, qint64 fileBytes) {
        return write(name, header(fileBytes - 44) + pattern(fileBytes - 44));
    }
    PrivateTemporaryFolder temporary;
    QTemporaryDir dir;
};

TEST_F(AudioChunksTest, WaveThatFitsOneUploadIsUsedAsItIs) {
    const QString path = wave(u"fits.wav"_s, AudioChunks::singleUploadBytes);
    const auto prepared = AudioChunks::prepare(path);
    ASSERT_TRUE(prepared);
    ASSERT_EQ(prepared->parts.size(), 1);
    EXPECT_EQ(prepared->parts[0].path, path);
    EXPECT_EQ(prepared->parts[0].startMs, 0);
    EXPECT_EQ(prepared->parts[0].durationMs, (3'000'000 - 44) / 32);
    EXPECT_TRUE(prepared->temporaryDirectory.isEmpty());
}

TEST_F(AudioChunksTest, OneByteMoreIsCutIntoMinuteParts) {
    const QString path = wave(u"over.wav"_s, AudioChunks::singleUploadBytes + 1);
    const QByteArray source = readAll(path);
    const auto prepared = AudioChunks::prepare(path);
    ASSERT_TRUE(prepared);
    ASSERT_EQ(prepared->parts.size(), 2);
    EXPECT_TRUE(QFileInfo(prepared->temporaryDirectory).fileName().startsWith(u"quendra-parts-"_s));
    EXPECT_EQ(prepared->parts[0].startMs, 0);
    EXPECT_EQ(prepared->parts[1].startMs, 60'000);

    // The odd last byte is half a sample and stays behind.
    const qint64 data = 3'000'001 - 44 - 1;
    const QList<qint64> sizes{1'920'000, data - 1'920'000};
    QByteArray joined;
    for (qsizetype i = 0; i < 2; ++i) {
        EXPECT_TRUE(prepared->parts[i].path.endsWith(u".wav"_s));
        const QByteArray part = readAll(prepared->parts[i].path);
        ASSERT_EQ(part.size(), 44 + sizes[i]);
        EXPECT_EQ(part.left(44), header(sizes[i]));
        joined += part.mid(44);
    }
    EXPECT_EQ(joined, source.mid(44, data));

    AudioChunks::removeTemporaryFiles(*prepared);
    EXPECT_FALSE(QFileInfo::exists(prepared->temporaryDirectory));
    EXPECT_TRUE(QFileInfo::exists(path));
}

TEST_F(AudioChunksTest, ShortRemainderJoinsThePartBefore) {
    EXPECT_EQ(AudioChunks::partSizes(2 * 1'920'000 + 31'998),
              (QList<qint64>{1'920'000, 1'920'000 + 31'998}));
    EXPECT_EQ(AudioChunks::partSizes(2 * 1'920'000 + 32'000),
              (QList<qint64>{1'920'000, 1'920'000, 32'000}));
    EXPECT_EQ(AudioChunks::partSizes(1'000), (QList<qint64>{1'000}));
    // The longest accepted recording: 60 whole minutes and 10 seconds.
    const auto longest = AudioChunks::partSizes(AudioChunks::largestDataBytes);
    EXPECT_EQ(longest.size(), 61);
    EXPECT_EQ(longest.last(), 320'000);

    const QString path = wave(u"tail.wav"_s, 44 + 2 * 1'920'000 + 16'000);
    const auto prepared = AudioChunks::prepare(path);
    ASSERT_TRUE(prepared);
    ASSERT_EQ(prepared->parts.size(), 2);
    EXPECT_EQ(QFileInfo(prepared->parts[1].path).size(), 44 + 1'920'000 + 16'000);
    EXPECT_EQ(prepared->parts[1].durationMs, 60'500);
    AudioChunks::removeTemporaryFiles(*prepared);
}

TEST_F(AudioChunksTest, TooLongRecordingIsRefused) {
    const QString path = dir.filePath(u"long.wav"_s);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(header(AudioChunks::largestDataBytes + 2));
    ASSERT_TRUE(file.resize(AudioChunks::largestWaveBytes + 1));
    file.close();
    EXPECT_EQ(AudioChunks::prepare(path).error(), ChunkingError::recordingTooLarge);
}

TEST_F(AudioChunksTest, TinyMissingAndUnreadableFilesAreRefused) {
    const auto partFolders = [] {
        return QDir(QDir::tempPath()).entryList({u"quendra-parts-*"_s}, QDir::Dirs).size();
    };
    const qsizetype foldersBefore = partFolders();
    EXPECT_EQ(AudioChunks::prepare(wave(u"tiny.wav"_s, 1024)).error(),
              ChunkingError::unsupportedRecording);
    EXPECT_TRUE(AudioChunks::prepare(wave(u"small.wav"_s, 1025)));
    EXPECT_EQ(AudioChunks::prepare(dir.filePath(u"missing.wav"_s)).error(),
              ChunkingError::unsupportedRecording);
    EXPECT_EQ(AudioChunks::prepare(write(u"noise.wav"_s, pattern(3'500'000))).error(),
              ChunkingError::unsupportedRecording);
    EXPECT_EQ(AudioChunks::prepare(write(u"noise.mp3"_s, pattern(50'000))).error(),
              ChunkingError::unsupportedRecording);
    // A refusal leaves no part folder behind.
    EXPECT_EQ(partFolders(), foldersBefore);
}

// A temporary folder that takes no part is told apart from a recording that
// cannot be read.
TEST_F(AudioChunksTest, AFolderThatTakesNoPartIsNotAnUnreadableRecording) {
    const QString recording = wave(u"long.wav"_s, 3'500'000);
    const QString compressed = dir.filePath(u"take.m4a"_s);
    {
        auto encoder = AacEncoder::create(compressed);
        ASSERT_TRUE(encoder);
        ASSERT_TRUE(encoder->write(std::vector<qint16>(16'000, 1000)));
        ASSERT_TRUE(encoder->finish());
    }
    qputenv("TMPDIR", crampedFolder(temporary.path()).toLocal8Bit());
    EXPECT_EQ(AudioChunks::prepare(recording).error(), ChunkingError::cannotWriteParts);
    EXPECT_EQ(AudioChunks::prepare(compressed).error(), ChunkingError::cannotWriteParts);
    qputenv("TMPDIR", temporary.path().toLocal8Bit());
}

TEST_F(AudioChunksTest, ChunksBeforeTheDataAndAnUnfinishedHeaderAreRespected) {
    // A LIST chunk before the samples, and a data size of zero as a crash leaves it.
    QByteArray bytes = header(0);
    QByteArray list("LIST", 4);
    list.append(QByteArray(4, '\0'));
    qToLittleEndian(quint32(6), list.data() + 4);
    list.append("abcdef", 6);
    bytes.insert(36, list);
    const QByteArray samples = pattern(3'200'000);
    const QString path = write(u"listed.wav"_s, bytes + samples);
    const auto prepared = AudioChunks::prepare(path);
    ASSERT_TRUE(prepared);
    ASSERT_EQ(prepared->parts.size(), 2);
    EXPECT_EQ(readAll(prepared->parts[0].path).mid(44), samples.left(1'920'000));
    EXPECT_EQ(readAll(prepared->parts[1].path).mid(44), samples.mid(1'920'000));
    AudioChunks::removeTemporaryFiles(*prepared);
}

TEST_F(AudioChunksTest, StereoPartsKeepTheirFormatAndTime) {
    // 44.1 kHz stereo: 176,400 bytes a second.
    const qint64 data = 3 * 1'920'000;
    const QString path = write(u"stereo.wav"_s, header(data, 2, 44100) + pattern(data));
    const auto prepared = AudioChunks::prepare(path);
    ASSERT_TRUE(prepared);
    ASSERT_EQ(prepared->parts.size(), 3);
    EXPECT_EQ(readAll(prepared->parts[2].path).left(44), header(1'920'000, 2, 44100));
    EXPECT_EQ(prepared->parts[1].startMs, 1'920'000 * 1000 / 176'400);
    AudioChunks::removeTemporaryFiles(*prepared);
}

std::vector<qint16> tone(qint64 samples) {
    std::vector<qint16> out(size_t(samples), 0);
    for (qint64 i = 0; i < samples; ++i)
        out[size_t(i)] = qint16(8000 * std::sin(double(i) * 2 * M_PI * 440 / 16000));
    return out;
}

qint64 decodedSamples(const QString& path) {
    qint64 count = 0;
    const auto ok = AudioDecoder::decode(path, [&](std::span<const qint16> block) {
        count += qint64(block.size());
        return true;
    });
    return ok ? count : -1;
}

TEST_F(AudioChunksTest, OtherFormatsBecomeCompressedMinuteParts) {
    const QString source = dir.filePath(u"long.m4a"_s);
    {
        auto encoder = AacEncoder::create(source);
        ASSERT_TRUE(encoder) << encoder.error().message.toStdString();
        ASSERT_TRUE(encoder->write(tone(16000 * 130)));
        ASSERT_TRUE(encoder->finish());
    }
    const auto prepared = AudioChunks::prepare(source);
    ASSERT_TRUE(prepared);
    ASSERT_EQ(prepared->parts.size(), 3);
    const QList<qint64> starts{0, 60'000, 120'000};
    for (qsizetype i = 0; i < 3; ++i) {
        const AudioPart& part = prepared->parts[i];
        EXPECT_TRUE(part.path.endsWith(u".m4a"_s));
        EXPECT_LE(QFileInfo(part.path).size(), AudioChunks::singleUploadBytes);
        EXPECT_EQ(part.startMs, starts[i]);
        const qint64 expected = i < 2 ? 16000 * 60 : 16000 * 10;
        // The encoder's priming may add up to one frame on decoding.
        EXPECT_NEAR(decodedSamples(part.path), expected, 2048) << i;
    }
    // The same audio gives the same bytes again, so cached parts are found.
    const auto again = AudioChunks::prepare(source);
    ASSERT_TRUE(again);
    ASSERT_EQ(again->parts.size(), 3);
    EXPECT_EQ(readAll(again->parts[1].path), readAll(prepared->parts[1].path));
    AudioChunks::removeTemporaryFiles(*again);
    AudioChunks::removeTemporaryFiles(*prepared);
    EXPECT_FALSE(QFileInfo::exists(prepared->temporaryDirectory));
}

TEST_F(AudioChunksTest, CompressedRecordingWithAShortRemainderIsOnePart) {
    const QString source = dir.filePath(u"short.m4a"_s);
    {
        auto encoder = AacEncoder::create(source);
        ASSERT_TRUE(encoder);
        ASSERT_TRUE(encoder->write(tone(16000 * 60 + 8000)));
        ASSERT_TRUE(encoder->finish());
    }
    const auto prepared = AudioChunks::prepare(source);
    ASSERT_TRUE(prepared);
    ASSERT_EQ(prepared->parts.size(), 1);
    EXPECT_NEAR(prepared->parts[0].durationMs, 60'500, 150);
    AudioChunks::removeTemporaryFiles(*prepared);
}

} // namespace

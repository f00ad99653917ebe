#include "transcription/PartCache.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

QString writeFile(const QTemporaryDir& dir, const QString& name, const QByteArray& bytes) {
    const QString path = dir.filePath(name);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    return path;
}

TEST(PartCache, partsAreKnownByTheSha256OfTheirBytesInTheirOrder) {
    QTemporaryDir dir;
    // Larger than one read block, so that the blocks are joined in order.
    QByteArray large(3 * (1 << 20) + 17, '\0');
    for (qsizetype i = 0; i < large.size(); ++i)
        large[i] = char((i * 131) >> 3);
    const QList<AudioPart> parts{
        {writeFile(dir, u"abc.wav"_s, "abc"), 0, 1},
        {writeFile(dir, u"empty.wav"_s, {}), 1, 1},
        {dir.filePath(u"missing.wav"_s), 2, 1},
        {writeFile(dir, u"large.wav"_s, large), 3, 1},
    };
    const auto digests = PartCache::digests(parts);
    ASSERT_EQ(digests.size(), parts.size());
    EXPECT_EQ(digests[0], u"ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"_s);
    EXPECT_EQ(digests[1], u"e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"_s);
    EXPECT_EQ(digests[2], std::nullopt);
    EXPECT_EQ(digests[3], QString::fromLatin1(
                              QCryptographicHash::hash(large, QCryptographicHash::Sha256).toHex()));
    for (qsizetype i = 0; i < parts.size(); ++i)
        EXPECT_EQ(PartCache::digest(parts[i].path), digests[i]) << i;
}

TEST(PartCache, aSavedCacheIsPrivateAndReadBack) {
    QTemporaryDir dir;
    const QString path = PartCache::pathFor(dir.filePath(u"recording.wav"_s));
    PartCache cache;
    EngineTranscript result;
    result.rawTranscript = u"hello there"_s;
    result.transcript = u"Hello there."_s;
    cache.remember(u"d1"_s, DictationStyle::clean, DictationModel::hosted, result);
    ASSERT_TRUE(cache.save(path));
    EXPECT_EQ(QFileInfo(path).permissions() & (QFileDevice::ReadOther | QFileDevice::ReadGroup),
              QFileDevice::Permissions{});

    const PartCache loaded = PartCache::load(path);
    EXPECT_EQ(loaded.size(), 1);
    const auto found = loaded.find(u"d1"_s, DictationStyle::clean, DictationModel::hosted);
    ASSERT_TRUE(found);
    EXPECT_EQ(found->transcript, u"Hello there."_s);
    EXPECT_EQ(loaded.find(u"d1"_s, DictationStyle::polished, DictationModel::hosted), std::nullopt);

    // A folder that does not exist takes nothing: the failure is reported.
    const auto failed = cache.save(dir.filePath(u"gone/recording.wav.progress.json"_s));
    ASSERT_FALSE(failed);
    EXPECT_FALSE(failed.error().message.isEmpty());
}

} // namespace
} // namespace quendra

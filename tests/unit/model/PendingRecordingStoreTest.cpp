#include "model/PendingRecordingStore.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {
void touch(const QString& path) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("RIFF");
}
} // namespace

TEST(PendingRecordingStore, prepareMakesPrivateFoldersAndNamesFilesByIdentifier) {
    QTemporaryDir dir;
    const QString folder = dir.filePath(u"Quendra/Pending Dictations"_s);
    PendingRecordingStore store(folder);
    const QUuid id = QUuid::createUuid();
    const auto path = store.prepare(id);
    ASSERT_TRUE(path.has_value()) << path.error().toStdString();
    EXPECT_EQ(QFileInfo(*path).fileName(), id.toString(QUuid::WithoutBraces).toUpper() + u".wav"_s);
    EXPECT_EQ(QFileInfo(*path).absolutePath(), folder);
    for (const QString& f : {folder, dir.filePath(u"Quendra"_s)})
        EXPECT_EQ(QFileInfo(f).permissions() & 0x7777, QFile::ReadOwner | QFile::WriteOwner |
                                                           QFile::ExeOwner | QFile::ReadUser |
                                                           QFile::WriteUser | QFile::ExeUser);

    // A folder that cannot be made is reported, not thrown.
    touch(dir.filePath(u"file"_s));
    EXPECT_FALSE(PendingRecordingStore(dir.filePath(u"file/sub"_s)).prepare(id).has_value());
}

TEST(PendingRecordingStore, urlAcceptsOnlyBareExistingRecordingNames) {
    QTemporaryDir dir;
    PendingRecordingStore store(dir.filePath(u"kept"_s));
    const QString name = PendingRecordingStore::fileName(QUuid::createUuid());
    touch(*store.prepare(QUuid::fromString(name.chopped(4))));
    touch(dir.filePath(u"kept/old.m4a"_s));
    touch(dir.filePath(u"kept/x.txt"_s));
    touch(dir.filePath(u"x.wav"_s));

    EXPECT_EQ(store.url(name), dir.filePath(u"kept/"_s) + name);
    EXPECT_TRUE(store.url(u"old.m4a"_s).has_value());
    EXPECT_FALSE(store.url(u"x.txt"_s).has_value());
    EXPECT_FALSE(store.url(u"../x.wav"_s).has_value());
    EXPECT_FALSE(store.url(u"missing.wav"_s).has_value());
    EXPECT_FALSE(store.url(u""_s).has_value());
}

TEST(PendingRecordingStore, removeDeletesTheRecordingAndItsProgressFileOnly) {
    QTemporaryDir dir;
    PendingRecordingStore store(dir.path());
    touch(dir.filePath(u"a.wav"_s));
    touch(dir.filePath(u"a.wav.progress.json"_s));
    touch(dir.filePath(u"b.wav"_s));
    store.remove(u"a.wav"_s);
    store.remove(u"never-there.wav"_s);
    store.remove(u"../b.wav"_s);
    EXPECT_FALSE(QFile::exists(dir.filePath(u"a.wav"_s)));
    EXPECT_FALSE(QFile::exists(dir.filePath(u"a.wav.progress.json"_s)));
    EXPECT_TRUE(QFile::exists(dir.filePath(u"b.wav"_s)));
}

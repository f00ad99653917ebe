#include "model/UserDefaults.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

TEST(UserDefaults, everyTypeReadsBackAsWrittenAndOnlyAsItsOwnType) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"nested/Quendra/defaults.json"_s);
    {
        UserDefaults d(path);
        const QByteArray binary("\x00\xff\x10 [1,2]", 9);
        EXPECT_TRUE(d.setData(u"bin"_s, binary));
        EXPECT_TRUE(d.setData(u"json"_s, R"([{"a":"ü, b=c"}])"));
        EXPECT_TRUE(d.setString(u"s"_s, u"a, b; c = d \"quoted\" @x\nline"_s));
        EXPECT_TRUE(d.setBoolean(u"b"_s, false));
        EXPECT_TRUE(d.setInteger(u"i"_s, -9'000'000'000'000LL));
        EXPECT_TRUE(d.setStringMap(u"m"_s, {{u"email"_s, u"polished"_s}, {u"a,b"_s, u""_s}}));
        EXPECT_TRUE(d.setStringList(u"one"_s, {u"only, one"_s}));
        EXPECT_TRUE(d.setStringList(u"empty"_s, {}));
    }
    // A second instance sees what the first synchronised to disk.
    UserDefaults d(path);
    EXPECT_EQ(d.data(u"bin"_s), QByteArray("\x00\xff\x10 [1,2]", 9));
    EXPECT_EQ(d.data(u"json"_s), QByteArray(R"([{"a":"ü, b=c"}])"));
    EXPECT_EQ(d.string(u"s"_s), u"a, b; c = d \"quoted\" @x\nline"_s);
    EXPECT_EQ(d.boolean(u"b"_s), false);
    EXPECT_EQ(d.integer(u"i"_s), -9'000'000'000'000LL);
    EXPECT_EQ(d.stringMap(u"m"_s),
              (QMap<QString, QString>{{u"email"_s, u"polished"_s}, {u"a,b"_s, u""_s}}));
    EXPECT_EQ(d.stringList(u"one"_s), QStringList{u"only, one"_s});
    EXPECT_EQ(d.stringList(u"empty"_s), QStringList{});

    EXPECT_FALSE(d.string(u"b"_s).has_value());
    EXPECT_FALSE(d.boolean(u"i"_s).has_value());
    EXPECT_FALSE(d.integer(u"s"_s).has_value());
    EXPECT_FALSE(d.stringList(u"m"_s).has_value());
    EXPECT_FALSE(d.data(u"missing"_s).has_value());
    EXPECT_TRUE(d.contains(u"b"_s));
    EXPECT_TRUE(d.remove(u"b"_s));
    EXPECT_FALSE(UserDefaults(path).contains(u"b"_s));
}

TEST(UserDefaults, hostileValuesReadAsAbsentAndADamagedFileIsKeptAside) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"defaults.json"_s);
    const QByteArray hostile =
        R"({"b":"b:maybe","i":"i:12x","m":"m:[1]","l":"l:{","d":"d:%%%","plain":"hello",)"
        R"("n":17,"s":"s:kept"})";
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write(hostile);
    f.close();
    UserDefaults d(path);
    EXPECT_FALSE(d.boolean(u"b"_s));
    EXPECT_FALSE(d.integer(u"i"_s));
    EXPECT_FALSE(d.stringMap(u"m"_s));
    EXPECT_FALSE(d.stringList(u"l"_s));
    EXPECT_FALSE(d.data(u"d"_s));
    EXPECT_FALSE(d.string(u"plain"_s));
    EXPECT_EQ(d.string(u"s"_s), u"kept"_s);
    // The value of another kind made the file damaged: the original is kept
    // aside byte for byte, the user is told where, and what could be read stays.
    const QStringList notices = d.takeNotices();
    const QStringList copies = QDir(dir.path()).entryList({u"defaults.json.damaged-*"_s});
    ASSERT_EQ(copies.size(), 1);
    ASSERT_EQ(notices.size(), 1);
    EXPECT_TRUE(notices[0].contains(copies[0]));
    QFile copy(dir.filePath(copies[0]));
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), hostile);
    EXPECT_TRUE(d.setBoolean(u"b"_s, true));
    EXPECT_EQ(UserDefaults(path).boolean(u"b"_s), true);
    EXPECT_EQ(UserDefaults(path).string(u"s"_s), u"kept"_s);
    EXPECT_EQ(QDir(dir.path()).entryList({u"defaults.json.damaged-*"_s}).size(), 1);
}

TEST(UserDefaults, anUnreadableFileIsNeverWrittenOver) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"defaults.json"_s);
    ASSERT_TRUE(UserDefaults(path).setString(u"s"_s, u"precious"_s));
    // A folder where the file should be cannot be read the way a file that
    // root alone may read cannot, and does not depend on who runs the test.
    const QString blocked = dir.filePath(u"blocked.json"_s);
    ASSERT_TRUE(QDir().mkpath(blocked));
    UserDefaults d(blocked);
    ASSERT_TRUE(d.readProblem().has_value());
    const auto refused = d.setString(u"s"_s, u"x"_s);
    ASSERT_FALSE(refused);
    EXPECT_TRUE(refused.error().message.contains(blocked));
    EXPECT_TRUE(QFileInfo(blocked).isDir());
    EXPECT_EQ(UserDefaults(path).string(u"s"_s), u"precious"_s);
}

TEST(UserDefaults, aFailedChangeLeavesEveryValueAsStored) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"defaults.json"_s);
    UserDefaults d(path);
    ASSERT_TRUE(d.setString(u"a"_s, u"1"_s));
    const auto failed = d.change([&]() -> StoreResult<> {
        EXPECT_TRUE(d.setString(u"a"_s, u"2"_s));
        EXPECT_TRUE(d.setString(u"b"_s, u"2"_s));
        return std::unexpected(StoreError{StoreError::Kind::invalid, u"no"_s});
    });
    EXPECT_FALSE(failed);
    EXPECT_EQ(d.string(u"a"_s), u"1"_s);
    EXPECT_FALSE(d.contains(u"b"_s));
    EXPECT_EQ(UserDefaults(path).string(u"a"_s), u"1"_s);
}

TEST(UserDefaults, filesAreCreatedPrivate) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"config/Quendra/defaults.json"_s);
    ASSERT_TRUE(UserDefaults(path).setString(u"s"_s, u"x"_s));
    EXPECT_EQ(QFileInfo(path).permissions() & 0x0077, 0);
    EXPECT_EQ(QFileInfo(QFileInfo(path).absolutePath()).permissions() & 0x0077, 0);
}

TEST(UserDefaults, valuesOfEarlierBuildsAreImportedOnce) {
    QTemporaryDir dir;
    const QString legacy = dir.filePath(u"defaults.conf"_s);
    {
        QSettings old(legacy, QSettings::IniFormat);
        old.setValue(u"dictationStyle"_s, u"s:polished"_s);
        old.setValue(u"personalDictionaryV2"_s, u"t:[]"_s);
    }
    const QString path = dir.filePath(u"defaults.json"_s);
    UserDefaults d(path);
    EXPECT_EQ(d.string(u"dictationStyle"_s), u"polished"_s);
    EXPECT_TRUE(QFileInfo::exists(path));
    EXPECT_FALSE(QFileInfo::exists(legacy));
    ASSERT_TRUE(d.setString(u"dictationStyle"_s, u"casual"_s));
    EXPECT_EQ(UserDefaults(path).string(u"dictationStyle"_s), u"casual"_s);
}

TEST(UserDefaults, pathFollowsXdgConfigHome) {
    const QByteArray saved = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", "/tmp/parlevo-config");
    EXPECT_EQ(UserDefaults::defaultPath(), u"/tmp/parlevo-config/Quendra/defaults.json"_s);
    qputenv("XDG_CONFIG_HOME", "relative/ignored");
    EXPECT_TRUE(UserDefaults::defaultPath().endsWith(u"/.config/Quendra/defaults.json"_s));
    qputenv("XDG_CONFIG_HOME", saved);
}

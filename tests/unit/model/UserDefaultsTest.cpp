#include "model/UserDefaults.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

TEST(UserDefaults, everyTypeReadsBackAsWrittenAndOnlyAsItsOwnType) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"nested/Quendra/defaults.conf"_s);
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

TEST(UserDefaults, hostileFileContentReadsAsAbsentValues) {
    QTemporaryDir dir;
    const QString path = dir.filePath(u"defaults.conf"_s);
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("[General]\nb=b:maybe\ni=i:12x\nm=m:[1]\nl=l:{\nd=d:%%%\nplain=hello\n"
            "v=@Variant(\\0\\0\\0\\x7f\\0\\0)\n\x01\x02garbage\n");
    f.close();
    UserDefaults d(path);
    EXPECT_FALSE(d.boolean(u"b"_s));
    EXPECT_FALSE(d.integer(u"i"_s));
    EXPECT_FALSE(d.stringMap(u"m"_s));
    EXPECT_FALSE(d.stringList(u"l"_s));
    EXPECT_FALSE(d.data(u"d"_s));
    EXPECT_FALSE(d.string(u"plain"_s));
    EXPECT_FALSE(d.data(u"v"_s));
    // Writing still works, keeps the other keys and the damaged file is kept aside.
    EXPECT_TRUE(d.setBoolean(u"b"_s, true));
    EXPECT_EQ(UserDefaults(path).boolean(u"b"_s), true);
    EXPECT_TRUE(UserDefaults(path).contains(u"plain"_s));
    EXPECT_EQ(QDir(dir.path()).entryList({u"defaults.conf.damaged-*"_s}).size(), 1);
}

TEST(UserDefaults, pathFollowsXdgConfigHome) {
    const QByteArray saved = qgetenv("XDG_CONFIG_HOME");
    qputenv("XDG_CONFIG_HOME", "/tmp/parlevo-config");
    EXPECT_EQ(UserDefaults::defaultPath(), u"/tmp/parlevo-config/Quendra/defaults.conf"_s);
    qputenv("XDG_CONFIG_HOME", "relative/ignored");
    EXPECT_TRUE(UserDefaults::defaultPath().endsWith(u"/.config/Quendra/defaults.conf"_s));
    qputenv("XDG_CONFIG_HOME", saved);
}

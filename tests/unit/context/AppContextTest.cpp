#include "context/AppContext.h"
#include "model/AppDataStore.h"
#include "model/UserDefaults.h"
#include "support/CoreApplication.h"
#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

class AppContextTest : public ::testing::Test {
protected:
    QTemporaryDir home;
    void SetUp() override {
        ensureCoreApplication();
        qputenv("XDG_CONFIG_HOME", home.filePath(u"config"_s).toLocal8Bit());
        qputenv("XDG_DATA_HOME", home.filePath(u"data"_s).toLocal8Bit());
    }
};

TEST_F(AppContextTest, OneOwnerHandsOutTheSameObjectsAndTheirSharedState) {
    AppContext context;
    EXPECT_EQ(&context.store(), &context.store());
    EXPECT_EQ(&context.transcription(), &context.transcription());
    // A change through the store is what the defaults it was built on hold.
    ASSERT_TRUE(context.store().saveReviewedSpelling(u"Quendra"_s, {u"kwendra"_s}));
    EXPECT_EQ(context.store().dictionaryEntries().size(), 1);
    EXPECT_EQ(AppDataStore(context.defaults()).dictionaryEntries().size(), 1);
}

TEST_F(AppContextTest, WithoutADisplayEveryDesktopObjectSaysWhyAndAsksAgainLater) {
    const QByteArray display = qgetenv("DISPLAY");
    qunsetenv("DISPLAY");
    AppContext context;
    const auto desktop = context.desktop();
    ASSERT_FALSE(desktop);
    EXPECT_FALSE(desktop.error().isEmpty());
    // Each object that needs the desktop gives the same sentence.
    EXPECT_EQ(context.insertion().error(), desktop.error());
    EXPECT_EQ(context.targetTracker().error(), desktop.error());
    EXPECT_EQ(context.dictationHotKey().error(), desktop.error());
    EXPECT_FALSE(context.desktop());
    if (!display.isEmpty())
        qputenv("DISPLAY", display);
}

TEST_F(AppContextTest, TestSwitchesAreReadOnceAndKeptFromTheCommands) {
    const QStringList arguments{u"parlevo"_s, u"--qa-target-log"_s, u"words"_s,
                                u"--qa-target-bundle=org.example.Editor"_s, u"list"_s};
    AppContext context(arguments);
    EXPECT_TRUE(context.qa().targetLog);
    EXPECT_FALSE(context.qa().hotKeyLog);
    EXPECT_EQ(context.qa().targetBundle, u"org.example.Editor"_s);
    EXPECT_EQ(QaSwitches::without(arguments), (QStringList{u"parlevo"_s, u"words"_s, u"list"_s}));
}

#ifndef NDEBUG
TEST_F(AppContextTest, ACallFromAnotherThreadIsStoppedInADebugBuild) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            AppContext context;
            std::thread([&context] { context.store(); }).join();
        },
        "called on a thread other than the one that owns it");
}
#endif

} // namespace
} // namespace quendra

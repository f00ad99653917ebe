#include "cli/CommandLine.h"
#include "model/AppDataStore.h"
#include "support/TestSupport.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include "support/CoreApplication.h"

#include "CommandRun.h"

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

using clitest::Outcome;

// What can be checked without a speech engine: arguments, the settings used
// as defaults and the sentences of engines that cannot run. The offline
// engine on real speech is the integration test's.
class TranscribeCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        ensureCoreApplication();
        qputenv("XDG_CONFIG_HOME", home.filePath(u"config"_s).toLocal8Bit());
        qputenv("XDG_DATA_HOME", home.filePath(u"data"_s).toLocal8Bit());
        recording = home.filePath(u"take.wav"_s);
        QFile file(recording);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(44 + 32'000, '\0'));
    }
    static Outcome run(const QStringList& arguments) { return clitest::runCommand(arguments); }
    QTemporaryDir home;
    QString recording;
};

TEST_F(TranscribeCommandTest, ArgumentsAreChecked) {
    auto r = run({u"transcribe"_s});
    EXPECT_EQ(r.status, int(ExitStatus::usage));
    r = run({u"transcribe"_s, recording, u"--model"_s, u"turbo"_s});
    EXPECT_EQ(r.status, int(ExitStatus::usage));
    EXPECT_TRUE(r.err.contains(u"whisper-large-v3-turbo"_s)) << r.err.toStdString();
    r = run({u"transcribe"_s, recording, u"--style"_s, u"loud"_s});
    EXPECT_EQ(r.status, int(ExitStatus::usage));
    r = run({u"transcribe"_s, recording, u"--language"_s, u"english"_s});
    EXPECT_EQ(r.status, int(ExitStatus::usage));
    r = run({u"transcribe"_s, home.filePath(u"missing.wav"_s)});
    EXPECT_EQ(r.status, int(ExitStatus::failure));
    EXPECT_TRUE(r.err.contains(u"There is no file"_s));
    r = run({u"transcribe"_s, u"--help"_s});
    EXPECT_EQ(r.status, int(ExitStatus::success));
    EXPECT_TRUE(r.out.contains(u"transcribe FILE"_s));
}

TEST_F(TranscribeCommandTest, SettingsGiveTheDefaults) {
    {
        UserDefaults defaults;
        AppDataStore store(defaults);
        ASSERT_TRUE(store.setDictationModel(DictationModel::qwen));
        ASSERT_TRUE(store.setAllowModelFallback(false));
    }
    const auto r = run({u"transcribe"_s, recording});
    EXPECT_EQ(r.status, int(ExitStatus::failure));
    EXPECT_TRUE(r.err.contains(u"Install Qwen in Settings, then retry."_s)) << r.err.toStdString();
}

} // namespace

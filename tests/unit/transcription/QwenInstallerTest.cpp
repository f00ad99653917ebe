#include "transcription/QwenInstaller.h"
#include "support/hosted/HostedTestSupport.h"

#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quendra;
using namespace quendra::testing;
using namespace Qt::Literals::StringLiterals;

namespace {

class QwenInstallerTest : public ::testing::Test {
protected:
    QwenInstallerTest() { ensureCoreApplication(); }

    void touch(const QString& path, bool executable = false) {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.close();
        if (executable)
            file.setPermissions(file.permissions() | QFileDevice::ExeOwner);
    }

    static QwenInstaller::Step shell(const QString& title, const QString& script) {
        return {title, u"sh"_s, {u"-c"_s, script}};
    }

    QTemporaryDir dir;
    QwenInstaller installer{dir.filePath(u"Quendra"_s)};
};

TEST_F(QwenInstallerTest, InstalledNeedsInterpreterWeightsAndNoMarker) {
    EXPECT_FALSE(installer.installed());
    EXPECT_TRUE(installer.interpreter().endsWith(u"/Quendra/qwen-venv/bin/python"_s));
    EXPECT_TRUE(installer.modelDirectory().endsWith(u"/Quendra/models/Qwen3-ASR-1.7B-bf16"_s));

    touch(installer.interpreter());
    touch(QDir(installer.modelDirectory()).filePath(u"model.safetensors"_s));
    EXPECT_FALSE(installer.installed()) << "the interpreter is not executable";
    touch(installer.interpreter(), true);
    EXPECT_TRUE(installer.installed());
    touch(installer.incompleteMarker());
    EXPECT_FALSE(installer.installed());
    QFile::remove(installer.incompleteMarker());
    QFile::remove(QDir(installer.modelDirectory()).filePath(u"model.safetensors"_s));
    EXPECT_FALSE(installer.installed());
}

TEST_F(QwenInstallerTest, StepsRunInOrderAndTheMarkerGoesAtTheEnd) {
    const QString trace = dir.filePath(u"trace"_s);
    QList<QwenInstaller::Progress> progress;
    QList<bool> markerSeen;
    const QList<QwenInstaller::Step> steps{
        shell(u"one"_s, u"echo one >> '%1'"_s.arg(trace)),
        shell(u"two"_s, u"echo two >> '%1'; mkdir -p '%2' && touch '%2/python' && chmod +x "
                        "'%2/python'"_s.arg(trace, QFileInfo(installer.interpreter()).path())),
        shell(u"three"_s,
              u"echo three >> '%1'; mkdir -p '%2' && touch '%2/model.safetensors'"_s.arg(
                  trace, installer.modelDirectory())),
    };
    const auto done = run(installer.install(steps, [&](QwenInstaller::Progress p) {
        progress.append(p);
        markerSeen.append(QFileInfo::exists(installer.incompleteMarker()));
    }));
    ASSERT_TRUE(done) << done.error().toStdString();
    QFile file(trace);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "one\ntwo\nthree\n");
    ASSERT_EQ(progress.size(), 3);
    EXPECT_EQ(progress[2].step, 3);
    EXPECT_EQ(progress[2].steps, 3);
    EXPECT_EQ(progress[1].title, u"two"_s);
    EXPECT_EQ(markerSeen, (QList<bool>{true, true, true}));
    EXPECT_FALSE(QFileInfo::exists(installer.incompleteMarker()));
    EXPECT_TRUE(installer.installed());
}

TEST_F(QwenInstallerTest, FailedStepStopsAndLeavesTheMarker) {
    const QString trace = dir.filePath(u"trace"_s);
    const auto failed = run(installer.install(
        {shell(u"Fetching"_s, u"exit 7"_s), shell(u"after"_s, u"touch '%1'"_s.arg(trace))}, {}));
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error(), u"Fetching failed. Check your connection and retry."_s);
    EXPECT_FALSE(QFileInfo::exists(trace));
    EXPECT_TRUE(QFileInfo::exists(installer.incompleteMarker()));
    EXPECT_FALSE(installer.installed());

    const auto missing = run(installer.install(
        {QwenInstaller::Step{u"Starting"_s, dir.filePath(u"no-such-program"_s), {}}}, {}));
    ASSERT_FALSE(missing);
}

TEST_F(QwenInstallerTest, RealStepsBuildTheEnvironmentThenFetchTheModel) {
    const auto steps = installer.steps(u"/usr/bin/python3"_s);
    ASSERT_EQ(steps.size(), 4);
    EXPECT_EQ(steps[0].program, u"/usr/bin/python3"_s);
    EXPECT_EQ(steps[0].arguments.last(),
              QFileInfo(installer.interpreter()).dir().absolutePath().chopped(4));
    for (qsizetype i = 1; i < steps.size(); ++i)
        EXPECT_EQ(steps[i].program, installer.interpreter());
    EXPECT_EQ(steps.last().arguments.last(), installer.modelDirectory());
}

} // namespace

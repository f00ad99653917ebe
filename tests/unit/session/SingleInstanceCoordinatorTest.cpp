#include "session/SingleInstanceCoordinator.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

namespace Coordinator = SingleInstanceCoordinator;

const QString installed = u"/home/ada/.local/bin/parlevo"_s;
const QString buildCopy = u"/home/ada/src/parlevo/build/dev/src/app/parlevo"_s;
const QString download = u"/home/ada/Downloads/parlevo"_s;

RunningInstance at(const QString& location, qint64 pid) {
    return {pid, location, u"com.orvane.Parlevo.Instance%1"_s.arg(pid)};
}

TEST(SingleInstanceCoordinator, ACopyFromElsewhereDefersToTheRunningInstalledOne) {
    const auto decision =
        Coordinator::decide(buildCopy, {installed}, {at(download, 7), at(installed, 9)});
    EXPECT_FALSE(decision.continueLaunching);
    ASSERT_TRUE(decision.activate);
    EXPECT_EQ(decision.activate->processId, 9);
    EXPECT_TRUE(decision.quit.isEmpty());
}

TEST(SingleInstanceCoordinator, TheInstalledCopyAsksEveryOtherToQuitAndGoesOn) {
    const auto decision =
        Coordinator::decide(installed, {installed}, {at(buildCopy, 3), at(installed, 4)});
    EXPECT_TRUE(decision.continueLaunching);
    EXPECT_FALSE(decision.activate);
    ASSERT_EQ(decision.quit.size(), 2);
    EXPECT_EQ(decision.quit[0].processId, 3);
    EXPECT_EQ(decision.quit[1].processId, 4);
}

TEST(SingleInstanceCoordinator, CopiesFromElsewhereRunSideBySide) {
    for (const QList<RunningInstance>& others :
         {QList<RunningInstance>{}, QList{at(download, 5)}, QList{at(u""_s, 6)}}) {
        const auto decision = Coordinator::decide(buildCopy, {installed}, others);
        EXPECT_TRUE(decision.continueLaunching);
        EXPECT_FALSE(decision.activate);
        EXPECT_TRUE(decision.quit.isEmpty());
    }
}

TEST(SingleInstanceCoordinator, ACommandLineControlsTheInstalledCopyElseTheFirstOther) {
    const auto installedOne =
        Coordinator::commandTarget({installed}, {at(download, 7), at(installed, 9)});
    ASSERT_TRUE(installedOne);
    EXPECT_EQ(installedOne->processId, 9);
    const auto first = Coordinator::commandTarget({installed}, {at(download, 7), at(buildCopy, 8)});
    ASSERT_TRUE(first);
    EXPECT_EQ(first->processId, 7);
    EXPECT_FALSE(Coordinator::commandTarget({installed}, {}));
}

TEST(SingleInstanceCoordinator, ALocationReachedThroughASymbolicLinkIsTheSame) {
    QTemporaryDir dir;
    const QString real = dir.filePath(u"real-parlevo"_s);
    QFile file(real);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    const QString link = dir.filePath(u"parlevo"_s);
    ASSERT_TRUE(QFile::link(real, link));
    EXPECT_EQ(Coordinator::resolvedLocation(link), Coordinator::resolvedLocation(real));
    EXPECT_EQ(Coordinator::resolvedLocation(dir.filePath(u"sub/../parlevo"_s)),
              Coordinator::resolvedLocation(real));
    const auto decision = Coordinator::decide(Coordinator::resolvedLocation(link),
                                              {Coordinator::resolvedLocation(real)}, {});
    EXPECT_TRUE(decision.continueLaunching);
}

} // namespace
} // namespace quendra

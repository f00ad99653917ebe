#include "cli/CommandLine.h"
#include "notes/NotesStore.h"
#include "support/CoreApplication.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "CommandRun.h"

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

using clitest::Outcome;

// The recorders without a sound server: every failure is one sentence and
// leaves nothing behind.
class RecordCommandTest : public ::testing::Test {
protected:
    QTemporaryDir home;
    QByteArray previousServer = qgetenv("PULSE_SERVER");

    void SetUp() override {
        ensureCoreApplication();
        qputenv("XDG_CONFIG_HOME", home.filePath(u"config"_s).toLocal8Bit());
        qputenv("XDG_DATA_HOME", home.filePath(u"data"_s).toLocal8Bit());
        qputenv("PULSE_SERVER", (u"unix:"_s + home.filePath(u"no-server"_s)).toLocal8Bit());
    }
    void TearDown() override {
        if (previousServer.isNull())
            qunsetenv("PULSE_SERVER");
        else
            qputenv("PULSE_SERVER", previousServer);
    }
    static Outcome run(const QStringList& arguments) { return clitest::runCommand(arguments); }
};

TEST_F(RecordCommandTest, BadArgumentsGiveOneSentenceAndStatusTwo) {
    const QList<QStringList> bad{
        {u"record"_s},
        {u"record"_s, u"a.wav"_s, u"b.wav"_s},
        {u"record"_s, u"a.wav"_s, u"--seconds"_s},
        {u"record"_s, u"a.wav"_s, u"--seconds"_s, u"soon"_s},
        {u"record"_s, u"a.wav"_s, u"--seconds"_s, u"0"_s},
        {u"record"_s, u"a.wav"_s, u"--call"_s},
        {u"notes"_s, u"record"_s, u"extra"_s},
        {u"notes"_s, u"record"_s, u"--seconds=-3"_s},
    };
    for (const auto& arguments : bad) {
        const Outcome r = run(arguments);
        EXPECT_EQ(r.status, 2) << arguments.join(u' ').toStdString();
        EXPECT_TRUE(r.out.isEmpty());
        EXPECT_EQ(r.err.count(u'\n'), 1) << r.err.toStdString();
    }
    EXPECT_FALSE(QFile::exists(u"a.wav"_s));
}

TEST_F(RecordCommandTest, HelpNamesTheOptions) {
    const Outcome record = run({u"record"_s, u"--help"_s});
    EXPECT_EQ(record.status, 0);
    EXPECT_TRUE(record.out.contains(u"--seconds N"_s));
    const Outcome note = run({u"notes"_s, u"record"_s, u"--help"_s});
    EXPECT_EQ(note.status, 0);
    EXPECT_TRUE(note.out.contains(u"--call"_s));
    EXPECT_TRUE(run({u"--help"_s}).out.contains(u"parlevo record OUT.wav"_s));
}

TEST_F(RecordCommandTest, DictationWithoutASoundServerNeedsTheMicrophone) {
    const QString path = home.filePath(u"take.wav"_s);
    const Outcome r = run({u"record"_s, path, u"--seconds"_s, u"1"_s});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.err.contains(u"Microphone access is required to dictate."_s))
        << r.err.toStdString();
    EXPECT_FALSE(QFile::exists(path));
}

TEST_F(RecordCommandTest, NoteWithoutASoundServerLeavesNoNote) {
    const Outcome r = run({u"notes"_s, u"record"_s, u"--call"_s});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.err.contains(
        u"The microphone could not start. Check the input in the desktop’s sound settings, then try again."_s))
        << r.err.toStdString();
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_TRUE(NotesStore().loadAll().notes.isEmpty());
}

} // namespace

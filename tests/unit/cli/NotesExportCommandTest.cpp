#include "audio/WaveFileWriter.h"
#include "cli/CommandLine.h"
#include "context/AppContext.h"
#include "notes/NoteExport.h"
#include "notes/NotesStore.h"
#include "support/CoreApplication.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <vector>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

class NotesExportCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        ensureCoreApplication();
        qputenv("XDG_CONFIG_HOME", home.filePath(u"config"_s).toLocal8Bit());
        qputenv("XDG_DATA_HOME", home.filePath(u"data"_s).toLocal8Bit());
        note.id = QUuid::createUuid();
        note.title = u"Weekly sync"_s;
        note.state = NoteState::ready;
        note.durationMs = 1000;
        note.sections = {{0, 0, 1000, true, true, u"Hello there."_s, {}}};
        note.turns = {{u"you"_s, 100, 800, u"Hello there."_s}};
        ASSERT_TRUE(store.create(note).has_value());
        auto wave = WaveFileWriter::create(store.sectionAudioPath(note.id, 0));
        ASSERT_TRUE(wave.has_value());
        ASSERT_TRUE(wave->write(std::vector<qint16>(16000, 1000)).has_value());
        ASSERT_TRUE(wave->close().has_value());
        previousFolder = QDir::currentPath();
        QDir::setCurrent(work.path());
    }
    void TearDown() override { QDir::setCurrent(previousFolder); }

    int run(const QStringList& arguments, QString* out = nullptr, QString* err = nullptr) {
        QString o, e;
        QTextStream outStream(&o), errStream(&e);
        AppContext app;
        QStringList all{u"notes"_s, u"export"_s};
        all += arguments;
        const int status = runCommandLine(app, all, outStream, errStream);
        if (out)
            *out = o;
        if (err)
            *err = e;
        return status;
    }

    QString id() const { return uuidText(note.id).left(8); }

    QTemporaryDir home;
    QTemporaryDir work;
    QString previousFolder;
    NotesStore store{home.filePath(u"data/Quendra/Notes"_s)};
    Note note;
};

} // namespace

TEST_F(NotesExportCommandTest, TextGoesToStandardOutputOrToTheFileNamed) {
    QString out;
    EXPECT_EQ(run({id(), u"--format"_s, u"vtt"_s}, &out), 0);
    EXPECT_EQ(out.toUtf8(), NoteExport::webVtt(*store.load(note.id)));
    EXPECT_EQ(run({id(), u"--format=md"_s, u"-o"_s, u"-"_s}, &out), 0);
    EXPECT_TRUE(out.startsWith(u"# Weekly sync\n"_s));

    EXPECT_EQ(run({id(), u"-o"_s, u"call.srt"_s, u"--format"_s, u"srt"_s}, &out), 0);
    EXPECT_TRUE(out.contains(u"call.srt"_s));
    QFile file(work.filePath(u"call.srt"_s));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), NoteExport::srt(*store.load(note.id)));
}

TEST_F(NotesExportCommandTest, AudioGoesToAFileNamedAfterTheNoteAndNeverReplacesIt) {
    QString out, err;
    EXPECT_EQ(run({id(), u"--format"_s, u"m4a"_s}, &out, &err), 0) << err.toStdString();
    EXPECT_TRUE(QFileInfo(work.filePath(u"Weekly sync.m4a"_s)).size() > 0);
    EXPECT_EQ(run({id(), u"--format"_s, u"m4a"_s}, &out, &err), 1);
    EXPECT_TRUE(err.contains(u"already exists"_s)) << err.toStdString();
    EXPECT_EQ(run({id(), u"--format"_s, u"m4a"_s, u"-o"_s, u"Weekly sync.m4a"_s}, &out, &err), 0);

    ASSERT_TRUE(QFile::remove(store.sectionAudioPath(note.id, 0)));
    EXPECT_EQ(run({id(), u"--format"_s, u"m4a"_s, u"-o"_s, u"gone.m4a"_s}, &out, &err), 1);
    EXPECT_TRUE(err.contains(u"part-0.wav"_s)) << err.toStdString();
    EXPECT_FALSE(QFileInfo::exists(work.filePath(u"gone.m4a"_s)));
}

TEST_F(NotesExportCommandTest, BadArgumentsGetOneSentenceAndTheUsageStatus) {
    const QList<QStringList> cases{{id()},
                                   {id(), u"--format"_s, u"mp3"_s},
                                   {id(), u"--format"_s, u"m4a"_s, u"-o"_s, u"-"_s},
                                   {id(), u"--format"_s, u"md"_s, u"-o"_s},
                                   {id(), u"--format"_s, u"md"_s, u"-x"_s},
                                   {u"not-an-id"_s, u"--format"_s, u"md"_s}};
    for (const QStringList& arguments : cases) {
        QString err;
        EXPECT_EQ(run(arguments, nullptr, &err), 2) << arguments.join(u' ').toStdString();
        EXPECT_EQ(err.count(u'\n'), 1) << err.toStdString();
    }
    QString err;
    EXPECT_EQ(run({u"ABCDEF12"_s, u"--format"_s, u"md"_s}, nullptr, &err), 1);
    EXPECT_TRUE(err.contains(u"No note has the identifier"_s));
}

#include "audio/WaveFileWriter.h"
#include "cli/CommandLine.h"
#include "context/AppContext.h"
#include "notes/NotesStore.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

class NotesCommandTest : public ::testing::Test {
protected:
    QTemporaryDir home;
    void SetUp() override {
        qputenv("XDG_CONFIG_HOME", home.filePath(u"config"_s).toLocal8Bit());
        qputenv("XDG_DATA_HOME", home.filePath(u"data"_s).toLocal8Bit());
    }
    int run(const QStringList& arguments, QString* out = nullptr, QString* err = nullptr) {
        QString o, e;
        QTextStream outStream(&o), errStream(&e);
        AppContext app;
        const int status = runCommandLine(app, arguments, outStream, errStream);
        if (out)
            *out = o;
        if (err)
            *err = e;
        return status;
    }
    Note makeNote(NoteState state, NoteSource source, qint64 createdMs) {
        Note note;
        note.id = QUuid::createUuid();
        note.title = u"Weekly sync"_s;
        note.createdAt = QDateTime::fromMSecsSinceEpoch(createdMs, Qt::UTC);
        note.state = state;
        note.source = source;
        EXPECT_TRUE(store.create(note).has_value());
        return note;
    }
    NotesStore store{home.filePath(u"data/Quendra/Notes"_s)};
};

} // namespace

TEST_F(NotesCommandTest, recoverTurnsNotesLeftRecordingIntoInterruptedOnes) {
    const Note recording = makeNote(NoteState::recording, NoteSource::call, 2'000);
    const Note ready = makeNote(NoteState::ready, NoteSource::room, 1'000);
    // A section cut off by a crash: the header still says no audio, and the
    // last sample is half written.
    QFile wav(store.sectionAudioPath(recording.id, 0));
    ASSERT_TRUE(wav.open(QIODevice::WriteOnly));
    wav.write(WaveFileWriter::header(0));
    wav.write(QByteArray(32'001, '\x01'));
    wav.close();
    ASSERT_TRUE(store.update(recording.id, [](Note& n) {
        n.sections.append({0, 0, 1'000, false, false, {}, {}});
    }));

    QString out;
    EXPECT_EQ(run({u"notes"_s, u"recover"_s}, &out), 0);
    EXPECT_TRUE(out.contains(u"Recovered “Weekly sync” (00:00:01 of audio)."_s))
        << out.toStdString();
    const Note recovered = *store.load(recording.id);
    EXPECT_EQ(recovered.state, NoteState::interrupted);
    EXPECT_EQ(recovered.durationMs, 1'000);
    EXPECT_EQ(QFileInfo(store.sectionAudioPath(recording.id, 0)).size(), 44 + 32'000);
    EXPECT_EQ(store.load(ready.id)->revision, ready.revision);

    EXPECT_EQ(run({u"notes"_s, u"recover"_s}, &out), 0);
    EXPECT_TRUE(out.contains(u"No note was left recording."_s));
}

TEST_F(NotesCommandTest, notesAreListedShownAndMissingOnesReported) {
    const Note older = makeNote(NoteState::ready, NoteSource::room, 1'000);
    const Note newer = makeNote(NoteState::retry, NoteSource::call, 5'000);
    QString out, err;
    ASSERT_EQ(run({u"notes"_s, u"list"_s, u"--json"_s}, &out), 0);
    const Json list = *parseJson(out.toUtf8());
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0], Json(*store.load(newer.id)));
    EXPECT_EQ(list[1]["id"], uuidText(older.id).toStdString());

    ASSERT_EQ(run({u"notes"_s, u"show"_s, uuidText(older.id).left(8)}, &out), 0);
    EXPECT_TRUE(out.contains(u"Title: Weekly sync"_s));
    EXPECT_TRUE(out.contains(u"State: ready"_s));

    EXPECT_EQ(run({u"notes"_s, u"transcript"_s, uuidText(older.id)}, &out, &err), 1);
    EXPECT_EQ(err.trimmed(), u"This note has no transcript yet."_s);
    EXPECT_EQ(run({u"notes"_s, u"names"_s, uuidText(older.id)}, &out), 0);
    EXPECT_TRUE(out.contains(u"Names are suggested for calls only."_s));
    EXPECT_EQ(run({u"notes"_s, u"names"_s, uuidText(newer.id), u"--json"_s}, &out), 0);
    EXPECT_EQ(*parseJson(out.toUtf8()), Json::array());

    EXPECT_EQ(run({u"notes"_s, u"show"_s, QUuid::createUuid().toString()}, &out, &err), 1);
    EXPECT_EQ(run({u"notes"_s, u"assemble"_s, u"zz"_s}, &out, &err), 2);
    // A note still waiting for its transcription cannot be assembled, and is left as it was.
    ASSERT_TRUE(store.update(newer.id, [](Note& n) {
        n.sections.append({0, 0, 30'000, true, false, {}, {}});
    }));
    const qint64 revision = store.load(newer.id)->revision;
    EXPECT_EQ(run({u"notes"_s, u"assemble"_s, uuidText(newer.id)}, &out, &err), 1);
    EXPECT_EQ(err.trimmed(), u"This note’s sections are not all transcribed yet."_s);
    EXPECT_EQ(store.load(newer.id)->revision, revision);
}

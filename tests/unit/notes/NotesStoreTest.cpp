#include "notes/NotesStore.h"

#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include <sys/stat.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

Note makeNote(qint64 createdMs, NoteState state = NoteState::recording) {
    Note note;
    note.id = QUuid::createUuid();
    note.createdAt = QDateTime::fromMSecsSinceEpoch(createdMs, Qt::UTC);
    note.state = state;
    note.source = NoteSource::call;
    note.sourceApp = u"us.zoom.xos"_s;
    return note;
}

int mode(const QString& path) {
    struct stat info {};
    if (::stat(QFile::encodeName(path).constData(), &info) != 0)
        return -1;
    return static_cast<int>(info.st_mode & 0777);
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

quint32 le32(const QByteArray& bytes, int offset) {
    return qFromLittleEndian<quint32>(bytes.constData() + offset);
}

} // namespace

TEST(NotesStore, createLoadAndListNewestFirstWithUnreadableNotesApart) {
    QTemporaryDir temp;
    NotesStore store(temp.filePath(u"deep/Notes"_s));
    EXPECT_FALSE(store.capturesReview());
    EXPECT_TRUE(store.loadAll().notes.isEmpty());

    const Note older = makeNote(1'000);
    Note newer = makeNote(5'000);
    newer.title = u"Stand-up"_s;
    ASSERT_TRUE(store.create(older));
    ASSERT_TRUE(store.create(newer));
    EXPECT_EQ(store.load(newer.id), newer);
    EXPECT_FALSE(store.load(QUuid::createUuid()));

    const QString folder = store.noteDirectory(newer.id);
    EXPECT_EQ(QFileInfo(folder).fileName(), newer.id.toString(QUuid::WithoutBraces).toUpper());
    EXPECT_EQ(mode(folder), 0700);
    EXPECT_EQ(mode(temp.filePath(u"deep"_s)), 0700);
    EXPECT_EQ(mode(folder + u"/note.json"_s), 0600);

    QDir root(store.root());
    root.mkdir(u"empty"_s);
    root.mkdir(u"garbage"_s);
    writeFile(root.filePath(u"garbage/note.json"_s), "{not json");
    root.mkdir(u"noid"_s);
    writeFile(root.filePath(u"noid/note.json"_s), R"({"title":"x"})");
    const QUuid broken = QUuid::createUuid();
    root.mkdir(uuidText(broken));
    writeFile(store.noteFilePath(broken), "{not json");
    const NoteListing listing = store.loadAll();
    const QList<Note>& all = listing.notes;
    ASSERT_EQ(all.size(), 2);
    EXPECT_EQ(all[0].id, newer.id);
    EXPECT_EQ(all[1].id, older.id);
    ASSERT_EQ(listing.unreadable.size(), 1);
    EXPECT_EQ(listing.unreadable[0].id, broken);
    EXPECT_EQ(listing.unreadable[0].folder, store.noteDirectory(broken));
    EXPECT_EQ(listing.unreadable[0].error.kind, StoreError::Kind::damaged);
    EXPECT_EQ(store.load(broken).error().message, listing.unreadable[0].error.message);
    EXPECT_EQ(store.load(QUuid::createUuid()).error().kind, StoreError::Kind::missing);
    ASSERT_TRUE(store.remove(broken));

    EXPECT_EQ(store.sectionAudioPath(newer.id, 0), folder + u"/part-0.wav"_s);
    EXPECT_EQ(store.sectionEnvelopePath(newer.id, 12), folder + u"/part-12.env"_s);
    EXPECT_GT(store.freeBytes().value_or(0), 0);

    ASSERT_TRUE(store.remove(older.id));
    EXPECT_FALSE(QFileInfo::exists(store.noteDirectory(older.id)));
    EXPECT_TRUE(store.remove(older.id));
    EXPECT_EQ(store.loadAll().notes.size(), 1);
}

TEST(NotesStore, everyUpdateRaisesRevisionByOneAndKeepsTheId) {
    QTemporaryDir temp;
    NotesStore store(temp.path());
    const Note note = makeNote(0);
    ASSERT_TRUE(store.create(note));

    auto unchanged = store.update(note.id, [](Note&) {});
    ASSERT_TRUE(unchanged);
    EXPECT_EQ(unchanged->revision, 1);
    auto renamed = store.update(note.id, [](Note& n) {
        n.title = u"Renamed"_s;
        n.titleEdited = true;
        n.id = QUuid::createUuid();
    });
    ASSERT_TRUE(renamed);
    EXPECT_EQ(renamed->id, note.id);
    EXPECT_EQ(store.load(note.id), *renamed);
    EXPECT_EQ(store.load(note.id)->revision, 2);
    EXPECT_EQ(mode(store.noteDirectory(note.id) + u"/note.json"_s), 0600);
    EXPECT_EQ(QDir(store.noteDirectory(note.id)).entryList(QDir::Files),
              QStringList{u"note.json"_s});

    auto missing = store.update(QUuid::createUuid(), [](Note&) {});
    ASSERT_FALSE(missing);
    EXPECT_FALSE(missing.error().message.isEmpty());
}

TEST(NotesStore, concurrentUpdatesAreAllApplied) {
    QTemporaryDir temp;
    NotesStore store(temp.path());
    const Note note = makeNote(0);
    ASSERT_TRUE(store.create(note));
    constexpr int threads = 8;
    constexpr int updatesEach = 25;
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&store, &note, t] {
            for (int i = 0; i < updatesEach; ++i)
                (void)store.update(note.id, [t, i](Note& n) {
                    n.highlights.append({QUuid::createUuid(), t * 1000 + i, {}});
                });
        });
    }
    for (auto& worker : workers)
        worker.join();
    const auto stored = store.load(note.id);
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->revision, threads * updatesEach);
    ASSERT_EQ(stored->highlights.size(), threads * updatesEach);
    QSet<qint64> seen;
    for (const auto& highlight : stored->highlights)
        seen.insert(highlight.atMs);
    EXPECT_EQ(seen.size(), threads * updatesEach);
}

TEST(NotesStore, removeAudioLeavesOnlyTheRecord) {
    QTemporaryDir temp;
    NotesStore store(temp.path());
    Note note = makeNote(0, NoteState::ready);
    note.audioFile = u"audio.m4a"_s;
    ASSERT_TRUE(store.create(note));
    const QString folder = store.noteDirectory(note.id);
    writeFile(folder + u"/audio.m4a"_s, "aac");
    EXPECT_EQ(store.playbackPath(note), folder + u"/audio.m4a"_s);
    writeFile(store.sectionAudioPath(note.id, 0), "wav");
    writeFile(store.sectionEnvelopePath(note.id, 0), "env");
    writeFile(folder + u"/.hidden"_s, "x");

    auto result = store.removeAudio(note.id);
    ASSERT_TRUE(result);
    EXPECT_TRUE(result->audioRemoved);
    EXPECT_FALSE(result->audioFile);
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{u"note.json"_s});
    EXPECT_EQ(store.load(note.id), *result);
    EXPECT_FALSE(store.playbackPath(*result));

    Note unexported = note;
    unexported.audioFile.reset();
    EXPECT_FALSE(store.playbackPath(unexported));
    unexported.audioFile = u"../audio.m4a"_s;
    EXPECT_FALSE(store.playbackPath(unexported));
}

TEST(NotesStore, removingNeverFollowsALinkOutOfTheNotesFolder) {
    QTemporaryDir temp;
    NotesStore store(temp.filePath(u"Notes"_s));
    const Note note = makeNote(0, NoteState::ready);
    ASSERT_TRUE(store.create(note));
    QDir(temp.path()).mkpath(u"outside/inner"_s);
    writeFile(temp.filePath(u"outside/kept.wav"_s), "kept");
    writeFile(temp.filePath(u"outside/inner/kept.env"_s), "kept");
    const QString folder = store.noteDirectory(note.id);
    ASSERT_TRUE(QFile::link(temp.filePath(u"outside/kept.wav"_s), folder + u"/part-0.wav"_s));
    ASSERT_TRUE(QFile::link(temp.filePath(u"outside/inner"_s), folder + u"/inner"_s));

    ASSERT_TRUE(store.removeAudio(note.id));
    EXPECT_EQ(QDir(folder).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot),
              QStringList{u"note.json"_s});

    const QUuid linked = QUuid::createUuid();
    ASSERT_TRUE(QFile::link(temp.filePath(u"outside"_s), store.noteDirectory(linked)));
    const auto refused = store.load(linked);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().kind, StoreError::Kind::refused);
    ASSERT_TRUE(store.remove(linked));
    ASSERT_TRUE(store.remove(note.id));
    EXPECT_EQ(readFile(temp.filePath(u"outside/kept.wav"_s)), "kept");
    EXPECT_EQ(readFile(temp.filePath(u"outside/inner/kept.env"_s)), "kept");
    EXPECT_TRUE(QDir(store.root()).isEmpty(QDir::Dirs | QDir::System | QDir::NoDotAndDotDot));
}

TEST(NotesStore, recoverInterruptedRepairsSectionsOfRecordingNotesOnly) {
    QTemporaryDir temp;
    NotesStore store(temp.path());
    Note recording = makeNote(0);
    recording.durationMs = 1'000;
    recording.sections = {NoteSection{.index = 0, .startMs = 0, .endMs = 30'000, .closed = true},
                          NoteSection{.index = 1, .startMs = 28'000, .endMs = 45'500}};
    const Note finished = makeNote(10, NoteState::finishing);
    ASSERT_TRUE(store.create(recording));
    ASSERT_TRUE(store.create(finished));

    // A section cut off by the crash: header still says zero samples, and the
    // last sample is half written.
    QByteArray wav(44, '\0');
    wav.replace(0, 4, "RIFF");
    wav.replace(8, 8, "WAVEfmt ");
    wav.replace(36, 4, "data");
    wav.append(QByteArray(32'001, '\x01'));
    writeFile(store.sectionAudioPath(recording.id, 1), wav);

    const QList<Note> recovered = store.recoverInterrupted().recovered;
    ASSERT_EQ(recovered.size(), 1);
    const auto stored = store.load(recording.id);
    ASSERT_TRUE(stored);
    EXPECT_EQ(*stored, recovered[0]);
    EXPECT_EQ(stored->state, NoteState::interrupted);
    EXPECT_EQ(stored->message, u"Parlevo quit while this was recording. The audio captured so far "
                               u"is kept on this computer."_s);
    EXPECT_EQ(stored->durationMs, 45'500);
    EXPECT_EQ(stored->revision, 1);
    EXPECT_EQ(store.load(finished.id), finished);

    const QByteArray repaired = readFile(store.sectionAudioPath(recording.id, 1));
    ASSERT_EQ(repaired.size(), 44 + 32'000);
    EXPECT_EQ(le32(repaired, 40), 32'000u);
    EXPECT_EQ(le32(repaired, 4), 36u + 32'000u);

    EXPECT_TRUE(store.recoverInterrupted().recovered.isEmpty());
}

TEST(NotesStore, reviewCaptureSeesEachWriteButCannotFailIt) {
    QTemporaryDir temp;
    NotesStore store(temp.path());
    QStringList captured;
    store.setReviewCapture([&](const QString& directory) {
        captured.append(directory);
        throw std::runtime_error("archive full");
    });
    const Note note = makeNote(0);
    ASSERT_TRUE(store.create(note));
    EXPECT_TRUE(captured.isEmpty());

    store.setCapturesReview(true);
    ASSERT_TRUE(store.update(note.id, [](Note& n) { n.title = u"Kept"_s; }));
    EXPECT_EQ(captured, QStringList{store.noteDirectory(note.id)});
    EXPECT_EQ(store.load(note.id)->title, u"Kept"_s);
}

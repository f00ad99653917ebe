#include "notes/NoteAssembly.h"

#include "RecordedCall.h"
#include "SimulatedTranscriber.h"
#include "audio/SectionWriter.h"
#include "model/Json.h"
#include "notes/NotesStore.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

using namespace quendra::recorded;

class NoteAssemblyTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(root.isValid());
        conversation = loadConversation();
        ASSERT_FALSE(conversation.words.isEmpty());
    }

    // A finished note whose sections were cut by SectionWriter and
    // transcribed (with ASR timing jitter) from the conversation.
    QUuid recordNote(NoteSource source) {
        Note note;
        note.id = QUuid::createUuid();
        note.source = source;
        note.state = NoteState::finishing;
        EXPECT_TRUE(store.create(note).has_value());
        QList<SectionWriter::Section> cut;
        recordCall(store.noteDirectory(note.id), conversation, source == NoteSource::call, cut);
        QList<NoteSection> sections;
        for (const auto& s : cut) {
            NoteSection section;
            section.index = s.index;
            section.startMs = s.startMs;
            section.endMs = s.endMs;
            sections.append(section);
        }
        std::mt19937 random(11);
        sections = simulated::transcribe(sections, conversation.words, random);
        EXPECT_TRUE(store.update(note.id, [&](Note& n) { n.sections = sections; }).has_value());
        return note.id;
    }

    QString allWords() const {
        QStringList texts;
        for (const auto& w : conversation.words)
            texts.append(w.text);
        return texts.join(u' ');
    }

    static QString joinedTurns(const QList<NoteTurn>& turns) {
        QStringList texts;
        for (const auto& t : turns)
            texts.append(t.text);
        return texts.join(u' ');
    }

    QTemporaryDir root;
    NotesStore store{root.path()};
    Conversation conversation;
};

} // namespace

TEST_F(NoteAssemblyTest, LabelsACallByTheSourceThatCarriedEachWord) {
    const QUuid id = recordNote(NoteSource::call);
    const qint64 revision = store.load(id)->revision;

    const auto assembled = NoteAssembly::run(store, id);
    ASSERT_TRUE(assembled.has_value()) << assembled.error().message.toStdString();
    EXPECT_TRUE(assembled->turnsFinal);
    EXPECT_EQ(assembled->revision, revision + 1);
    EXPECT_EQ(store.load(id), *assembled);

    const QList<NoteTurn>& turns = assembled->turns;
    EXPECT_EQ(joinedTurns(turns), allWords());
    // One turn per burst at most: a burst's words are one speaker's and its
    // pauses are short; the sections' overlaps split nothing.
    EXPECT_EQ(turns.size(), (conversation.words.back().endMs / conversation.burstMs) + 1);
    for (const auto& turn : turns) {
        const bool microphone = conversation.microphoneSpeaksAt(turn.startMs);
        EXPECT_EQ(microphone, conversation.microphoneSpeaksAt(turn.endMs));
        EXPECT_EQ(turn.speaker, microphone ? u"you"_s : u"them"_s) << turn.text.toStdString();
    }
}

TEST_F(NoteAssemblyTest, RoomNotesAndCallsWithoutLevelsAreLeftToTheRoom) {
    const QUuid room = recordNote(NoteSource::room);
    const auto assembledRoom = NoteAssembly::run(store, room);
    ASSERT_TRUE(assembledRoom.has_value()) << assembledRoom.error().message.toStdString();
    EXPECT_EQ(joinedTurns(assembledRoom->turns), allWords());
    for (const auto& turn : assembledRoom->turns)
        EXPECT_EQ(turn.speaker, u"room"_s);

    const QUuid call = recordNote(NoteSource::call);
    const Note recorded = *store.load(call);
    for (const auto& section : recorded.sections)
        ASSERT_TRUE(QFile::remove(store.sectionEnvelopePath(call, section.index)));
    const auto assembledCall = NoteAssembly::run(store, call);
    ASSERT_TRUE(assembledCall.has_value());
    EXPECT_EQ(joinedTurns(assembledCall->turns), allWords());
    for (const auto& turn : assembledCall->turns)
        EXPECT_EQ(turn.speaker, u"room"_s);
}

TEST_F(NoteAssemblyTest, ALostSectionEnvelopeLeavesOnlyItsOwnStretchUnclear) {
    const QUuid id = recordNote(NoteSource::call);
    const Note recorded = *store.load(id);
    const NoteSection& last = recorded.sections.back();
    const qint64 previousEndMs = recorded.sections[recorded.sections.size() - 2].endMs;
    ASSERT_TRUE(QFile::remove(store.sectionEnvelopePath(id, last.index)));

    const auto assembled = NoteAssembly::run(store, id);
    ASSERT_TRUE(assembled.has_value());
    EXPECT_EQ(joinedTurns(assembled->turns), allWords());
    bool sawUnclear = false;
    for (const auto& turn : assembled->turns) {
        if (turn.startMs > previousEndMs) {
            EXPECT_EQ(turn.speaker, u"unclear"_s) << turn.text.toStdString();
            sawUnclear = true;
        } else if (turn.endMs < previousEndMs) {
            EXPECT_NE(turn.speaker, u"unclear"_s) << turn.text.toStdString();
        }
    }
    EXPECT_TRUE(sawUnclear);
}

TEST_F(NoteAssemblyTest, RefusesNotesThatAreMissingOrNotFullyTranscribed) {
    const QUuid id = recordNote(NoteSource::call);
    const auto pending = store.update(id, [](Note& n) { n.sections.last().done = false; });
    ASSERT_TRUE(pending.has_value());

    const auto refused = NoteAssembly::run(store, id);
    ASSERT_FALSE(refused.has_value());
    EXPECT_EQ(refused.error().message, u"This note’s sections are not all transcribed yet."_s);
    EXPECT_EQ(store.load(id), *pending);

    const auto missing = NoteAssembly::run(store, QUuid::createUuid());
    ASSERT_FALSE(missing.has_value());
    EXPECT_TRUE(missing.error().message.contains(u"could not be found"_s));
}

#include "notes/NotesModel.h"

#include "fakes/ScriptedAudioSource.h"
#include "notes/NoteProcessor.h"
#include "notes/NoteSession.h"
#include "notes/NotesStore.h"
#include "support/CoreApplication.h"
#include "support/TestSupport.h"

#include <QCoro/QCoroTimer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <thread>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Hears "hello" in every section it is sent.
class CountingTranscriber : public SectionTranscriber {
public:
    int sent = 0;
    QCoro::Task<SectionTranscriptResult> transcribe(QString, qint64, QString,
                                                    Cancellation) override {
        ++sent;
        co_await QCoro::sleepFor(1ms);
        co_return SectionTranscript{u"hello"_s, {TimedWord{u"hello"_s, 100, 400, 0}}};
    }
    std::optional<QString> unavailable(const QString&) const override { return std::nullopt; }
    QString name() const override { return u"counting"_s; }
};

class NotesModelTest : public ::testing::Test {
protected:
    void SetUp() override {
        ensureCoreApplication();
        ASSERT_TRUE(root.isValid());
    }

    NotesModel::Options options() {
        return {.callHint = [this] { return hint; },
                .language = [] { return u"en"_s; },
                .now = [this] { return clockMs; }};
    }

    // Lets the recorder's meter and the model's clock go round.
    void settle(int ms = 250) {
        processEventsUntil([] { return false; }, ms);
    }

    QTemporaryDir root;
    NotesStore store{root.path()};
    ScriptedAudioSourceFactory sources;
    NoteRecorder recorder{sources};
    std::shared_ptr<CountingTranscriber> transcriber = std::make_shared<CountingTranscriber>();
    NoteProcessor processor{store,
                            NoteProcessor::Setup{.transcriber = [this] { return transcriber; },
                                                 .summarizer = {},
                                                 .exportAudio = {}}};
    NoteSession session{store, recorder};
    CallHint hint;
    qint64 clockMs = 1'000;
};

} // namespace

TEST_F(NotesModelTest, ACallWhoseComputerAudioStaysSilentIsToldAfterTenSeconds) {
    NotesModel notes(session, recorder, processor, options());
    ASSERT_EQ(notes.start(true), QString());
    EXPECT_TRUE(notes.recording());
    EXPECT_TRUE(notes.call());
    sources.lastMicrophone->deliverConstant(0.4f, 1600);
    clockMs += NotesModel::silentCallWindowMs - 100;
    settle();
    EXPECT_EQ(notes.notice(), QString()) << "told before the ten seconds were up";
    EXPECT_EQ(notes.elapsedText(), u"0:09"_s);
    clockMs += 100;
    settle();
    EXPECT_TRUE(notes.notice().contains(u"computer’s audio"_s)) << notes.notice().toStdString();
    EXPECT_GT(notes.microphoneLevel(), 0.0);
    notes.stop();
    EXPECT_FALSE(notes.recording());

    // With the other side heard, or in a room, nothing is said.
    ASSERT_EQ(notes.start(true), QString());
    EXPECT_EQ(notes.notice(), QString());
    sources.lastComputerAudio->deliverConstant(0.3f, 1600);
    settle();
    clockMs += NotesModel::silentCallWindowMs * 2;
    settle();
    EXPECT_EQ(notes.notice(), QString());
    notes.stop();
    ASSERT_EQ(notes.start(false), QString());
    clockMs += NotesModel::silentCallWindowMs * 2;
    settle();
    EXPECT_EQ(notes.notice(), QString());
    EXPECT_FALSE(notes.call());
    EXPECT_EQ(sources.computerAudioRequests, 2);
    notes.stop();
}

TEST_F(NotesModelTest, SectionsAreSentWhileRecordingAndTheNoteIsFinishedAfterTheStop) {
    hint = CallHint{true, u"Zoom"_s, true};
    NotesModel notes(session, recorder, processor, options());
    QList<QStringList> processed;
    QObject::connect(&notes, &NotesModel::processed, [&](const QString& id, const QString& said) {
        processed.append({id, said});
    });
    // The shortcut's press starts a call when one seems to run.
    notes.toggle();
    ASSERT_TRUE(notes.recording());
    ASSERT_TRUE(notes.call());
    const QUuid id = QUuid::fromString(notes.currentNoteId());
    EXPECT_EQ(store.load(id)->sourceApp, u"Zoom"_s);
    EXPECT_EQ(store.load(id)->language, u"en"_s);

    // Thirty-one seconds close the first section; it goes out at once.
    std::thread audio([&] { sources.lastMicrophone->deliverConstant(0.2f, 16000 * 31); });
    audio.join();
    ASSERT_TRUE(
        processEventsUntil([&] { return store.load(id)->completedSections() == 1; }, 10'000));
    EXPECT_EQ(transcriber->sent, 1);
    EXPECT_EQ(store.load(id)->state, NoteState::recording);

    notes.toggle();
    EXPECT_FALSE(notes.recording());
    ASSERT_TRUE(processEventsUntil([&] { return processed.size() == 1; }, 10'000));
    EXPECT_EQ(processed[0], (QStringList{uuidText(id), QString()}));
    const Note note = *store.load(id);
    EXPECT_EQ(note.state, NoteState::ready);
    EXPECT_EQ(transcriber->sent, note.sections.size()) << "a section was sent twice";
    EXPECT_FALSE(notes.isProcessing(uuidText(id)));
}

TEST_F(NotesModelTest, ARecordingThatCannotStartSaysWhyAndNotesLeftInProcessingAreTakenUp) {
    sources.microphoneStartError = u"No microphone is connected."_s;
    NotesModel notes(session, recorder, processor, options());
    EXPECT_FALSE(notes.start(false).isEmpty());
    EXPECT_FALSE(notes.recording());
    EXPECT_TRUE(store.loadAll().notes.isEmpty()) << "a note that never recorded is kept";

    // A note a quit left half processed.
    Note left;
    left.id = QUuid::createUuid();
    left.state = NoteState::finishing;
    ASSERT_TRUE(store.create(left));
    int processed = 0;
    QObject::connect(&notes, &NotesModel::processed, [&] { ++processed; });
    notes.resume();
    ASSERT_TRUE(processEventsUntil([&] { return processed == 1; }, 10'000));
    EXPECT_EQ(store.load(left.id)->state, NoteState::ready);
    EXPECT_FALSE(notes.isProcessing(uuidText(left.id)));
}

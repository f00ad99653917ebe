#include "notes/NoteProcessor.h"

#include "RecordedCall.h"
#include "SimulatedTranscriber.h"
#include "notes/NoteSummary.h"
#include "notes/NotesStore.h"
#include "support/CoreApplication.h"
#include "support/TestSupport.h"

#include <QCoro/QCoroTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quendra;
using namespace quendra::recorded;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

int sectionOf(const QString& path) {
    static const QRegularExpression name(u"part-(\\d+)\\.wav$"_s);
    const auto match = name.match(path);
    return match.hasMatch() ? match.captured(1).toInt() : -1;
}

// Answers each section with the words it was given for it; sections can be
// made to fail, and answers held back until let through.
class ScriptedTranscriber : public SectionTranscriber {
public:
    QMap<int, QList<TimedWord>> words; // by section, times from its start
    QSet<int> failing;
    int parallel = 1;
    // How many more answers may be given; negative: no limit.
    int allowed = -1;
    std::optional<QString> reason;

    QList<int> sent;
    int running = 0;
    int mostRunning = 0;

    QCoro::Task<SectionTranscriptResult> transcribe(QString wavPath, qint64, QString,
                                                    Cancellation cancel) override {
        const int index = sectionOf(wavPath);
        sent.append(index);
        mostRunning = std::max(mostRunning, ++running);
        co_await QCoro::sleepFor(2ms);
        while (allowed == 0 && !(cancel && cancel->isCancelled()))
            co_await QCoro::sleepFor(2ms);
        --running;
        if (cancel && cancel->isCancelled())
            co_return std::unexpected(SectionTranscriptionError{{}, true});
        if (allowed > 0)
            --allowed;
        if (failing.contains(index))
            co_return std::unexpected(
                SectionTranscriptionError{u"The service turned section %1 down."_s.arg(index)});
        SectionTranscript out;
        out.words = words.value(index);
        QStringList texts;
        for (const TimedWord& word : std::as_const(out.words))
            texts << word.text;
        out.text = texts.join(u' ');
        co_return out;
    }
    std::optional<QString> unavailable(const QString&) const override { return reason; }
    int concurrency() const override { return parallel; }
    QString name() const override { return u"scripted"_s; }

    int timesSent(int index) const { return int(sent.count(index)); }
};

class ScriptedSummarizer : public NoteSummarizer {
public:
    Json summary;
    Json answer;
    std::optional<QString> failure;
    int calls = 0;
    QList<SummaryPassage> lastPassages;
    QString lastQuestion;

    QCoro::Task<SummaryResult> summarize(QList<SummaryPassage> passages, Cancellation) override {
        ++calls;
        lastPassages = passages;
        if (failure)
            co_return std::unexpected(SummaryError{*failure});
        co_return SummaryReply{summary};
    }
    QCoro::Task<SummaryResult> ask(QString question, QList<SummaryPassage> passages,
                                   Cancellation) override {
        ++calls;
        lastQuestion = question;
        lastPassages = passages;
        if (failure)
            co_return std::unexpected(SummaryError{*failure});
        co_return SummaryReply{answer};
    }
    QString name() const override { return u"scripted"_s; }
};

template <typename T>
T run(QCoro::Task<T> task) {
    return QCoro::waitFor(std::move(task));
}

class NoteProcessorTest : public ::testing::Test {
protected:
    void SetUp() override {
        ensureCoreApplication();
        ASSERT_TRUE(root.isValid());
        conversation = loadConversation();
        ASSERT_FALSE(conversation.words.isEmpty());
        summarizer->summary = Json{
            {"title", "Release planning"},
            {"overview", "They agree to ship on Friday."},
            {"keyPoints", Json::array({Json{{"text", "Ship on Friday"}, {"atMs", 1200}}})},
            {"decisions", Json::array({"Review together"})},
        };
    }

    NoteProcessor::Setup setup() {
        NoteProcessor::Setup s;
        s.transcriber = [this] { return transcriber; };
        s.summarizer = [this]() -> std::shared_ptr<NoteSummarizer> {
            return withSummarizer ? summarizer : nullptr;
        };
        s.exportAudio = [this](const Note& note,
                               const QString& path) -> std::expected<void, QString> {
            ++exports;
            if (exportFailure)
                return std::unexpected(*exportFailure);
            QFile file(path);
            if (!file.open(QIODevice::WriteOnly) ||
                file.write(QByteArray::number(note.sections.size())) <= 0)
                return std::unexpected(u"not written"_s);
            return {};
        };
        return s;
    }

    // A call recorded and stopped: its sections are on disk and closed, and
    // the transcriber knows what each of them says.
    QUuid recordCall(NoteState state = NoteState::finishing) {
        Note note;
        note.id = QUuid::createUuid();
        note.source = NoteSource::call;
        note.state = state;
        EXPECT_TRUE(store.create(note).has_value());
        QList<SectionWriter::Section> cut;
        recorded::recordCall(store.noteDirectory(note.id), conversation, true, cut);
        QList<NoteSection> sections;
        for (const auto& s : cut)
            sections.append(NoteSection{s.index, s.startMs, s.endMs, true, false, {}, {}});
        std::mt19937 random(7);
        for (const NoteSection& heard :
             simulated::transcribe(sections, conversation.words, random)) {
            QList<TimedWord> relative;
            for (TimedWord word : heard.words) {
                word.startMs -= heard.startMs;
                word.endMs -= heard.startMs;
                word.section = 0;
                relative.append(word);
            }
            transcriber->words.insert(heard.index, relative);
        }
        EXPECT_TRUE(store
                        .update(note.id,
                                [&](Note& n) {
                                    n.sections = sections;
                                    n.durationMs = sections.back().endMs;
                                })
                        .has_value());
        return note.id;
    }

    Note stored(const QUuid& id) const { return store.load(id).value_or(Note{}); }

    QTemporaryDir root;
    NotesStore store{root.path()};
    Conversation conversation;
    std::shared_ptr<ScriptedTranscriber> transcriber = std::make_shared<ScriptedTranscriber>();
    std::shared_ptr<ScriptedSummarizer> summarizer = std::make_shared<ScriptedSummarizer>();
    bool withSummarizer = true;
    std::optional<QString> exportFailure;
    int exports = 0;
};

} // namespace

TEST_F(NoteProcessorTest, AStoppedCallBecomesReadyWithLabelledTurnsItsAudioAndASummary) {
    const QUuid id = recordCall();
    transcriber->parallel = 3;
    NoteProcessor processor(store, setup());
    QStringList stages;
    QObject::connect(&processor, &NoteProcessor::progress,
                     [&](const QUuid&, const QString& stage, int, int) {
                         if (stages.isEmpty() || stages.back() != stage)
                             stages << stage;
                     });

    const auto outcome = run(processor.process(id));
    ASSERT_TRUE(outcome) << outcome.error().message.toStdString();
    const Note note = stored(id);
    EXPECT_EQ(note, *outcome);
    EXPECT_EQ(note.state, NoteState::ready);
    EXPECT_TRUE(note.message.isEmpty()) << note.message.toStdString();
    EXPECT_TRUE(note.processingStage.isEmpty());
    EXPECT_EQ(stages,
              (QStringList{u"transcribing"_s, u"assembling"_s, u"exporting"_s, u"summarizing"_s}));

    // Every section once, a few at a time, its words put on the note's time.
    for (const NoteSection& section : note.sections) {
        EXPECT_EQ(transcriber->timesSent(section.index), 1) << section.index;
        EXPECT_TRUE(section.done);
        ASSERT_FALSE(section.words.isEmpty());
        for (const TimedWord& word : section.words) {
            EXPECT_EQ(word.section, section.index);
            EXPECT_GE(word.startMs, section.startMs);
            EXPECT_LE(word.endMs, section.endMs);
        }
    }
    EXPECT_GT(transcriber->mostRunning, 1);
    EXPECT_LE(transcriber->mostRunning, 3);

    // The words come back once each, told apart by the source that carried them.
    ASSERT_TRUE(note.turnsFinal);
    QStringList said;
    QSet<QString> speakers;
    for (const NoteTurn& turn : note.turns) {
        said << turn.text;
        speakers.insert(turn.speaker);
    }
    QStringList spoken;
    for (const TimedWord& word : conversation.words)
        spoken << word.text;
    EXPECT_EQ(said.join(u' '), spoken.join(u' '));
    EXPECT_EQ(speakers, (QSet<QString>{u"you"_s, u"them"_s}));

    EXPECT_EQ(note.audioFile, u"audio.m4a"_s);
    EXPECT_TRUE(QFileInfo::exists(QDir(store.noteDirectory(id)).filePath(u"audio.m4a"_s)));
    // The sections stay: every step can be run again from them.
    EXPECT_TRUE(QFileInfo::exists(store.sectionAudioPath(id, 0)));

    ASSERT_TRUE(note.summary);
    EXPECT_EQ(note.title, u"Release planning"_s);
    EXPECT_EQ((*note.summary)["keyPoints"][0]["atMs"], 1200);
    EXPECT_EQ((*note.summary)["decisions"][0]["text"], "Review together");
    ASSERT_FALSE(summarizer->lastPassages.isEmpty());
    EXPECT_TRUE(summarizer->lastPassages[0].text.startsWith(u"You: "_s) ||
                summarizer->lastPassages[0].text.startsWith(u"Computer audio: "_s));

    // Processing a finished note again sends nothing and asks for nothing.
    ASSERT_TRUE(run(processor.process(id)));
    EXPECT_EQ(transcriber->sent.size(), note.sections.size());
    EXPECT_EQ(summarizer->calls, 1);
    EXPECT_EQ(exports, 1);
}

TEST_F(NoteProcessorTest, AFailedSectionLeavesTheNoteToRetryAndOnlyWhatIsMissingIsSentAgain) {
    const QUuid id = recordCall();
    transcriber->failing = {1};
    NoteProcessor processor(store, setup());

    const auto failed = run(processor.process(id));
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().kind, NoteProcessingError::Kind::transcription);
    EXPECT_EQ(failed.error().message, u"The service turned section 1 down."_s);
    Note note = stored(id);
    EXPECT_EQ(note.state, NoteState::retry);
    EXPECT_EQ(note.message, failed.error().message);
    EXPECT_FALSE(note.turnsFinal);
    EXPECT_TRUE(note.sections[0].done);
    EXPECT_FALSE(note.sections[1].done);

    transcriber->failing.clear();
    ASSERT_TRUE(run(processor.process(id)));
    note = stored(id);
    EXPECT_EQ(note.state, NoteState::ready);
    EXPECT_EQ(transcriber->timesSent(0), 1);
    EXPECT_EQ(transcriber->timesSent(1), 2);
    for (int index = 2; index < note.sections.size(); ++index)
        EXPECT_EQ(transcriber->timesSent(index), 1) << index;
}

TEST_F(NoteProcessorTest, ProcessingStoppedHalfWayResumesWithoutSendingDoneSectionsAgain) {
    const QUuid id = recordCall();
    const int sections = int(stored(id).sections.size());
    ASSERT_GE(sections, 3);
    std::set<int> doneBefore;
    {
        NoteProcessor processor(store, setup());
        transcriber->allowed = 1;
        auto task = processor.process(id);
        ASSERT_TRUE(processEventsUntil([&] { return stored(id).completedSections() == 1; }));
        // A quit: the processing ends where it is.
        processor.cancel(id);
        const auto stopped = run(std::move(task));
        ASSERT_FALSE(stopped);
        EXPECT_EQ(stopped.error().kind, NoteProcessingError::Kind::cancelled);
        const Note note = stored(id);
        EXPECT_EQ(note.state, NoteState::finishing);
        EXPECT_EQ(note.processingStage, u"transcribing"_s);
        for (const NoteSection& section : note.sections)
            if (section.done)
                doneBefore.insert(section.index);
        EXPECT_EQ(processor.unfinished(), QList<QUuid>{id});
    }
    ASSERT_EQ(doneBefore.size(), 1u);

    // The next start finds it and sends only the rest.
    auto fresh = std::make_shared<ScriptedTranscriber>();
    fresh->words = transcriber->words;
    transcriber = fresh;
    NoteProcessor restarted(store, setup());
    run(restarted.resumeUnfinished());
    const Note note = stored(id);
    EXPECT_EQ(note.state, NoteState::ready);
    EXPECT_EQ(fresh->sent.size(), sections - 1);
    for (const int index : doneBefore)
        EXPECT_EQ(fresh->timesSent(index), 0);
    EXPECT_TRUE(restarted.unfinished().isEmpty());
}

TEST_F(NoteProcessorTest, SectionsClosedWhileRecordingAreSentOnceEvenWhenTheRecordingStopsMidWay) {
    const QUuid id = recordCall(NoteState::recording);
    const int sections = int(stored(id).sections.size());
    ASSERT_TRUE(store.update(id, [](Note& n) { n.sections.back().closed = false; }));
    NoteProcessor processor(store, setup());

    // While recording: only the closed sections, and nothing else changes.
    transcriber->allowed = 0;
    auto live = processor.transcribeClosedSections(id);
    ASSERT_TRUE(processEventsUntil([&] { return !transcriber->sent.isEmpty(); }));
    EXPECT_EQ(stored(id).state, NoteState::recording);
    EXPECT_FALSE(run(processor.process(id))) << "a recording note is not processed";

    // The recording stops while a section is out; processing waits for it.
    ASSERT_TRUE(store.update(id, [](Note& n) {
        n.sections.back().closed = true;
        n.state = NoteState::finishing;
    }));
    auto processing = processor.process(id);
    transcriber->allowed = -1;
    run(std::move(live));
    const auto outcome = run(std::move(processing));
    ASSERT_TRUE(outcome) << outcome.error().message.toStdString();
    EXPECT_EQ(outcome->state, NoteState::ready);
    EXPECT_EQ(transcriber->sent.size(), sections);
    for (int index = 0; index < sections; ++index)
        EXPECT_EQ(transcriber->timesSent(index), 1) << index;
}

TEST_F(NoteProcessorTest, SummariesAreMadeOnceForATranscriptAndNeverWithoutSomethingToMakeThem) {
    const QUuid id = recordCall();
    withSummarizer = false;
    NoteProcessor processor(store, setup());
    ASSERT_TRUE(run(processor.process(id)));
    Note note = stored(id);
    // Finished all the same; the note says what would summarise it.
    EXPECT_EQ(note.state, NoteState::ready);
    EXPECT_EQ(note.message, NoteSentences::noSummarizer);
    EXPECT_FALSE(note.summary);
    EXPECT_EQ(note.title, Note::defaultTitle());

    withSummarizer = true;
    summarizer->failure = u"Parlevo is busy right now."_s;
    const auto failed = run(processor.summarize(id, false));
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().message, *summarizer->failure);

    summarizer->failure.reset();
    ASSERT_TRUE(run(processor.summarize(id, false)));
    ASSERT_TRUE(run(processor.summarize(id, false)));
    EXPECT_EQ(summarizer->calls, 2) << "an unchanged transcript is not summarised twice";
    ASSERT_TRUE(run(processor.summarize(id, true)));
    EXPECT_EQ(summarizer->calls, 3);
    note = stored(id);
    EXPECT_EQ(note.summaryCache.size(), 1);
    EXPECT_EQ(note.title, u"Release planning"_s);

    // A title the user chose stays.
    ASSERT_TRUE(store.update(id, [](Note& n) {
        n.title = u"Standup"_s;
        n.titleEdited = true;
    }));
    ASSERT_TRUE(run(processor.summarize(id, true)));
    EXPECT_EQ(stored(id).title, u"Standup"_s);

    // During processing a failed summary leaves the transcript and says so.
    const QUuid other = recordCall();
    summarizer->failure = u"Parlevo is temporarily unavailable."_s;
    const auto retry = run(processor.process(other));
    ASSERT_FALSE(retry);
    note = stored(other);
    EXPECT_EQ(note.state, NoteState::retry);
    EXPECT_TRUE(note.message.startsWith(NoteSentences::summaryFailed));
    EXPECT_TRUE(note.turnsFinal);
    EXPECT_FALSE(note.turns.isEmpty());
}

TEST_F(NoteProcessorTest, QuestionsAreAnsweredFromTheTranscriptWithMomentsInsideIt) {
    const QUuid id = recordCall();
    NoteProcessor processor(store, setup());
    EXPECT_EQ(run(processor.ask(id, u"When do we ship?"_s)).error().message,
              u"This note has no transcript to ask about yet."_s);
    ASSERT_TRUE(run(processor.process(id)));
    const qint64 duration = stored(id).durationMs;
    summarizer->answer = Json{
        {"text", "On Friday."},
        {"citations",
         Json::array({Json{{"atMs", 1500}}, Json{{"atMs", duration + 1}}, Json{{"atMs", -4}}})},
        {"debug", "left out"},
    };
    const auto answer = run(processor.ask(id, u"  When do we ship?  "_s));
    ASSERT_TRUE(answer) << answer.error().message.toStdString();
    EXPECT_EQ(summarizer->lastQuestion, u"When do we ship?"_s);
    EXPECT_EQ(answer->object,
              (Json{{"text", "On Friday."}, {"citations", Json::array({Json{{"atMs", 1500}}})}}));
    EXPECT_FALSE(run(processor.ask(id, u"   "_s)));
    withSummarizer = false;
    EXPECT_EQ(run(processor.ask(id, u"Why?"_s)).error().kind,
              NoteProcessingError::Kind::noSummarizer);
}

TEST_F(NoteProcessorTest, AudioThatCannotBeReadOrSavedStopsProcessingWithItsSentence) {
    // An engine that cannot run says why before anything is sent.
    const QUuid id = recordCall();
    transcriber->reason = u"Connect your Groq account in Settings, then retry."_s;
    NoteProcessor processor(store, setup());
    EXPECT_EQ(run(processor.process(id)).error().message, *transcriber->reason);
    EXPECT_EQ(stored(id).message, *transcriber->reason);
    EXPECT_TRUE(transcriber->sent.isEmpty());
    transcriber->reason.reset();

    // A section file replaced by a link is not read through it.
    const QString section = store.sectionAudioPath(id, 1);
    const QString outside = QDir(root.path()).filePath(u"outside.wav"_s);
    ASSERT_TRUE(QFile::rename(section, outside));
    ASSERT_TRUE(QFile::link(outside, section));
    const auto linked = run(processor.process(id));
    ASSERT_FALSE(linked);
    EXPECT_EQ(linked.error().message, NoteSentences::audioUnreadable);
    EXPECT_EQ(transcriber->timesSent(1), 0);
    ASSERT_TRUE(QFile::remove(section));
    ASSERT_TRUE(QFile::rename(outside, section));

    // The export fails: the transcript is kept and the note waits for a retry.
    exportFailure = u"The disk is full."_s;
    const auto unsaved = run(processor.process(id));
    ASSERT_FALSE(unsaved);
    Note note = stored(id);
    EXPECT_EQ(note.state, NoteState::retry);
    EXPECT_EQ(note.message, u"The disk is full."_s);
    EXPECT_TRUE(note.turnsFinal);
    EXPECT_FALSE(note.audioFile);
    exportFailure.reset();
    ASSERT_TRUE(run(processor.process(id)));

    // Transcribing again starts from the kept sections; with the audio
    // deleted there is nothing to start from.
    const int before = int(transcriber->sent.size());
    const auto again = run(processor.transcribeAgain(id));
    ASSERT_TRUE(again) << again.error().message.toStdString();
    EXPECT_EQ(int(transcriber->sent.size()) - before, int(again->sections.size()));
    EXPECT_EQ(again->state, NoteState::ready);
    ASSERT_TRUE(store.removeAudio(id));
    EXPECT_EQ(run(processor.transcribeAgain(id)).error().kind,
              NoteProcessingError::Kind::audioGone);
}

TEST(NoteSummaryShape, WhatIsStoredReadsBackAndMomentsOutsideTheRecordingAreDropped) {
    const Json summary{
        {"title", "Plan"},
        {"overview", ""},
        {"keyPoints",
         Json::array({Json{{"text", "Late"}, {"atMs", 99'000}},
                      Json{{"text", "Early"}, {"atMs", 10}}, Json{{"atMs", 5}}, "Bare"})},
        {"topics",
         Json::array({Json{{"title", "Shelves"}, {"moments", Json::array({5, 70'000})}}})},
        {"extra", 1},
    };
    const Json tidy = tidySummary(summary, 60'000);
    EXPECT_FALSE(tidy.contains("extra"));
    const NoteSummary read = NoteSummary::read(tidy);
    EXPECT_EQ(read.title, u"Plan"_s);
    EXPECT_EQ(read.keyPoints, (QList<NoteSummaryItem>{{u"Late"_s, std::nullopt, {}},
                                                      {u"Early"_s, 10, {}},
                                                      {u"Bare"_s, std::nullopt, {}}}));
    ASSERT_EQ(read.topics.size(), 1);
    EXPECT_EQ(read.topics[0].momentsMs, QList<qint64>{5});
    // Stored once, it is what it is: tidying again changes nothing.
    EXPECT_EQ(tidySummary(tidy, 60'000), tidy);
}

TEST(SectionWords, PhraseTimesAreSharedByTheirWordsAndNoTimesSpreadTheText) {
    const auto phrases = wordsFromSegments(
        {TranscriptionSegment{1000, 1400, u"two  words"_s, {}}, {2000, 2100, u"one"_s, {}}}, {},
        30'000);
    ASSERT_EQ(phrases.size(), 3);
    EXPECT_EQ(phrases[0].startMs, 1000);
    EXPECT_EQ(phrases[0].endMs, 1200);
    EXPECT_EQ(phrases[1].startMs, 1200);
    EXPECT_EQ(phrases[1].endMs, 1400);
    EXPECT_EQ(phrases[2].text, u"one"_s);

    const auto spread = wordsFromSegments({}, u"a b c d"_s, 4000);
    ASSERT_EQ(spread.size(), 4);
    EXPECT_EQ(spread.back().endMs, 4000);
    for (qsizetype i = 1; i < spread.size(); ++i)
        EXPECT_EQ(spread[i].startMs, spread[i - 1].endMs);
    EXPECT_TRUE(wordsFromSegments({}, u"  "_s, 4000).isEmpty());
}

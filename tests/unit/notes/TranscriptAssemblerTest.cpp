#include "notes/TranscriptAssembler.h"

#include "SimulatedTranscriber.h"
#include "audio/SectionWriter.h"
#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

TimedWord word(const QString& text, qint64 startMs, qint64 endMs) {
    return TimedWord{text, startMs, endMs, 0};
}

NoteSection section(int index, qint64 startMs, qint64 endMs, QList<TimedWord> words) {
    NoteSection s;
    s.index = index;
    s.startMs = startMs;
    s.endMs = endMs;
    s.done = true;
    s.words = std::move(words);
    return s;
}

QStringList texts(const QList<TimedWord>& words) {
    QStringList result;
    for (const auto& w : words)
        result.append(w.text);
    return result;
}

// Words 100 ms apart, 200 ms long, "w<i>" with a full stop after those in `sentenceEnds`.
QList<TimedWord> evenWords(int count, const QList<int>& sentenceEnds) {
    QList<TimedWord> words;
    for (int i = 0; i < count; ++i) {
        QString text = u"w%1"_s.arg(i);
        if (sentenceEnds.contains(i))
            text += u'.';
        words.append(word(text, qint64(i) * 300, qint64(i) * 300 + 200));
    }
    return words;
}

QList<qsizetype> turnLengths(const QList<NoteTurn>& turns) {
    QList<qsizetype> lengths;
    for (const auto& turn : turns)
        lengths.append(turn.text.split(u' ').size());
    return lengths;
}

// The sections SectionWriter cuts from `seconds` of a call, as it reports them.
QList<NoteSection> recordedSections(const QString& directory, int seconds) {
    SectionWriter writer(directory, true);
    QList<NoteSection> sections;
    writer.onSectionClosed = [&](int index, qint64 startMs, qint64 endMs) {
        sections.append(section(index, startMs, endMs, {}));
    };
    EXPECT_TRUE(writer.start().has_value());
    std::vector<float> microphone(1'600);
    std::vector<float> system(1'600);
    for (qint64 block = 0; block < qint64(seconds) * 10; ++block) {
        for (std::size_t i = 0; i < microphone.size(); ++i) {
            const double t = double(block * 1'600 + qint64(i)) / 16'000.0;
            microphone[i] = float(0.2 * std::sin(2 * std::numbers::pi * 220 * t));
            system[i] = float(0.2 * std::sin(2 * std::numbers::pi * 330 * t));
        }
        writer.appendMicrophone(microphone);
        writer.appendSystem(system);
        writer.drain(false);
    }
    writer.close();
    return sections;
}

} // namespace

TEST(TranscriptAssembler, TurnsBreakAtSentencesAfterSeventyWordsAndAlwaysAfterOneHundredSixty) {
    const QStringList you(400, u"you"_s);
    // A sentence end inside the first 70 words keeps the turn going; one
    // after the 70th word ends it.
    auto turns = TranscriptAssembler::turns(evenWords(75, {20, 69}), you);
    EXPECT_EQ(turnLengths(turns), QList<qsizetype>({70, 5}));
    ASSERT_EQ(turns.size(), 2);
    EXPECT_EQ(turns[0].speaker, u"you"_s);
    EXPECT_EQ(turns[0].startMs, 0);
    EXPECT_EQ(turns[0].endMs, 69 * 300 + 200);
    EXPECT_TRUE(turns[0].text.startsWith(u"w0 w1 w2 "_s));
    EXPECT_TRUE(turns[0].text.endsWith(u" w68 w69."_s));
    EXPECT_EQ(turns[1].text, u"w70 w71 w72 w73 w74"_s);
    EXPECT_EQ(turns[1].startMs, 70 * 300);

    EXPECT_EQ(turnLengths(TranscriptAssembler::turns(evenWords(120, {20, 68, 100}), you)),
              QList<qsizetype>({101, 19}));
    EXPECT_EQ(turnLengths(TranscriptAssembler::turns(evenWords(170, {20}), you)),
              QList<qsizetype>({160, 10}));
    EXPECT_EQ(turnLengths(TranscriptAssembler::turns(evenWords(400, {}), you)),
              QList<qsizetype>({160, 160, 80}));
    // Other sentence ends count the same.
    auto question = evenWords(75, {});
    question[69].text += u'?';
    EXPECT_EQ(turnLengths(TranscriptAssembler::turns(question, you)), QList<qsizetype>({70, 5}));
    question[69].text.back() = u'!';
    EXPECT_EQ(turnLengths(TranscriptAssembler::turns(question, you)), QList<qsizetype>({70, 5}));
    question[69].text.back() = u',';
    EXPECT_EQ(turnLengths(TranscriptAssembler::turns(question, you)), QList<qsizetype>({75}));
}

TEST(TranscriptAssembler, TurnsBreakAtLongPausesAndSpeakerChanges) {
    const QList<TimedWord> words = {
        word(u"Hello"_s, 0, 400),       word(u"there."_s, 500, 900),
        word(u"Right"_s, 2'400, 2'800), // a pause of exactly 1500 ms
        word(u"on."_s, 4'301, 4'500),   // 1501 ms
        word(u"Yes"_s, 4'600, 4'900),   word(u"indeed"_s, 5'000, 5'400),
        word(u"mm"_s, 5'500, 5'600),    word(u"so"_s, 5'700, 5'800),
    };
    const auto turns = TranscriptAssembler::turns(
        words, {u"you"_s, u"you"_s, u"you"_s, u"you"_s, u"them"_s, u"them"_s});
    ASSERT_EQ(turns.size(), 4);
    EXPECT_EQ(turns[0], (NoteTurn{u"you"_s, 0, 2'800, u"Hello there. Right"_s}));
    EXPECT_EQ(turns[1], (NoteTurn{u"you"_s, 4'301, 4'500, u"on."_s}));
    EXPECT_EQ(turns[2], (NoteTurn{u"them"_s, 4'600, 5'400, u"Yes indeed"_s}));
    // Words past the end of the labels belong to the room.
    EXPECT_EQ(turns[3], (NoteTurn{u"room"_s, 5'500, 5'800, u"mm so"_s}));

    EXPECT_TRUE(TranscriptAssembler::turns({}, {u"you"_s}).isEmpty());
    const auto unlabelled = TranscriptAssembler::turns(words, {});
    ASSERT_EQ(unlabelled.size(), 2);
    EXPECT_EQ(unlabelled[1].speaker, u"room"_s);
    EXPECT_EQ(unlabelled[1].text, u"on. Yes indeed mm so"_s);
}

TEST(TranscriptAssembler, JoinsOverlappingSectionsKeepingEachWordOnce) {
    // The same words heard by both sections of the 28–30 s overlap, with
    // different timings, case and punctuation.
    const auto first = section(0, 0, 30'000,
                               {word(u"one"_s, 27'000, 27'300), word(u"the"_s, 28'700, 28'850),
                                word(u"the"_s, 28'950, 29'100), word(u"Friday."_s, 29'200, 29'600),
                                word(u"we"_s, 29'800, 29'950), word(u"ship"_s, 29'970, 30'000)});
    const auto second = section(1, 28'000, 58'000,
                                {word(u"ne"_s, 28'000, 28'100), word(u"the"_s, 28'820, 28'990),
                                 word(u"the"_s, 29'090, 29'250), word(u"friday"_s, 29'340, 29'700),
                                 word(u"we"_s, 29'900, 30'050), word(u"shipped"_s, 30'070, 30'400),
                                 word(u"it"_s, 31'000, 31'200)});
    const auto joined = TranscriptAssembler::joinedWords({second, first});
    // Cut at the shared word nearest the overlap's middle (the second "the").
    EXPECT_EQ(texts(joined), QStringList({u"one"_s, u"the"_s, u"the"_s, u"friday"_s, u"we"_s,
                                          u"shipped"_s, u"it"_s}));
    ASSERT_EQ(joined.size(), 7);
    EXPECT_EQ(joined[0].section, 0);
    EXPECT_EQ(joined[6].section, 1);

    // When nothing in the overlap was heard alike, its middle decides.
    const auto joinedApart = TranscriptAssembler::joinedWords(
        {section(0, 0, 30'000, {word(u"alpha"_s, 28'500, 28'800), word(u"bet"_s, 29'900, 30'000)}),
         section(1, 28'000, 40'000,
                 {word(u"pha"_s, 28'000, 28'200), word(u"beta"_s, 29'900, 30'200)})});
    EXPECT_EQ(texts(joinedApart), QStringList({u"alpha"_s, u"beta"_s}));

    // Sections that do not overlap are simply put one after the other, and a
    // section's words are marked with its index.
    const auto apart =
        TranscriptAssembler::joinedWords({section(0, 0, 1'000, {word(u"a"_s, 100, 200)}),
                                          section(3, 1'000, 2'000, {word(u"a"_s, 1'100, 1'200)})});
    ASSERT_EQ(apart.size(), 2);
    EXPECT_EQ(apart[1].section, 3);
    EXPECT_EQ(TranscriptAssembler::words(section(5, 0, 10, {word(u"x"_s, 0, 5)})).front().section,
              5);
}

TEST(TranscriptAssembler, JoinsTheSectionsSectionWriterCutsWithEveryWordOnceInOrder) {
    QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QList<NoteSection> recorded = recordedSections(directory.path(), 65);
    ASSERT_GE(recorded.size(), 3);
    QList<qint64> cutsMs;
    for (qsizetype k = 1; k < recorded.size(); ++k) {
        ASSERT_EQ(recorded[k].startMs, recorded[k - 1].endMs - 2'000);
        cutsMs << recorded[k].startMs << recorded[k - 1].endMs;
    }

    for (unsigned seed = 1; seed <= 40; ++seed) {
        std::mt19937 random(seed);
        const QList<TimedWord> spoken = simulated::speak(0, recorded.back().endMs, cutsMs, random);
        for (const qint64 cutMs : cutsMs) {
            ASSERT_TRUE(std::ranges::any_of(
                spoken, [&](const TimedWord& w) { return w.startMs < cutMs && w.endMs > cutMs; }));
        }
        const auto sections = simulated::transcribe(recorded, spoken, random);
        const auto joined = TranscriptAssembler::joinedWords(sections);

        ASSERT_EQ(texts(joined), texts(spoken)) << "seed " << seed;
        for (qsizetype i = 0; i < joined.size(); ++i) {
            EXPECT_LE(std::abs(joined[i].startMs - spoken[i].startMs), 150) << "seed " << seed;
        }
    }
}

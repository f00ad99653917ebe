#include "notes/SpeakerNameSuggester.h"
#include "model/Note.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

using Turn = SpeakerNameSuggester::Turn;
using Range = SpeakerNameSuggester::Range;

const QSet<QString> callLabels{u"you"_s, u"them"_s};

QList<SpeakerNameSuggestion> suggest(const QList<Turn>& turns,
                                     const QMap<QString, QString>& named = {},
                                     const QSet<QString>& dismissed = {}) {
    return SpeakerNameSuggester::suggest(turns, callLabels, named, dismissed);
}

// "label:name" per suggestion, in the order given.
QStringList pairs(const QList<SpeakerNameSuggestion>& suggestions) {
    QStringList result;
    for (const auto& s : suggestions)
        result << s.speaker + u':' + s.name;
    return result;
}

QStringList texts(const QString& text) {
    QStringList result;
    for (const Range& range : SpeakerNameSuggester::sentences(text))
        result << text.sliced(range.start, range.end - range.start);
    return result;
}

} // namespace

TEST(SpeakerNameSuggester, noteEntryPointSearchesOnlyCallsAndHonoursDismissals) {
    Note note;
    note.source = NoteSource::room;
    note.turns = {{u"you"_s, 1200, 4000, u"Hi everyone, I'm Maria from sales."_s},
                  {u"them"_s, 4000, 6000, u"Thanks, Maria. I'm Tom."_s}};
    EXPECT_TRUE(SpeakerNameSuggester::suggestions(note).isEmpty());

    note.source = NoteSource::call;
    const auto found = SpeakerNameSuggester::suggestions(note);
    ASSERT_EQ(pairs(found), (QStringList{u"you:Maria"_s, u"them:Tom"_s}));
    EXPECT_TRUE(found[0].introduced);
    EXPECT_EQ(found[0].startMs, 1200);
    EXPECT_EQ(found[0].quote, u"Hi everyone, I'm Maria from sales."_s);
    EXPECT_EQ(found[0].key(), u"you|maria"_s);

    note.dismissedNameSuggestions = {u"YOU|Maria"_s};
    EXPECT_EQ(pairs(SpeakerNameSuggester::suggestions(note)), QStringList{u"them:Tom"_s});
    note.dismissedNameSuggestions = {u"them|TOM"_s, u"you|maria"_s};
    EXPECT_TRUE(SpeakerNameSuggester::suggestions(note).isEmpty());
}

TEST(SpeakerNameSuggester, speakersNamingThemselvesAreRecognised) {
    const auto intro = suggest({{u"you"_s, 0, u"Hi everyone, I'm Maria from sales."_s}});
    ASSERT_EQ(pairs(intro), QStringList{u"you:Maria"_s});
    EXPECT_TRUE(intro[0].introduced);

    EXPECT_EQ(pairs(suggest({{u"them"_s, 0, u"Okay. My name is Ørjan Nilsen, I lead ops."_s}})),
              QStringList{u"them:Ørjan Nilsen"_s});
    // Typographic apostrophes and letters outside ASCII.
    EXPECT_EQ(pairs(suggest({{u"them"_s, 0, u"Good morning, I’m Łukasz."_s}})),
              QStringList{u"them:Łukasz"_s});
    EXPECT_EQ(pairs(suggest({{u"you"_s, 0, u"This is Dr. Émile Zola speaking."_s}})),
              QStringList{u"you:Émile Zola"_s});

    // Case-insensitivity covers the phrases only, never the name after them.
    EXPECT_EQ(pairs(suggest({{u"you"_s, 0, u"HELLO EVERYONE, I AM Maria."_s}})),
              QStringList{u"you:Maria"_s});
    EXPECT_TRUE(suggest({{u"you"_s, 0, u"i'm maria."_s}}).isEmpty());
    EXPECT_FALSE(SpeakerNameSuggester::introducedPattern().match(u"i'm maria"_s).hasMatch());
    EXPECT_FALSE(SpeakerNameSuggester::namedPattern().match(u"call me maybe"_s).hasMatch());
    EXPECT_FALSE(SpeakerNameSuggester::thankedPattern().match(u"Thanks, dr Lee"_s).hasMatch());
    EXPECT_TRUE(SpeakerNameSuggester::thankedPattern().match(u"THANKS, Dr Lee"_s).hasMatch());
    // "I'm" must open the sentence, and words that are not names stop the capture.
    EXPECT_TRUE(suggest({{u"you"_s, 0, u"I think I'm Ready now."_s}}).isEmpty());
    EXPECT_TRUE(suggest({{u"you"_s, 0, u"I'm Sorry."_s}}).isEmpty());
    // Turns of speakers that are not eligible are not searched.
    EXPECT_TRUE(suggest({{u"unclear"_s, 0, u"I'm Maria."_s}}).isEmpty());
}

TEST(SpeakerNameSuggester, thanksNameThePreviousOtherSpeaker) {
    const QList<Turn> turns{{u"them"_s, 100, u"That's the plan for Q3."_s},
                            {u"you"_s, 900, u"Right."_s},
                            {u"you"_s, 1500, u"Thank you so much, Lee. Next item."_s}};
    const auto found = suggest(turns);
    ASSERT_EQ(pairs(found), QStringList{u"them:Lee"_s});
    EXPECT_FALSE(found[0].introduced);
    EXPECT_EQ(found[0].startMs, 1500);
    EXPECT_EQ(found[0].quote, u"Thank you so much, Lee."_s);

    EXPECT_TRUE(suggest({{u"them"_s, 0, u"Done."_s},
                         {u"unclear"_s, 10, u"Mm."_s},
                         {u"you"_s, 20, u"Thank you so much, Lee."_s}})
                    .isEmpty());
    EXPECT_TRUE(suggest({{u"you"_s, 0, u"Thank you so much, Lee."_s}}).isEmpty());
    for (const QString& text : {u"Thanks, everyone."_s, u"Thanks, Everyone."_s, u"Thanks, OK."_s})
        EXPECT_TRUE(suggest({{u"them"_s, 0, u"Go."_s}, {u"you"_s, 1, text}}).isEmpty())
            << text.toStdString();
    EXPECT_EQ(pairs(suggest({{u"you"_s, 0, u"Done."_s}, {u"them"_s, 1, u"Thanks, Ørjan!"_s}})),
              QStringList{u"you:Ørjan"_s});
}

TEST(SpeakerNameSuggester, questionsAndHandOversNameTheNextOtherSpeaker) {
    EXPECT_EQ(pairs(suggest({{u"you"_s, 0, u"That's all from me. Over to you, Priya."_s},
                             {u"you"_s, 5, u"Take your time."_s},
                             {u"them"_s, 9, u"Sure."_s}})),
              QStringList{u"them:Priya"_s});
    EXPECT_TRUE(suggest({{u"you"_s, 0, u"Go ahead, Priya."_s},
                         {u"unclear"_s, 5, u"Hm."_s},
                         {u"them"_s, 9, u"Sure."_s}})
                    .isEmpty());
    EXPECT_TRUE(
        suggest({{u"them"_s, 0, u"Sure."_s}, {u"you"_s, 5, u"Your turn, Priya."_s}}).isEmpty());

    // A lone question is weaker evidence than a hand-over; two of them count.
    const QList<Turn> once{{u"you"_s, 0, u"What do you think, Priya?"_s}, {u"them"_s, 5, u"Hm."_s}};
    EXPECT_TRUE(suggest(once).isEmpty());
    QList<Turn> twice = once;
    twice << Turn{u"you"_s, 9, u"And the budget, Priya?"_s} << Turn{u"them"_s, 12, u"Fine."_s};
    const auto found = suggest(twice);
    ASSERT_EQ(pairs(found), QStringList{u"them:Priya"_s});
    EXPECT_GE(found[0].score, SpeakerNameSuggester::offerThreshold);
    EXPECT_EQ(found[0].startMs, 0);
}

TEST(SpeakerNameSuggester, neighbourStepsOverOwnTurnsAndStopsAtOthers) {
    const QList<Turn> turns{{u"them"_s, 0, {}}, {u"you"_s, 1, {}},     {u"you"_s, 2, {}},
                            {u"them"_s, 3, {}}, {u"unclear"_s, 4, {}}, {u"you"_s, 5, {}}};
    using S = SpeakerNameSuggester;
    EXPECT_EQ(S::neighbour(turns, 2, -1, callLabels), u"them"_s);
    EXPECT_EQ(S::neighbour(turns, 1, +1, callLabels), u"them"_s);
    EXPECT_EQ(S::neighbour(turns, 3, -1, callLabels), u"you"_s);
    EXPECT_EQ(S::neighbour(turns, 0, -1, callLabels), std::nullopt);
    EXPECT_EQ(S::neighbour(turns, 5, +1, callLabels), std::nullopt);
    EXPECT_EQ(S::neighbour(turns, 3, +1, callLabels), std::nullopt);
    EXPECT_EQ(S::neighbour(turns, 5, -1, callLabels), std::nullopt);
    EXPECT_EQ(S::neighbour(turns, 4, -1, callLabels), std::nullopt);
    const QList<Turn> alone{{u"you"_s, 0, {}}, {u"you"_s, 1, {}}};
    EXPECT_EQ(S::neighbour(alone, 0, +1, callLabels), std::nullopt);
    EXPECT_EQ(S::neighbour(alone, 1, -1, callLabels), std::nullopt);
}

TEST(SpeakerNameSuggester, cleanNameKeepsOnlyNameWords) {
    using S = SpeakerNameSuggester;
    EXPECT_EQ(S::cleanName(u"Dr Maria Garcia"_s), u"Maria Garcia"_s);
    EXPECT_EQ(S::cleanName(u"Prof. Ada  Lovelace"_s), u"Ada Lovelace"_s);
    EXPECT_EQ(S::cleanName(u"Maria OK"_s), u"Maria"_s);
    EXPECT_EQ(S::cleanName(u"Łukasz Nowak"_s), u"Łukasz Nowak"_s);
    EXPECT_EQ(S::cleanName(u"Maria's"_s), std::nullopt);
    EXPECT_EQ(S::cleanName(u"Maria’s"_s), std::nullopt);
    EXPECT_EQ(S::cleanName(u"Maria garcia"_s), u"Maria"_s);
    EXPECT_EQ(S::cleanName(u"Everyone"_s), std::nullopt);
    EXPECT_EQ(S::cleanName(u"Monday Smith"_s), std::nullopt);
    EXPECT_EQ(S::cleanName(u"NASA"_s), std::nullopt);
    EXPECT_EQ(S::cleanName(u"J Smith"_s), std::nullopt);
    EXPECT_EQ(S::cleanName(u"Dr"_s), std::nullopt);
    EXPECT_EQ(S::cleanName(u"Speaker 2"_s), std::nullopt);
    EXPECT_EQ(S::cleanName(u"Wolfeschlegelsteinhausen Bergerdorffwalden"_s), std::nullopt);
}

TEST(SpeakerNameSuggester, placeholdersDismissedPairsAndGivenNamesAreNotOffered) {
    EXPECT_TRUE(suggest({{u"them"_s, 0, u"Hi, this is Speaker 2."_s},
                         {u"you"_s, 1, u"Thanks, Speaker 2."_s}})
                    .isEmpty());

    const QList<Turn> turns{{u"them"_s, 0, u"Hi all, I'm Lee."_s},
                            {u"you"_s, 1, u"Thanks, Lee. Over to you, Sam."_s},
                            {u"them"_s, 2, u"Cheers."_s}};
    ASSERT_EQ(pairs(suggest(turns)), (QStringList{u"them:Lee"_s, u"them:Sam"_s}));
    EXPECT_EQ(pairs(suggest(turns, {}, {u"THEM|lee"_s})), QStringList{u"them:Sam"_s});
    // Its own name never comes back; a named label hears only of introductions.
    EXPECT_TRUE(suggest(turns, {{u"them"_s, u" lee "_s}}).isEmpty());
    EXPECT_EQ(pairs(suggest(turns, {{u"them"_s, u"Client"_s}})), QStringList{u"them:Lee"_s});
    // A blank or placeholder name leaves the label unnamed.
    EXPECT_EQ(pairs(suggest(turns, {{u"them"_s, u"Speaker 1"_s}, {u"you"_s, u"  "_s}})).size(), 2);
}

TEST(SpeakerNameSuggester, rankingKeepsStrongestNamesInFirstSeenOrder) {
    // One person, one label: Maria introduced herself on "you", so the thanks
    // that would give her name to "them" does not count.
    EXPECT_EQ(pairs(suggest({{u"them"_s, 0, u"Over to you."_s},
                             {u"you"_s, 1, u"Thanks. I'm Maria."_s},
                             {u"them"_s, 2, u"Great."_s},
                             {u"you"_s, 3, u"Thanks, Maria."_s}})),
              QStringList{u"you:Maria"_s});

    // Three names for "them": the weakest is left out, the others keep the
    // order in which they were first heard.
    const auto found = suggest({{u"them"_s, 0, u"Right."_s},
                                {u"you"_s, 1, u"Thanks, Ann. Over to you, Bo."_s},
                                {u"them"_s, 2, u"Hello, I'm Bo. My name's Cy, actually."_s},
                                {u"you"_s, 3, u"Thanks, Bo."_s}});
    ASSERT_EQ(pairs(found), (QStringList{u"them:Bo"_s, u"them:Cy"_s}));
    EXPECT_EQ(found[0].order + 1, found[1].order);
    EXPECT_GT(found[0].score, found[1].score);
    EXPECT_TRUE(found[0].introduced);
    // The quote is taken from the strongest piece of evidence.
    EXPECT_EQ(found[0].quote, u"Hello, I'm Bo."_s);
    EXPECT_EQ(found[0].startMs, 2);
}

TEST(SpeakerNameSuggester, sentencesAndQuotes) {
    EXPECT_EQ(texts(u"  Thanks, Dr. Lee!  Mr. Bo is here… Really?” Yes.\nPi is 3.14 ok"_s),
              (QStringList{u"Thanks, Dr. Lee!"_s, u"Mr. Bo is here…"_s, u"Really?”"_s, u"Yes."_s,
                           u"Pi is 3.14 ok"_s}));
    EXPECT_TRUE(SpeakerNameSuggester::sentences(u" \n "_s).isEmpty());
    EXPECT_EQ(pairs(suggest({{u"them"_s, 0, u"Done."_s}, {u"you"_s, 1, u"Thanks, Dr. Lee."_s}})),
              QStringList{u"them:Lee"_s});

    const QString longText = u"Before we move on to the numbers for the third quarter I would like "
                             u"to say thank you, Maria, for pulling all of this together in such "
                             u"a short time and with so little help from the rest of us"_s;
    const qsizetype at = longText.indexOf(u"Maria"_s);
    const QString excerpt = SpeakerNameSuggester::quote(longText, at, at + 5);
    EXPECT_TRUE(excerpt.contains(u"thank you, Maria, for"_s)) << excerpt.toStdString();
    EXPECT_TRUE(excerpt.startsWith(u'…') && excerpt.endsWith(u'…'));
    EXPECT_LE(excerpt.size(), SpeakerNameSuggester::quoteLength + 2);
    EXPECT_TRUE(longText.contains(excerpt.mid(1).chopped(1)));
    const QString head = SpeakerNameSuggester::quote(longText, 0, 6);
    EXPECT_TRUE(head.startsWith(u"Before we"_s) && head.endsWith(u'…'));
}

#include "audio/TranscriptJoiner.h"

#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

QString numbered(int from, int to) {
    QStringList words;
    for (int i = from; i <= to; ++i)
        words << u"w%1"_s.arg(i);
    return words.join(u' ');
}

TEST(TranscriptJoiner, EmptySidesGiveTheOtherText) {
    EXPECT_EQ(TranscriptJoiner::append(u""_s, u"hello there"_s), u"hello there"_s);
    EXPECT_EQ(TranscriptJoiner::append(u"hello there"_s, u""_s), u"hello there"_s);
}

TEST(TranscriptJoiner, OverlapMustEndTheFirstAndBeginTheSecond) {
    EXPECT_EQ(TranscriptJoiner::append(u"we met on tuesday"_s, u"Tuesday, we met again"_s),
              u"we met on tuesday Tuesday, we met again"_s);
}

TEST(TranscriptJoiner, OverlapIgnoresCaseAndPunctuation) {
    EXPECT_EQ(TranscriptJoiner::append(u"see you on Monday."_s, u"on monday we start"_s),
              u"see you on Monday. we start"_s);
}

TEST(TranscriptJoiner, LongestOverlapWins) {
    EXPECT_EQ(TranscriptJoiner::append(u"a b a b"_s, u"a b a b c"_s), u"a b a b c"_s);
    EXPECT_EQ(TranscriptJoiner::append(u"x a b"_s, u"a b a b c"_s), u"x a b a b c"_s);
}

TEST(TranscriptJoiner, NextThatIsAllOverlapAddsNothing) {
    EXPECT_EQ(TranscriptJoiner::append(u"one two three"_s, u"two three"_s), u"one two three"_s);
}

TEST(TranscriptJoiner, SingleSharedWordIsKept) {
    EXPECT_EQ(TranscriptJoiner::append(u"yes"_s, u"yes"_s), u"yes yes"_s);
    EXPECT_EQ(TranscriptJoiner::append(u"I said no"_s, u"no way"_s), u"I said no no way"_s);
}

TEST(TranscriptJoiner, PunctuationOnlyWordsAreNoOverlap) {
    EXPECT_EQ(TranscriptJoiner::append(u"well - ..."_s, u"- ... fine"_s),
              u"well - ... - ... fine"_s);
}

TEST(TranscriptJoiner, RemainderIsJoinedBySingleBlanks) {
    EXPECT_EQ(TranscriptJoiner::append(u"the end of it"_s, u"of  it\tand\nmore"_s),
              u"the end of it and more"_s);
}

TEST(TranscriptJoiner, OverlapSearchIsCappedAtThirtyWords) {
    // 31 shared words: only seams of up to 30 words are tried, and the last
    // 30 words of the first text are not the first 30 of the second.
    EXPECT_EQ(TranscriptJoiner::append(numbered(1, 31), numbered(1, 35)),
              numbered(1, 31) + u' ' + numbered(1, 35));
    // 30 shared words are found.
    EXPECT_EQ(TranscriptJoiner::append(numbered(1, 40), numbered(11, 45)), numbered(1, 45));
}

TEST(TranscriptJoiner, CombineJoinsInOrder) {
    EXPECT_EQ(
        TranscriptJoiner::combine({u"one two three"_s, u"two three four"_s, u""_s, u"four five"_s}),
        u"one two three four four five"_s);
    EXPECT_EQ(TranscriptJoiner::combine({}), u""_s);
}

} // namespace

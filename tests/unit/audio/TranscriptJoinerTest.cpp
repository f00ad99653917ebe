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

// The seam is the longest run of at least two words (case and punctuation
// aside, at most thirty) that ends the first text and begins the second.
TEST(TranscriptJoiner, AppendDropsTheSharedSeamOnce) {
    const struct {
        QString first, next, joined;
    } cases[] = {
        {u""_s, u"hello there"_s, u"hello there"_s},
        {u"hello there"_s, u""_s, u"hello there"_s},
        // Shared words that do not end the first text are no seam.
        {u"we met on tuesday"_s, u"Tuesday, we met again"_s,
         u"we met on tuesday Tuesday, we met again"_s},
        {u"see you on Monday."_s, u"on monday we start"_s, u"see you on Monday. we start"_s},
        {u"a b a b"_s, u"a b a b c"_s, u"a b a b c"_s},
        {u"x a b"_s, u"a b a b c"_s, u"x a b a b c"_s},
        {u"one two three"_s, u"two three"_s, u"one two three"_s},
        {u"yes"_s, u"yes"_s, u"yes yes"_s},
        {u"I said no"_s, u"no way"_s, u"I said no no way"_s},
        {u"well - ..."_s, u"- ... fine"_s, u"well - ... - ... fine"_s},
        {u"the end of it"_s, u"of  it\tand\nmore"_s, u"the end of it and more"_s},
        {numbered(1, 31), numbered(1, 35), numbered(1, 31) + u' ' + numbered(1, 35)},
        {numbered(1, 40), numbered(11, 45), numbered(1, 45)},
    };
    for (const auto& c : cases)
        EXPECT_EQ(TranscriptJoiner::append(c.first, c.next), c.joined)
            << c.first.toStdString() << " + " << c.next.toStdString();
}

TEST(TranscriptJoiner, CombineJoinsInOrder) {
    EXPECT_EQ(
        TranscriptJoiner::combine({u"one two three"_s, u"two three four"_s, u""_s, u"four five"_s}),
        u"one two three four four five"_s);
    EXPECT_EQ(TranscriptJoiner::combine({}), u""_s);
}

} // namespace

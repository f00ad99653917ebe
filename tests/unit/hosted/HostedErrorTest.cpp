// How the sentence of a hosted failure changes with the place it is shown.

#include "hosted/HostedError.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

using Kind = HostedError::Kind;
using Context = HostedMessageContext;

TEST(HostedErrorMessages, DictationAndNoteSentencesSayWhereTheRecordingIsKept) {
    for (const HostedError& error :
         {HostedError::rateLimited(3), HostedError::of(Kind::sessionExpired),
          HostedError::of(Kind::accessCodeInvalid), HostedError::of(Kind::keychainLocked),
          HostedError::of(Kind::busy), HostedError::of(Kind::unavailable),
          HostedError::of(Kind::offline), HostedError::of(Kind::invalidResponse)}) {
        const QString sentence = error.message(Context::other);
        EXPECT_TRUE(sentence.endsWith(u'.')) << sentence.toStdString();
        EXPECT_FALSE(sentence.contains(u"recording"_s)) << sentence.toStdString();
        EXPECT_EQ(error.message(Context::dictation),
                  sentence + u" Your recording is kept in History."_s);
        EXPECT_EQ(error.message(Context::note),
                  sentence + u" Your recording is kept on this computer."_s);
        // A file the user named stays where it is; nothing keeps it elsewhere.
        EXPECT_EQ(error.message(Context::file), sentence);
    }
}

TEST(HostedErrorMessages, SomeSentencesDependOnTheContext) {
    const auto invalid = HostedError::invalidRequest(u"http_404"_s);
    EXPECT_FALSE(invalid.message(Context::other).contains(u"recording"_s));
    EXPECT_EQ(invalid.message(Context::dictation),
              invalid.message(Context::file) + u" Your recording is kept in History."_s);
    const auto signIn = HostedError::of(Kind::signInRequired);
    EXPECT_NE(signIn.message(Context::note),
              signIn.message(Context::other) + u" Your recording is kept on this computer."_s);
    EXPECT_TRUE(
        signIn.message(Context::note).endsWith(u" Your recording is kept on this computer."_s));
}

TEST(HostedErrorMessages, SignInSentencesNeverMentionARecording) {
    for (Kind kind : {Kind::accountsUnavailable, Kind::signInCancelled, Kind::signInExpired}) {
        const QString sentence = HostedError::of(kind).message(Context::other);
        EXPECT_FALSE(sentence.contains(u"recording"_s)) << sentence.toStdString();
        for (Context context : {Context::dictation, Context::note, Context::file})
            EXPECT_EQ(HostedError::of(kind).message(context), sentence);
    }
}

} // namespace
} // namespace quendra

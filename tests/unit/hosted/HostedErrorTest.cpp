// The sentences of hosted failures in each place they are shown.

#include "hosted/HostedError.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

using Kind = HostedError::Kind;
using Context = HostedMessageContext;

TEST(HostedErrorMessages, DictationAndNoteSentencesSayWhereTheRecordingIsKept) {
    const struct {
        HostedError error;
        QString sentence;
    } kept[] = {
        {HostedError::rateLimited(3), u"Too many requests at once. Try again in a moment."_s},
        {HostedError::of(Kind::sessionExpired), u"Your sign-in expired. Sign in again."_s},
        {HostedError::of(Kind::accessCodeInvalid),
         u"That access code has expired or isn’t valid. Enter a current code or sign in."_s},
        {HostedError::of(Kind::keychainLocked),
         u"The system keyring hasn’t let Parlevo read your saved sign-in. Open Settings, then "
         "Account, to allow it."_s},
        {HostedError::of(Kind::busy), u"Parlevo is busy right now. Try again in a moment."_s},
        {HostedError::of(Kind::unavailable),
         u"Parlevo is temporarily unavailable. Try again shortly."_s},
        {HostedError::of(Kind::offline),
         u"Couldn’t reach Parlevo. Check your internet connection and try again."_s},
        {HostedError::of(Kind::invalidResponse),
         u"Parlevo returned something unreadable. Try again."_s},
    };
    for (const auto& [error, sentence] : kept) {
        EXPECT_EQ(error.message(Context::other), sentence);
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
    EXPECT_EQ(invalid.message(Context::other), u"Parlevo couldn’t use that request. Try again."_s);
    EXPECT_EQ(invalid.message(Context::dictation),
              u"Parlevo couldn’t read that recording. Your recording is kept in History."_s);
    EXPECT_EQ(invalid.message(Context::file), u"Parlevo couldn’t read that recording."_s);
    const auto signIn = HostedError::of(Kind::signInRequired);
    EXPECT_EQ(signIn.message(Context::other), u"Sign in to Parlevo first."_s);
    EXPECT_EQ(signIn.message(Context::note),
              u"Sign in to Parlevo to finish this. Your recording is kept on this computer."_s);
}

TEST(HostedErrorMessages, SignInSentencesNeverMentionARecording) {
    for (Context context : {Context::dictation, Context::note, Context::file, Context::other}) {
        EXPECT_EQ(HostedError::of(Kind::accountsUnavailable).message(context),
                  u"Sign-in isn’t available yet."_s);
        EXPECT_EQ(HostedError::of(Kind::signInCancelled).message(context),
                  u"Sign-in was cancelled."_s);
        EXPECT_EQ(HostedError::of(Kind::signInExpired).message(context),
                  u"That sign-in took too long. Try again."_s);
    }
}

} // namespace
} // namespace quendra

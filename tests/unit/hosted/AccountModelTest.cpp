// Access codes, unlocking, sign-out and account deletion.

#include "hosted/AccountModel.h"
#include "support/hosted/StandIn.h"
#include "platform/MemoryCredentials.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

using testing::run;
using Status = HostedTokenStore::Status;

const QString session = u"pvs_"_s + QString(43, u's');
const QString code = u"pvb_"_s + QString(43, u'c');

class AccountModelTest : public ::testing::Test {
protected:
    testing::StandIn standIn;
    MemoryCredentials keyring;
    HostedTokenStore tokens{keyring, [] {}};
    HostedClient client{
        HostedClientOptions{standIn.baseURL(), [this] { return tokens.bearer(); }, standIn.tls()}};
    AccountModel account{client, tokens};
};

TEST_F(AccountModelTest, OnlyAnAccessCodeOfTheRightFormIsSaved) {
    EXPECT_EQ(account.enterAccessCode(u"pvb_short"_s).error(),
              u"That doesn’t look like a Parlevo access code. Codes start with pvb_."_s);
    EXPECT_EQ(account.enterAccessCode(session).error(),
              u"That doesn’t look like a Parlevo access code. Codes start with pvb_."_s);
    EXPECT_EQ(tokens.status(), Status::signedOut);
    EXPECT_EQ(account.enterAccessCode(u"  "_s + code + u"\n"_s).value(),
              u"Signed in with an access code."_s);
    EXPECT_EQ(tokens.status(), Status::accessCode);
    EXPECT_EQ(tokens.bearer(), HostedBearer::of(code));
}

TEST_F(AccountModelTest, ACodeTheKeyringRefusesIsReported) {
    keyring.setReadOnly(true);
    EXPECT_EQ(account.enterAccessCode(code).error(),
              u"The system keyring could not save the code. Try again."_s);
    EXPECT_EQ(tokens.status(), Status::signedOut);
}

TEST_F(AccountModelTest, UnlockingThatIsNotApprovedSaysSo) {
    tokens.saveSession(session);
    keyring.setLocked(true, false);
    tokens.invalidate();
    EXPECT_EQ(account.unlock().error(),
              u"Access to the system keyring was not approved. Try again, or sign in again."_s);
    keyring.setLocked(true, true);
    EXPECT_EQ(account.unlock().value(), Status::session);
}

TEST_F(AccountModelTest, SignOutForgetsFirstAndRevokesTheOldToken) {
    standIn.script(Json::array({{{"path", "auth"}, {"action", "signout"}, {"status", 503}}}));
    tokens.saveSession(session);
    run(account.signOut());
    EXPECT_EQ(tokens.status(), Status::signedOut);
    EXPECT_EQ(keyring.lookup(u"session"_s, false), CredentialLookup::missing());
    const Json seen = standIn.requests();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(seen[0]["headers"]["authorization"], (u"Bearer "_s + session).toStdString());

    // Signed out already: nothing to revoke.
    run(account.signOut());
    EXPECT_EQ(standIn.requests().size(), 1u);
}

TEST_F(AccountModelTest, DeletingTheAccount) {
    standIn.script(Json::array({{{"path", "account"}, {"status", 500}, {"json", Json::object()}},
                                {{"path", "account"}, {"json", {{"deleted", false}}}},
                                {{"path", "account"}, {"json", {{"deleted", true}}}}}));
    tokens.saveAccessCode(code);
    EXPECT_EQ(run(account.deleteAccount(u"DELETE"_s)).error(),
              u"An access code has no account to delete. Remove it with Sign out."_s);
    tokens.saveSession(session);
    EXPECT_EQ(run(account.deleteAccount(u"delete"_s)).error(), u"Type DELETE to confirm"_s);
    EXPECT_TRUE(standIn.requests().empty());

    EXPECT_EQ(run(account.deleteAccount(u"DELETE"_s)).error(), u"Your account was not deleted."_s);
    EXPECT_EQ(run(account.deleteAccount(u"DELETE"_s)).error(), u"Your account was not deleted."_s);
    EXPECT_EQ(tokens.status(), Status::session);
    EXPECT_EQ(run(account.deleteAccount(u"DELETE"_s)).value(),
              u"Your Parlevo account was deleted."_s);
    EXPECT_EQ(tokens.status(), Status::signedOut);
    EXPECT_EQ(standIn.requests().size(), 3u);
}

} // namespace
} // namespace quendra

// Which stored token is in force, with the in-memory keyring.

#include "hosted/HostedTokenStore.h"
#include "hosted/ConnectionStore.h"
#include "platform/MemoryCredentials.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

using Status = HostedTokenStore::Status;

const QString session = u"pvs_"_s + QString(40, u'A') + u"_-9"_s;
const QString code = u"pvb_"_s + QString(43, u'b');

class HostedTokenStoreTest : public ::testing::Test {
protected:
    MemoryCredentials keyring;
    int pauses = 0;
    HostedTokenStore store{keyring, [this] { ++pauses; }};
};

TEST(HostedTokenForms, OnlyTheExactFormsAreTokens) {
    EXPECT_TRUE(HostedTokenStore::isSessionToken(session));
    EXPECT_TRUE(HostedTokenStore::isAccessCode(code));
    EXPECT_FALSE(HostedTokenStore::isSessionToken(code));
    EXPECT_FALSE(HostedTokenStore::isAccessCode(session));
    EXPECT_FALSE(HostedTokenStore::isSessionToken(session.left(46)));
    EXPECT_FALSE(HostedTokenStore::isSessionToken(session + u"x"_s));
    EXPECT_FALSE(HostedTokenStore::isSessionToken(u"pvs_"_s + QString(42, u'a') + u"="_s));
    EXPECT_FALSE(HostedTokenStore::isAccessCode(u"PVB_"_s + QString(43, u'b')));
    EXPECT_FALSE(HostedTokenStore::isAccessCode(u"pvb_"_s + QString(42, u'b') + u"é"_s));
}

TEST_F(HostedTokenStoreTest, ASessionWinsOverAnAccessCode) {
    EXPECT_EQ(store.status(), Status::signedOut);
    EXPECT_EQ(store.bearer(), HostedBearer::none());
    keyring.save(ConnectionStore::accessCodeItem, code);
    store.invalidate();
    EXPECT_EQ(store.status(), Status::accessCode);
    EXPECT_EQ(store.bearer(), HostedBearer::of(code));
    keyring.save(ConnectionStore::sessionItem, session);
    store.invalidate();
    EXPECT_EQ(store.status(), Status::session);
    EXPECT_EQ(store.bearer(), HostedBearer::of(session));
    EXPECT_EQ(store.token(), session);
}

TEST_F(HostedTokenStoreTest, AMalformedSessionCountsAsMissing) {
    keyring.save(ConnectionStore::sessionItem, session.left(40));
    keyring.save(ConnectionStore::accessCodeItem, code);
    EXPECT_EQ(store.status(), Status::accessCode);
    EXPECT_EQ(store.token(), code);
}

TEST_F(HostedTokenStoreTest, TheStatusIsCachedUntilInvalidated) {
    keyring.save(ConnectionStore::sessionItem, session);
    EXPECT_EQ(store.status(), Status::session);
    const int reads = keyring.lookupCount();
    keyring.remove(ConnectionStore::sessionItem);
    EXPECT_EQ(store.status(), Status::session);
    EXPECT_EQ(store.bearer(), HostedBearer::of(session));
    EXPECT_EQ(keyring.lookupCount(), reads);
    store.invalidate();
    EXPECT_EQ(store.status(), Status::signedOut);
}

TEST_F(HostedTokenStoreTest, ThreeUnreadableReadsAreLockedAndNotCached) {
    keyring.save(ConnectionStore::sessionItem, session);
    keyring.setLocked(true);
    EXPECT_EQ(store.status(), Status::locked);
    EXPECT_EQ(keyring.lookupCount(), 3);
    EXPECT_EQ(pauses, 2);
    EXPECT_EQ(store.bearer(), HostedBearer::locked());
    EXPECT_EQ(keyring.lookupCount(), 6);
    keyring.setLocked(false);
    EXPECT_EQ(store.status(), Status::session);
}

TEST_F(HostedTokenStoreTest, AuthorizeMayUnlockWhenTheUserApproves) {
    keyring.save(ConnectionStore::accessCodeItem, code);
    keyring.setLocked(true, false);
    EXPECT_EQ(store.authorize(), Status::locked);
    keyring.setLocked(true, true);
    EXPECT_EQ(store.status(), Status::locked); // background reads never unlock
    EXPECT_EQ(store.authorize(), Status::accessCode);
    EXPECT_EQ(store.status(), Status::accessCode);
}

TEST_F(HostedTokenStoreTest, SavingPutsATokenInForce) {
    ASSERT_TRUE(store.saveSession(session));
    EXPECT_EQ(store.status(), Status::session);
    EXPECT_EQ(keyring.lookup(ConnectionStore::sessionItem, false), CredentialLookup::of(session));
    ASSERT_TRUE(store.saveAccessCode(code));
    EXPECT_EQ(store.status(), Status::accessCode);
    store.invalidate();
    EXPECT_EQ(store.status(), Status::accessCode);
    EXPECT_FALSE(store.saveSession(code));
    EXPECT_FALSE(store.saveAccessCode(session));
}

TEST_F(HostedTokenStoreTest, AFailedWriteLeavesTheStatusAlone) {
    keyring.setReadOnly(true);
    EXPECT_FALSE(store.saveSession(session));
    EXPECT_EQ(store.status(), Status::signedOut);
}

TEST_F(HostedTokenStoreTest, ClearAllSignsOut) {
    store.saveSession(session);
    keyring.save(ConnectionStore::accessCodeItem, code);
    EXPECT_TRUE(store.clearAll());
    EXPECT_EQ(store.status(), Status::signedOut);
    store.invalidate();
    EXPECT_EQ(store.status(), Status::signedOut);
    EXPECT_EQ(keyring.lookup(ConnectionStore::accessCodeItem, false), CredentialLookup::missing());
}

TEST(ConnectionStoreTest, PersonalConnectionKeysLiveBesideTheSignIn) {
    MemoryCredentials keyring;
    ConnectionStore connections(keyring);
    EXPECT_EQ(connections.connectionKey(u"groq"_s), std::nullopt);
    ASSERT_TRUE(connections.saveConnectionKey(u"groq"_s, u" gsk_key \n"_s));
    EXPECT_EQ(connections.connectionKey(u"groq"_s), u"gsk_key"_s);
    keyring.setReadOnly(true);
    EXPECT_EQ(connections.saveConnectionKey(u"groq"_s, u"other"_s).error(),
              u"The system keyring could not save the connection. Try again."_s);
    keyring.setLocked(true);
    EXPECT_EQ(connections.connectionKey(u"groq"_s), std::nullopt);
}

} // namespace
} // namespace quendra

// The Secret Service backend against a real gnome-keyring (started by
// tests/harness/keyring.sh on a private bus). The locking test runs last: the
// collection cannot be unlocked again without a prompt.

#include "platform/linux/SecretServiceBackend.h"
#include "hosted/HostedTokenStore.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QElapsedTimer>
#include <QProcess>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

const QString session = u"pvs_"_s + QString(43, u'k');
const QString code = u"pvb_"_s + QString(43, u'q');

QString secretTool(const QStringList& arguments, const QByteArray& input = {}) {
    QProcess tool;
    tool.start(u"secret-tool"_s, arguments);
    tool.write(input);
    tool.closeWriteChannel();
    tool.waitForFinished(10000);
    return QString::fromUtf8(tool.readAllStandardOutput());
}

class SecretServiceTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const QString& name : {u"session"_s, u"accessCode"_s, u"groq"_s, u"absent"_s})
            ASSERT_TRUE(backend.remove(name));
    }
    SecretServiceBackend backend;
};

TEST_F(SecretServiceTest, StoresReplacesAndRemovesItems) {
    EXPECT_EQ(backend.lookup(u"groq"_s, false), CredentialLookup::missing());
    ASSERT_TRUE(backend.save(u"groq"_s, u"gsk_first"_s));
    EXPECT_EQ(backend.lookup(u"groq"_s, false), CredentialLookup::of(u"gsk_first"_s));
    ASSERT_TRUE(backend.save(u"groq"_s, u"gsk_second ✓"_s));
    EXPECT_EQ(backend.lookup(u"groq"_s, false), CredentialLookup::of(u"gsk_second ✓"_s));
    EXPECT_TRUE(backend.remove(u"groq"_s));
    EXPECT_EQ(backend.lookup(u"groq"_s, false), CredentialLookup::missing());
    EXPECT_TRUE(backend.remove(u"groq"_s));
}

TEST_F(SecretServiceTest, ItemsAreTheOnesSecretToolSees) {
    ASSERT_TRUE(backend.save(u"session"_s, session));
    EXPECT_EQ(secretTool({u"lookup"_s, u"service"_s, u"Quendra Personal Connections"_s,
                          u"account"_s, u"session"_s}),
              session);
    secretTool({u"store"_s, u"--label=code"_s, u"service"_s, u"Quendra Personal Connections"_s,
                u"account"_s, u"accessCode"_s},
               code.toUtf8());
    EXPECT_EQ(backend.lookup(u"accessCode"_s, false), CredentialLookup::of(code));
    // Another service's item of the same account name is not ours.
    secretTool(
        {u"store"_s, u"--label=other"_s, u"service"_s, u"Other"_s, u"account"_s, u"absent"_s}, "x");
    EXPECT_EQ(backend.lookup(u"absent"_s, false), CredentialLookup::missing());
}

TEST_F(SecretServiceTest, TheTokenStoreReadsWhatItSaved) {
    {
        HostedTokenStore first(backend);
        ASSERT_TRUE(first.saveSession(session));
    }
    HostedTokenStore second(backend);
    EXPECT_EQ(second.status(), HostedTokenStore::Status::session);
    EXPECT_EQ(second.bearer(), HostedBearer::of(session));
}

TEST_F(SecretServiceTest, ZLockedItemsAreUnknownNeverMissing) {
    ASSERT_TRUE(backend.save(u"session"_s, session));
    QDBusMessage lock =
        QDBusMessage::createMethodCall(u"org.freedesktop.secrets"_s, u"/org/freedesktop/secrets"_s,
                                       u"org.freedesktop.Secret.Service"_s, u"Lock"_s);
    lock << QVariant::fromValue(
        QList<QDBusObjectPath>{QDBusObjectPath(u"/org/freedesktop/secrets/collection/login"_s)});
    const QDBusMessage reply = QDBusConnection::sessionBus().call(lock);
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();

    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(backend.lookup(u"session"_s, false), CredentialLookup::unknown());
    EXPECT_EQ(backend.lookup(u"accessCode"_s, false), CredentialLookup::missing());
    HostedTokenStore tokens(backend);
    EXPECT_EQ(tokens.status(), HostedTokenStore::Status::locked);
    EXPECT_EQ(tokens.bearer(), HostedBearer::locked());
    // No prompt was waited for: background reads return at once.
    EXPECT_LT(timer.elapsed(), 5000);
}

} // namespace
} // namespace quendra

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

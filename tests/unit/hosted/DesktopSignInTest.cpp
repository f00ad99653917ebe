// The browser sign-in from start to finish against the stand-in service, on a
// clock that only pretends to wait.

#include "hosted/DesktopSignIn.h"
#include "fakes/RecordingUrlOpener.h"
#include "hosted/AccountModel.h"
#include "model/ApplicationId.h"
#include "platform/MemoryCredentials.h"
#include "support/TestSupport.h"
#include "support/hosted/StandIn.h"

#include <QLoggingCategory>
#include <QRegularExpression>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

using testing::run;
using Outcome = SignInOutcome::Kind;

const QString session = u"pvs_"_s + QString(43, u'S');
// The verifier and challenge of RFC 7636's example.
const QString verifier = u"dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk"_s;
const QString challenge = u"E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM"_s;

class PretendClock final : public SignInClock {
public:
    QDateTime now() override { return start.addMSecs(qint64(elapsedSec * 1000)); }
    QCoro::Task<bool> sleep(double seconds, Cancellation cancel) override {
        waits.append(seconds);
        elapsedSec += seconds;
        if (cancelAfterWaits && waits.size() == cancelAfterWaits && cancel)
            cancel->cancel();
        co_return !(cancel && cancel->isCancelled());
    }

    QDateTime start = QDateTime::currentDateTimeUtc();
    double elapsedSec = 0;
    QList<double> waits;
    qsizetype cancelAfterWaits = 0;
};

Json startReply(int intervalSec = 2, int expiresInSec = 600) {
    return {{"path", "auth"},
            {"action", "desktop-start"},
            {"json",
             {{"pollId", "poll-7"},
              {"authUrl", "https://accounts.example/desktop?poll=7"},
              {"intervalSec", intervalSec},
              {"expiresInSec", expiresInSec}}}};
}

Json claimReply(int status, Json body = Json::object(), Json headers = Json::object()) {
    return {{"path", "auth"},
            {"action", "desktop-claim"},
            {"status", status},
            {"json", std::move(body)},
            {"headers", std::move(headers)}};
}

Json signedInReply() {
    return claimReply(200, {{"session", session}, {"account", {{"email", "ada@example.org"}}}});
}

class DesktopSignInTest : public ::testing::Test {
protected:
    SignInOutcome signIn(Cancellation cancel = {}) {
        DesktopSignIn flow(client, tokens, clock, [] { return verifier; });
        return run(flow.run(
            u"Parlevo on test-host"_s,
            [this](const DesktopSignInStart& start) { browser.open(start.authURL); }, cancel));
    }

    testing::StandIn standIn;
    MemoryCredentials keyring;
    HostedTokenStore tokens{keyring, [] {}};
    HostedClient client{
        HostedClientOptions{standIn.baseURL(), [this] { return tokens.bearer(); }, standIn.tls()}};
    PretendClock clock;
    RecordingUrlOpener browser;
};

TEST(SignInVerifier, IsFortyThreeBase64UrlCharactersAndFreshEachTime) {
    static const QRegularExpression form(u"^[A-Za-z0-9_-]{43}$"_s);
    QSet<QString> seen;
    for (int i = 0; i < 50; ++i) {
        const QString made = DesktopSignIn::makeRandomVerifier();
        EXPECT_TRUE(form.match(made).hasMatch()) << made.toStdString();
        seen.insert(made);
    }
    EXPECT_EQ(seen.size(), 50);
    EXPECT_EQ(DesktopSignIn::challenge(verifier), challenge);
}

TEST_F(DesktopSignInTest, SignsInAfterPendingAndRateLimitedPolls) {
    standIn.script(Json::array({startReply(2), claimReply(202), claimReply(202),
                                claimReply(429, {{"retryAfterSec", 1}}),
                                claimReply(429, {{"retryAfterSec", 20}}),
                                claimReply(429, {}, {{"Retry-After", "50"}}), signedInReply()}));
    const SignInOutcome outcome = signIn();
    EXPECT_EQ(outcome.kind, Outcome::signedIn) << outcome.message().toStdString();
    EXPECT_EQ(outcome.account.email, u"ada@example.org"_s);
    EXPECT_EQ(browser.opened, QList<QUrl>{QUrl(u"https://accounts.example/desktop?poll=7"_s)});
    // Doubling, the server's delay when longer, never above 30 s.
    EXPECT_EQ(clock.waits, (QList<double>{2, 2, 2, 4, 20, 30}));
    EXPECT_EQ(tokens.status(), HostedTokenStore::Status::session);
    EXPECT_EQ(keyring.lookup(u"session"_s, false), CredentialLookup::of(session));

    const Json seen = standIn.requests();
    ASSERT_EQ(seen.size(), 7u);
    EXPECT_EQ(seen[0]["body"], (Json{{"action", "desktop-start"},
                                     {"challenge", challenge},
                                     {"device", "Parlevo on test-host"}}));
    for (size_t i = 1; i < seen.size(); ++i)
        EXPECT_EQ(
            seen[i]["body"],
            (Json{{"action", "desktop-claim"}, {"pollId", "poll-7"}, {"verifier", verifier}}));
}

TEST_F(DesktopSignInTest, GivesUpWhenTheSignInOutlivesItsExpiry) {
    Json pending = claimReply(202);
    pending["repeat"] = true;
    standIn.script(Json::array({startReply(3, 7), pending}));
    const SignInOutcome outcome = signIn();
    EXPECT_EQ(outcome.kind, Outcome::timedOut);
    EXPECT_EQ(outcome.message(), u"That sign-in took too long. Try again."_s);
    EXPECT_EQ(clock.waits, (QList<double>{3, 3, 3}));
    EXPECT_EQ(tokens.status(), HostedTokenStore::Status::signedOut);
}

TEST_F(DesktopSignInTest, TheBrowserSideEndsTheSignIn) {
    const struct {
        Json reply;
        Outcome kind;
        QString message;
    } cases[] = {
        {claimReply(410, {{"error", "sign_in_cancelled"}}), Outcome::cancelledInBrowser,
         u"Sign-in was cancelled."_s},
        {claimReply(410, {{"error", "expired"}}), Outcome::expired,
         u"That sign-in took too long. Try again."_s},
        {claimReply(503, {{"error", "accounts_unavailable"}}), Outcome::notConfigured,
         u"Sign-in isn’t available yet."_s},
        {claimReply(400, {{"error", "bad_verifier"}}), Outcome::failed,
         u"Sign-in couldn’t finish. Try again."_s},
        {claimReply(200, {{"session", "not-a-token"}, {"account", Json::object()}}),
         Outcome::failed, u"Sign-in couldn’t finish. Try again."_s},
    };
    for (const auto& c : cases) {
        standIn.reset();
        standIn.script(Json::array({startReply(), c.reply}));
        const SignInOutcome outcome = signIn();
        EXPECT_EQ(outcome.kind, c.kind) << c.reply.dump();
        EXPECT_EQ(outcome.message(), c.message) << c.reply.dump();
    }
    EXPECT_EQ(tokens.status(), HostedTokenStore::Status::signedOut);
}

TEST_F(DesktopSignInTest, AStartThatFailsSaysWhy) {
    standIn.script(Json::array(
        {{{"path", "auth"}, {"status", 429}, {"json", Json::object()}},
         {{"path", "auth"}, {"status", 500}, {"json", Json::object()}},
         {{"path", "auth"}, {"json", {{"pollId", "p"}, {"authUrl", "http://insecure/"}}}}}));
    EXPECT_EQ(signIn().message(), u"Too many sign-in attempts. Wait a minute and try again."_s);
    EXPECT_EQ(signIn().message(), u"Sign-in couldn’t start. Try again shortly."_s);
    EXPECT_EQ(signIn().message(), u"Sign-in couldn’t start. Try again shortly."_s);
    EXPECT_TRUE(browser.opened.isEmpty());

    HostedClient nowhere(
        HostedClientOptions{QUrl(u"https://127.0.0.1:1/api/"_s), {}, standIn.tls()});
    DesktopSignIn offline(nowhere, tokens, clock, [] { return verifier; });
    const SignInOutcome outcome = run(offline.run(u"d"_s, {}));
    EXPECT_EQ(outcome.kind, Outcome::failed);
    EXPECT_EQ(outcome.message(),
              u"Couldn’t reach Parlevo. Check your internet connection and try again."_s);
}

TEST_F(DesktopSignInTest, ShortOutagesAreRiddenOutLongOnesAreNot) {
    Json dropped = claimReply(0);
    dropped["drop"] = true;
    standIn.script(Json::array({startReply(), dropped, claimReply(503), signedInReply()}));
    EXPECT_EQ(signIn().kind, Outcome::signedIn);

    tokens.clearAll();
    standIn.reset();
    Json down = claimReply(503);
    down["repeat"] = true;
    standIn.script(Json::array({startReply(), down}));
    const qsizetype before = clock.waits.size();
    const SignInOutcome outcome = signIn();
    EXPECT_EQ(outcome.kind, Outcome::failed);
    EXPECT_EQ(outcome.message(), u"Sign-in couldn’t finish. Try again."_s);
    EXPECT_EQ(clock.waits.size() - before, 4); // three outages ridden out, the fourth ends it
}

TEST_F(DesktopSignInTest, CancellingEndsItAsTheUsersChoice) {
    Json pending = claimReply(202);
    pending["repeat"] = true;
    standIn.script(Json::array({startReply(), pending}));
    clock.cancelAfterWaits = 3;
    const SignInOutcome outcome = signIn(std::make_shared<CancellationFlag>());
    EXPECT_EQ(outcome.kind, Outcome::cancelledByUser);
    EXPECT_EQ(standIn.requests().size(), 3u); // the start and two polls
    EXPECT_EQ(tokens.status(), HostedTokenStore::Status::signedOut);
}

TEST_F(DesktopSignInTest, NoTokenEverReachesTheLog) {
    static QStringList lines;
    lines.clear();
    QLoggingCategory::setFilterRules(QStringLiteral(QUENDRA_APPLICATION_ID ".*=true"));
    const auto previous = qInstallMessageHandler(
        [](QtMsgType, const QMessageLogContext& context, const QString& message) {
            lines << QString::fromLatin1(context.category) + u": "_s + message;
        });
    const QString code = u"pvb_"_s + QString(43, u'C');
    standIn.script(Json::array(
        {startReply(),
         claimReply(429),
         claimReply(400, {{"error", "nope"}}),
         startReply(),
         signedInReply(),
         {{"path", "account"}, {"status", 401}, {"json", {{"error", "session_expired"}}}},
         {{"path", "auth"}, {"action", "signout"}, {"drop", true}, {"repeat", true}}}));
    signIn();
    signIn();
    run(client.me());
    AccountModel account(client, tokens);
    run(account.signOut());
    ASSERT_TRUE(account.enterAccessCode(code));
    run(account.deleteAccount(u"DELETE"_s));
    keyring.setLocked(true);
    tokens.invalidate();
    run(client.me());
    qInstallMessageHandler(previous);
    QLoggingCategory::setFilterRules({});

    EXPECT_GE(lines.size(), 8) << lines.join(u'\n').toStdString();
    for (const QString& line : lines) {
        EXPECT_FALSE(line.contains(session)) << line.toStdString();
        EXPECT_FALSE(line.contains(code)) << line.toStdString();
        EXPECT_FALSE(line.contains(verifier)) << line.toStdString();
        EXPECT_FALSE(line.contains(u"pvs_"_s) || line.contains(u"pvb_"_s)) << line.toStdString();
    }
}

} // namespace
} // namespace quendra

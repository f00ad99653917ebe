// The hosted client against the stand-in service: every endpoint's request and
// result, every failure mapping, redirects, time-outs and cancellation.

#include "hosted/HostedClient.h"
#include "support/TestSupport.h"
#include "support/hosted/StandIn.h"

#include <QTimer>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

using testing::run;
using Kind = HostedError::Kind;

const QString sessionToken = u"pvs_"_s + QString(43, u'a');

class HostedClientTest : public ::testing::Test {
protected:
    HostedClient makeClient(std::function<HostedBearer()> credentials = {},
                            double timeoutScale = 1.0) {
        if (!credentials)
            credentials = [this] { return bearer; };
        return HostedClient(
            HostedClientOptions{standIn.baseURL(), credentials, standIn.tls(), timeoutScale});
    }

    // The one request the stand-in saw.
    Json onlyRequest() {
        const Json seen = standIn.requests();
        EXPECT_EQ(seen.size(), 1u) << seen.dump();
        return seen.empty() ? Json::object() : seen.back();
    }

    testing::StandIn standIn;
    HostedBearer bearer = HostedBearer::of(sessionToken);
};

TEST_F(HostedClientTest, DesktopStartSendsTheChallengeWithoutAuthorization) {
    standIn.script(Json::array({{{"path", "auth"},
                                 {"json",
                                  {{"pollId", "poll-1"},
                                   {"authUrl", "https://accounts.example/signin?x=1"},
                                   {"expiresInSec", 120},
                                   {"intervalSec", 2}}}}}));
    auto client = makeClient();
    auto start = run(client.desktopStart(u"challenge-x"_s, u"Test device"_s));
    ASSERT_TRUE(start) << describe(start.error()).toStdString();
    EXPECT_EQ(start->pollId, u"poll-1"_s);
    EXPECT_EQ(start->authURL, QUrl(u"https://accounts.example/signin?x=1"_s));
    EXPECT_EQ(start->expiresInSec, 120);
    EXPECT_EQ(start->intervalSec, 2);

    const Json request = onlyRequest();
    EXPECT_EQ(request["method"], "POST");
    EXPECT_EQ(request["path"], "/api/auth");
    EXPECT_FALSE(request["headers"].contains("authorization"));
    EXPECT_EQ(request["headers"]["content-type"], "application/json");
    EXPECT_EQ(request["headers"]["accept"], "application/json");
}

TEST_F(HostedClientTest, DesktopStartDefaultsAndRefusesAnInsecureSignInPage) {
    standIn.script(Json::array(
        {{{"path", "auth"}, {"json", {{"pollId", "p"}, {"authUrl", "https://a.example/"}}}},
         {{"path", "auth"}, {"json", {{"pollId", "p"}, {"authUrl", "http://a.example/"}}}},
         {{"path", "auth"}, {"json", {{"pollId", ""}, {"authUrl", "https://a.example/"}}}},
         {{"path", "auth"}, {"json", {{"pollId", "p"}, {"authUrl", "https:///nohost"}}}}}));
    auto client = makeClient();
    auto start = run(client.desktopStart(u"c"_s, u"d"_s));
    ASSERT_TRUE(start);
    EXPECT_EQ(start->expiresInSec, 600);
    EXPECT_EQ(start->intervalSec, 3);
    for (int i = 0; i < 3; ++i) {
        auto refused = run(client.desktopStart(u"c"_s, u"d"_s));
        ASSERT_FALSE(refused) << i;
        EXPECT_EQ(refused.error(), HostedError::of(Kind::invalidResponse)) << i;
    }
}

TEST_F(HostedClientTest, DesktopClaimIsPendingOn202AndSignedInOn200) {
    standIn.script(Json::array(
        {{{"path", "auth"}, {"action", "desktop-claim"}, {"status", 202}, {"json", {}}},
         {{"path", "auth"},
          {"action", "desktop-claim"},
          {"json", {{"session", sessionToken}, {"account", {{"email", "ada@example.org"}}}}}}}));
    auto client = makeClient([] { return HostedBearer::none(); });
    auto pending = run(client.desktopClaim(u"poll-1"_s, u"verifier-1"_s));
    ASSERT_TRUE(pending);
    EXPECT_TRUE(pending->pending);
    auto claimed = run(client.desktopClaim(u"poll-1"_s, u"verifier-1"_s));
    ASSERT_TRUE(claimed);
    EXPECT_FALSE(claimed->pending);
    EXPECT_EQ(claimed->sessionToken, sessionToken);
    EXPECT_EQ(claimed->account.email, u"ada@example.org"_s);
    // The claim body is checked with the whole sign-in (DesktopSignInTest).
    EXPECT_FALSE(standIn.requests()[0]["headers"].contains("authorization"));
}

TEST_F(HostedClientTest, AccountCallsCarryTheStoredBearer) {
    standIn.script(Json::array(
        {{{"path", "account"}, {"action", "me"}, {"json", {{"account", {{"email", "b@x.org"}}}}}},
         {{"path", "account"}, {"action", "delete"}, {"json", {{"deleted", true}}}}}));
    auto client = makeClient();
    auto account = run(client.me());
    ASSERT_TRUE(account);
    EXPECT_EQ(account->email, u"b@x.org"_s);
    auto deleted = run(client.deleteAccount());
    ASSERT_TRUE(deleted);
    EXPECT_TRUE(*deleted);

    const Json seen = standIn.requests();
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0]["path"], "/api/account");
    EXPECT_EQ(seen[0]["body"], (Json{{"action", "me"}}));
    EXPECT_EQ(seen[0]["headers"]["authorization"], (u"Bearer "_s + sessionToken).toStdString());
    EXPECT_EQ(seen[1]["body"], (Json{{"action", "delete"}, {"confirm", "DELETE"}}));
    EXPECT_EQ(seen[1]["headers"]["authorization"], (u"Bearer "_s + sessionToken).toStdString());
}

TEST_F(HostedClientTest, SignOutRevokesTheGivenTokenAndSwallowsFailures) {
    const QString oldToken = u"pvs_"_s + QString(43, u'z');
    standIn.script(Json::array({{{"path", "auth"}, {"status", 500}, {"json", {}}}}));
    // The stored credentials are not asked for: the token is no longer stored.
    auto client = makeClient([] {
        ADD_FAILURE() << "sign-out read the stored credentials";
        return HostedBearer::none();
    });
    run(client.signOut(oldToken));
    const Json request = onlyRequest();
    EXPECT_EQ(request["path"], "/api/auth");
    EXPECT_EQ(request["body"], (Json{{"action", "signout"}}));
    EXPECT_EQ(request["headers"]["authorization"], (u"Bearer "_s + oldToken).toStdString());
}

TEST_F(HostedClientTest, DictateSendsTheWholeRequestAndReadsTheResult) {
    standIn.script(Json::array({{{"path", "dictate"},
                                 {"json",
                                  {{"transcript", "Hello, Ada."},
                                   {"rawTranscript", "hello ada"},
                                   {"polished", true},
                                   {"formattingStatus", "fallback"}}}},
                                {{"path", "dictate"}, {"json", {{"transcript", "Plain."}}}}}));
    auto client = makeClient();
    HostedDictationRequest request;
    request.audio = QByteArray("RIFF\x00\x01\x02", 7);
    request.mediaType = u"audio/wav"_s;
    request.language = u"en"_s;
    request.cleanupMode = u"light"_s;
    request.dictionary = {{QUuid::createUuid(), u"Quendra"_s, {u"kwendra"_s, u"when dra"_s}}};
    request.contextBefore = u"Dear Ada,"_s;
    request.writingSurface = u"email"_s;
    request.replyAssist = true;
    auto result = run(client.dictate(request));
    ASSERT_TRUE(result);
    EXPECT_EQ(*result, (HostedDictationResult{u"Hello, Ada."_s, u"hello ada"_s, true, true}));
    auto plain = run(client.dictate(request));
    ASSERT_TRUE(plain);
    EXPECT_EQ(*plain, (HostedDictationResult{u"Plain."_s, std::nullopt, false, false}));

    const Json body = standIn.requests()[0]["body"];
    EXPECT_EQ(body, (Json{{"audioBase64", "UklGRgABAg=="},
                          {"mediaType", "audio/wav"},
                          {"language", "en"},
                          {"cleanupMode", "light"},
                          {"dictionary", Json::array({{{"spelling", "Quendra"},
                                                       {"spokenForms", {"kwendra", "when dra"}}}})},
                          {"contextBefore", "Dear Ada,"},
                          {"contextAfter", ""},
                          {"conversationContext", ""},
                          {"writingSurface", "email"},
                          {"replyAssist", true}}));
    EXPECT_EQ(standIn.requests()[0]["path"], "/api/dictate");
}

TEST_F(HostedClientTest, NoteCallsSendTheirBodiesAndReadTheirRecords) {
    standIn.script(Json::array(
        {{{"path", "notes"},
          {"action", "transcribe"},
          {"json",
           {{"transcript", "hi there"},
            {"words", Json::array({{{"text", "hi"}, {"startMs", 0}, {"endMs", 200}},
                                   {{"text", "broken"}},
                                   {{"text", "there"}, {"startMs", 250}, {"endMs", 600}}})}}}},
         {{"path", "notes"},
          {"action", "summarize"},
          {"json", {{"summary", {{"keyPoints", Json::array()}}}}}},
         {{"path", "notes"}, {"action", "ask"}, {"json", {{"answer", {{"text", "Tuesday"}}}}}},
         {{"path", "review"}, {"json", {{"saved", true}}}}}));
    auto client = makeClient();
    auto transcript = run(client.transcribeNote(QByteArray("wav"), u"de"_s));
    ASSERT_TRUE(transcript);
    EXPECT_EQ(transcript->transcript, u"hi there"_s);
    EXPECT_EQ(transcript->words,
              (QList<HostedNoteWord>{{u"hi"_s, 0, 200}, {u"there"_s, 250, 600}}));
    const QList<HostedSummaryPart> parts{{u"first"_s, 0}, {u"second"_s, 30000}};
    auto summary = run(client.summarize(parts));
    ASSERT_TRUE(summary);
    EXPECT_EQ(summary->object, (Json{{"keyPoints", Json::array()}}));
    auto answer = run(client.ask(u"When?"_s, parts));
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->object, (Json{{"text", "Tuesday"}}));
    auto saved = run(client.uploadReview(Json{{"kind", "dictation"}, {"text", "x"}}));
    ASSERT_TRUE(saved);
    EXPECT_TRUE(*saved);

    const Json seen = standIn.requests();
    ASSERT_EQ(seen.size(), 4u);
    const Json partsJson = Json::array(
        {{{"text", "first"}, {"startMs", 0}}, {{"text", "second"}, {"startMs", 30000}}});
    EXPECT_EQ(seen[0]["body"], (Json{{"action", "transcribe"},
                                     {"language", "de"},
                                     {"mediaType", "audio/wav"},
                                     {"audioBase64", "d2F2"}}));
    EXPECT_EQ(seen[1]["body"], (Json{{"action", "summarize"}, {"parts", partsJson}}));
    EXPECT_EQ(seen[2]["body"],
              (Json{{"action", "ask"}, {"question", "When?"}, {"parts", partsJson}}));
    EXPECT_EQ(seen[3]["path"], "/api/review");
    EXPECT_EQ(seen[3]["body"], (Json{{"kind", "dictation"}, {"text", "x"}}));
    for (const auto& request : seen)
        EXPECT_EQ(request["headers"]["authorization"], (u"Bearer "_s + sessionToken).toStdString());
}

TEST_F(HostedClientTest, AnUnreadableSuccessFailsEveryEndpointThatNeedsAKey) {
    Json rules = Json::array();
    for (const char* path : {"auth", "account", "dictate", "notes", "review"})
        rules.push_back({{"path", path}, {"raw", "<html>ok</html>"}, {"repeat", true}});
    standIn.script(rules);
    auto client = makeClient();
    const auto unreadable = HostedError::of(Kind::invalidResponse);
    EXPECT_EQ(run(client.desktopStart(u"c"_s, u"d"_s)).error(), unreadable);
    EXPECT_EQ(run(client.desktopClaim(u"p"_s, u"v"_s)).error(), unreadable);
    EXPECT_EQ(run(client.me()).error(), unreadable);
    EXPECT_EQ(run(client.deleteAccount()).error(), unreadable);
    EXPECT_EQ(run(client.dictate({})).error(), unreadable);
    EXPECT_EQ(run(client.transcribeNote({}, u"en"_s)).error(), unreadable);
    EXPECT_EQ(run(client.summarize({})).error(), unreadable);
    EXPECT_EQ(run(client.ask(u"q"_s, {})).error(), unreadable);
    EXPECT_EQ(run(client.uploadReview(Json::object())).error(), unreadable);
}

TEST_F(HostedClientTest, FailedRepliesMapToTheirErrors) {
    struct Case {
        int status;
        Json body;
        Json headers;
        HostedError expected;
    };
    const Json none = Json::object();
    const std::vector<Case> cases{
        {401, {{"error", "session_expired"}}, none, HostedError::of(Kind::sessionExpired)},
        {401, {{"error", "beta_access_required"}}, none, HostedError::of(Kind::accessCodeInvalid)},
        {401, none, none, HostedError::of(Kind::signInRequired)},
        {401, {{"error", "other"}}, none, HostedError::of(Kind::signInRequired)},
        {408, none, none, HostedError::of(Kind::unavailable)},
        {410, {{"error", "sign_in_cancelled"}}, none, HostedError::of(Kind::signInCancelled)},
        {410, none, none, HostedError::of(Kind::signInExpired)},
        {429, {{"error", "service_busy"}}, none, HostedError::of(Kind::busy)},
        {429, {{"retryAfterSec", 7}}, {{"Retry-After", "30"}}, HostedError::rateLimited(7)},
        {429, none, {{"Retry-After", "30"}}, HostedError::rateLimited(30)},
        {429, {{"retryAfterSec", "soon"}}, {{"Retry-After", "12"}}, HostedError::rateLimited(12)},
        {429,
         none,
         {{"Retry-After", "Wed, 21 Oct 2026 07:28:00 GMT"}},
         HostedError::rateLimited(std::nullopt)},
        {429, none, none, HostedError::rateLimited(std::nullopt)},
        {503,
         {{"error", "accounts_unavailable"}},
         none,
         HostedError::of(Kind::accountsUnavailable)},
        {503, none, none, HostedError::of(Kind::unavailable)},
        {500, none, none, HostedError::of(Kind::unavailable)},
        {504, none, none, HostedError::of(Kind::unavailable)},
        {599, none, none, HostedError::of(Kind::unavailable)},
        {404, none, none, HostedError::invalidRequest(u"http_404"_s)},
        {400,
         {{"error", "audio_too_long"}},
         none,
         HostedError::invalidRequest(u"audio_too_long"_s)},
        {201, none, none, HostedError::invalidRequest(u"http_201"_s)},
        {202, none, none, HostedError::invalidRequest(u"http_202"_s)},
    };
    Json rules = Json::array();
    for (const auto& c : cases)
        rules.push_back(
            {{"path", "account"}, {"status", c.status}, {"json", c.body}, {"headers", c.headers}});
    standIn.script(rules);
    auto client = makeClient();
    for (const auto& c : cases) {
        auto result = run(client.me());
        ASSERT_FALSE(result) << c.status;
        EXPECT_EQ(result.error(), c.expected) << c.status << " " << c.body.dump() << " gave "
                                              << describe(result.error()).toStdString();
    }
}

TEST_F(HostedClientTest, ARedirectIsNeverFollowed) {
    const QString elsewhere =
        u"https://localhost:%1/elsewhere/account"_s.arg(standIn.baseURL().port());
    standIn.script(Json::array({{{"path", "account"},
                                 {"status", 302},
                                 {"headers", {{"Location", elsewhere.toStdString()}}}},
                                {{"path", "account"}, {"status", 200}, {"repeat", true}}}));
    auto client = makeClient();
    auto result = run(client.me());
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), HostedError::invalidRequest(u"http_302"_s));
    // The bearer reached only the first address.
    const Json seen = standIn.requests();
    ASSERT_EQ(seen.size(), 1u) << seen.dump();
    EXPECT_EQ(seen[0]["path"], "/api/account");
}

TEST_F(HostedClientTest, CookiesAreNeitherKeptNorSent) {
    standIn.script(Json::array({{{"path", "account"},
                                 {"json", {{"account", Json::object()}}},
                                 {"headers", {{"Set-Cookie", "sid=abc; Path=/"}}}},
                                {{"path", "account"}, {"json", {{"account", Json::object()}}}}}));
    auto client = makeClient();
    ASSERT_TRUE(run(client.me()));
    ASSERT_TRUE(run(client.me()));
    const Json seen = standIn.requests();
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_FALSE(seen[1]["headers"].contains("cookie")) << seen[1].dump();
}

TEST_F(HostedClientTest, MissingOrLockedCredentialsFailBeforeAnyTraffic) {
    bearer = HostedBearer::none();
    auto client = makeClient();
    EXPECT_EQ(run(client.me()).error(), HostedError::of(Kind::signInRequired));
    bearer = HostedBearer::locked();
    EXPECT_EQ(run(client.dictate({})).error(), HostedError::of(Kind::keychainLocked));
    EXPECT_TRUE(standIn.requests().empty());
}

TEST_F(HostedClientTest, EachCallHasItsOwnTimeOut) {
    // Time-outs shortened a hundredfold: me() waits 0.2 s, dictate() 1.25 s.
    standIn.script(Json::array(
        {{{"path", "account"}, {"delaySec", 1.0}, {"json", {{"account", Json::object()}}}},
         {{"path", "dictate"}, {"delaySec", 0.4}, {"json", {{"transcript", "late but fine"}}}}}));
    auto client = makeClient({}, 0.01);
    EXPECT_EQ(run(client.me()).error(), HostedError::of(Kind::offline));
    auto dictated = run(client.dictate({}));
    ASSERT_TRUE(dictated) << describe(dictated.error()).toStdString();
    EXPECT_EQ(dictated->transcript, u"late but fine"_s);
}

TEST_F(HostedClientTest, CancellationIsNotMistakenForOffline) {
    standIn.script(Json::array({{{"path", "dictate"}, {"delaySec", 2}, {"json", {}}}}));
    auto client = makeClient();
    auto cancel = std::make_shared<CancellationFlag>();
    QTimer::singleShot(100, [cancel] { cancel->cancel(); });
    EXPECT_EQ(run(client.dictate({}, cancel)).error(), HostedError::of(Kind::cancelled));
    // Already cancelled: nothing is sent.
    EXPECT_EQ(run(client.me(cancel)).error(), HostedError::of(Kind::cancelled));
    EXPECT_EQ(standIn.requests().size(), 1u);
}

TEST_F(HostedClientTest, TransportFailuresAreOffline) {
    // Qt sends once more on a fresh connection when a kept-alive one closes.
    standIn.script(Json::array({{{"path", "account"}, {"drop", true}, {"repeat", true}}}));
    auto client = makeClient();
    EXPECT_EQ(run(client.me()).error(), HostedError::of(Kind::offline));

    // A server the client does not trust is no server at all.
    HostedClient untrusting(HostedClientOptions{standIn.baseURL(), [this] { return bearer; },
                                                QSslConfiguration::defaultConfiguration()});
    EXPECT_EQ(run(untrusting.me()).error(), HostedError::of(Kind::offline));

    HostedClient nowhere(HostedClientOptions{QUrl(u"https://127.0.0.1:1/api/"_s),
                                             [this] { return bearer; }, standIn.tls()});
    EXPECT_EQ(run(nowhere.me()).error(), HostedError::of(Kind::offline));
}

TEST(HostedClientEndpoint, PathsAreAppendedToTheBase) {
    ensureCoreApplication();
    HostedClient withSlash(HostedClientOptions{QUrl(u"https://h.example/api/"_s), {}});
    EXPECT_EQ(withSlash.endpoint(u"auth"_s), QUrl(u"https://h.example/api/auth"_s));
    HostedClient withoutSlash(HostedClientOptions{QUrl(u"https://h.example/v2"_s), {}});
    EXPECT_EQ(withoutSlash.endpoint(u"dictate"_s), QUrl(u"https://h.example/v2/dictate"_s));
}

} // namespace
} // namespace quendra

// The hosted engine inside the transcription service, against the stand-in:
// upload limits and parts, resuming after finished parts, how many calls
// overlap, and what each dictation request carries.

#include "transcription/HostedEngine.h"
#include "hosted/HostedClient.h"
#include "support/hosted/StandIn.h"
#include "support/hosted/TestRecording.h"
#include "transcription/DictationIntelligence.h"
#include "transcription/TranscriptionService.h"

#include <QFileInfo>
#include <QTemporaryDir>
#include <QTimer>

#include <map>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

using testing::run;
using Kind = TranscriptionServiceError::Kind;

const QString sessionToken = u"pvs_"_s + QString(43, u'a');
constexpr qint64 minuteBytes = 1'920'000;

QByteArray sentAudio(const Json& request) {
    return QByteArray::fromBase64(
        QByteArray::fromStdString(request["body"].value("audioBase64", std::string())));
}

Json answer(const char* transcript, double delaySec = 0) {
    Json rule{{"path", "dictate"},
              {"json", {{"transcript", transcript}, {"rawTranscript", transcript}}}};
    if (delaySec > 0)
        rule["delaySec"] = delaySec;
    return rule;
}

Json always(Json rule) {
    rule["repeat"] = true;
    return rule;
}

class HostedEngineTest : public ::testing::Test {
protected:
    TranscriptionService makeService(int concurrent = 3) {
        TranscriptionService service(
            [](const QString& text, const FinishingContext&,
               bool) -> std::expected<FinishedText, TranscriptionServiceError> {
                return FinishedText{text, text};
            },
            concurrent);
        service.setEngine(DictationModel::hosted, engine);
        return service;
    }

    QString recording(const QString& name, qint64 fileBytes) {
        const QString path = dir.filePath(name);
        EXPECT_TRUE(testing::writeRecording(path, fileBytes - 44));
        EXPECT_EQ(QFileInfo(path).size(), fileBytes);
        return path;
    }

    TranscriptionRequest request(const QString& path) {
        TranscriptionRequest request;
        request.fileURL = path;
        request.language = DictationLanguage::english;
        return request;
    }

    testing::StandIn standIn;
    HostedClient client{HostedClientOptions{
        standIn.baseURL(), [] { return HostedBearer::of(sessionToken); }, standIn.tls()}};
    std::shared_ptr<HostedEngine> engine = std::make_shared<HostedEngine>(client);
    QTemporaryDir dir;
};

TEST_F(HostedEngineTest, AFileUpToTheUploadLimitGoesWholeAndOneByteMoreGoesInParts) {
    standIn.script(Json::array({always(answer("words"))}));
    auto service = makeService(1);

    auto whole = run(service.transcribe(request(recording(u"whole.wav"_s, 3'000'000))));
    ASSERT_TRUE(whole) << whole.error().message().toStdString();
    Json seen = standIn.requests();
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_EQ(sentAudio(seen[0]).size(), 3'000'000);
    EXPECT_EQ(seen[0]["body"]["mediaType"], "audio/wav");

    standIn.reset();
    standIn.script(Json::array({answer("first"), answer("second")}));
    auto parted = run(service.transcribe(request(recording(u"parted.wav"_s, 3'000'001))));
    ASSERT_TRUE(parted) << parted.error().message().toStdString();
    seen = standIn.requests();
    ASSERT_EQ(seen.size(), 2u);
    qint64 total = 0;
    for (const Json& sent : seen) {
        const qint64 size = sentAudio(sent).size();
        EXPECT_LE(size, HostedEngine::largestUploadBytes);
        total += size;
    }
    // Both parts carry their own header; together they hold every whole
    // sample frame (the odd last byte is half a sample).
    EXPECT_EQ(total, 3'000'000 - 44 + 2 * 44);
    EXPECT_EQ(parted->rawTranscript, u"first second"_s);
}

TEST_F(HostedEngineTest, NoMoreThanTheConcurrentSectionsAreSentAtOnce) {
    for (const int concurrent : {2, 3}) {
        standIn.reset();
        standIn.script(Json::array({always(answer("part", 0.3))}));
        auto service = makeService(concurrent);
        const QString path = recording(u"four-%1.wav"_s.arg(concurrent), 44 + 4 * minuteBytes);
        auto result = run(service.transcribe(request(path)));
        ASSERT_TRUE(result) << result.error().message().toStdString();
        EXPECT_EQ(standIn.requests().size(), 4u);
        EXPECT_EQ(standIn.maxInFlight(), concurrent);
    }
}

TEST_F(HostedEngineTest, TheRequestCarriesStyleLanguageSurfaceAndContextExceptForExact) {
    standIn.script(Json::array({always(answer("words"))}));
    auto service = makeService();
    const QString path = recording(u"short.wav"_s, 64'044);
    TranscriptionRequest clean = request(path);
    clean.style = DictationStyle::clean;
    clean.language = DictationLanguage::german;
    clean.appBundleID = u"thunderbird"_s;
    clean.contextBefore = u"Dear Ada,"_s;
    clean.contextAfter = u"Best, Bo"_s;
    clean.conversationContext = u"Ada: lunch?"_s;
    clean.replyAssist = true;
    clean.dictionary = {{QUuid::createUuid(), u"Quendra"_s, {u"kwendra"_s}}};
    ASSERT_TRUE(run(service.transcribe(clean)));

    TranscriptionRequest exact = clean;
    exact.style = DictationStyle::exact;
    exact.appBundleID = u"org.example.Unknown"_s;
    exact.replyAssist = false;
    // The cached part of the clean run must not answer for another style.
    ASSERT_TRUE(run(service.transcribe(exact)));

    TranscriptionRequest polished = clean;
    polished.style = DictationStyle::polished;
    polished.appBundleID = u"web:chatgpt.com"_s;
    ASSERT_TRUE(run(service.transcribe(polished)));

    const Json seen = standIn.requests();
    ASSERT_EQ(seen.size(), 3u);
    const Json& first = seen[0]["body"];
    EXPECT_EQ(first["cleanupMode"], "light");
    EXPECT_EQ(first["language"], "de");
    EXPECT_EQ(first["writingSurface"], "email");
    EXPECT_EQ(first["contextBefore"], "Dear Ada,");
    EXPECT_EQ(first["contextAfter"], "Best, Bo");
    EXPECT_EQ(first["conversationContext"], "Ada: lunch?");
    EXPECT_EQ(first["replyAssist"], true);
    EXPECT_EQ(first["dictionary"][0]["spelling"], "Quendra");

    const Json& second = seen[1]["body"];
    EXPECT_EQ(second["cleanupMode"], "exact");
    EXPECT_EQ(second["writingSurface"], "generic");
    EXPECT_EQ(second["contextBefore"], "");
    EXPECT_EQ(second["contextAfter"], "");
    EXPECT_EQ(second["conversationContext"], "");
    EXPECT_EQ(second["replyAssist"], false);

    const Json& third = seen[2]["body"];
    EXPECT_EQ(third["cleanupMode"], "polished");
    EXPECT_EQ(third["writingSurface"], "ai");
    EXPECT_EQ(third["contextBefore"], "Dear Ada,");
}

// The surface is worked out once from the target application: the service is
// sent the one the local finishing pass is given.
TEST_F(HostedEngineTest, TheServiceAndLocalFinishingAgreeOnTheWritingSurface) {
    standIn.script(Json::array({always(answer("words"))}));
    QList<FinishingContext> finishing;
    TranscriptionService service(
        [&finishing](const QString& text, const FinishingContext& context,
                     bool) -> std::expected<FinishedText, TranscriptionServiceError> {
            finishing.append(context);
            return FinishedText{text, text};
        });
    service.setEngine(DictationModel::hosted, engine);
    DictationIntelligence intelligence(QStringLiteral(QUENDRA_RESOURCES));
    const auto systemPrompt = [&intelligence](const FinishingContext& context) {
        const auto messages = intelligence.buildCleanupMessages(u"see you at noon"_s, context);
        return messages ? (*messages)[0]["content"].get<std::string>() : std::string();
    };

    std::map<QString, std::string> prompts;
    for (const QString& application : {u"teams-for-linux"_s, u"com.slack.Slack"_s, u"thunderbird"_s,
                                       u"org.gnome.TextEditor"_s}) {
        TranscriptionRequest dictation = request(recording(application + u".wav"_s, 64'044));
        dictation.style = DictationStyle::polished;
        dictation.appBundleID = application;
        finishing.clear();
        ASSERT_TRUE(run(service.transcribe(dictation))) << application.toStdString();
        ASSERT_EQ(finishing.size(), 1);
        const QString sent = QString::fromStdString(
            standIn.requests().back()["body"].value("writingSurface", std::string()));

        FinishingContext asSent = finishing[0];
        asSent.surface = fromRawValue<WritingSurface>(sent);
        EXPECT_EQ(asSent.surface.has_value(), sent != u"generic"_s) << sent.toStdString();
        prompts[application] = systemPrompt(finishing[0]);
        EXPECT_FALSE(prompts[application].empty());
        EXPECT_EQ(prompts[application], systemPrompt(asSent)) << application.toStdString();
        if (application == u"teams-for-linux"_s) {
            EXPECT_EQ(sent, u"messaging"_s);
        }
    }
    // Team chat that is not Slack is written as any chat message, not as Slack.
    EXPECT_NE(prompts[u"teams-for-linux"_s], prompts[u"com.slack.Slack"_s]);
    EXPECT_NE(prompts[u"teams-for-linux"_s], prompts[u"org.gnome.TextEditor"_s]);
}

TEST_F(HostedEngineTest, CompressedPartsAreMpeg4AndOversizedPartsAreNeverSent) {
    standIn.script(Json::array({{{"path", "dictate"},
                                 {"json",
                                  {{"transcript", "Hello."},
                                   {"rawTranscript", "hello"},
                                   {"formattingStatus", "fallback"}}}},
                                {{"path", "dictate"}, {"status", 401}, {"json", {}}}}));
    const auto part = [this](const QString& name, qint64 size) {
        QFile file(dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(size, 'a'));
        return EngineRequest{AudioPart{file.fileName(), 0, 1000}, FinishingContext{},
                             std::make_shared<CancellationFlag>()};
    };

    auto compressed = run(engine->transcribe(part(u"part.m4a"_s, 5000)));
    ASSERT_TRUE(compressed);
    EXPECT_EQ(compressed->transcript, u"Hello."_s);
    EXPECT_EQ(compressed->rawTranscript, u"hello"_s);
    EXPECT_TRUE(compressed->formattingFallback);
    EXPECT_TRUE(compressed->modelFormatted);
    EXPECT_EQ(standIn.requests()[0]["body"]["mediaType"], "audio/mp4");

    auto refused = run(engine->transcribe(part(u"part.wav"_s, 5000)));
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error(),
              TranscriptionServiceError::engine(HostedError::of(HostedError::Kind::signInRequired)
                                                    .message(HostedMessageContext::dictation)));

    auto tooLarge = run(engine->transcribe(part(u"big.wav"_s, 3'000'001)));
    ASSERT_FALSE(tooLarge);
    EXPECT_EQ(tooLarge.error().kind, Kind::recordingTooLarge);
    EXPECT_EQ(standIn.requests().size(), 2u);
}

TEST_F(HostedEngineTest, CancellingStopsTheCallAsACancellation) {
    standIn.script(Json::array({always(answer("late", 5))}));
    QFile file(dir.filePath(u"part.wav"_s));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(5000, 'a'));
    file.close();
    const Cancellation cancel = std::make_shared<CancellationFlag>();
    QTimer::singleShot(100, [cancel] { cancel->cancel(); });
    auto result = run(engine->transcribe(
        EngineRequest{AudioPart{file.fileName(), 0, 1000}, FinishingContext{}, cancel}));
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().kind, Kind::cancelled);
}

} // namespace
} // namespace quendra

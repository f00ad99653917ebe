// The Groq engine against the stand-in: the uploaded form, the formatting
// call and when its candidate is taken, and the four failure sentences.

#include "transcription/GroqEngine.h"
#include "support/hosted/StandIn.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

using testing::run;
using Sentences = GroqEngine::Sentences;

const QString rawText = u"please send the report to the finance team by friday"_s;

Json transcription(const QString& text) {
    return {{"path", "transcriptions"}, {"json", {{"text", text}}}};
}

Json chat(const QString& content) {
    return {{"path", "completions"},
            {"json",
             {{"choices",
               Json::array({{{"index", 0},
                             {"message", {{"role", "assistant"}, {"content", content}}}}})}}}};
}

class GroqEngineTest : public ::testing::Test {
protected:
    GroqEngineTest() {
        QFile file(dir.filePath(u"part.wav"_s));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(audio);
    }

    std::shared_ptr<GroqEngine> makeEngine(DictationModel model = DictationModel::largeV3) {
        GroqEngineOptions options;
        options.baseURL = QUrl(u"https://127.0.0.1:%1"_s.arg(standIn.baseURL().port()));
        options.key = [this] { return key; };
        options.tls = standIn.tls();
        return std::make_shared<GroqEngine>(model, options, intelligence);
    }

    EngineRequest request(DictationStyle style = DictationStyle::clean) {
        FinishingContext context;
        context.style = style;
        context.language = DictationLanguage::english;
        return {AudioPart{dir.filePath(u"part.wav"_s), 0, 1000}, context,
                std::make_shared<CancellationFlag>()};
    }

    testing::StandIn standIn;
    QTemporaryDir dir;
    QByteArray audio = QByteArray("RIFF") + QByteArray(400, 'x');
    std::optional<QString> key = u"gsk_test"_s;
    std::shared_ptr<DictationIntelligence> intelligence = std::make_shared<DictationIntelligence>();
};

TEST_F(GroqEngineTest, UploadsTheFormThenMergesASafeFormatting) {
    const QString safe = u"Please send the report to the finance team by Friday."_s;
    standIn.script(Json::array({transcription(u" "_s + rawText + u" "_s), chat(safe)}));
    auto engine = makeEngine(DictationModel::turbo);
    auto result = run(engine->transcribe(request()));
    ASSERT_TRUE(result) << result.error().message().toStdString();

    const Json seen = standIn.requests();
    ASSERT_EQ(seen.size(), 2u);
    const Json& upload = seen[0];
    EXPECT_EQ(upload["path"], "/openai/v1/audio/transcriptions");
    EXPECT_EQ(upload["headers"]["authorization"], "Bearer gsk_test");
    const QString type = QString::fromStdString(upload["headers"]["content-type"]);
    ASSERT_TRUE(type.startsWith(u"multipart/form-data; boundary="_s)) << type.toStdString();
    const QString boundary = type.mid(type.indexOf(u'=') + 1);
    const QString form = QString::fromStdString(upload["body"]);
    EXPECT_TRUE(form.startsWith(u"--"_s + boundary + u"\r\n"_s));
    EXPECT_TRUE(form.endsWith(u"\r\n--"_s + boundary + u"--\r\n"_s));
    EXPECT_TRUE(form.contains(u"Content-Disposition: form-data; name=\"model\"\r\n\r\n"
                              "whisper-large-v3-turbo\r\n"_s));
    EXPECT_TRUE(
        form.contains(u"Content-Disposition: form-data; name=\"language\"\r\n\r\nen\r\n"_s));
    EXPECT_TRUE(form.contains(u"Content-Disposition: form-data; name=\"file\"; "
                              "filename=\"dictation.wav\"\r\nContent-Type: audio/wav\r\n\r\n"_s +
                              QString::fromLatin1(audio) + u"\r\n--"_s + boundary));
    // Five fields, each opened by the boundary, and the closing one.
    EXPECT_EQ(form.count(u"--"_s + boundary), 6);

    const Json& formatting = seen[1];
    EXPECT_EQ(formatting["path"], "/openai/v1/chat/completions");
    EXPECT_EQ(formatting["headers"]["authorization"], "Bearer gsk_test");
    const Json& body = formatting["body"];
    EXPECT_EQ(body["model"], "openai/gpt-oss-20b");
    EXPECT_EQ(body["messages"], *intelligence->buildCleanupMessages(rawText, request().context));
    EXPECT_TRUE(body["reasoning_effort"].is_string());
    EXPECT_GT(body.value("max_completion_tokens", 0), 0);

    EXPECT_EQ(result->rawTranscript, rawText);
    EXPECT_EQ(result->transcript,
              *intelligence->mergeCleanCandidate(rawText, safe, DictationStyle::clean));
    EXPECT_NE(result->transcript, rawText);
    EXPECT_TRUE(result->modelFormatted);
    EXPECT_FALSE(result->formattingFallback);
}

TEST_F(GroqEngineTest, AFormattingThatAddsOrLosesWordsIsRefused) {
    const QString invented = u"Please send the report to the finance team by Friday, and cancel "
                             "the budget meeting with marketing."_s;
    const QString dropped = u"Send the report."_s;
    auto engine = makeEngine();
    for (const QString& candidate : {invented, dropped}) {
        standIn.reset();
        standIn.script(Json::array({transcription(rawText), chat(candidate)}));
        auto result = run(engine->transcribe(request(DictationStyle::polished)));
        ASSERT_TRUE(result) << result.error().message().toStdString();
        EXPECT_EQ(result->transcript, rawText);
        EXPECT_EQ(result->rawTranscript, rawText);
        EXPECT_TRUE(result->formattingFallback);
        EXPECT_FALSE(result->modelFormatted);
    }
}

TEST_F(GroqEngineTest, ExactDictationIsNotFormattedByTheChatModel) {
    standIn.script(Json::array({transcription(rawText)}));
    auto result = run(makeEngine()->transcribe(request(DictationStyle::exact)));
    ASSERT_TRUE(result) << result.error().message().toStdString();
    EXPECT_EQ(result->transcript, rawText);
    EXPECT_FALSE(result->formattingFallback);
    EXPECT_EQ(standIn.requests().size(), 1u);
}

TEST_F(GroqEngineTest, EachFailureHasItsSentence) {
    auto engine = makeEngine();
    key.reset();
    auto noKey = run(engine->transcribe(request()));
    ASSERT_FALSE(noKey);
    EXPECT_EQ(noKey.error(), TranscriptionServiceError::engine(Sentences::noKey));
    EXPECT_EQ(noKey.error().message(), u"Connect your Groq account in Settings, then retry."_s);
    EXPECT_TRUE(standIn.requests().empty());

    key = u"gsk_test"_s;
    const std::vector<std::pair<Json, QString>> cases{
        {{{"path", "transcriptions"}, {"status", 401}, {"json", {}}},
         u"Groq rejected the key. Reconnect your account in Settings."_s},
        {{{"path", "transcriptions"}, {"status", 403}, {"json", {}}},
         u"Groq rejected the key. Reconnect your account in Settings."_s},
        {{{"path", "transcriptions"}, {"status", 429}, {"json", {}}},
         u"Your Groq limit was reached. Wait and retry, or switch to Qwen."_s},
        {{{"path", "transcriptions"}, {"drop", true}, {"repeat", true}},
         u"Groq could not be reached. Check your connection and retry."_s},
    };
    for (const auto& [rule, sentence] : cases) {
        standIn.reset();
        standIn.script(Json::array({rule}));
        auto result = run(engine->transcribe(request()));
        ASSERT_FALSE(result) << rule.dump();
        EXPECT_EQ(result.error(), TranscriptionServiceError::engine(sentence)) << rule.dump();
        EXPECT_EQ(result.error().message(), sentence);
    }

    standIn.reset();
    standIn.script(Json::array({{{"path", "transcriptions"}, {"raw", "not json"}}}));
    auto unreadable = run(engine->transcribe(request()));
    ASSERT_FALSE(unreadable);
    EXPECT_EQ(unreadable.error().kind, TranscriptionServiceError::Kind::invalidResponse);
}

} // namespace
} // namespace quendra

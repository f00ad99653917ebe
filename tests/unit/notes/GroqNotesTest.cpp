// Notes through Groq against the stand-in: a section's words with their
// times, and the summaries and answers of the chat model with the user's key.

#include "notes/EngineSectionTranscriber.h"
#include "notes/GroqNoteSummarizer.h"
#include "support/hosted/StandIn.h"
#include "transcription/GroqEngine.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {
namespace {

using testing::run;

Json chat(const std::string& content) {
    return {{"path", "completions"},
            {"json",
             {{"choices",
               Json::array({{{"message", {{"role", "assistant"}, {"content", content}}}}})}}}};
}

class GroqNotesTest : public ::testing::Test {
protected:
    GroqNotesTest() {
        QFile file(dir.filePath(u"part-0.wav"_s));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray("RIFF") + QByteArray(400, 'x'));
    }

    std::shared_ptr<GroqEngine> engine() {
        GroqEngineOptions options;
        options.baseURL = QUrl(u"https://127.0.0.1:%1"_s.arg(standIn.baseURL().port()));
        options.key = [this] { return key; };
        options.tls = standIn.tls();
        return std::make_shared<GroqEngine>(DictationModel::turbo, options,
                                            std::make_shared<DictationIntelligence>());
    }

    const QList<SummaryPassage> passages{{u"You: We ship on Friday."_s, 1200},
                                         {u"Maria: Then I tell\nthe team."_s, 5400}};
    testing::StandIn standIn;
    QTemporaryDir dir;
    std::optional<QString> key = u"gsk_test"_s;
};

} // namespace

TEST_F(GroqNotesTest, ASectionAsksForWordTimesAndKeepsTheWordsThatMakeSense) {
    standIn.script(Json::array({Json{
        {"path", "transcriptions"},
        {"json",
         {{"text", " we ship friday "},
          {"words", Json::array({Json{{"word", "we"}, {"start", 0.5}, {"end", 0.7}},
                                 Json{{"word", "ship"}, {"start", 0.75}, {"end", 1.1}},
                                 Json{{"word", "lost"}, {"start", 2.0}, {"end", 1.0}},
                                 Json{{"word", "friday"}, {"start", 1.2}, {"end", 1.8}}})}}}}}));
    EngineSectionTranscriber transcriber(engine(), u"Groq"_s);
    const auto heard = run(transcriber.transcribe(dir.filePath(u"part-0.wav"_s), 30'000, u"en"_s,
                                                  std::make_shared<CancellationFlag>()));
    ASSERT_TRUE(heard) << heard.error().message.toStdString();
    EXPECT_EQ(heard->text, u"we ship friday"_s);
    EXPECT_EQ(heard->words, (QList<TimedWord>{{u"we"_s, 500, 700, 0},
                                              {u"ship"_s, 750, 1100, 0},
                                              {u"friday"_s, 1200, 1800, 0}}));
    // One upload, asking for the verbose form with word times, and no
    // formatting call: a note is read back as it was said.
    const Json seen = standIn.requests();
    ASSERT_EQ(seen.size(), 1u);
    const QString form = QString::fromStdString(seen[0]["body"]);
    EXPECT_TRUE(form.contains(u"name=\"response_format\"\r\n\r\nverbose_json\r\n"_s));
    EXPECT_TRUE(form.contains(u"name=\"timestamp_granularities[]\"\r\n\r\nword\r\n"_s));

    key.reset();
    EXPECT_EQ(transcriber.unavailable(u"en"_s), GroqEngine::Sentences::noKey);
}

TEST_F(GroqNotesTest, SummariesAndAnswersComeFromTheChatModelAsJson) {
    standIn.script(
        Json::array({chat(R"({"title": "Friday", "keyPoints": [{"text": "Ship", "atMs": 1200}]})"),
                     chat(R"({"text": "On Friday.", "citations": [{"atMs": 1200}]})"),
                     chat("Sure! Here is your summary: ship on Friday.")}));
    GroqNoteSummarizer summarizer(engine());
    const auto summary = run(summarizer.summarize(passages, {}));
    ASSERT_TRUE(summary) << summary.error().message.toStdString();
    EXPECT_EQ(summary->object["title"], "Friday");
    const auto answer = run(summarizer.ask(u"  When do we ship?\n"_s, passages, {}));
    ASSERT_TRUE(answer) << answer.error().message.toStdString();
    EXPECT_EQ(answer->object["text"], "On Friday.");
    // A reply that is not a JSON object is not taken for a summary.
    const auto prose = run(summarizer.summarize(passages, {}));
    ASSERT_FALSE(prose);
    EXPECT_FALSE(prose.error().message.isEmpty());

    const Json seen = standIn.requests();
    ASSERT_EQ(seen.size(), 3u);
    for (const Json& request : seen) {
        EXPECT_EQ(request["path"], "/openai/v1/chat/completions");
        EXPECT_EQ(request["headers"]["authorization"], "Bearer gsk_test");
        EXPECT_EQ(request["body"]["response_format"]["type"], "json_object");
    }
    // Each passage is one line led by its moment, for the model to cite.
    const std::string transcript = seen[0]["body"]["messages"][1]["content"];
    EXPECT_EQ(transcript, "[atMs=1200] You: We ship on Friday.\n"
                          "[atMs=5400] Maria: Then I tell the team.\n");
    const std::string asked = seen[1]["body"]["messages"][1]["content"];
    EXPECT_TRUE(asked.ends_with("Question: When do we ship?")) << asked;

    key.reset();
    const auto keyless = run(summarizer.summarize(passages, {}));
    ASSERT_FALSE(keyless);
    EXPECT_EQ(keyless.error().message, GroqEngine::Sentences::noKey);
    EXPECT_EQ(standIn.requests().size(), 3u) << "something was sent without a key";
}

} // namespace quendra

#include "model/TranscriptEntry.h"
#include "model/TranscriptionResult.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

TranscriptEntry fullEntry() {
    DictationSessionSettings settings;
    settings.style = DictationStyle::clean;
    settings.application = u"org.gnome.TextEditor"_s;
    settings.language = u"en"_s;
    settings.replyAssist = true;
    settings.dictionary = QList<PersonalDictionaryEntry>{
        {QUuid::createUuid(), u"Kubernetes"_s, {u"cube and eighties"_s}}};
    settings.contextBefore = u"Dear Sam,"_s;
    settings.contextAfter = u""_s;
    settings.conversationContext = u"Sam: are we on?"_s;
    settings.model = DictationModel::turbo;
    settings.allowFallback = false;
    TranscriptEntry e;
    e.id = QUuid::createUuid();
    e.createdAt = QDateTime::fromMSecsSinceEpoch(1'790'000'000'123, Qt::UTC);
    e.text = u"Hello “world” — ünïcode"_s;
    e.source = u"Text Editor"_s;
    e.polished = true;
    e.recordingFileName = u"X.wav"_s;
    e.transcriptionError = u"Failed."_s;
    e.dictationSettings = settings;
    e.rawText = u"hello world"_s;
    return e;
}

} // namespace

TEST(TranscriptEntryCodec, roundTripsEveryField) {
    const TranscriptEntry e = fullEntry();
    const Json j = e;
    EXPECT_EQ(j["dictationSettings"]["style"], "clean");
    EXPECT_EQ(j["id"].get<std::string>(), uuidText(e.id).toStdString());
    EXPECT_EQ(parseJson(jsonBytes(j))->get<TranscriptEntry>(), e);
}

TEST(TranscriptEntryCodec, optionalFieldsMayBeAbsentAndDamageStaysLocal) {
    TranscriptEntry e = fullEntry();
    e.recordingFileName.reset();
    e.transcriptionError.reset();
    e.dictationSettings.reset();
    e.rawText.reset();
    const Json j = e;
    EXPECT_FALSE(j.contains("rawText"));
    EXPECT_FALSE(j.contains("dictationSettings"));
    const auto back = j.get<TranscriptEntry>();
    EXPECT_EQ(back, e);
    EXPECT_FALSE(back.isPending());

    // Settings without a model or fallback choice decode; the caller fills them in.
    Json settings = Json(*fullEntry().dictationSettings);
    settings.erase("model");
    settings.erase("allowFallback");
    const auto decoded = settings.get<DictationSessionSettings>();
    EXPECT_FALSE(decoded.model.has_value());
    EXPECT_FALSE(decoded.allowFallback.has_value());
    EXPECT_EQ(decoded.style, DictationStyle::clean);

    // A style stored under its service name is not a style: the frozen
    // settings are dropped, the entry itself survives.
    Json damaged = fullEntry();
    damaged["dictationSettings"]["style"] = "light";
    damaged["polished"] = "yes";
    const auto kept = damaged.get<TranscriptEntry>();
    EXPECT_FALSE(kept.dictationSettings.has_value());
    EXPECT_FALSE(kept.polished);
    EXPECT_EQ(kept.text, fullEntry().text);

    Json noId = fullEntry();
    noId.erase("id");
    EXPECT_THROW(noId.get<TranscriptEntry>(), std::invalid_argument);
}

TEST(TranscriptEntry, pendingAndFailedFollowTextRecordingAndError) {
    TranscriptEntry e;
    e.recordingFileName = u"A.wav"_s;
    EXPECT_TRUE(e.isPending());
    EXPECT_FALSE(e.isFailed());
    e.transcriptionError = u"Offline."_s;
    EXPECT_TRUE(e.isFailed());
    e.text = u"done"_s;
    EXPECT_FALSE(e.isPending());
    EXPECT_FALSE(e.isFailed());
}

TEST(TranscriptionResultCodec, segmentsWordsAndResultsRoundTrip) {
    TranscriptionResult r{u"raw"_s,
                          u"Formatted."_s,
                          u"trigger"_s,
                          {{0, 1200, u"Hello"_s, u"you"_s}, {1200, 2400, u"there"_s, std::nullopt}},
                          DictationModel::offline,
                          true,
                          false};
    const Json j = r;
    EXPECT_EQ(j["model"], "pocketsphinx-en-us");
    EXPECT_FALSE(j["segments"][1].contains("speaker"));
    EXPECT_EQ(j.get<TranscriptionResult>(), r);

    const TimedWord w{u"word"_s, 28'000, 28'350, 1};
    EXPECT_EQ(Json(w).dump(), R"({"text":"word","startMs":28000,"endMs":28350,"section":1})");
    EXPECT_EQ(Json(w).get<TimedWord>(), w);
    EXPECT_THROW(
        Json::parse(R"({"text":"a","startMs":1.5,"endMs":2,"section":0})").get<TimedWord>(),
        std::invalid_argument);
}

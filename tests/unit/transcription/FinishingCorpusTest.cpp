// The finishing scripts on the corpus in tests/fixtures/finishing: each file
// is a group of raw → expected cases. A case with "raw" goes through the whole
// local pass (DictationIntelligence::finish); a case with "call" calls one
// script function with "arguments" and compares with "expect".

#include "model/AppDataStore.h"
#include "support/CoreApplication.h"
#include "support/TestSupport.h"
#include "transcription/DictationIntelligence.h"

#include <QFile>

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

Json readCorpus(const QString& name) {
    QFile file(QStringLiteral(QUENDRA_FINISHING_FIXTURES "/") + name);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return parseJson(file.readAll()).value_or(Json());
}

QString text(const Json& c, std::string_view key, const QString& fallback = {}) {
    return field<QString>(c, key).value_or(fallback);
}

FinishingContext contextOf(const Json& c) {
    FinishingContext context;
    context.style = fromRawValue<DictationStyle>(text(c, "style", u"clean"_s)).value();
    context.language = fromRawValue<DictationLanguage>(text(c, "language", u"en"_s)).value();
    // Entries in the corpus carry no identifier; the scripts never see one.
    for (const Json& e : c.value("dictionary", Json::array()))
        context.dictionary.append({QUuid::createUuid(), text(e, "spelling"),
                                   field<QStringList>(e, "spokenForms").value_or(QStringList{})});
    context.surface = fromRawValue<WritingSurface>(text(c, "surface"));
    context.contextBefore = text(c, "contextBefore");
    context.contextAfter = text(c, "contextAfter");
    context.conversationContext = text(c, "conversationContext");
    context.replyAssist = field<bool>(c, "replyAssist").value_or(false);
    context.speechHeard = field<bool>(c, "speechHeard").value_or(false);
    return context;
}

// As the session does: snippets whose trigger is said in the trigger form
// are expanded in the finished text.
QString expandSnippets(const FinishedText& finished, const Json& list) {
    QList<VoiceSnippet> said;
    for (const Json& s : list) {
        const VoiceSnippet snippet{QUuid::createUuid(), text(s, "trigger"), text(s, "expansion")};
        if (AppDataStore::expandSnippet(finished.triggerTranscript, {snippet}) !=
            finished.triggerTranscript)
            said.append(snippet);
    }
    return AppDataStore::expandSnippet(finished.transcript, said);
}

class FinishingCorpus : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ensureCoreApplication(); }
    DictationIntelligence intelligence{QStringLiteral(QUENDRA_RESOURCES)};

    // Runs every case of one file; returns how many ran.
    size_t runCorpus(const QString& name) {
        const Json corpus = readCorpus(name);
        const Json cases = corpus.value("cases", Json::array());
        for (const Json& c : cases) {
            if (c.contains("call"))
                checkCall(c);
            else
                checkFinish(c);
        }
        return cases.size();
    }

    void checkCall(const Json& c) {
        const QString function = text(c, "call");
        SCOPED_TRACE(function.toStdString() + " " + c["arguments"].dump());
        const auto result = intelligence.call(function, c["arguments"]);
        ASSERT_TRUE(result) << result.error().message().toStdString();
        EXPECT_EQ(*result, c["expect"]);
    }

    void checkFinish(const Json& c) {
        const QString raw = text(c, "raw");
        const FinishingContext context = contextOf(c);
        SCOPED_TRACE("raw: " + c["raw"].dump() +
                     " style: " + rawValue(context.style).toString().toStdString());
        const bool modelFormatted = field<bool>(c, "modelFormatted").value_or(false);
        const auto finished = intelligence.finish(raw, context, modelFormatted);
        ASSERT_TRUE(finished) << finished.error().message().toStdString();
        EXPECT_EQ(finished->transcript, text(c, "transcript"));
        EXPECT_EQ(finished->reliable, field<bool>(c, "reliable").value_or(true));
        if (const auto trigger = field<QString>(c, "trigger")) {
            EXPECT_EQ(finished->triggerTranscript, *trigger);
        }
        if (const auto fallback = field<bool>(c, "formattingFallback")) {
            EXPECT_EQ(finished->formattingFallback, *fallback);
        }
        // Finished text is a fixed point: finishing it again changes nothing.
        if (context.style != DictationStyle::exact && !context.replyAssist && finished->reliable) {
            const auto again = intelligence.finish(finished->transcript, context, modelFormatted);
            ASSERT_TRUE(again);
            EXPECT_EQ(again->transcript, finished->transcript) << "finished twice";
        }
        if (c.contains("snippets")) {
            EXPECT_EQ(expandSnippets(*finished, c["snippets"]), text(c, "expanded"));
        }
    }
};

} // namespace

TEST_F(FinishingCorpus, fillersGoAndTheirPunctuationStays) {
    EXPECT_GE(runCorpus(u"fillers.json"_s), 15u);
}

TEST_F(FinishingCorpus, stuttersCollapseButMeaningfulDoublesStay) {
    EXPECT_GE(runCorpus(u"stutters.json"_s), 15u);
}

TEST_F(FinishingCorpus, preferredSpellingsReplaceWholeWords) {
    EXPECT_GE(runCorpus(u"spellings.json"_s), 15u);
}

TEST_F(FinishingCorpus, namesFromTheContextKeepTheirSpelling) {
    EXPECT_GE(runCorpus(u"context-names.json"_s), 12u);
}

TEST_F(FinishingCorpus, replyCommandsComposeOnlyWhenAsked) {
    EXPECT_GE(runCorpus(u"reply-intent.json"_s), 18u);
}

TEST_F(FinishingCorpus, silenceAndBoilerplateAreNotDictation) {
    EXPECT_GE(runCorpus(u"reliability.json"_s), 18u);
}

TEST_F(FinishingCorpus, eachStyleSpacesCapitalisesAndCloses) {
    EXPECT_GE(runCorpus(u"styles.json"_s), 30u);
}

TEST_F(FinishingCorpus, snippetTriggersSurviveFinishing) {
    EXPECT_GE(runCorpus(u"snippets.json"_s), 8u);
}

TEST_F(FinishingCorpus, candidatesThatDropOrInventAreRefused) {
    EXPECT_GE(runCorpus(u"cleanup-safety.json"_s), 21u);
}

TEST_F(FinishingCorpus, acceptedCandidatesAreMergedWithTheSpeakersForms) {
    EXPECT_GE(runCorpus(u"merge.json"_s), 10u);
}

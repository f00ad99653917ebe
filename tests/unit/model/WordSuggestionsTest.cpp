#include "model/WordSuggestions.h"
#include "model/AppDataStore.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

TranscriptEntry dictated(const QString& text) {
    TranscriptEntry e;
    e.id = QUuid::createUuid();
    e.createdAt = QDateTime::currentDateTimeUtc();
    e.text = text;
    return e;
}

QList<TranscriptEntry> history(const QStringList& texts) {
    QList<TranscriptEntry> entries;
    for (const QString& text : texts)
        entries << dictated(text);
    return entries;
}

QStringList words(const QList<WordSuggestion>& suggestions) {
    QStringList list;
    for (const auto& s : suggestions)
        list << s.word;
    return list;
}

const CommonWords everyday{{u"the"_s, u"today"_s, u"we"_s, u"deploy"_s, u"to"_s, u"Paris"_s,
                            u"well"_s, u"known"_s, u"meeting"_s, u"with"_s, u"on"_s}};

} // namespace

TEST(WordSuggestions, namesSeenInTwoDictationsAreSuggestedOnceEach) {
    const auto entries = history({
        u"Today we deploy Kubernetes to the GPU cluster with McAllister."_s,
        u"Kubernetes, Kubernetes and Kubernetes again; ask McAllister."_s,
        u"Only once: Zanzibarian."_s,
        u"Meeting on S3 and K8s with gpt4o, the iPhone and NASA."_s,
        u"S3 K8s gpt4o iPhone NASA GPU in 2024, version 3.5."_s,
    });
    const auto suggestions = suggestWords(entries, {}, {}, everyday);
    // Counted once per dictation however often it is said there.
    EXPECT_EQ(suggestions, (QList<WordSuggestion>{
                               {u"gpt4o"_s, 2},
                               {u"GPU"_s, 2},
                               {u"iPhone"_s, 2},
                               {u"K8s"_s, 2},
                               {u"Kubernetes"_s, 2},
                               {u"McAllister"_s, 2},
                               {u"NASA"_s, 2},
                               {u"S3"_s, 2},
                           }));
}

TEST(WordSuggestions, commonWordsDictionarySpellingsAndDismissedWordsAreLeftOut) {
    const auto entries = history({
        u"Today in Paris, Kubernetes's pods met Well-Known Grafana and Parlevo; KubeCtl ran."_s,
        u"TODAY in PARIS the Kubernetes’ nodes, Grafana, Parlevo and Kube-ctl."_s,
    });
    const QList<PersonalDictionaryEntry> dictionary{{QUuid::createUuid(), u"parlevo"_s, {}}};

    // The possessive is the same word, in either apostrophe.
    EXPECT_EQ(words(suggestWords(entries, dictionary, {}, everyday)),
              (QStringList{u"Grafana"_s, u"KubeCtl"_s, u"Kubernetes"_s}));

    // A word dismissed in another case or with other marks stays away.
    const QStringList dismissed{AppDataStore::normalisedSuggestionWord(u"GRAFANA"_s),
                                AppDataStore::normalisedSuggestionWord(u"kubectl"_s)};
    EXPECT_EQ(words(suggestWords(entries, dictionary, dismissed, everyday)),
              QStringList{u"Kubernetes"_s});

    // Without a word list nothing counts as common.
    const CommonWords none = CommonWords::load(u"/nonexistent/word-list"_s);
    EXPECT_TRUE(none.isEmpty());
    EXPECT_TRUE(words(suggestWords(entries, dictionary, {}, none)).contains(u"Today"_s));
}

TEST(WordSuggestions, theMostFrequentFormIsShownAndPendingEntriesAreIgnored) {
    QList<TranscriptEntry> entries = history({
        u"Github and GitHub"_s,
        u"GitHub"_s,
        u"Github, GitHub"_s,
        u"Postgres"_s,
        u"POSTGRES"_s,
    });
    // Waiting or failed dictations have no text, only their audio.
    TranscriptEntry pending = dictated(QString());
    pending.recordingFileName = u"a.wav"_s;
    TranscriptEntry failed = pending;
    failed.transcriptionError = u"offline"_s;
    entries << pending << failed;

    const auto suggestions = suggestWords(entries, {}, {}, everyday);
    // Three GitHub to two Github, seen first; a tie goes to the form seen first.
    EXPECT_EQ(suggestions, (QList<WordSuggestion>{{u"GitHub"_s, 3}, {u"Postgres"_s, 2}}));
}

TEST(WordSuggestions, tokensTooShortTooLongOrOnlyNumbersAreNotWords) {
    const QString longName = u"X"_s + QString(40, u'y');
    const auto entries = history({
        u"A B 42 1.5 2024-05 -Zed- '%1'"_s.arg(longName),
        u"A B 42 1.5 2024-05 Zed %1"_s.arg(longName),
    });
    EXPECT_EQ(words(suggestWords(entries, {}, {}, everyday)), QStringList{u"Zed"_s});
}

TEST(WordSuggestions, atMostFiftyMostSeenFirst) {
    QStringList texts(3);
    for (int i = 0; i < 60; ++i) {
        const QString name = u"Name%1x"_s.arg(i, 2, 10, QChar(u'0'));
        texts[0] += name + u' ';
        texts[1] += name + u' ';
        if (i >= 55)
            texts[2] += name + u' ';
    }
    const auto suggestions = suggestWords(history(texts), {}, {}, everyday);
    ASSERT_EQ(suggestions.size(), 50);
    EXPECT_EQ(suggestions[0], (WordSuggestion{u"Name55x"_s, 3}));
    EXPECT_EQ(suggestions[5], (WordSuggestion{u"Name00x"_s, 2}));
}

TEST(WordSuggestions, theStoreGivesItsHistoryDictionaryAndDismissals) {
    QTemporaryDir dir;
    UserDefaults defaults{dir.filePath(u"defaults.json"_s)};
    AppDataStore store{defaults};
    for (const QString& text : {u"Ship Quendrix"_s, u"Quendrix and Borovak"_s, u"Borovak"_s})
        ASSERT_TRUE(store.addHistory(dictated(text)));
    EXPECT_EQ(words(suggestWords(store)), (QStringList{u"Borovak"_s, u"Quendrix"_s}));

    // Accepting adds the word, dismissing keeps it away.
    ASSERT_TRUE(store.saveReviewedSpelling(u"Quendrix"_s, {}));
    ASSERT_TRUE(store.dismissWordSuggestions({u"borovak"_s}));
    EXPECT_TRUE(suggestWords(store).isEmpty());
}

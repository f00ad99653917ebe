#include "model/AppDataStore.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

class AppDataStoreTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    UserDefaults defaults{dir.filePath(u"defaults.json"_s)};
    QDateTime clock = QDateTime(QDate(2026, 11, 23), QTime(12, 0), Qt::UTC);
    AppDataStore store{defaults, [this] { return clock; }};

    TranscriptEntry entry(int minutesAgo, const QString& text = u"hi"_s) {
        TranscriptEntry e;
        e.id = QUuid::createUuid();
        e.createdAt = clock.addSecs(-60LL * minutesAgo);
        e.text = text;
        return e;
    }
    QStringList spellings() {
        QStringList list;
        for (const auto& e : store.dictionaryEntries())
            list << e.spelling;
        return list;
    }
};

} // namespace

TEST_F(AppDataStoreTest, legacyDictionaryMigratesOnceAndStaysInPlace) {
    ASSERT_TRUE(
        defaults.setData(u"personalDictionary"_s, R"(["Kubernetes","kubernetes","  Qt  6 "])"));
    EXPECT_EQ(spellings(), (QStringList{u"Kubernetes"_s, u"Qt 6"_s}));
    EXPECT_TRUE(defaults.contains(u"personalDictionaryV2"_s));
    EXPECT_TRUE(defaults.contains(u"personalDictionary"_s));
    const auto first = store.dictionaryEntries();
    // Identifiers were fixed by the migration, and the legacy list is not read again.
    ASSERT_TRUE(defaults.setData(u"personalDictionary"_s, R"(["Other"])"));
    EXPECT_EQ(store.dictionaryEntries(), first);

    // A broken new list is empty, and the migration is not retried.
    ASSERT_TRUE(defaults.setData(u"personalDictionaryV2"_s, "not json"));
    EXPECT_TRUE(store.dictionaryEntries().isEmpty());
}

TEST_F(AppDataStoreTest, dictionaryNormalisesSpellingsAndSpokenForms) {
    QStringList forms{QString(100, u'a'), u"  cube   and\neighties "_s, u"Cube and Eighties"_s,
                      u" "_s};
    for (int i = 0; i < 9; ++i)
        forms << u"form %1"_s.arg(i);
    ASSERT_TRUE(store.saveReviewedSpelling(u"  Kubernetes\n"_s, forms));
    ASSERT_TRUE(store.saveReviewedSpelling(u"apple"_s, {}));
    ASSERT_TRUE(store.saveReviewedSpelling(u"Zebra"_s, {}));
    EXPECT_FALSE(store.saveReviewedSpelling(u" \n "_s, {u"x"_s}));

    const auto entries = store.dictionaryEntries();
    EXPECT_EQ(spellings(), (QStringList{u"apple"_s, u"Kubernetes"_s, u"Zebra"_s}));
    const auto& k = entries[1];
    EXPECT_EQ(k.spokenForms.size(), 8);
    EXPECT_EQ(k.spokenForms[0], QString(80, u'a'));
    EXPECT_EQ(k.spokenForms[1], u"cube and eighties"_s);
    EXPECT_EQ(k.spokenForms[2], u"form 0"_s);
    EXPECT_FALSE(k.spokenForms.contains(u"form 6"_s));

    // Saving a known spelling again adds its forms to the same entry.
    ASSERT_TRUE(store.saveReviewedSpelling(u"KUBERNETES"_s, {u"cooper netties"_s}));
    auto after = store.dictionaryEntries();
    ASSERT_EQ(after.size(), 3);
    EXPECT_EQ(after[1].id, k.id);
    EXPECT_EQ(after[1].spelling, u"KUBERNETES"_s);

    // Replacing by identifier, then removing.
    ASSERT_TRUE(store.saveReviewedSpelling(u"Kube"_s, {u"cube"_s}, k.id));
    after = store.dictionaryEntries();
    EXPECT_EQ(after[1].spelling, u"Kube"_s);
    EXPECT_EQ(after[1].spokenForms, QStringList{u"cube"_s});
    ASSERT_TRUE(store.removeDictionaryEntry(k.id));
    EXPECT_EQ(spellings(), (QStringList{u"apple"_s, u"Zebra"_s}));

    const QString longSpelling = QString(79, u'x') + u"\u00e9\u0301tail"_s;
    ASSERT_TRUE(store.saveReviewedSpelling(longSpelling, {}));
    EXPECT_TRUE(spellings().contains(QString(79, u'x') + u"\u00e9\u0301"_s));
}

TEST_F(AppDataStoreTest, importedWordsAndSnippetsMergeByIdentifier) {
    const QUuid id = QUuid::createUuid();
    ASSERT_TRUE(
        store.importWord(PersonalDictionaryEntry{QUuid(), u"Parlevo"_s, {u"par levo"_s}}, id));
    ASSERT_EQ(store.dictionaryEntries().size(), 1);
    EXPECT_EQ(store.dictionaryEntries()[0].id, id);
    ASSERT_TRUE(store.importWord(PersonalDictionaryEntry{id, u"Parlevo!"_s, {}}, id));
    EXPECT_EQ(spellings(), QStringList{u"Parlevo!"_s});
    ASSERT_TRUE(store.importWord(std::nullopt, id));
    EXPECT_TRUE(store.dictionaryEntries().isEmpty());

    const QUuid sid = QUuid::createUuid();
    ASSERT_TRUE(store.importSnippet(VoiceSnippet{sid, u"sig"_s, u"Best, Ana"_s}, sid));
    ASSERT_TRUE(store.importSnippet(VoiceSnippet{sid, u"sig"_s, u"Cheers, Ana"_s}, sid));
    ASSERT_EQ(store.snippets().size(), 1);
    EXPECT_EQ(store.snippets()[0].expansion, u"Cheers, Ana"_s);
    ASSERT_TRUE(store.importSnippet(std::nullopt, sid));
    EXPECT_TRUE(store.snippets().isEmpty());
}

TEST_F(AppDataStoreTest, snippetsAreBoundedReplacedByTriggerAndSorted) {
    EXPECT_TRUE(store.saveSnippet(u"  my   address "_s, u"  12 Rue Haute\n  Brussels  "_s));
    EXPECT_TRUE(store.saveSnippet(u"Sign off"_s, QString(2100, u'z')));
    EXPECT_FALSE(store.saveSnippet(u"   "_s, u"x"_s));
    EXPECT_FALSE(store.saveSnippet(u"x"_s, u"  \n "_s));
    auto list = store.snippets();
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list[0].trigger, u"my address"_s);
    EXPECT_EQ(list[0].expansion, u"12 Rue Haute\n  Brussels"_s);
    EXPECT_EQ(list[1].expansion.size(), 2000);

    const QUuid keptId = list[0].id;
    EXPECT_TRUE(store.saveSnippet(u"MY ADDRESS"_s, u"New place"_s));
    list = store.snippets();
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list[0].id, keptId);
    EXPECT_EQ(list[0].trigger, u"MY ADDRESS"_s);
    ASSERT_TRUE(store.removeSnippet(keptId));
    EXPECT_EQ(store.snippets().size(), 1);
}

TEST_F(AppDataStoreTest, historyCapNeverDropsAnEntryThatStillHoldsItsAudio) {
    TranscriptEntry waiting = entry(100, QString());
    waiting.recordingFileName = u"%1.wav"_s.arg(waiting.id.toString(QUuid::WithoutBraces));
    ASSERT_TRUE(store.addHistory(waiting));
    for (int i = 0; i < 70; ++i)
        ASSERT_TRUE(store.addHistory(entry(99 - i, u"entry %1"_s.arg(i))));
    const auto history = store.history();
    EXPECT_EQ(history.size(), 60);
    EXPECT_EQ(history.last().id, waiting.id);
    EXPECT_EQ(history.first().text, u"entry 69"_s);
}

TEST_F(AppDataStoreTest, historyIsCappedNewestFirstAndReAddingMovesToFront) {
    QList<TranscriptEntry> added;
    for (int i = 0; i < 61; ++i) {
        added << entry(61 - i, u"entry %1"_s.arg(i));
        ASSERT_TRUE(store.addHistory(added.last()));
    }
    auto history = store.history();
    ASSERT_EQ(history.size(), 60);
    EXPECT_EQ(history.first().id, added[60].id);
    EXPECT_EQ(history.last().id, added[1].id);

    // Re-adding moves the entry to the front of the stored list without
    // growing it; reading still orders by date.
    TranscriptEntry again = added[30];
    again.text = u"retried"_s;
    ASSERT_TRUE(store.addHistory(again));
    const Json stored = *parseJson(*defaults.data(u"transcriptHistory"_s));
    EXPECT_EQ(stored.size(), 60u);
    EXPECT_EQ(stored[0].get<TranscriptEntry>(), again);
    history = store.history();
    EXPECT_EQ(history.size(), 60);
    EXPECT_EQ(history[30].text, u"retried"_s);

    // An imported entry takes its place by date.
    TranscriptEntry imported = entry(0, u"from the workspace"_s);
    imported.createdAt = added[45].createdAt.addSecs(-1);
    ASSERT_TRUE(store.importHistory(imported));
    history = store.history();
    EXPECT_EQ(history.size(), 60);
    const auto at = std::find_if(history.begin(), history.end(),
                                 [&](const auto& e) { return e.id == imported.id; });
    ASSERT_NE(at, history.end());
    EXPECT_EQ(std::next(at)->createdAt <= imported.createdAt, true);
    EXPECT_EQ(std::prev(at)->createdAt >= imported.createdAt, true);
}

TEST_F(AppDataStoreTest, contextOlderThanADayIsPurgedFromStorage) {
    DictationSessionSettings settings;
    settings.language = u"en"_s;
    settings.contextBefore = u"private text"_s;
    settings.conversationContext = u"chat"_s;
    TranscriptEntry old = entry(2 * 24 * 60);
    old.dictationSettings = settings;
    TranscriptEntry recent = entry(23 * 60);
    recent.dictationSettings = settings;
    ASSERT_TRUE(store.addHistory(old));
    ASSERT_TRUE(store.addHistory(recent));

    const auto history = store.history();
    ASSERT_EQ(history.size(), 2);
    EXPECT_TRUE(history[0].dictationSettings->hasContext());
    EXPECT_FALSE(history[1].dictationSettings->hasContext());
    EXPECT_EQ(history[1].dictationSettings->language, u"en"_s);
    const QByteArray stored = *defaults.data(u"transcriptHistory"_s);
    EXPECT_EQ(stored.count("private text"), 1);
}

TEST_F(AppDataStoreTest, oneBrokenListOrEntryNeverCostsTheOthers) {
    ASSERT_TRUE(store.addHistory(entry(5, u"kept"_s)));
    ASSERT_TRUE(store.saveSnippet(u"a"_s, u"b"_s));
    ASSERT_TRUE(defaults.setData(u"voiceSnippets"_s, "{broken"));
    EXPECT_TRUE(store.snippets().isEmpty());
    EXPECT_EQ(store.history().size(), 1);

    QByteArray history = *defaults.data(u"transcriptHistory"_s);
    history.insert(1, R"({"id":"nope"},17,)");
    ASSERT_TRUE(defaults.setData(u"transcriptHistory"_s, history));
    ASSERT_EQ(store.history().size(), 1);
    EXPECT_EQ(store.history()[0].text, u"kept"_s);

    // Writing over a list that did not decode in full first keeps it aside.
    ASSERT_TRUE(defaults.takeNotices().isEmpty());
    ASSERT_TRUE(store.addHistory(entry(1, u"new"_s)));
    const QStringList notices = defaults.takeNotices();
    ASSERT_EQ(notices.size(), 1);
    const QStringList copies = QDir(dir.path()).entryList({u"transcriptHistory.json.damaged-*"_s});
    ASSERT_EQ(copies.size(), 1);
    EXPECT_TRUE(notices[0].contains(copies[0]));
    QFile copy(dir.filePath(copies[0]));
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), history);
    EXPECT_EQ(store.history().size(), 2);
}

TEST_F(AppDataStoreTest, surfaceStylesAndDismissedSuggestions) {
    ASSERT_TRUE(store.setStyle(DictationStyle::polished, WritingSurface::email));
    ASSERT_TRUE(store.setStyle(DictationStyle::casual, WritingSurface::slack));
    ASSERT_TRUE(store.setStyle(std::nullopt, WritingSurface::slack));
    EXPECT_EQ(store.surfaceStyles(), (QMap<WritingSurface, DictationStyle>{
                                         {WritingSurface::email, DictationStyle::polished}}));
    EXPECT_EQ(defaults.stringMap(u"surfaceStyles"_s),
              (QMap<QString, QString>{{u"email"_s, u"polished"_s}}));

    ASSERT_TRUE(
        store.dismissWordSuggestions({u"Kube-Ctl!"_s, u"kubectl"_s, u"  ...  "_s, u"Éclair"_s}));
    ASSERT_TRUE(store.dismissWordSuggestions({u"KUBECTL"_s}));
    EXPECT_EQ(store.dismissedWordSuggestions(), (QStringList{u"kubectl"_s, u"éclair"_s}));
}

TEST_F(AppDataStoreTest, scalarSettingsHaveDefaultsAndFallBackFromUnknownValues) {
    EXPECT_EQ(store.dictationStyle(), DictationStyle::exact);
    EXPECT_EQ(store.dictationLanguage(), DictationLanguage::automatic);
    EXPECT_EQ(store.dictationShortcut(), DictationShortcut::defaultDictation());
    EXPECT_FALSE(store.notesRecordingShortcut().has_value());
    EXPECT_EQ(store.recordingDuration(), AppDataStore::defaultRecordingDuration);
    EXPECT_FALSE(store.replyAssist());

    // Stored by their raw values, which other builds read.
    ASSERT_TRUE(store.setDictationStyle(DictationStyle::prompt));
    ASSERT_TRUE(store.setDictationLanguage(DictationLanguage::ukrainian));
    ASSERT_TRUE(store.setRecordingDuration(RecordingDuration::sixty));
    EXPECT_EQ(defaults.string(u"dictationStyle"_s), u"prompt"_s);
    EXPECT_EQ(defaults.string(u"dictationLanguage"_s), u"uk"_s);
    EXPECT_EQ(defaults.integer(u"recordingDuration"_s), 60);

    ASSERT_TRUE(defaults.setInteger(u"recordingDuration"_s, 15));
    ASSERT_TRUE(defaults.setString(u"dictationStyle"_s, u"light"_s));
    EXPECT_EQ(store.recordingDuration(), AppDataStore::defaultRecordingDuration);
    EXPECT_EQ(store.dictationStyle(), DictationStyle::exact);
}

TEST(SnippetExpansion, triggersMatchWholeWordsIgnoringCaseAndPunctuation) {
    const QList<VoiceSnippet> snippets{
        {QUuid::createUuid(), u"my address"_s, u"12 Rue Haute"_s},
        {QUuid::createUuid(), u"address"_s, u"ADDRESS"_s},
        {QUuid::createUuid(), u"my address at work"_s, u"1 Office Park"_s},
        {QUuid::createUuid(), u"sig"_s, u"Best,\nAna"_s},
        {QUuid::createUuid(), u"!!"_s, u"never"_s},
    };
    auto expand = [&](const QString& t) { return AppDataStore::expandSnippet(t, snippets); };
    EXPECT_EQ(expand(u"Send it to My Address."_s), u"Send it to 12 Rue Haute."_s);
    EXPECT_EQ(expand(u"Send it to my, address at work!"_s), u"Send it to 1 Office Park!"_s);
    EXPECT_EQ(expand(u"The address book"_s), u"The ADDRESS book"_s);
    EXPECT_EQ(expand(u"Thanks. Sig"_s), u"Thanks. Best,\nAna"_s);
    EXPECT_EQ(expand(u"signature and sigs stay"_s), u"signature and sigs stay"_s);
    EXPECT_EQ(expand(u"my address, my address"_s), u"12 Rue Haute, 12 Rue Haute"_s);
    EXPECT_EQ(expand(u"!! wow"_s), u"!! wow"_s);
    EXPECT_EQ(expand(u""_s), u""_s);
}

TEST_F(AppDataStoreTest, mergingManyEntriesKeepsFreeIdentifiersAndSavesAllOrNothing) {
    const QUuid alpha = QUuid::createUuid(), gamma = QUuid::createUuid();
    ASSERT_TRUE(store.saveReviewedSpelling(u"Alpha"_s, {}, alpha));
    const auto counts = store.mergeDictionary({{alpha, u"Beta"_s, {}},
                                               {gamma, u"Gamma"_s, {}},
                                               {gamma, u"Delta"_s, {}},
                                               {QUuid(), u"alpha"_s, {u"al"_s}}});
    ASSERT_TRUE(counts);
    EXPECT_EQ(counts->added, 3);
    EXPECT_EQ(counts->merged, 1);
    const auto entries = store.dictionaryEntries();
    ASSERT_EQ(spellings(), (QStringList{u"alpha"_s, u"Beta"_s, u"Delta"_s, u"Gamma"_s}));
    EXPECT_EQ(entries[0].id, alpha);
    EXPECT_EQ(entries[0].spokenForms, QStringList{u"al"_s});
    EXPECT_EQ(entries[3].id, gamma);
    QSet<QUuid> ids;
    for (const auto& e : entries)
        ids.insert(e.id);
    EXPECT_EQ(ids.size(), 4);

    EXPECT_FALSE(store.mergeDictionary({{QUuid(), u"Epsilon"_s, {}}, {QUuid(), u" \n"_s, {}}}));
    EXPECT_FALSE(store.mergeSnippets({{QUuid(), u"sig"_s, u"Best"_s}, {QUuid(), u"x"_s, u" "_s}}));
    EXPECT_EQ(store.dictionaryEntries(), entries);
    EXPECT_TRUE(store.snippets().isEmpty());
}

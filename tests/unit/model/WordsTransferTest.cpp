#include "model/WordsTransfer.h"
#include "model/AppDataStore.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

// A data folder of its own: the defaults database and the store on it.
struct DataFolder {
    QTemporaryDir dir;
    std::unique_ptr<UserDefaults> defaults =
        std::make_unique<UserDefaults>(dir.filePath(u"defaults.json"_s));
    AppDataStore store{*defaults};

    QByteArray storedBytes() const {
        QFile file(dir.filePath(u"defaults.json"_s));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

class WordsTransferTest : public ::testing::Test {
protected:
    QTemporaryDir files;
    DataFolder data;

    QString file(const QString& name, const QByteArray& bytes) {
        const QString path = files.filePath(name);
        QFile f(path);
        EXPECT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(bytes);
        return path;
    }

    // The Words without their identifiers, which a CSV file does not carry.
    static QList<std::pair<QString, QStringList>> spellings(const AppDataStore& store) {
        QList<std::pair<QString, QStringList>> list;
        for (const auto& e : store.dictionaryEntries())
            list.append({e.spelling, e.spokenForms});
        return list;
    }
    static QList<std::pair<QString, QString>> snippetTexts(const AppDataStore& store) {
        QList<std::pair<QString, QString>> list;
        for (const auto& s : store.snippets())
            list.append({s.trigger, s.expansion});
        return list;
    }
};

} // namespace

TEST_F(WordsTransferTest, bothFormatsRoundTripWhatIsStored) {
    ASSERT_TRUE(data.store.saveReviewedSpelling(u"Zoë Ñúñez"_s, {u"zoe nunez"_s, u"zo, \"e\""_s}));
    ASSERT_TRUE(data.store.saveReviewedSpelling(u"Acme, \"Inc.\""_s, {}));
    ASSERT_TRUE(data.store.saveReviewedSpelling(u"東京"_s, {u"tokyo"_s, u"to kyo; city"_s}));
    ASSERT_TRUE(data.store.saveSnippet(u"sig"_s, u"Best,\n\"Ana\"\r\nБерлин 🚀"_s));
    ASSERT_TRUE(data.store.saveSnippet(u"addr, home"_s, u"12 Rue Haute, Brussels"_s));

    for (const QString& extension : {u"csv"_s, u"json"_s}) {
        SCOPED_TRACE(extension.toStdString());
        const QString words = files.filePath(u"words."_s + extension);
        const QString snippets = files.filePath(u"snippets."_s + extension.toUpper());
        ASSERT_TRUE(exportDictionary(data.store, words));
        ASSERT_TRUE(exportSnippets(data.store, snippets));

        DataFolder fresh;
        const auto imported = importDictionary(fresh.store, words);
        ASSERT_TRUE(imported) << imported.error().message.toStdString();
        EXPECT_EQ(imported->added, 3);
        EXPECT_EQ(imported->total(), 3);
        ASSERT_TRUE(importSnippets(fresh.store, snippets));
        EXPECT_EQ(spellings(fresh.store), spellings(data.store));
        EXPECT_EQ(snippetTexts(fresh.store), snippetTexts(data.store));
        // JSON carries the identifiers too.
        if (extension == u"json"_s) {
            EXPECT_EQ(fresh.store.dictionaryEntries(), data.store.dictionaryEntries());
            EXPECT_EQ(fresh.store.snippets(), data.store.snippets());
        }
    }
}

TEST_F(WordsTransferTest, repeatsInTheFileAndWordsAlreadyStoredMergeWithoutLosingAny) {
    const QUuid keptId = QUuid::createUuid();
    ASSERT_TRUE(data.store.saveReviewedSpelling(u"kubernetes"_s, {u"cube"_s}, keptId));
    ASSERT_TRUE(data.store.saveReviewedSpelling(u"Grafana"_s, {}));
    ASSERT_TRUE(data.store.saveSnippet(u"sig"_s, u"Old"_s));
    ASSERT_TRUE(data.store.saveSnippet(u"kept"_s, u"Untouched"_s));

    const QString words = file(u"words.csv"_s, "Spelling , Spoken Forms\r\n"
                                               "Kubernetes,\"koo ber\nnetties\"\r\n"
                                               "\r\n"
                                               "Parlevo,par levo\n"
                                               "PARLEVO,\"parle vo\"\n"
                                               "Parlevo,par levo\n");
    const auto summary = importDictionary(data.store, words);
    ASSERT_TRUE(summary) << summary.error().message.toStdString();
    EXPECT_EQ(summary->added, 1);
    EXPECT_EQ(summary->merged, 1);
    EXPECT_EQ(summary->repeated, 2);
    EXPECT_TRUE(summary->sentence().contains(u"4 words"_s));

    // The stored entry keeps its identifier, takes the new case and gains the forms.
    EXPECT_EQ(spellings(data.store), (QList<std::pair<QString, QStringList>>{
                                         {u"Grafana"_s, {}},
                                         {u"Kubernetes"_s, {u"cube"_s, u"koo ber"_s, u"netties"_s}},
                                         {u"Parlevo"_s, {u"par levo"_s, u"parle vo"_s}}}));
    EXPECT_EQ(data.store.dictionaryEntries()[1].id, keptId);

    // Snippets: the last of a trigger wins, over the file and the store.
    const QString snippets = file(u"snippets.json"_s, R"([
        {"trigger": "SIG", "expansion": "First"},
        {"trigger": "new one", "expansion": "Text"},
        {"trigger": "sig", "expansion": "Cheers,\nAna", "id": "not an id"}
    ])");
    const auto snippetSummary = importSnippets(data.store, snippets);
    ASSERT_TRUE(snippetSummary) << snippetSummary.error().message.toStdString();
    EXPECT_EQ(snippetSummary->added, 1);
    EXPECT_EQ(snippetSummary->merged, 1);
    EXPECT_EQ(snippetSummary->repeated, 1);
    EXPECT_EQ(snippetTexts(data.store),
              (QList<std::pair<QString, QString>>{{u"kept"_s, u"Untouched"_s},
                                                  {u"new one"_s, u"Text"_s},
                                                  {u"sig"_s, u"Cheers,\nAna"_s}}));

    // A header alone imports nothing and says so.
    const auto empty = importSnippets(data.store, file(u"none.csv"_s, "trigger,expansion\n"));
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->total(), 0);
}

TEST_F(WordsTransferTest, tenThousandRowsImportInOneChange) {
    QByteArray csv = "spelling,spoken forms\n";
    for (int i = 0; i < 10000; ++i)
        csv += "Term" + QByteArray::number(i) + ",\"term " + QByteArray::number(i) + "\nsecond\"\n";
    ASSERT_TRUE(data.store.saveReviewedSpelling(u"term5"_s, {u"kept"_s}));
    const auto summary = importDictionary(data.store, file(u"many.csv"_s, csv));
    ASSERT_TRUE(summary) << summary.error().message.toStdString();
    EXPECT_EQ(summary->added, 9999);
    EXPECT_EQ(summary->merged, 1);
    const auto entries = data.store.dictionaryEntries();
    ASSERT_EQ(entries.size(), 10000);
    const auto term5 = std::find_if(entries.begin(), entries.end(),
                                    [](const auto& e) { return e.spelling == u"Term5"_s; });
    ASSERT_NE(term5, entries.end());
    EXPECT_EQ(term5->spokenForms, (QStringList{u"kept"_s, u"term 5"_s, u"second"_s}));

    // Another process reading the database sees the whole import.
    UserDefaults other(data.dir.filePath(u"defaults.json"_s));
    EXPECT_EQ(AppDataStore(other).dictionaryEntries(), entries);
}

TEST_F(WordsTransferTest, aFileWithAnyFaultIsRefusedWholeNamingWhereAndNothingChanges) {
    ASSERT_TRUE(data.store.saveReviewedSpelling(u"Kept"_s, {u"kept"_s}));
    ASSERT_TRUE(data.store.saveSnippet(u"kept"_s, u"Kept"_s));
    const QByteArray before = data.storedBytes();

    struct Case {
        const char* name;
        QByteArray bytes;
        QString where; // what the sentence must point at
    };
    const QByteArray good = "spelling,spoken forms\nAlpha,alpha\n";
    const QList<Case> dictionaryCases{
        {"latin1.csv", good + "Caf\xe9,cafe\n", u"line 3"_s},
        {"overlong.csv", good + "Beta,\xc0\xaf\n", u"line 3"_s},
        {"columns.csv", good + "Beta,beta,extra\n", u"line 3"_s},
        {"one-cell.csv", good + "Beta\n", u"line 3"_s},
        {"header.csv", "word,forms\nAlpha,alpha\n", u"header"_s},
        {"empty.csv", "", u"empty"_s},
        {"unterminated.csv", good + "Beta,\"beta\nGamma,gamma\n", u"line 3"_s},
        {"stray-quote.csv", good + "Be\"ta,beta\n", u"line 3"_s},
        {"after-quote.csv", good + "\"Beta\"x,beta\n", u"line 3"_s},
        {"blank-spelling.csv", good + good + "  ,beta\n", u"line 5"_s},
        {"broken.json", "[{\"spelling\": \"A\"},\n{\"spelling\": ]", u"line 2"_s},
        {"object.json", R"({"spelling": "A"})", u"array"_s},
        {"element.json", R"([{"spelling": "A"}, "B"])", u"element 2"_s},
        {"missing.json", R"([{"spelling": "A"}, {"spokenForms": []}])", u"element 2"_s},
        {"forms.json", R"([{"spelling": "A", "spokenForms": "a"}])", u"element 1"_s},
        {"blank.json", R"([{"spelling": "A"}, {"spelling": " \n "}])", u"element 2"_s},
        {"deep.json", QByteArray(500, '[') + QByteArray(500, ']'), u"nests"_s},
        {"words.txt", good, u".csv or .json"_s},
    };
    for (const Case& c : dictionaryCases) {
        SCOPED_TRACE(c.name);
        const QString path = file(QString::fromLatin1(c.name), c.bytes);
        const auto result = importDictionary(data.store, path);
        ASSERT_FALSE(result);
        EXPECT_TRUE(result.error().message.contains(c.where))
            << result.error().message.toStdString();
        if (!QString::fromLatin1(c.name).endsWith(u".txt"_s)) {
            EXPECT_TRUE(result.error().message.contains(path));
        }
    }
    const QList<Case> snippetCases{
        {"header.csv", "spelling,spoken forms\nsig,Best\n", u"header"_s},
        {"blank.csv", "trigger,expansion\nsig,Best\nother,\" \n \"\n", u"line 3"_s},
        {"missing.json", R"([{"trigger": "sig"}])", u"element 1"_s},
    };
    for (const Case& c : snippetCases) {
        SCOPED_TRACE(c.name);
        const auto result = importSnippets(data.store, file(QString::fromLatin1(c.name), c.bytes));
        ASSERT_FALSE(result);
        EXPECT_TRUE(result.error().message.contains(c.where))
            << result.error().message.toStdString();
    }

    // Larger than an import takes: refused before it is read.
    const QString large = file(u"large.csv"_s, good);
    ASSERT_TRUE(QFile::resize(large, transferFileLimit + 1));
    EXPECT_FALSE(importDictionary(data.store, large));
    EXPECT_FALSE(importDictionary(data.store, files.filePath(u"absent.csv"_s)));

    EXPECT_EQ(data.storedBytes(), before);
    data.defaults->reload();
    EXPECT_EQ(spellings(data.store),
              (QList<std::pair<QString, QStringList>>{{u"Kept"_s, {u"kept"_s}}}));
}

TEST_F(WordsTransferTest, anExportThatCannotBeWrittenIsAnErrorAndReplacesNothing) {
    ASSERT_TRUE(data.store.saveReviewedSpelling(u"Kept"_s, {}));
    const auto missingFolder =
        exportDictionary(data.store, files.filePath(u"no/such/folder/words.json"_s));
    ASSERT_FALSE(missingFolder);
    EXPECT_TRUE(missingFolder.error().message.contains(u"no/such/folder"_s));
    EXPECT_FALSE(exportSnippets(data.store, files.filePath(u"snippets.xlsx"_s)));

    // A folder in the way of the file name.
    ASSERT_TRUE(QDir(files.path()).mkdir(u"taken.csv"_s));
    EXPECT_FALSE(exportDictionary(data.store, files.filePath(u"taken.csv"_s)));

    // An export over an older one replaces it whole.
    const QString path = file(u"old.json"_s, QByteArray(100000, 'x'));
    ASSERT_TRUE(exportDictionary(data.store, path));
    QFile written(path);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    const auto parsed = parseDictionary(written.readAll(), TransferFormat::json, path);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(*parsed, data.store.dictionaryEntries());
}

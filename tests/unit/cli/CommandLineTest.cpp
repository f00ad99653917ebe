#include "cli/CommandLine.h"
#include "model/AppDataStore.h"
#include "support/TestSupport.h"

#include <QTemporaryDir>

#include "CommandRun.h"

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

using clitest::Outcome;

class CommandLineTest : public ::testing::Test {
protected:
    QTemporaryDir home;
    void SetUp() override {
        qputenv("XDG_CONFIG_HOME", home.filePath(u"config"_s).toLocal8Bit());
        qputenv("XDG_DATA_HOME", home.filePath(u"data"_s).toLocal8Bit());
    }
    static Outcome run(const QStringList& arguments) { return clitest::runCommand(arguments); }
    static Json json(const Outcome& r) { return parseJson(r.out.toUtf8()).value_or(Json()); }
};

} // namespace

TEST_F(CommandLineTest, wordsAreAddedListedAndRemovedInTheSharedDefaults) {
    auto r = run({u"words"_s, u"add"_s, u"Kubernetes"_s, u"--form"_s, u"cube and eighties"_s,
                  u"--form=cooper netties"_s});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    r = run({u"words"_s, u"list"_s, u"--json"_s});
    ASSERT_EQ(r.status, 0);
    const Json list = json(r);
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0]["spelling"], "Kubernetes");
    EXPECT_EQ(list[0]["spokenForms"], Json::parse(R"(["cube and eighties","cooper netties"])"));

    // The application's store reads the same file.
    UserDefaults defaults;
    EXPECT_EQ(defaults.filePath(), home.filePath(u"config/Quendra/defaults.json"_s));
    EXPECT_EQ(AppDataStore(defaults).dictionaryEntries().first().spelling, u"Kubernetes"_s);

    r = run({u"words"_s, u"list"_s});
    EXPECT_TRUE(r.out.contains(u"Kubernetes — heard as: cube and eighties; cooper netties"_s));
    EXPECT_EQ(run({u"words"_s, u"remove"_s, u"kubernetes"_s}).status, 0);
    r = run({u"words"_s, u"remove"_s, u"kubernetes"_s});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err.count(u'\n'), 1);
    EXPECT_EQ(json(run({u"words"_s, u"list"_s, u"--json"_s})), Json::array());
}

TEST_F(CommandLineTest, badArgumentsGiveOneSentenceAndStatusTwo) {
    const QList<QStringList> bad{
        {u"frobnicate"_s},
        {u"words"_s},
        {u"words"_s, u"rename"_s},
        {u"words"_s, u"add"_s},
        {u"words"_s, u"add"_s, u"a"_s, u"b"_s},
        {u"words"_s, u"add"_s, u"   "_s},
        {u"words"_s, u"add"_s, u"x"_s, u"--form"_s},
        {u"words"_s, u"list"_s, u"--yaml"_s},
        {u"snippets"_s, u"add"_s, u"only-trigger"_s},
        {u"snippets"_s, u"add"_s, u"t"_s, u"  "_s},
        {u"history"_s, u"show"_s, u"not-an-id"_s},
    };
    for (const auto& arguments : bad) {
        const Outcome r = run(arguments);
        EXPECT_EQ(r.status, 2) << arguments.join(u' ').toStdString();
        EXPECT_TRUE(r.out.isEmpty());
        EXPECT_EQ(r.err.count(u'\n'), 1) << r.err.toStdString();
        EXPECT_TRUE(r.err.trimmed().endsWith(u'.')) << r.err.toStdString();
    }
    EXPECT_EQ(json(run({u"words"_s, u"list"_s, u"--json"_s})), Json::array());
}

TEST_F(CommandLineTest, helpIsAvailableEverywhere) {
    for (const auto& arguments : QList<QStringList>{{u"--help"_s},
                                                    {u"words"_s, u"--help"_s},
                                                    {u"notes"_s, u"--help"_s},
                                                    {u"finish"_s, u"--help"_s},
                                                    {u"words"_s, u"add"_s, u"--help"_s},
                                                    {u"history"_s, u"show"_s, u"-h"_s}}) {
        const Outcome r = run(arguments);
        EXPECT_EQ(r.status, 0);
        EXPECT_TRUE(r.out.contains(u"parlevo"_s));
        EXPECT_TRUE(r.err.isEmpty());
    }
    EXPECT_TRUE(run({u"words"_s, u"add"_s, u"--help"_s}).out.contains(u"--form TEXT"_s));
    EXPECT_TRUE(run({u"--help"_s}).out.contains(u"parlevo finish"_s));
    EXPECT_TRUE(run({u"finish"_s, u"--help"_s}).out.contains(u"--reply-assist"_s));
    // Each command's usage names it once, after the program; a missing
    // argument is named from it.
    for (const QString& command :
         {u"doctor"_s, u"target"_s, u"insert"_s, u"record"_s, u"transcribe"_s, u"finish"_s}) {
        const Outcome r = run({command, u"--help"_s});
        EXPECT_TRUE(r.out.startsWith(u"Usage: parlevo "_s + command + u' ')) << r.out.toStdString();
    }
    EXPECT_TRUE(run({u"record"_s}).err.contains(u"needs OUT.wav"_s));
    EXPECT_TRUE(run({u"insert"_s}).err.contains(u"needs TEXT"_s));
    EXPECT_TRUE(run({u"words"_s, u"add"_s}).err.contains(u"needs SPELLING"_s));
    EXPECT_TRUE(wantsCommandLine({u"parlevo"_s, u"words"_s}));
    EXPECT_FALSE(wantsCommandLine({u"parlevo"_s}));
    EXPECT_FALSE(wantsCommandLine({u"parlevo"_s, u"--qa-quit-after-launch"_s}));
}

TEST_F(CommandLineTest, snippetsRoundTrip) {
    EXPECT_EQ(run({u"snippets"_s, u"add"_s, u"my address"_s, u"12 Rue Haute\nBrussels"_s}).status,
              0);
    EXPECT_EQ(run({u"snippets"_s, u"add"_s, u"My Address"_s, u"1 Office Park"_s}).status, 0);
    Json list = json(run({u"snippets"_s, u"list"_s, u"--json"_s}));
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0]["trigger"], "My Address");
    EXPECT_EQ(list[0]["expansion"], "1 Office Park");
    EXPECT_TRUE(run({u"snippets"_s, u"list"_s}).out.contains(u"My Address → 1 Office Park"_s));
    EXPECT_EQ(run({u"snippets"_s, u"remove"_s, u"nope"_s}).status, 1);
    EXPECT_EQ(run({u"snippets"_s, u"remove"_s, u"my address"_s}).status, 0);
    EXPECT_EQ(json(run({u"snippets"_s, u"list"_s, u"--json"_s})), Json::array());
}

TEST_F(CommandLineTest, historyIsListedAndShownByIdentifierOrPrefix) {
    UserDefaults defaults;
    AppDataStore store(defaults);
    TranscriptEntry a;
    a.id = QUuid::fromString(u"AAAA1111-0000-4000-8000-000000000001"_s);
    a.createdAt = QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch() - 60, Qt::UTC);
    a.text = u"First dictation"_s;
    TranscriptEntry b = a;
    b.id = QUuid::fromString(u"AAAA2222-0000-4000-8000-000000000002"_s);
    b.createdAt = a.createdAt.addSecs(30);
    b.text.clear();
    b.recordingFileName = u"AAAA2222-0000-4000-8000-000000000002.wav"_s;
    b.transcriptionError = u"The service could not be reached."_s;
    ASSERT_TRUE(store.addHistory(a));
    ASSERT_TRUE(store.addHistory(b));

    Json list = json(run({u"history"_s, u"list"_s, u"--json"_s}));
    ASSERT_EQ(list.size(), 2u);
    EXPECT_EQ(list[0], Json(b));
    const Outcome plain = run({u"history"_s, u"list"_s});
    EXPECT_TRUE(plain.out.contains(u"failed"_s));
    EXPECT_TRUE(plain.out.contains(u"First dictation"_s));

    Outcome r = run({u"history"_s, u"show"_s, u"aaaa1111"_s});
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(r.out.contains(u"First dictation"_s));
    r = run({u"history"_s, u"show"_s, uuidText(b.id), u"--json"_s});
    EXPECT_EQ(json(r), Json(b));
    EXPECT_EQ(run({u"history"_s, u"show"_s, u"AAAA"_s}).status, 2);
    EXPECT_EQ(run({u"history"_s, u"show"_s, u"BBBB"_s}).status, 1);
}

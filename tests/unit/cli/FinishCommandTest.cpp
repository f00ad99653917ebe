#include "cli/CommandLine.h"
#include "cli/CommandSupport.h"
#include "model/AppDataStore.h"
#include "support/CoreApplication.h"
#include "support/TestSupport.h"
#include "transcription/DictationIntelligence.h"

#include <QBuffer>
#include <QTemporaryDir>

#include "CommandRun.h"

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

using clitest::Outcome;

class FinishCommandTest : public ::testing::Test {
protected:
    QTemporaryDir home;
    static void SetUpTestSuite() { ensureCoreApplication(); }
    void SetUp() override {
        qputenv("XDG_CONFIG_HOME", home.filePath(u"config"_s).toLocal8Bit());
        qputenv("XDG_DATA_HOME", home.filePath(u"data"_s).toLocal8Bit());
    }
    Outcome finish(const QString& input, const QStringList& arguments) {
        return finishBytes(input.toUtf8(), arguments);
    }
    Outcome finishBytes(QByteArray input, const QStringList& arguments) {
        Outcome r{0, {}, {}};
        QBuffer in(&input);
        in.open(QIODevice::ReadOnly);
        QTextStream out(&r.out), err(&r.err);
        AppContext app;
        r.status = runFinishCommand(app, arguments, in, out, err);
        return r;
    }
};

} // namespace

TEST_F(FinishCommandTest, finishesStandardInputWithTheUsersWordsAndSettings) {
    UserDefaults defaults;
    AppDataStore store(defaults);
    ASSERT_TRUE(store.saveReviewedSpelling(u"Kubernetes"_s, {u"cube and eighties"_s}));
    ASSERT_TRUE(store.setDictationStyle(DictationStyle::clean));

    Outcome r = finish(u"um so we we ship cube and eighties on friday\n"_s, {});
    EXPECT_EQ(r.status, 0) << r.err.toStdString();
    EXPECT_EQ(r.out, u"So we ship Kubernetes on Friday.\n"_s);

    // Options override the stored style; the stored Words still apply.
    r = finish(u"um cube and eighties"_s, {u"--style"_s, u"exact"_s});
    EXPECT_EQ(r.out, u"um Kubernetes\n"_s);
    r = finish(u"see you soon"_s, {u"--style=casual"_s});
    EXPECT_EQ(r.out, u"See you soon\n"_s);

    // Reply assist from the option or from the settings.
    r = finish(u"Tell them Tuesday works"_s, {});
    EXPECT_EQ(r.out, u"Tell them Tuesday works.\n"_s);
    r = finish(u"Tell them Tuesday works"_s, {u"--reply-assist"_s});
    EXPECT_EQ(r.out, u"Tuesday works.\n"_s);
    ASSERT_TRUE(store.setReplyAssist(true));
    EXPECT_EQ(finish(u"Tell them Tuesday works"_s, {}).out, u"Tuesday works.\n"_s);

    r = finish(u"istanbul güzel"_s, {u"--language"_s, u"tr"_s});
    EXPECT_EQ(r.out, u"İstanbul güzel.\n"_s);
}

TEST_F(FinishCommandTest, jsonCarriesTheFormsAndTheFallback) {
    const Outcome r = finish(u"uh that is amazing"_s, {u"--style"_s, u"excited"_s, u"--json"_s});
    ASSERT_EQ(r.status, 0) << r.err.toStdString();
    const Json j = parseJson(r.out.toUtf8()).value_or(Json());
    EXPECT_EQ(j["transcript"], "That is amazing!");
    EXPECT_EQ(j["rawTranscript"], "uh that is amazing");
    EXPECT_EQ(j["triggerTranscript"], "that is amazing");
    EXPECT_EQ(j["reliable"], true);
    EXPECT_EQ(j["formattingFallback"], true);
    EXPECT_EQ(j["style"], "excited");
}

TEST_F(FinishCommandTest, silenceAndBadOptionsFailWithOneSentence) {
    Outcome r = finish(u"Thank you."_s, {});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_EQ(r.err, u"No clear speech was detected.\n"_s);

    r = finish(u"um"_s, {u"--json"_s});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(parseJson(r.out.toUtf8()).value_or(Json())["reliable"], false);

    for (const QStringList& bad : QList<QStringList>{{u"--style"_s, u"light"_s},
                                                     {u"--language"_s, u"english"_s},
                                                     {u"--style"_s},
                                                     {u"extra"_s},
                                                     {u"--loud"_s}}) {
        r = finish(u"hello"_s, bad);
        EXPECT_EQ(r.status, 2) << bad.join(u' ').toStdString();
        EXPECT_TRUE(r.out.isEmpty());
        EXPECT_EQ(r.err.count(u'\n'), 1) << r.err.toStdString();
    }
    EXPECT_TRUE(finish({}, {u"--style"_s, u"light"_s}).err.contains(u"exact, clean, polished"_s));
}

TEST_F(FinishCommandTest, unreadableAndOverlongInputFailsWithOneSentence) {
    Outcome r = finishBytes("caf\xe9 ok\n", {u"--style"_s, u"clean"_s});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(r.out.isEmpty());
    EXPECT_EQ(r.err, u"Standard input is not UTF-8 text.\n"_s);

    // Past what finishing takes, the input is not read to its end; a character
    // cut in two where reading stops is no reason to call it unreadable.
    const QByteArray accents = QString(DictationIntelligence::longestText * 2, u'é').toUtf8();
    for (const QByteArray& input :
         {QByteArray(DictationIntelligence::longestText + 1, 'a'), accents}) {
        r = finishBytes(input, {u"--style"_s, u"excited"_s});
        EXPECT_EQ(r.status, 1);
        EXPECT_TRUE(r.out.isEmpty());
        EXPECT_EQ(r.err.count(u'\n'), 1) << r.err.toStdString();
        EXPECT_TRUE(r.err.contains(u"too long"_s)) << r.err.toStdString();
    }
}

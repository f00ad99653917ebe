#include "audio/AudioRecorder.h"

#include "fakes/FakeIdleInhibitor.h"
#include "fakes/FakeMicrophonePermission.h"
#include "fakes/ScriptedAudioSource.h"
#include "support/CoreApplication.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <thread>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

class AudioRecorderTest : public ::testing::Test {
protected:
    AudioRecorderTest() { ensureCoreApplication(); }

    QTemporaryDir dir;
    QString path = dir.filePath(u"take.wav"_s);
    ScriptedAudioSourceFactory sources;
    FakeMicrophonePermission permission;
    FakeIdleInhibitor idle;
    double now = 100.0;
    std::optional<qint64> free = 1'000'000'000'000;
    AudioRecorder recorder{
        sources, permission, &idle,
        AudioRecorder::Options{.uptime = [this] { return now; },
                               .freeSpace = [this](const QString&) { return free; },
                               .pollIntervalMs = 60'000}};
    int reports = 0;

    void SetUp() override {
        QObject::connect(&recorder, &AudioRecorder::unexpectedStop, &recorder,
                         [this] { ++reports; });
    }

    ScriptedAudioSource& microphone() { return *sources.lastMicrophone; }

    // Plays `count` samples and waits until the writer has taken them in.
    void deliver(float value, int count) {
        const double target = recorder.elapsedSeconds() + double(count) / 16000.0;
        microphone().deliverConstant(value, count);
        ASSERT_TRUE(processEventsUntil([&] { return recorder.elapsedSeconds() >= target - 1e-9; }));
    }

    // Lets queued reports from other threads arrive.
    static void settle() { QCoreApplication::processEvents(); }
};

TEST_F(AudioRecorderTest, WithoutPermissionNothingStartsAndNoFileIsMade) {
    permission.isGranted = false;
    const auto started = recorder.start(path);
    ASSERT_FALSE(started.has_value());
    EXPECT_EQ(started.error().kind, AudioRecorderError::Case::permissionDenied);
    EXPECT_EQ(started.error().message(), u"Microphone access is required to dictate."_s);
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_TRUE(sources.microphoneRequests.isEmpty());
    EXPECT_FALSE(recorder.isRecording());
}

TEST_F(AudioRecorderTest, MicrophoneThatWillNotStartLeavesNoFiles) {
    sources.microphoneStartError = u"no input"_s;
    QFile sidecar(path + u".progress.json"_s);
    ASSERT_TRUE(sidecar.open(QIODevice::WriteOnly));
    sidecar.close();

    const auto started = recorder.start(path);
    ASSERT_FALSE(started.has_value());
    EXPECT_EQ(started.error().kind, AudioRecorderError::Case::unavailable);
    EXPECT_EQ(started.error().message(), u"The microphone could not start. Try again."_s);
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_FALSE(QFile::exists(path + u".progress.json"_s));
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_EQ(idle.alive, 0);
}

TEST_F(AudioRecorderTest, UnwritableFileReportsTheSystemsReason) {
    const auto started = recorder.start(dir.filePath(u"no/such/folder/take.wav"_s));
    ASSERT_FALSE(started.has_value());
    EXPECT_EQ(started.error().kind, AudioRecorderError::Case::fileSystem);
    EXPECT_FALSE(started.error().message().isEmpty());
}

TEST_F(AudioRecorderTest, RecordsTheMicrophoneWithoutVoiceProcessingAndHoldsOffIdle) {
    ASSERT_TRUE(recorder.start(path).has_value());
    ASSERT_EQ(sources.microphoneRequests.size(), 1);
    EXPECT_FALSE(sources.microphoneRequests[0].voiceProcessing);
    EXPECT_TRUE(microphone().running());
    EXPECT_EQ(idle.alive, 1);
    EXPECT_EQ(idle.reasons, QStringList{u"Recording an explicitly started dictation"_s});

    deliver(0.2f, 16000 * 3 / 2); // 1.5 s of loud audio
    EXPECT_NEAR(recorder.level(), (20 * std::log10(0.2) + 54) / 48, 1e-6);
    const auto capture = recorder.stop();
    ASSERT_TRUE(capture.has_value());
    EXPECT_EQ(capture->path, path);
    EXPECT_DOUBLE_EQ(capture->duration, 1.5);
    EXPECT_TRUE(capture->hasSpeech);
    EXPECT_EQ(QFile(path).size(), 44 + 48000);
    EXPECT_EQ(idle.alive, 0);
    EXPECT_EQ(sources.microphoneStops, 1);
    EXPECT_FALSE(recorder.stop().has_value()) << "a second stop returns nothing";
    EXPECT_EQ(recorder.filePath(), path) << "the file is kept until cleared";
}

TEST_F(AudioRecorderTest, TemporaryFileIsNamedAfterAFreshUuidAndClearedWithItsSidecar) {
    ASSERT_TRUE(recorder.start().has_value());
    const QString file = recorder.filePath().value_or(QString());
    EXPECT_EQ(QFileInfo(file).absolutePath(), QFileInfo(QDir::tempPath()).absoluteFilePath());
    static const QRegularExpression name(
        u"^quendra-[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}\\.wav$"_s);
    EXPECT_TRUE(name.match(QFileInfo(file).fileName()).hasMatch()) << file.toStdString();
    EXPECT_TRUE(QFile::exists(file));
    recorder.stop();
    QFile sidecar(file + u".progress.json"_s);
    ASSERT_TRUE(sidecar.open(QIODevice::WriteOnly));
    sidecar.close();
    recorder.clearFile();
    EXPECT_FALSE(QFile::exists(file));
    EXPECT_FALSE(QFile::exists(sidecar.fileName()));
    EXPECT_NE(AudioRecorder::temporaryFilePath(), AudioRecorder::temporaryFilePath());
}

TEST_F(AudioRecorderTest, StallIsReportedOnceAfterThreeSecondsWithoutProgress) {
    ASSERT_TRUE(recorder.start(path).has_value());
    deliver(0.1f, 8000); // 0.5 s
    now += 0.2;
    recorder.poll(); // progress at t = 100.2
    now += 2.9;
    deliver(0.1f, 160); // 0.01 s is not progress
    recorder.poll();
    EXPECT_EQ(reports, 0);
    now += 0.1;
    recorder.poll();
    EXPECT_EQ(reports, 1);
    deliver(0.1f, 32000);
    now += 10;
    recorder.poll();
    recorder.poll();
    EXPECT_EQ(reports, 1) << "a reported stall is not watched again";
    EXPECT_TRUE(recorder.isRecording()) << "the owner decides to stop";
}

TEST_F(AudioRecorderTest, SteadyAudioIsNeverAStall) {
    ASSERT_TRUE(recorder.start(path).has_value());
    for (int i = 0; i < 50; ++i) {
        deliver(0.1f, 3200); // 0.2 s per 0.2 s poll
        now += 0.2;
        recorder.poll();
    }
    EXPECT_EQ(reports, 0);
}

TEST_F(AudioRecorderTest, RevokedPermissionIsReportedAtTheNextPoll) {
    ASSERT_TRUE(recorder.start(path).has_value());
    recorder.poll();
    EXPECT_EQ(reports, 0);
    permission.isGranted = false;
    recorder.poll();
    recorder.poll();
    EXPECT_EQ(reports, 1);
}

TEST_F(AudioRecorderTest, SourceAndWriterFailuresMakeOneReportOnTheMainThread) {
    free = 1000; // the first checkpoint fails too
    ASSERT_TRUE(recorder.start(path).has_value());
    std::thread::id reportedOn;
    QObject::connect(&recorder, &AudioRecorder::unexpectedStop, &recorder,
                     [&] { reportedOn = std::this_thread::get_id(); });
    std::thread audio([&] {
        microphone().deliverConstant(0.1f, 20000);
        microphone().fail(u"server gone"_s);
    });
    audio.join();
    ASSERT_TRUE(processEventsUntil([&] { return reports > 0; }));
    settle();
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(reportedOn, std::this_thread::get_id());
}

TEST_F(AudioRecorderTest, LateFailuresOfAFinishedRecordingAreSilent) {
    ASSERT_TRUE(recorder.start(path).has_value());
    ScriptedAudioSource* first = &microphone();
    auto onFailure = first->onFailure;
    recorder.stop();
    onFailure(u"late"_s);
    settle();
    EXPECT_EQ(reports, 0);

    ASSERT_TRUE(recorder.start(path).has_value());
    onFailure(u"late, from the previous recording"_s);
    settle();
    EXPECT_EQ(reports, 0);
    microphone().fail(u"now"_s);
    settle();
    EXPECT_EQ(reports, 1);
}

TEST_F(AudioRecorderTest, ItsMethodsStopADebugBuildWhenCalledFromAnotherThread) {
#ifdef NDEBUG
    GTEST_SKIP() << "the check is compiled into debug builds only";
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ASSERT_TRUE(recorder.start(path).has_value());
    EXPECT_DEATH(std::thread([&] { (void)recorder.level(); }).join(), "AudioRecorder::level");
    EXPECT_DEATH(std::thread([&] { (void)recorder.stop(); }).join(), "AudioRecorder::stop");
    EXPECT_TRUE(recorder.stop().has_value()) << "the owner's own calls pass";
#endif
}

} // namespace

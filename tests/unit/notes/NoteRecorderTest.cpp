#include "notes/NoteRecorder.h"

#include "fakes/ScriptedAudioSource.h"
#include "support/CoreApplication.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <gtest/gtest.h>

#include <thread>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

using Recorder = NoteRecorder;

struct EnvelopeRecord {
    quint16 microphone;
    quint16 system;
};

std::vector<EnvelopeRecord> envelope(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.readAll();
    std::vector<EnvelopeRecord> records;
    for (qsizetype at = 0; at + 4 <= bytes.size(); at += 4)
        records.push_back({qFromLittleEndian<quint16>(bytes.constData() + at),
                           qFromLittleEndian<quint16>(bytes.constData() + at + 2)});
    return records;
}

class NoteRecorderTest : public ::testing::Test {
protected:
    NoteRecorderTest() { ensureCoreApplication(); }

    QTemporaryDir dir;
    ScriptedAudioSourceFactory sources;
    Recorder recorder{sources, 20};
    std::vector<Recorder::Event> events;
    std::vector<std::thread::id> eventThreads;

    void SetUp() override {
        QObject::connect(&recorder, &NoteRecorder::reported, &recorder,
                         [this](const Recorder::Event& event) {
                             // Meter updates come on a timer; the tests that want them look for
                             // them.
                             if (!std::holds_alternative<Recorder::Levels>(event))
                                 events.push_back(event);
                             eventThreads.push_back(std::this_thread::get_id());
                         });
    }

    Recorder::StartRequest request(NoteSource source, std::optional<qint64> freeBytes = {}) {
        return {QUuid::createUuid(), dir.path(), source, {}, freeBytes};
    }

    template <typename T>
    std::vector<T> eventsOf() const {
        std::vector<T> found;
        for (const auto& event : events)
            if (const T* e = std::get_if<T>(&event))
                found.push_back(*e);
        return found;
    }
};

TEST_F(NoteRecorderTest, NeedsOneGigabyteFreeToStart) {
    const auto refused = recorder.start(request(NoteSource::room, 999'999'999));
    ASSERT_FALSE(refused.has_value());
    EXPECT_EQ(refused.error().error, NoteCaptureError::diskFull);
    EXPECT_EQ(refused.error().message,
              u"There is less than 1 GB free on this computer. Free up some space, then record."_s);
    EXPECT_TRUE(sources.microphoneRequests.isEmpty());
    EXPECT_TRUE(QDir(dir.path()).isEmpty());

    EXPECT_TRUE(recorder.start(request(NoteSource::room, 1'000'000'000)).has_value());
    recorder.stop();
}

TEST_F(NoteRecorderTest, MicrophoneThatWillNotStartLeavesNothingBehind) {
    sources.microphoneStartError = u"no input"_s;
    const auto refused = recorder.start(request(NoteSource::call));
    ASSERT_FALSE(refused.has_value());
    EXPECT_EQ(refused.error().error, NoteCaptureError::microphoneUnavailable);
    EXPECT_EQ(
        refused.error().message,
        u"The microphone could not start. Check the input in the desktop’s sound settings, then try again."_s);
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_EQ(sources.computerAudioRequests, 0);
    EXPECT_TRUE(QDir(dir.path()).isEmpty());
    EXPECT_EQ(recorder.stop(), 0);
}

TEST_F(NoteRecorderTest, RoomRecordsTheMicrophoneAlone) {
    const auto started = recorder.start(request(NoteSource::room));
    ASSERT_TRUE(started.has_value());
    EXPECT_FALSE(started->systemSourceActive);
    EXPECT_FALSE(started->notice.has_value());
    EXPECT_EQ(sources.computerAudioRequests, 0);
    ASSERT_EQ(sources.microphoneRequests.size(), 1);
    EXPECT_FALSE(sources.microphoneRequests[0].voiceProcessing);

    sources.lastMicrophone->deliverConstant(0.5f, 16000);
    EXPECT_EQ(recorder.stop(), 1000);
    const auto records = envelope(SectionWriter::envelopePath(dir.path(), 0));
    ASSERT_EQ(records.size(), 20u);
    EXPECT_EQ(records[0].microphone, quint16(0.5 * 65535));
    EXPECT_EQ(records[0].system, 0);
}

TEST_F(NoteRecorderTest, CallMixesBothSourcesAndKeepsTheirLevelsApart) {
    const auto started = recorder.start(request(NoteSource::call));
    ASSERT_TRUE(started.has_value());
    EXPECT_TRUE(started->systemSourceActive);
    EXPECT_TRUE(sources.microphoneRequests[0].voiceProcessing);
    ScriptedAudioSource* microphone = sources.lastMicrophone;
    ScriptedAudioSource* system = sources.lastComputerAudio;

    // Off the main thread and in step, as two sources on one clock deliver.
    std::thread audio([&] {
        for (int i = 0; i < 50; ++i) {
            microphone->deliverConstant(0.5f, 320);
            system->deliverConstant(0.25f, 320);
        }
    });
    audio.join();
    EXPECT_EQ(recorder.stop(), 1000);

    QFile wav(SectionWriter::audioPath(dir.path(), 0));
    ASSERT_TRUE(wav.open(QIODevice::ReadOnly));
    const QByteArray bytes = wav.readAll();
    ASSERT_EQ(bytes.size(), 44 + 32000);
    EXPECT_EQ(qFromLittleEndian<qint16>(bytes.constData() + 44 + 1000), qint16(0.75 * 32767));
    for (const auto& record : envelope(SectionWriter::envelopePath(dir.path(), 0))) {
        EXPECT_EQ(record.microphone, quint16(0.5 * 65535));
        EXPECT_EQ(record.system, quint16(0.25 * 65535));
    }
}

TEST_F(NoteRecorderTest, EventsArriveOnTheMainThreadInOrder) {
    ASSERT_TRUE(recorder.start(request(NoteSource::room)).has_value());
    ScriptedAudioSource* microphone = sources.lastMicrophone;
    std::thread audio([&] { microphone->deliverConstant(0.1f, 16000 * 31); });
    audio.join();
    ASSERT_TRUE(processEventsUntil([&] { return eventsOf<Recorder::Checkpoint>().size() == 31; }));
    EXPECT_EQ(recorder.stop(), 31000);

    const auto opened = eventsOf<Recorder::SectionOpened>();
    ASSERT_EQ(opened.size(), 2u);
    EXPECT_EQ(opened[0].index, 0);
    EXPECT_EQ(opened[1].index, 1);
    EXPECT_EQ(opened[1].startMs, 28000);
    const auto closed = eventsOf<Recorder::RecordedSection>();
    ASSERT_EQ(closed.size(), 2u);
    EXPECT_EQ(closed[0].endMs, 30000);
    EXPECT_EQ(closed[1].startMs, 28000);
    EXPECT_EQ(closed[1].endMs, 31000);
    const auto checkpoints = eventsOf<Recorder::Checkpoint>();
    EXPECT_EQ(checkpoints.back().durationMs, 31000);
    EXPECT_EQ(checkpoints.back().index, 1);
    EXPECT_TRUE(std::holds_alternative<Recorder::SectionOpened>(events.front()));
    EXPECT_TRUE(std::holds_alternative<Recorder::RecordedSection>(events.back()));
    for (const auto& thread : eventThreads)
        EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST_F(NoteRecorderTest, CallWithoutComputerAudioGoesOnFromTheMicrophone) {
    sources.computerAudioStartError = u"no monitor"_s;
    const auto started = recorder.start(request(NoteSource::call));
    ASSERT_TRUE(started.has_value());
    EXPECT_FALSE(started->systemSourceActive);
    EXPECT_EQ(
        started->notice,
        u"This computer’s audio couldn’t be captured, so only your microphone is recorded."_s);
    sources.lastMicrophone->deliverConstant(0.5f, 8000);
    EXPECT_EQ(recorder.stop(), 500) << "nothing waits for a source that is not there";
}

TEST_F(NoteRecorderTest, LostComputerAudioIsANoticeAndTheMicrophoneGoesOn) {
    ASSERT_TRUE(recorder.start(request(NoteSource::call)).has_value());
    ScriptedAudioSource* microphone = sources.lastMicrophone;
    ScriptedAudioSource* system = sources.lastComputerAudio;
    microphone->deliverConstant(0.5f, 1600);
    system->deliverConstant(0.5f, 1600);
    system->fail(u"sink gone"_s);
    microphone->deliverConstant(0.5f, 16000);
    processEventsUntil([&] { return !eventsOf<Recorder::Notice>().empty(); });
    EXPECT_EQ(recorder.stop(), 1100);
    ASSERT_EQ(eventsOf<Recorder::Notice>().size(), 1u);
    EXPECT_TRUE(eventsOf<Recorder::Failure>().empty());
    const auto records = envelope(SectionWriter::envelopePath(dir.path(), 0));
    ASSERT_EQ(records.size(), 22u);
    EXPECT_GT(records[1].system, 0);
    EXPECT_EQ(records[10].system, 0);
}

TEST_F(NoteRecorderTest, LostMicrophoneIsOneFailureWithItsSentence) {
    ASSERT_TRUE(recorder.start(request(NoteSource::room)).has_value());
    ScriptedAudioSource* microphone = sources.lastMicrophone;
    microphone->deliverConstant(0.3f, 16000);
    auto onFailure = microphone->onFailure;
    microphone->fail(u"device gone"_s);
    onFailure(u"and again"_s);
    processEventsUntil([&] { return !eventsOf<Recorder::Failure>().empty(); });
    QCoreApplication::processEvents();
    const auto failures = eventsOf<Recorder::Failure>();
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0].message,
              u"The microphone stopped. The audio captured so far is saved."_s);
    EXPECT_EQ(recorder.stop(), 1000) << "what was captured is kept";
}

TEST_F(NoteRecorderTest, MetersShowTheLatestLevelOfEachSource) {
    std::vector<Recorder::Levels> levels;
    QObject::connect(&recorder, &NoteRecorder::reported, &recorder,
                     [&](const Recorder::Event& event) {
                         if (const auto* l = std::get_if<Recorder::Levels>(&event))
                             levels.push_back(*l);
                     });
    ASSERT_TRUE(recorder.start(request(NoteSource::call)).has_value());
    sources.lastMicrophone->deliverConstant(1.0f, 800);
    sources.lastComputerAudio->deliverConstant(0.0f, 800);
    ASSERT_TRUE(processEventsUntil([&] { return !levels.empty(); }));
    EXPECT_DOUBLE_EQ(levels.back().microphone, 1.0);
    EXPECT_DOUBLE_EQ(levels.back().system, 0.0);
    recorder.stop();
}

TEST_F(NoteRecorderTest, ItsMethodsStopADebugBuildWhenCalledFromAnotherThread) {
#ifdef NDEBUG
    GTEST_SKIP() << "the check is compiled into debug builds only";
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(std::thread([&] { (void)recorder.isRecording(); }).join(),
                 "NoteRecorder::isRecording");
    EXPECT_DEATH(std::thread([&] { (void)recorder.stop(); }).join(), "NoteRecorder::stop");
    EXPECT_FALSE(recorder.isRecording()) << "the owner's own calls pass";
#endif
}

} // namespace

// Runs against the private sound server of tests/harness/sound.sh: "micfeed"
// is what the default microphone hears, "speaker" is the default output.

#include "SpeechAnalysis.h"

#include "audio/AudioRecorder.h"
#include "audio/WaveFileWriter.h"
#include "notes/NoteRecorder.h"
#include "notes/NotesStore.h"
#include "platform/AudioSource.h"
#include "platform/IdleInhibitor.h"
#include "platform/MicrophonePermission.h"
#include "support/CoreApplication.h"
#include "support/TestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

const QString clips = u"/usr/share/pocketsphinx/test/data/librivox/"_s;
const QString firstClip = clips + u"sense_and_sensibility_01_austen_64kb-0870.wav"_s;  // 7.1 s
const QString secondClip = clips + u"sense_and_sensibility_01_austen_64kb-0890.wav"_s; // 5.3 s

constexpr int tenMs = 160;
constexpr int envelopeFrame = 800;

void wait(int ms) {
    processEventsUntil([] { return false; }, ms);
}

// Plays a file into a sink of the test server; the process ends with the clip.
std::unique_ptr<QProcess> play(const QString& sink, const QString& file) {
    auto player = std::make_unique<QProcess>();
    player->start(u"paplay"_s, {u"-d"_s, sink, file});
    player->waitForStarted();
    return player;
}

void finish(QProcess& player) {
    processEventsUntil([&] { return player.state() == QProcess::NotRunning; }, 20000);
}

bool run(const QString& program, const QStringList& arguments) {
    return QProcess::execute(program, arguments) == 0;
}

class AudioLiveTest : public ::testing::Test {
protected:
    AudioLiveTest() { ensureCoreApplication(); }

    void SetUp() override {
        ASSERT_TRUE(QFile::exists(firstClip)) << "pocketsphinx-testdata is needed";
    }

    QTemporaryDir dir;
    std::unique_ptr<AudioSourceFactory> sources = AudioSourceFactory::create();
    std::unique_ptr<MicrophonePermission> permission = MicrophonePermission::create();
    std::unique_ptr<IdleInhibitor> idle = IdleInhibitor::create();
};

// What the dictation recorder writes is the speech that was played.
void expectRecordingOfClip(const QString& recorded, const QString& clip) {
    const auto samples = speech::readWave(recorded);
    ASSERT_TRUE(samples.has_value());
    const auto clipSamples = speech::readWave(clip);
    ASSERT_TRUE(clipSamples.has_value());
    const auto fit = speech::alignSamples(*samples, *clipSamples, tenMs);
    // The playback side of the test chain (paplay into a null sink) slips by a
    // block or two when the machine is busy, which costs a few hundredths.
    EXPECT_GT(fit.correlation, 0.9);
    const std::vector<double> from(samples->begin() + fit.lag, samples->end());
    const auto heard = speech::envelope(from, tenMs);
    const auto played = speech::envelope(*clipSamples, tenMs);
    const std::vector<double> aligned(heard.begin(),
                                      heard.begin() + std::min(heard.size(), played.size()));
    const int spanDifferenceMs =
        std::abs(speech::loudSpan(aligned) - speech::loudSpan(played)) * 10;
    EXPECT_LE(spanDifferenceMs, 50);
}

TEST_F(AudioLiveTest, DictationRecordsTheSpeechThatWasPlayed) {
    ASSERT_TRUE(permission->granted());
    AudioRecorder recorder(*sources, *permission, idle.get());
    int reports = 0;
    QObject::connect(&recorder, &AudioRecorder::unexpectedStop, &recorder, [&] { ++reports; });
    const QString path = dir.filePath(u"dictation.wav"_s);
    ASSERT_TRUE(recorder.start(path).has_value());
    wait(300);
    auto player = play(u"micfeed"_s, firstClip);
    finish(*player);
    wait(500);
    const auto capture = recorder.stop();

    ASSERT_TRUE(capture.has_value());
    EXPECT_TRUE(capture->hasSpeech);
    EXPECT_GT(capture->duration, 7.1);
    EXPECT_LT(capture->duration, 9.5);
    EXPECT_EQ(reports, 0);
    EXPECT_TRUE(speech::headerMatchesFile(path));
    expectRecordingOfClip(path, firstClip);
}

TEST_F(AudioLiveTest, CallRecordsBothSourcesWithTheComputerAudioApart) {
    NoteRecorder recorder(*sources);
    std::vector<NoteRecorder::RecordedSection> closed;
    int failures = 0;
    QObject::connect(
        &recorder, &NoteRecorder::reported, &recorder, [&](const NoteRecorder::Event& event) {
            if (const auto* section = std::get_if<NoteRecorder::RecordedSection>(&event))
                closed.push_back(*section);
            failures += std::holds_alternative<NoteRecorder::Failure>(event) ? 1 : 0;
        });
    const auto started = recorder.start({QUuid::createUuid(), dir.path(), NoteSource::call});
    ASSERT_TRUE(started.has_value());
    ASSERT_TRUE(started->systemSourceActive);
    wait(300);
    auto microphone = play(u"micfeed"_s, firstClip);
    wait(1000);
    auto speaker = play(u"speaker"_s, secondClip);
    finish(*microphone);
    finish(*speaker);
    wait(500);
    const qint64 durationMs = recorder.stop();

    EXPECT_EQ(failures, 0);
    ASSERT_EQ(closed.size(), 1u);
    EXPECT_EQ(closed[0].endMs, durationMs);
    const QString wav = SectionWriter::audioPath(dir.path(), 0);
    EXPECT_TRUE(speech::headerMatchesFile(wav));
    const qint64 dataBytes = QFile(wav).size() - 44;
    EXPECT_GE(dataBytes, durationMs * 32);
    EXPECT_LT(dataBytes, (durationMs + 1) * 32);

    const auto [mine, theirs] = speech::noteEnvelope(SectionWriter::envelopePath(dir.path(), 0));
    const auto first = speech::readWave(firstClip);
    const auto second = speech::readWave(secondClip);
    ASSERT_TRUE(first && second);
    const auto micFit = speech::alignFrames(mine, *first, envelopeFrame);
    const auto systemFit = speech::alignFrames(theirs, *second, envelopeFrame);
    EXPECT_GT(micFit.correlation, 0.9);
    EXPECT_GT(systemFit.correlation, 0.9);
    // The second clip was started about a second after the first (each
    // player takes its own time to start): both sources are in step.
    EXPECT_NEAR((systemFit.lag - micFit.lag) / 16, 1000, 250);
    // Neither channel follows the other's speech.
    EXPECT_LT(speech::correlationAt(theirs, *first, envelopeFrame, micFit.lag), 0.3);
    EXPECT_LT(speech::correlationAt(mine, *second, envelopeFrame, systemFit.lag), 0.3);
}

TEST_F(AudioLiveTest, UnpluggedMicrophoneIsReportedOnceAndLeavesValidFiles) {
    AudioRecorder dictation(*sources, *permission, idle.get());
    int reports = 0;
    QObject::connect(&dictation, &AudioRecorder::unexpectedStop, &dictation, [&] { ++reports; });
    const QString path = dir.filePath(u"dictation.wav"_s);
    ASSERT_TRUE(dictation.start(path).has_value());

    NoteRecorder note(*sources);
    std::vector<QString> failures;
    QObject::connect(&note, &NoteRecorder::reported, &note, [&](const NoteRecorder::Event& event) {
        if (const auto* failure = std::get_if<NoteRecorder::Failure>(&event))
            failures.push_back(failure->message);
    });
    QTemporaryDir noteDir;
    ASSERT_TRUE(note.start({QUuid::createUuid(), noteDir.path(), NoteSource::room}).has_value());

    auto player = play(u"micfeed"_s, firstClip);
    wait(2000);
    // Only monitors are left afterwards: the recorders must not follow them.
    ASSERT_TRUE(run(u"pactl"_s, {u"unload-module"_s, qEnvironmentVariable("SOUND_MIC_MODULE")}));
    ASSERT_TRUE(processEventsUntil([&] { return reports > 0 && !failures.empty(); }, 2000));
    wait(3500); // past the stall watch: still one report
    EXPECT_EQ(reports, 1);
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0], NoteRecorder::microphoneStoppedMessage());

    const auto capture = dictation.stop();
    ASSERT_TRUE(capture.has_value());
    EXPECT_GT(capture->duration, 1.5);
    EXPECT_LT(capture->duration, 2.5);
    EXPECT_TRUE(speech::headerMatchesFile(path));
    const qint64 noteMs = note.stop();
    EXPECT_GT(noteMs, 1500);
    EXPECT_TRUE(speech::headerMatchesFile(SectionWriter::audioPath(noteDir.path(), 0)));
    finish(*player);
}

TEST_F(AudioLiveTest, LostMicrophoneFollowsTheNewDefaultInput) {
    ASSERT_TRUE(
        run(u"pactl"_s, {u"load-module"_s, u"module-remap-source"_s, u"master=micfeed.monitor"_s,
                         u"source_name=spare"_s, u"channels=1"_s, u"channel_map=mono"_s,
                         u"master_channel_map=mono"_s}));
    AudioRecorder recorder(*sources, *permission, idle.get());
    int reports = 0;
    QObject::connect(&recorder, &AudioRecorder::unexpectedStop, &recorder, [&] { ++reports; });
    const QString path = dir.filePath(u"dictation.wav"_s);
    ASSERT_TRUE(recorder.start(path).has_value());
    wait(500);
    ASSERT_TRUE(run(u"pactl"_s, {u"unload-module"_s, qEnvironmentVariable("SOUND_MIC_MODULE")}));
    wait(500);
    auto player = play(u"micfeed"_s, firstClip);
    finish(*player);
    wait(500);
    const auto capture = recorder.stop();

    ASSERT_TRUE(capture.has_value());
    EXPECT_EQ(reports, 0);
    EXPECT_TRUE(capture->hasSpeech);
    expectRecordingOfClip(path, firstClip);
}

// Voice processing is never set up by us: a call uses an echo-cancelled input
// only when the system already has one, and a refusal is not retried.
TEST_F(AudioLiveTest, CallUsesAnEchoCancelledInputOnlyWhereTheSystemOffersOne) {
    auto plain = sources->microphone({.voiceProcessing = true});
    ASSERT_TRUE(plain->start().has_value());
    EXPECT_FALSE(plain->voiceProcessingActive());
    plain->stop();

    ASSERT_TRUE(run(u"pactl"_s, {u"load-module"_s, u"module-echo-cancel"_s, u"source_master=mic"_s,
                                 u"sink_master=speaker"_s, u"source_name=echo-cancelled"_s}));
    auto refused = sources->microphone({.voiceProcessing = true});
    ASSERT_TRUE(refused->start().has_value());
    EXPECT_FALSE(refused->voiceProcessingActive()) << "a refusal is remembered";
    refused->stop();

    const auto freshSources = AudioSourceFactory::create();
    auto dictation = freshSources->microphone({.voiceProcessing = false});
    ASSERT_TRUE(dictation->start().has_value());
    EXPECT_FALSE(dictation->voiceProcessingActive());
    dictation->stop();

    auto call = freshSources->microphone({.voiceProcessing = true});
    std::atomic<qint64> samples = 0;
    call->onSamples = [&](std::span<const float> block) { samples += qint64(block.size()); };
    ASSERT_TRUE(call->start().has_value());
    EXPECT_TRUE(call->voiceProcessingActive());
    ASSERT_TRUE(processEventsUntil([&] { return samples >= 16000; }, 3000));
    call->stop();
}

TEST_F(AudioLiveTest, KilledServerIsReportedOnceAndLeavesValidFiles) {
    AudioRecorder dictation(*sources, *permission, idle.get());
    int reports = 0;
    QObject::connect(&dictation, &AudioRecorder::unexpectedStop, &dictation, [&] { ++reports; });
    const QString path = dir.filePath(u"dictation.wav"_s);
    ASSERT_TRUE(dictation.start(path).has_value());
    NoteRecorder note(*sources);
    int failures = 0;
    QObject::connect(&note, &NoteRecorder::reported, &note, [&](const NoteRecorder::Event& event) {
        failures += std::holds_alternative<NoteRecorder::Failure>(event) ? 1 : 0;
    });
    QTemporaryDir noteDir;
    ASSERT_TRUE(note.start({QUuid::createUuid(), noteDir.path(), NoteSource::call}).has_value());

    auto player = play(u"micfeed"_s, firstClip);
    wait(2000);
    ::kill(pid_t(qEnvironmentVariableIntValue("SOUND_SERVER_PID")), SIGKILL);
    ASSERT_TRUE(processEventsUntil([&] { return reports > 0 && failures > 0; }, 2000));
    wait(3500);
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(failures, 1);
    EXPECT_FALSE(permission->granted());

    const auto capture = dictation.stop();
    ASSERT_TRUE(capture.has_value());
    EXPECT_GT(capture->duration, 1.5);
    EXPECT_TRUE(speech::headerMatchesFile(path));
    EXPECT_GT(note.stop(), 1500);
    EXPECT_TRUE(speech::headerMatchesFile(SectionWriter::audioPath(noteDir.path(), 0)));
    finish(*player);
}

// Ctrl+C ends both command-line recorders cleanly: a finished file, a note
// with closed sections ready for transcription, and a summary line.
TEST_F(AudioLiveTest, InterruptedCommandLineRecordersFinishCleanly) {
    const QString parlevo = qEnvironmentVariable("PARLEVO_BIN");
    ASSERT_FALSE(parlevo.isEmpty());
    const QString path = dir.filePath(u"interrupted.wav"_s);
    QProcess dictation;
    QProcess note;
    dictation.start(parlevo, {u"record"_s, path});
    note.start(parlevo, {u"notes"_s, u"record"_s});
    bool dictationReady = false;
    bool noteReady = false;
    ASSERT_TRUE(processEventsUntil([&] {
        if (!dictationReady)
            dictationReady = dictation.readAllStandardError().contains("Ctrl+C");
        if (!noteReady)
            noteReady = note.readAllStandardError().contains("Ctrl+C");
        return dictationReady && noteReady;
    }));
    wait(300); // as in the other cases: the new streams' first blocks are on their way
    auto player = play(u"micfeed"_s, secondClip);
    finish(*player);
    wait(500); // the end of the clip is still on its way through the server
    ::kill(pid_t(dictation.processId()), SIGINT);
    ::kill(pid_t(note.processId()), SIGINT);
    ASSERT_TRUE(dictation.waitForFinished(5000));
    ASSERT_TRUE(note.waitForFinished(5000));

    EXPECT_EQ(dictation.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(dictation.exitCode(), 0);
    const QString summary = QString::fromUtf8(dictation.readAllStandardOutput());
    EXPECT_TRUE(summary.startsWith(u"Recorded "_s)) << summary.toStdString();
    EXPECT_TRUE(summary.contains(u"speech was heard."_s)) << summary.toStdString();
    EXPECT_TRUE(speech::headerMatchesFile(path));
    expectRecordingOfClip(path, secondClip);

    EXPECT_EQ(note.exitCode(), 0);
    const QString id = QString::fromUtf8(note.readAllStandardOutput()).trimmed();
    const auto stored = NotesStore().load(QUuid::fromString(id));
    ASSERT_TRUE(stored.has_value()) << id.toStdString();
    EXPECT_EQ(stored->state, NoteState::finishing);
    EXPECT_EQ(stored->source, NoteSource::room);
    EXPECT_GT(stored->durationMs, 5300);
    ASSERT_EQ(stored->sections.size(), 1);
    EXPECT_TRUE(stored->sections[0].closed);
    EXPECT_EQ(stored->sections[0].endMs, stored->durationMs);
}

// A recording process killed outright leaves files that repair to what was
// captured, less at most the last second.
TEST_F(AudioLiveTest, SigkilledRecordingsRepairLosingAtMostOneSecond) {
    const QString parlevo = qEnvironmentVariable("PARLEVO_BIN");
    ASSERT_FALSE(parlevo.isEmpty());
    const QString path = dir.filePath(u"killed.wav"_s);
    QProcess dictation;
    QProcess note;
    dictation.start(parlevo, {u"record"_s, path});
    note.start(parlevo, {u"notes"_s, u"record"_s, u"--call"_s});
    auto player = play(u"micfeed"_s, firstClip);
    QElapsedTimer dictationClock;
    QElapsedTimer noteClock;
    ASSERT_TRUE(processEventsUntil([&] {
        if (!dictationClock.isValid() && dictation.readAllStandardError().contains("Ctrl+C"))
            dictationClock.start();
        if (!noteClock.isValid() && note.readAllStandardError().contains("Ctrl+C"))
            noteClock.start();
        return dictationClock.isValid() && noteClock.isValid();
    }));
    wait(4500);
    const qint64 dictationMs = dictationClock.elapsed();
    const qint64 noteMs = noteClock.elapsed();
    ::kill(pid_t(dictation.processId()), SIGKILL);
    ::kill(pid_t(note.processId()), SIGKILL);
    dictation.waitForFinished();
    note.waitForFinished();

    const auto repaired = WaveFileWriter::repair(path);
    ASSERT_TRUE(repaired.has_value());
    EXPECT_GE(*repaired, dictationMs - 1000);
    EXPECT_LE(*repaired, dictationMs + 100);
    EXPECT_TRUE(speech::headerMatchesFile(path));

    ASSERT_TRUE(run(parlevo, {u"notes"_s, u"recover"_s}));
    const QList<Note> notes = NotesStore().loadAll().notes;
    ASSERT_EQ(notes.size(), 1);
    EXPECT_EQ(notes[0].state, NoteState::interrupted);
    EXPECT_GE(notes[0].durationMs, noteMs - 1000);
    EXPECT_LE(notes[0].durationMs, noteMs + 100);
    EXPECT_TRUE(speech::headerMatchesFile(NotesStore().sectionAudioPath(notes[0].id, 0)));
    finish(*player);
}

} // namespace

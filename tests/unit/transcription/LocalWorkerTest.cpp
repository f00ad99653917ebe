#include "transcription/LocalWorker.h"
#include "audio/AacEncoder.h"
#include "support/hosted/HostedTestSupport.h"
#include "transcription/LocalQwen.h"

#include "support/CrampedFolder.h"
#include "support/PrivateTemporaryFolder.h"
#include "support/TestSupport.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <thread>
#include <vector>

using namespace quendra;
using namespace quendra::testing;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

class LocalWorkerTest : public ::testing::Test {
protected:
    LocalWorkerTest() { ensureCoreApplication(); }

    WorkerCommand standIn(const QString& mode = {}) {
        WorkerCommand command{u"python3"_s, {QStringLiteral(STAND_IN_WORKER)}, {}, {}};
        command.environment.insert(u"STAND_IN_LOG"_s, logPath());
        if (!mode.isEmpty())
            command.environment.insert(u"STAND_IN_MODE"_s, mode);
        return command;
    }

    QString logPath() const { return dir.filePath(u"worker.log"_s); }

    QStringList logLines() const {
        QFile file(logPath());
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }
    qsizetype starts() const { return logLines().filter(QRegularExpression(u"^start"_s)).size(); }
    // The process id of the latest worker started.
    qint64 latestWorker() const {
        const QStringList started = logLines().filter(QRegularExpression(u"^start"_s));
        return started.isEmpty() ? 0 : started.last().section(u' ', 1).toLongLong();
    }
    qsizetype count(const QString& line) const { return logLines().count(line); }

    // One second of 16 kHz mono audio per `seconds`.
    QString wave(qint64 dataBytes) {
        const QString path = dir.filePath(u"take-%1.wav"_s.arg(dataBytes));
        EXPECT_TRUE(writeRecording(path, dataBytes));
        return path;
    }

    std::expected<QString, WorkerFailure> ask(LocalWorker& worker, const QString& path,
                                              const QString& language = u"en"_s) {
        return textOf(run(worker.transcribe(path, language)));
    }
    static std::expected<QString, WorkerFailure>
    textOf(const std::expected<WorkerTranscript, WorkerFailure>& reply) {
        if (!reply)
            return std::unexpected(reply.error());
        return reply->text;
    }

    PrivateTemporaryFolder temporary;
    QTemporaryDir dir;
    SerialQueue queue{LocalQwen::queueLabel};
};

TEST_F(LocalWorkerTest, OneWorkerAnswersRequestAfterRequest) {
    LocalWorker worker(queue, standIn());
    const QString audio = wave(32'000);
    EXPECT_EQ(ask(worker, audio), u"heard 16000 samples"_s);
    EXPECT_EQ(ask(worker, wave(64'000)), u"heard 32000 samples"_s);
    EXPECT_EQ(starts(), 1);
    EXPECT_TRUE(worker.workerRunning());
    // Converted copies do not pile up in the temporary folder.
    EXPECT_TRUE(QDir(QDir::tempPath()).entryList({u"quendra-local-*"_s}, QDir::Files).isEmpty());
}

TEST_F(LocalWorkerTest, RecordingsAreConvertedToWaveFirst) {
    LocalWorker worker(queue, standIn());
    const QString source = dir.filePath(u"take.m4a"_s);
    {
        auto encoder = AacEncoder::create(source);
        ASSERT_TRUE(encoder);
        ASSERT_TRUE(encoder->write(std::vector<qint16>(32'000, 1000)));
        ASSERT_TRUE(encoder->finish());
    }
    const auto text = ask(worker, source);
    ASSERT_TRUE(text);
    const int samples = text->split(u' ')[1].toInt();
    EXPECT_NEAR(samples, 32'000, 1024);

    EXPECT_EQ(ask(worker, dir.filePath(u"missing.wav"_s)).error(),
              WorkerFailure::unsupportedRecording);
}

TEST_F(LocalWorkerTest, BadRepliesFailButKeepTheWorker) {
    LocalWorker worker(queue, standIn());
    const QString audio = wave(32'000);
    EXPECT_EQ(ask(worker, audio, u"bad"_s).error(), WorkerFailure::couldNotFinish);
    EXPECT_EQ(ask(worker, audio, u"wrong-id"_s).error(), WorkerFailure::couldNotFinish);
    EXPECT_EQ(ask(worker, audio, u"error"_s).error(), WorkerFailure::couldNotFinish);
    EXPECT_EQ(ask(worker, audio), u"heard 16000 samples"_s);
    EXPECT_EQ(starts(), 1);
}

TEST_F(LocalWorkerTest, WorkerThatDiesMidRequestIsReplacedNextTime) {
    LocalWorker worker(queue, standIn());
    const QString audio = wave(32'000);
    EXPECT_EQ(ask(worker, audio, u"crash"_s).error(), WorkerFailure::stopped);
    EXPECT_FALSE(worker.workerRunning());
    EXPECT_EQ(ask(worker, audio, u"partial-crash"_s).error(), WorkerFailure::stopped);
    EXPECT_EQ(ask(worker, audio), u"heard 16000 samples"_s);
    EXPECT_EQ(starts(), 3);
}

TEST_F(LocalWorkerTest, RepliesOverTheLimitAreRefused) {
    LocalWorker worker(queue, standIn());
    const QString audio = wave(32'000);
    const auto edge = ask(worker, audio, u"edge"_s);
    ASSERT_TRUE(edge);
    // The whole line, with its identifier and keys, is exactly the longest allowed.
    EXPECT_EQ(edge->size(), LocalWorker::longestReplyBytes -
                                qsizetype(sizeof(R"({"id": "", "transcript": ""})") - 1) - 36);
    EXPECT_EQ(ask(worker, audio, u"huge"_s).error(), WorkerFailure::couldNotFinish);
    // The rest of the long line is unread, so that worker is not trusted again.
    EXPECT_EQ(ask(worker, audio), u"heard 16000 samples"_s);
    EXPECT_EQ(starts(), 2);
}

TEST_F(LocalWorkerTest, MissingProgramIsAStoppedWorker) {
    LocalWorker worker(queue, WorkerCommand{dir.filePath(u"no-such-worker"_s), {}, {}, {}});
    EXPECT_EQ(ask(worker, wave(32'000)).error(), WorkerFailure::stopped);
}

TEST_F(LocalWorkerTest, IdleWorkerIsStoppedAndStartedAgainOnDemand) {
    LocalWorker worker(queue, standIn(), 1000ms);
    const QString audio = wave(32'000);
    ASSERT_TRUE(ask(worker, audio));
    QThread::msleep(500);
    // A request in the meantime puts the stop off again: the first stop
    // would have come by the next check.
    ASSERT_TRUE(ask(worker, audio));
    QThread::msleep(600);
    EXPECT_TRUE(worker.workerRunning());
    // Its input was closed, not killed: it says so on its way out.
    EXPECT_TRUE(processEventsUntil(
        [&] { return !worker.workerRunning() && logLines().contains(u"exit"_s); }));
    ASSERT_TRUE(ask(worker, audio));
    EXPECT_EQ(starts(), 2);
}

TEST_F(LocalWorkerTest, ConvertedAudioMustStayUnderTwentyMinutesAndOneSecond) {
    LocalWorker worker(queue, standIn());
    EXPECT_EQ(ask(worker, wave(LocalWorker::largestConvertedBytes)), u"heard 19216000 samples"_s);
    EXPECT_EQ(ask(worker, wave(LocalWorker::largestConvertedBytes + 2)).error(),
              WorkerFailure::recordingTooLarge);
}

TEST_F(LocalWorkerTest, ACancelledRequestEndsItsAnswerAndQueuedOnesNeverStart) {
    LocalWorker worker(queue, standIn());
    const QString audio = wave(32'000);
    const Cancellation cancel = std::make_shared<CancellationFlag>();
    auto unanswered = worker.transcribe(audio, u"silent"_s, cancel);
    auto queued = worker.transcribe(audio, u"en"_s, cancel);
    auto other = worker.transcribe(audio, u"en"_s);
    ASSERT_TRUE(processEventsUntil([&] { return logLines().contains(u"waiting"_s); }, 30'000));
    cancel->cancel();
    EXPECT_EQ(run(std::move(unanswered)).error(), WorkerFailure::stopped);
    EXPECT_EQ(run(std::move(queued)).error(), WorkerFailure::stopped);
    // A request nobody cancelled is answered by a new worker.
    EXPECT_EQ(textOf(run(std::move(other))), u"heard 16000 samples"_s);
    EXPECT_EQ(starts(), 2);
    EXPECT_TRUE(QDir(QDir::tempPath()).entryList({u"quendra-local-*"_s}, QDir::Files).isEmpty());
    // Already cancelled: nothing is started for it.
    EXPECT_EQ(ask(worker, audio).value_or(QString()), u"heard 16000 samples"_s);
    EXPECT_EQ(run(worker.transcribe(audio, u"en"_s, cancel)).error(), WorkerFailure::stopped);
}

TEST_F(LocalWorkerTest, AFolderThatTakesNoCopyIsNotAnUnreadableRecording) {
    LocalWorker worker(queue, standIn());
    LocalEngine engine(worker, OfflineSpeech::sentences(), {});
    EngineRequest request{AudioPart{wave(32'000), 0, 1000}, {}, {}};
    request.context.language = DictationLanguage::english;
    const QString cramped = crampedFolder(temporary.path());
    qputenv("TMPDIR", cramped.toLocal8Bit());
    EXPECT_EQ(ask(worker, request.part.path).error(), WorkerFailure::cannotWriteCopy);
    const auto failed = run(engine.transcribe(request));
    qputenv("TMPDIR", temporary.path().toLocal8Bit());
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().kind, TranscriptionServiceError::Kind::temporaryFilesUnwritable);
    EXPECT_TRUE(failed.error().message().contains(cramped))
        << failed.error().message().toStdString();
    EXPECT_EQ(starts(), 0);
}

TEST_F(LocalWorkerTest, QwenFailuresAreToldInItsSentences) {
    LocalWorker crashing(queue, standIn(u"crash"_s));
    LocalEngine stopped(crashing, LocalQwen::sentences(), {});
    EngineRequest request{AudioPart{wave(32'000), 0, 1000}, {}, {}};
    request.context.language = DictationLanguage::english;
    const auto died = run(stopped.transcribe(request));
    ASSERT_FALSE(died);
    EXPECT_EQ(died.error().message(),
              u"Qwen stopped before finishing. Retry your saved recording."_s);

    LocalWorker confused(queue, standIn(u"error"_s));
    LocalEngine failing(confused, LocalQwen::sentences(), {});
    const auto refused = run(failing.transcribe(request));
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().message(),
              u"Qwen could not finish that recording. Check the selected language and retry."_s);

    LocalWorker working(queue, standIn());
    LocalEngine engine(working, LocalQwen::sentences(), {});
    const auto heard = run(engine.transcribe(request));
    ASSERT_TRUE(heard);
    EXPECT_EQ(heard->rawTranscript, u"heard 16000 samples"_s);
    EXPECT_FALSE(heard->modelFormatted);
    EXPECT_TRUE(heard->segments.isEmpty()) << "a worker that tells no times gets none made up";
}

TEST_F(LocalWorkerTest, WordTimesThatMakeSensePassThroughTheEngine) {
    LocalWorker worker(queue, standIn(u"timed"_s));
    LocalEngine engine(worker, OfflineSpeech::sentences(), {});
    EngineRequest request{AudioPart{wave(32'000), 0, 1000}, {}, {}};
    request.context.language = DictationLanguage::english;
    const auto heard = run(engine.transcribe(request));
    ASSERT_TRUE(heard);
    EXPECT_EQ(heard->rawTranscript, u"one two"_s);
    // A word ending before it starts, or without an end, is left out.
    ASSERT_EQ(heard->segments.size(), 2);
    EXPECT_EQ(heard->segments[0], (TranscriptionSegment{0, 400, u"one"_s, std::nullopt}));
    EXPECT_EQ(heard->segments[1], (TranscriptionSegment{500, 900, u"two"_s, std::nullopt}));
}

TEST_F(LocalWorkerTest, EnginesSayWhenTheyCannotRun) {
    const QwenInstaller missing(dir.filePath(u"nothing"_s));
    EXPECT_EQ(LocalQwen::availability(missing)(DictationLanguage::english)->message(),
              u"Install Qwen in Settings, then retry."_s);

    const auto offline = OfflineSpeech::availability();
    EXPECT_FALSE(offline(DictationLanguage::english));
    EXPECT_FALSE(offline(DictationLanguage::automatic));
    ASSERT_TRUE(offline(DictationLanguage::french));
    EXPECT_TRUE(offline(DictationLanguage::french)->message().contains(u"English only"_s));

    // The engine refuses before any worker is started.
    LocalWorker worker(queue, standIn());
    LocalEngine engine(worker, OfflineSpeech::sentences(), offline);
    EngineRequest request{AudioPart{wave(32'000), 0, 1000}, {}, {}};
    request.context.language = DictationLanguage::german;
    EXPECT_FALSE(run(engine.transcribe(request)));
    EXPECT_EQ(starts(), 0);
}

bool processGone(qint64 pid) {
    return ::kill(pid_t(pid), 0) != 0 && errno == ESRCH;
}

TEST_F(LocalWorkerTest, CancellingALongOfflineTranscriptionEndsItsWorkerWithinASecond) {
    LocalWorker worker(queue, standIn(u"long"_s));
    LocalEngine engine(worker, OfflineSpeech::sentences(), OfflineSpeech::availability());
    // Five minutes of audio, which the worker takes ten minutes over.
    EngineRequest request{AudioPart{wave(5 * 60 * 32'000), 0, 300'000}, {}, {}};
    request.context.language = DictationLanguage::english;

    for (int attempt = 1; attempt <= 2; ++attempt) {
        SCOPED_TRACE(attempt);
        request.cancel = std::make_shared<CancellationFlag>();
        auto transcription = engine.transcribe(request);
        ASSERT_TRUE(processEventsUntil([&] { return count(u"working"_s) == attempt; }, 30'000));
        const qint64 pid = latestWorker();
        ASSERT_GT(pid, 0);
        QElapsedTimer clock;
        clock.start();
        request.cancel->cancel();
        const auto result = run(std::move(transcription));
        EXPECT_LT(clock.elapsed(), 1000);
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().kind, TranscriptionServiceError::Kind::cancelled);
        EXPECT_TRUE(processEventsUntil([&] { return processGone(pid); },
                                       int(std::max<qint64>(0, 1000 - clock.elapsed()))))
            << "the worker still runs a second after the cancel";
        EXPECT_FALSE(worker.workerRunning());
        // The next request starts a new worker.
        EXPECT_EQ(starts(), attempt);
    }
    EXPECT_TRUE(processEventsUntil([] {
        return QDir(QDir::tempPath()).entryList({u"quendra-local-*"_s}, QDir::Files).isEmpty();
    }));
}

TEST_F(LocalWorkerTest, DestroyingAWorkerWhoseProcessHangsReturnsAtOnceAndEndsIt) {
    auto worker = std::make_unique<LocalWorker>(queue, standIn(u"stubborn"_s));
    auto transcription = worker->transcribe(wave(32'000), u"en"_s);
    ASSERT_TRUE(processEventsUntil([&] { return logLines().contains(u"working"_s); }, 30'000));
    const qint64 pid = latestWorker();
    ASSERT_GT(pid, 0);

    QElapsedTimer clock;
    clock.start();
    worker.reset();
    EXPECT_LT(clock.elapsed(), 500) << "the destructor waited for the worker";

    // Deaf to SIGTERM, so it is killed after the grace; the request it was
    // answering fails and the shared queue is free again.
    EXPECT_EQ(run(std::move(transcription)).error(), WorkerFailure::stopped);
    EXPECT_TRUE(processEventsUntil([&] { return processGone(pid); }, 10'000));
    LocalWorker next(queue, standIn());
    EXPECT_EQ(ask(next, wave(32'000)), u"heard 16000 samples"_s);
}

TEST_F(LocalWorkerTest, MainThreadMethodsStopADebugBuildWhenCalledFromAnotherThread) {
#ifdef NDEBUG
    GTEST_SKIP() << "the check is compiled into debug builds only";
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    LocalWorker worker(queue, standIn());
    EXPECT_DEATH(std::thread([&] { (void)worker.workerRunning(); }).join(),
                 "called on a thread other than the one that owns it");
    EXPECT_FALSE(worker.workerRunning()) << "the owner's own calls pass";
#endif
}

} // namespace

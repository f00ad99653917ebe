#include "transcription/TranscriptionService.h"
#include "support/hosted/HostedTestSupport.h"
#include "transcription/PartCache.h"

#include "support/TestSupport.h"

#include <QCoro/QCoroTimer>
#include <QFileInfo>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <chrono>

using namespace quendra;
using namespace quendra::testing;
using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr qint64 minuteBytes = 1'920'000;

// Answers "minute N" for the part starting at minute N after a short wait,
// counting what it was sent and how many requests overlapped.
class ScriptedEngine : public TranscriptionEngine {
public:
    QCoro::Task<EngineResult> transcribe(EngineRequest request) override {
        sent << request.part;
        contexts << request.context;
        ++inFlight;
        maxInFlight = std::max(maxInFlight, inFlight);
        co_await QCoro::sleepFor(std::chrono::milliseconds(delayMs));
        --inFlight;
        if (request.cancel->isCancelled())
            co_return std::unexpected(
                TranscriptionServiceError{TranscriptionServiceError::Kind::cancelled, {}});
        const qint64 minute = request.part.startMs / 60'000;
        if (failAt.contains(minute))
            co_return std::unexpected(TranscriptionServiceError::engine(u"Broken."_s));
        EngineTranscript result;
        result.rawTranscript = u"minute %1"_s.arg(minute);
        result.transcript = formats ? u"Minute %1."_s.arg(minute) : result.rawTranscript;
        result.modelFormatted = formats;
        if (withSegments)
            result.segments = {{100, 900, result.transcript, {}}};
        co_return result;
    }
    std::optional<TranscriptionServiceError> unavailable(DictationLanguage) const override {
        return unavailableReason;
    }

    QList<AudioPart> sent;
    QList<FinishingContext> contexts;
    QSet<qint64> failAt;
    int inFlight = 0;
    int maxInFlight = 0;
    int delayMs = 5;
    bool formats = false;
    bool withSegments = false;
    std::optional<TranscriptionServiceError> unavailableReason;
};

struct FinishCall {
    QString text;
    FinishingContext context;
    bool modelFormatted = false;
};

class TranscriptionServiceTest : public ::testing::Test {
protected:
    TranscriptionServiceTest() { ensureCoreApplication(); }

    TranscriptionService makeService(int concurrent = 3) {
        TranscriptionService service(
            [this](const QString& text, const FinishingContext& context,
                   bool formatted) -> std::expected<FinishedText, TranscriptionServiceError> {
                finishCalls.append({text, context, formatted});
                if (finishFailure)
                    return std::unexpected(*finishFailure);
                FinishedText out;
                out.transcript = u"<"_s + text + u">"_s;
                out.triggerTranscript = text;
                out.reliable = !text.isEmpty();
                return out;
            },
            concurrent);
        service.setEngine(DictationModel::hosted, engine);
        return service;
    }

    QString recording(qint64 dataBytes, int seed = 0) {
        const QString path = dir.filePath(u"take-%1.wav"_s.arg(seed));
        EXPECT_TRUE(writeRecording(path, dataBytes, seed));
        return path;
    }

    TranscriptionRequest request(const QString& path) {
        TranscriptionRequest r;
        r.fileURL = path;
        r.contextBefore = u"Dear Ann,"_s;
        r.contextAfter = u"Best"_s;
        r.conversationContext = u"Ann: are you coming?"_s;
        return r;
    }

    QTemporaryDir dir;
    std::shared_ptr<ScriptedEngine> engine = std::make_shared<ScriptedEngine>();
    QList<FinishCall> finishCalls;
    std::optional<TranscriptionServiceError> finishFailure;
};

TEST_F(TranscriptionServiceTest, RecordingThatFitsOneUploadIsSentWhole) {
    auto service = makeService();
    const QString path = recording(3'000'000 - 44);
    const auto result = run(service.transcribe(request(path)));
    ASSERT_TRUE(result) << result.error().message().toStdString();
    ASSERT_EQ(engine->sent.size(), 1);
    EXPECT_EQ(engine->sent[0].path, path);
    EXPECT_EQ(result->rawTranscript, u"minute 0"_s);
    EXPECT_EQ(result->transcript, u"<minute 0>"_s);
    EXPECT_EQ(result->triggerTranscript, u"minute 0"_s);
    EXPECT_EQ(result->model, DictationModel::hosted);
    EXPECT_FALSE(result->fallbackUsed);
}

TEST_F(TranscriptionServiceTest, PartsAreJoinedInOrderWithTheirTimes) {
    auto service = makeService();
    engine->withSegments = true;
    engine->delayMs = 0;
    const auto result = run(service.transcribe(request(recording(3 * minuteBytes + 64'000))));
    ASSERT_TRUE(result);
    EXPECT_EQ(result->rawTranscript, u"minute 0 minute 1 minute 2 minute 3"_s);
    ASSERT_EQ(result->segments.size(), 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(result->segments[i].startMs, i * 60'000 + 100);
        EXPECT_EQ(result->segments[i].endMs, i * 60'000 + 900);
    }
    ASSERT_EQ(finishCalls.size(), 1);
    EXPECT_FALSE(finishCalls[0].modelFormatted);
    // Every temporary part is gone once the text is back.
    for (const AudioPart& part : engine->sent)
        EXPECT_FALSE(QFileInfo::exists(part.path)) << part.path.toStdString();
}

TEST_F(TranscriptionServiceTest, PartsWithoutSegmentsGetOneSpanningThePart) {
    auto service = makeService();
    const auto result = run(service.transcribe(request(recording(2 * minuteBytes + 320'000))));
    ASSERT_TRUE(result);
    ASSERT_EQ(result->segments.size(), 3);
    EXPECT_EQ(result->segments[2], (TranscriptionSegment{120'000, 130'000, u"minute 2"_s, {}}));
}

TEST_F(TranscriptionServiceTest, EngineFormattedPartsAreFinishedAsFormatted) {
    auto service = makeService();
    engine->formats = true;
    const auto result = run(service.transcribe(request(recording(2 * minuteBytes))));
    ASSERT_TRUE(result);
    EXPECT_EQ(result->rawTranscript, u"minute 0 minute 1"_s);
    ASSERT_EQ(finishCalls.size(), 1);
    EXPECT_EQ(finishCalls[0].text, u"Minute 0. Minute 1."_s);
    EXPECT_TRUE(finishCalls[0].modelFormatted);
}

TEST_F(TranscriptionServiceTest, RetryAfterTwoFinishedPartsSendsOnlyTheRest) {
    auto service = makeService(1);
    const QString path = recording(4 * minuteBytes);
    engine->failAt = {2};
    std::vector<TranscriptionProgress> progress;
    auto first = request(path);
    first.onProgress = [&](TranscriptionProgress p) { progress.push_back(p); };
    const auto failed = run(service.transcribe(first));
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().message(), u"Broken."_s);
    EXPECT_EQ(engine->sent.size(), 3);
    ASSERT_EQ(progress.size(), 2u);
    EXPECT_EQ(progress[1].finishedParts, 2);
    EXPECT_EQ(progress[1].totalParts, 4);
    EXPECT_EQ(PartCache::load(PartCache::pathFor(path)).size(), 2);
    for (const AudioPart& part : engine->sent)
        EXPECT_FALSE(QFileInfo::exists(part.path));

    engine->failAt.clear();
    engine->sent.clear();
    const auto retried = run(service.transcribe(request(path)));
    ASSERT_TRUE(retried);
    ASSERT_EQ(engine->sent.size(), 2);
    EXPECT_EQ(engine->sent[0].startMs, 120'000);
    EXPECT_EQ(engine->sent[1].startMs, 180'000);
    EXPECT_EQ(retried->rawTranscript, u"minute 0 minute 1 minute 2 minute 3"_s);

    // A third time nothing is sent at all.
    engine->sent.clear();
    EXPECT_TRUE(run(service.transcribe(request(path))));
    EXPECT_TRUE(engine->sent.isEmpty());
}

TEST_F(TranscriptionServiceTest, CacheIsKeptPerStyleModelAndVersion) {
    auto service = makeService();
    const QString path = recording(2 * minuteBytes);
    ASSERT_TRUE(run(service.transcribe(request(path))));
    engine->sent.clear();
    auto exact = request(path);
    exact.style = DictationStyle::exact;
    ASSERT_TRUE(run(service.transcribe(exact)));
    EXPECT_EQ(engine->sent.size(), 2);

    // A cache file of another version is ignored.
    QFile file(PartCache::pathFor(path));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    QByteArray bytes = file.readAll();
    file.close();
    bytes.replace("\"version\":2", "\"version\":1");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
    file.close();
    engine->sent.clear();
    ASSERT_TRUE(run(service.transcribe(request(path))));
    EXPECT_EQ(engine->sent.size(), 2);
}

TEST_F(TranscriptionServiceTest, NoMoreThanConcurrentSectionsAtOnce) {
    for (const int limit : {1, 2, 3}) {
        engine = std::make_shared<ScriptedEngine>();
        auto service = makeService(limit);
        const auto result =
            run(service.transcribe(request(recording(7 * minuteBytes, limit * 10))));
        ASSERT_TRUE(result);
        EXPECT_EQ(engine->sent.size(), 7);
        EXPECT_EQ(engine->maxInFlight, limit);
        EXPECT_EQ(result->rawTranscript,
                  u"minute 0 minute 1 minute 2 minute 3 minute 4 minute 5 minute 6"_s);
    }
}

TEST_F(TranscriptionServiceTest, CancellationKeepsFinishedPartsAndCompletedOnlyJoinsThem) {
    auto service = makeService(1);
    const QString path = recording(5 * minuteBytes);
    auto first = request(path);
    first.onProgress = [cancel = first.cancel](TranscriptionProgress p) {
        if (p.finishedParts == 2)
            cancel->cancel();
    };
    const auto cancelled = run(service.transcribe(first));
    ASSERT_FALSE(cancelled);
    EXPECT_EQ(cancelled.error().kind, TranscriptionServiceError::Kind::cancelled);
    EXPECT_EQ(engine->sent.size(), 2);
    EXPECT_EQ(PartCache::load(PartCache::pathFor(path)).size(), 2);

    engine->sent.clear();
    auto finishedOnly = request(path);
    finishedOnly.completedOnly = true;
    const auto partial = run(service.transcribe(finishedOnly));
    ASSERT_TRUE(partial);
    EXPECT_TRUE(engine->sent.isEmpty());
    EXPECT_EQ(partial->rawTranscript, u"minute 0 minute 1"_s);
}

TEST_F(TranscriptionServiceTest, ExactStyleSendsNoSurroundingText) {
    auto service = makeService();
    auto exact = request(recording(minuteBytes));
    exact.style = DictationStyle::exact;
    ASSERT_TRUE(run(service.transcribe(exact)));
    ASSERT_EQ(engine->contexts.size(), 1);
    EXPECT_TRUE(engine->contexts[0].contextBefore.isEmpty());
    EXPECT_TRUE(engine->contexts[0].contextAfter.isEmpty());
    EXPECT_TRUE(engine->contexts[0].conversationContext.isEmpty());

    engine->contexts.clear();
    auto clean = request(recording(minuteBytes, 9));
    ASSERT_TRUE(run(service.transcribe(clean)));
    ASSERT_EQ(engine->contexts.size(), 1);
    EXPECT_EQ(engine->contexts[0].contextBefore, u"Dear Ann,"_s);
    EXPECT_EQ(engine->contexts[0].conversationContext, u"Ann: are you coming?"_s);
}

TEST_F(TranscriptionServiceTest, FallbackOnlyWhenAllowed) {
    auto service = makeService();
    engine->failAt = {0};
    auto local = std::make_shared<ScriptedEngine>();
    service.setEngine(DictationModel::offline, local);
    const QString path = recording(minuteBytes);

    const auto refused = run(service.transcribe(request(path)));
    ASSERT_FALSE(refused);
    EXPECT_TRUE(local->sent.isEmpty());

    auto allowed = request(path);
    allowed.allowFallback = true;
    const auto replaced = run(service.transcribe(allowed));
    ASSERT_TRUE(replaced);
    EXPECT_TRUE(replaced->fallbackUsed);
    EXPECT_EQ(replaced->model, DictationModel::offline);
    EXPECT_EQ(local->sent.size(), 1);

    // An engine that cannot take the language is passed over.
    local->sent.clear();
    local->unavailableReason = TranscriptionServiceError::engine(u"English only."_s);
    const auto none = run(service.transcribe(allowed));
    ASSERT_FALSE(none);
    EXPECT_EQ(none.error().message(), u"Broken."_s);
    EXPECT_TRUE(local->sent.isEmpty());
}

TEST_F(TranscriptionServiceTest, UnreadableRecordingsDoNotFallBack) {
    auto service = makeService();
    auto local = std::make_shared<ScriptedEngine>();
    service.setEngine(DictationModel::offline, local);
    auto req = request(dir.filePath(u"missing.wav"_s));
    req.allowFallback = true;
    const auto result = run(service.transcribe(req));
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().message(), u"That recording could not be read. Record it again."_s);
    EXPECT_TRUE(local->sent.isEmpty());
}

TEST_F(TranscriptionServiceTest, MissingEngineAndFinishingFailuresAreReported) {
    auto service = makeService();
    auto req = request(recording(minuteBytes));
    req.model = DictationModel::turbo;
    const auto missing = run(service.transcribe(req));
    ASSERT_FALSE(missing);
    EXPECT_EQ(missing.error().message(),
              u"Whisper Large v3 Turbo is not available in this build yet."_s);

    finishFailure = TranscriptionServiceError::bridgeUnavailable(u"No scripts."_s);
    const auto unfinished = run(service.transcribe(request(recording(minuteBytes))));
    ASSERT_FALSE(unfinished);
    EXPECT_EQ(unfinished.error().message(), u"No scripts."_s);
}

TEST_F(TranscriptionServiceTest, UnreliableTextInsertsNothing) {
    auto service = makeService();
    const QString path = recording(minuteBytes);
    auto req = request(path);
    req.completedOnly = true; // nothing finished yet: an empty transcript
    const auto result = run(service.transcribe(req));
    ASSERT_TRUE(result);
    EXPECT_TRUE(result->transcript.isEmpty());
    EXPECT_TRUE(engine->sent.isEmpty());
}

} // namespace

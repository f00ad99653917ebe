#include "transcription/TranscriptionService.h"

#include "audio/TranscriptJoiner.h"
#include "hosted/Wakeup.h"
#include "transcription/PartCache.h"

#include <QDebug>
#include <QTimer>

#include <coroutine>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

using ServiceResult = std::expected<TranscriptionResult, TranscriptionServiceError>;

// What the parts of one attempt share; kept alive by every part in flight.
struct Run {
    QString cachePath;
    PartCache cache;
    DictationStyle style = DictationStyle::clean;
    DictationModel model = DictationModel::hosted;
    QList<std::optional<EngineTranscript>> results;
    int running = 0;
    int finished = 0;
    std::optional<TranscriptionServiceError> failure;
    std::function<void(TranscriptionProgress)> onProgress;
    Wakeup wakeup;
};

QCoro::Task<> runPart(std::shared_ptr<Run> run, std::shared_ptr<TranscriptionEngine> engine,
                      EngineRequest request, qsizetype index, QString digest) {
    const Cancellation cancel = request.cancel;
    EngineResult result = co_await engine->transcribe(std::move(request));
    --run->running;
    if (result) {
        run->results[index] = *result;
        run->cache.remember(digest, run->style, run->model, *result);
        // The cache only saves a retry some uploads: the part still counts.
        if (auto saved = run->cache.save(run->cachePath); !saved)
            qWarning().noquote() << saved.error().message;
        ++run->finished;
        if (run->onProgress && !cancel->isCancelled())
            run->onProgress({run->finished, int(run->results.size())});
    } else if (!run->failure) {
        run->failure = result.error();
    }
    run->wakeup.notify();
}

TranscriptionServiceError chunkingFailure(ChunkingError error) {
    using Kind = TranscriptionServiceError::Kind;
    switch (error) {
    case ChunkingError::recordingTooLarge:
        return {Kind::recordingTooLarge, {}};
    case ChunkingError::cannotWriteParts:
        return TranscriptionServiceError::temporaryFilesUnwritable();
    case ChunkingError::unsupportedRecording:
        break;
    }
    return {Kind::unsupportedRecording, {}};
}

TranscriptionServiceError cancelledError() {
    return {TranscriptionServiceError::Kind::cancelled, {}};
}

// Removes the temporary parts however the attempt ends.
struct TemporaryParts {
    PreparedRecording prepared;
    ~TemporaryParts() { AudioChunks::removeTemporaryFiles(prepared); }
};

} // namespace

TranscriptionService::TranscriptionService(Finisher finisher, int concurrentSections)
    : finisher(std::move(finisher))
    , concurrency(std::max(1, concurrentSections)) {}

void TranscriptionService::setEngine(DictationModel model,
                                     std::shared_ptr<TranscriptionEngine> engine) {
    engines.insert(model, std::move(engine));
}

bool TranscriptionService::allowsFallback(const TranscriptionServiceError& error) {
    using Kind = TranscriptionServiceError::Kind;
    // A recording that cannot be read or is too long fails on every engine,
    // and a cancelled dictation is not a failure at all.
    return error.kind == Kind::engine || error.kind == Kind::invalidResponse;
}

QList<DictationModel> TranscriptionService::fallbacks(DictationModel model) {
    switch (model) {
    case DictationModel::hosted:
    case DictationModel::largeV3:
    case DictationModel::turbo:
        return {DictationModel::qwen, DictationModel::offline};
    case DictationModel::qwen:
        return {DictationModel::offline};
    case DictationModel::offline:
        return {};
    }
    return {};
}

QCoro::Task<ServiceResult> TranscriptionService::transcribe(TranscriptionRequest request) {
    ServiceResult result = co_await attempt(request, request.model);
    if (result || !request.allowFallback || !allowsFallback(result.error()) ||
        request.cancel->isCancelled())
        co_return result;
    for (const DictationModel other : fallbacks(request.model)) {
        const auto engine = engines.value(other);
        if (!engine || engine->unavailable(request.language))
            continue;
        ServiceResult replaced = co_await attempt(request, other);
        if (replaced) {
            replaced->fallbackUsed = true;
            co_return replaced;
        }
        if (request.cancel->isCancelled())
            co_return replaced;
    }
    co_return result;
}

std::optional<TranscriptionServiceError>
TranscriptionService::unavailable(DictationModel model, DictationLanguage language) const {
    const std::shared_ptr<TranscriptionEngine> engine = engines.value(model);
    if (!engine)
        return TranscriptionServiceError::engine(
            u"%1 is not available in this build yet."_s.arg(title(model)));
    return engine->unavailable(language);
}

QCoro::Task<ServiceResult> TranscriptionService::attempt(TranscriptionRequest request,
                                                         DictationModel model) {
    if (auto reason = unavailable(model, request.language))
        co_return std::unexpected(*reason);
    const std::shared_ptr<TranscriptionEngine> engine = engines.value(model);

    auto prepared = request.wholePartsOnly > 0
                        ? AudioChunks::prepareWholeParts(request.fileURL, request.wholePartsOnly)
                        : AudioChunks::prepare(request.fileURL);
    if (!prepared)
        co_return std::unexpected(chunkingFailure(prepared.error()));
    const TemporaryParts temporary{*prepared};
    const QList<AudioPart>& parts = temporary.prepared.parts;

    FinishingContext context;
    context.style = request.style;
    context.language = request.language;
    context.dictionary = request.dictionary;
    context.surface = WritingDestinations::detect(request.appBundleID);
    context.contextBefore = request.contextBefore;
    context.contextAfter = request.contextAfter;
    context.conversationContext = request.conversationContext;
    context.replyAssist = request.replyAssist;
    FinishingContext engineContext = context;
    // Literal dictation shares none of the surrounding text.
    if (request.style == DictationStyle::exact) {
        engineContext.contextBefore.clear();
        engineContext.contextAfter.clear();
        engineContext.conversationContext.clear();
    }

    auto run = std::make_shared<Run>();
    run->cachePath = PartCache::pathFor(request.fileURL);
    run->cache = PartCache::load(run->cachePath);
    run->style = request.style;
    run->model = model;
    run->onProgress = request.onProgress;
    run->results.resize(parts.size());
    QStringList digests;
    QList<qsizetype> waiting;
    const QList<std::optional<QString>> hashed = PartCache::digests(parts);
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const auto& digest = hashed[i];
        if (!digest)
            co_return std::unexpected(chunkingFailure(ChunkingError::unsupportedRecording));
        digests << *digest;
        run->results[i] = run->cache.find(*digest, request.style, model);
        if (run->results[i])
            ++run->finished;
        else
            waiting << i;
    }
    if (run->onProgress && run->finished > 0)
        run->onProgress({run->finished, int(parts.size())});

    if (!request.completedOnly) {
        const Cancellation cancel = request.cancel;
        const int wake = cancel->onCancel([weak = std::weak_ptr<Run>(run)] {
            if (const auto r = weak.lock())
                r->wakeup.notify();
        });
        qsizetype next = 0;
        while (!cancel->isCancelled()) {
            while (!run->failure && run->running < concurrency && next < waiting.size()) {
                const qsizetype index = waiting[next++];
                ++run->running;
                runPart(run, engine, EngineRequest{parts[index], engineContext, cancel}, index,
                        digests[index]);
            }
            if (run->running == 0)
                break;
            co_await run->wakeup;
        }
        cancel->forget(wake);
        // Parts still in flight were told through the flag; whatever they
        // finish is still cached, but this attempt is over.
        if (cancel->isCancelled())
            co_return std::unexpected(cancelledError());
        if (run->failure)
            co_return std::unexpected(*run->failure);
    }

    TranscriptionResult result;
    result.model = model;
    if (request.wholePartsOnly > 0)
        co_return result;
    QStringList raw;
    QStringList texts;
    bool modelFormatted = true;
    bool anyPart = false;
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const auto& part = run->results[i];
        if (!part)
            continue;
        anyPart = true;
        raw << part->rawTranscript;
        texts << part->transcript;
        modelFormatted = modelFormatted && part->modelFormatted;
        result.formattingFallback = result.formattingFallback || part->formattingFallback;
        const AudioPart& audio = parts[i];
        if (part->segments.isEmpty() && !part->transcript.trimmed().isEmpty())
            result.segments.append(TranscriptionSegment{
                audio.startMs, audio.startMs + audio.durationMs, part->transcript, {}});
        for (TranscriptionSegment segment : part->segments) {
            segment.startMs += audio.startMs;
            segment.endMs += audio.startMs;
            result.segments.append(segment);
        }
    }
    modelFormatted = modelFormatted && anyPart;
    result.rawTranscript = TranscriptJoiner::combine(raw);
    const QString joined = modelFormatted ? TranscriptJoiner::combine(texts) : result.rawTranscript;
    auto finished = finisher(joined, context, modelFormatted);
    if (!finished)
        co_return std::unexpected(finished.error());
    // Silence, fillers alone or a made-up sign-off: nothing to insert.
    result.transcript = finished->reliable ? finished->transcript : QString();
    result.triggerTranscript = finished->triggerTranscript;
    result.formattingFallback = result.formattingFallback || finished->formattingFallback;
    co_return result;
}

} // namespace quendra

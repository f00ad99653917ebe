#include "transcription/LocalEngine.h"

namespace quendra {

LocalEngine::LocalEngine(LocalWorker& worker, LocalEngineSentences sentences,
                         Availability availability)
    : worker(worker)
    , sentences(std::move(sentences))
    , availability(std::move(availability)) {}

std::optional<TranscriptionServiceError>
LocalEngine::unavailable(DictationLanguage language) const {
    return availability ? availability(language) : std::nullopt;
}

TranscriptionServiceError LocalEngine::error(WorkerFailure failure) const {
    using Kind = TranscriptionServiceError::Kind;
    switch (failure) {
    case WorkerFailure::recordingTooLarge:
        return {Kind::recordingTooLarge, {}};
    case WorkerFailure::unsupportedRecording:
        return {Kind::unsupportedRecording, {}};
    case WorkerFailure::cannotWriteCopy:
        return TranscriptionServiceError::temporaryFilesUnwritable();
    case WorkerFailure::couldNotFinish:
        return TranscriptionServiceError::engine(sentences.couldNotFinish);
    case WorkerFailure::stopped:
        return TranscriptionServiceError::engine(sentences.stopped);
    }
    return TranscriptionServiceError::engine(sentences.stopped);
}

QCoro::Task<EngineResult> LocalEngine::transcribe(EngineRequest request) {
    if (auto reason = unavailable(request.context.language))
        co_return std::unexpected(*reason);
    const Cancellation cancel = request.cancel;
    const auto text = co_await worker.transcribe(
        request.part.path, rawValue(request.context.language).toString(), cancel);
    if (cancel && cancel->isCancelled())
        co_return std::unexpected(
            TranscriptionServiceError{TranscriptionServiceError::Kind::cancelled, {}});
    if (!text)
        co_return std::unexpected(error(text.error()));
    EngineTranscript result;
    result.rawTranscript = text->text.trimmed();
    result.transcript = result.rawTranscript;
    // Word by word, for notes, which label each word with its speaker.
    result.segments = text->words;
    co_return result;
}

} // namespace quendra

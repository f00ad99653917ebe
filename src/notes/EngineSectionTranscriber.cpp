#include "notes/EngineSectionTranscriber.h"

#include "model/DictationLanguage.h"
#include "transcription/TranscriptionEngine.h"

namespace quendra {

namespace {

DictationLanguage languageOf(const QString& code) {
    return fromRawValue<DictationLanguage>(code).value_or(DictationLanguage::automatic);
}

} // namespace

EngineSectionTranscriber::EngineSectionTranscriber(std::shared_ptr<TranscriptionEngine> engine,
                                                   QString name)
    : engine(std::move(engine))
    , engineName(std::move(name)) {}

QCoro::Task<SectionTranscriptResult> EngineSectionTranscriber::transcribe(QString wavPath,
                                                                          qint64 durationMs,
                                                                          QString language,
                                                                          Cancellation cancel) {
    EngineRequest request;
    request.part = AudioPart{wavPath, 0, durationMs};
    request.context.style = DictationStyle::exact;
    request.context.language = languageOf(language);
    request.context.speechHeard = true;
    request.cancel = cancel ? cancel : std::make_shared<CancellationFlag>();
    request.wordTimes = true;
    const std::shared_ptr<TranscriptionEngine> held = engine;
    EngineResult result = co_await held->transcribe(std::move(request));
    if (!result)
        co_return std::unexpected(SectionTranscriptionError{
            result.error().message(),
            result.error().kind == TranscriptionServiceError::Kind::cancelled});
    SectionTranscript out;
    out.text = result->rawTranscript.trimmed();
    out.words = wordsFromSegments(result->segments, out.text, durationMs);
    co_return out;
}

std::optional<QString> EngineSectionTranscriber::unavailable(const QString& language) const {
    if (const auto reason = engine->unavailable(languageOf(language)))
        return reason->message();
    return std::nullopt;
}

} // namespace quendra

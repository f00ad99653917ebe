#include "transcription/HostedEngine.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString HostedEngine::cleanupMode(DictationStyle style) {
    if (style == DictationStyle::clean)
        return u"light"_s;
    return rawValue(style).toString();
}

QString HostedEngine::mediaType(const QString& path) {
    return QFileInfo(path).suffix() == u"wav"_s ? u"audio/wav"_s : u"audio/mp4"_s;
}

HostedDictationRequest HostedEngine::makeRequest(QByteArray audio, const QString& path,
                                                 const FinishingContext& context) {
    HostedDictationRequest request;
    request.audio = std::move(audio);
    request.mediaType = mediaType(path);
    request.language = rawValue(context.language).toString();
    request.cleanupMode = cleanupMode(context.style);
    request.dictionary = context.dictionary;
    // Literal dictation shares none of the surrounding text.
    if (context.style != DictationStyle::exact) {
        request.contextBefore = context.contextBefore;
        request.contextAfter = context.contextAfter;
        request.conversationContext = context.conversationContext;
    }
    request.writingSurface = WritingDestinations::surfaceName(context.surface);
    request.replyAssist = context.replyAssist;
    return request;
}

TranscriptionServiceError HostedEngine::error(const HostedError& error,
                                              HostedMessageContext context) {
    if (error.kind == HostedError::Kind::cancelled)
        return {TranscriptionServiceError::Kind::cancelled, {}};
    return TranscriptionServiceError::engine(error.message(context));
}

QCoro::Task<EngineResult> HostedEngine::transcribe(EngineRequest request) {
    const Cancellation cancel = request.cancel;
    if (cancel->isCancelled())
        co_return std::unexpected(
            TranscriptionServiceError{TranscriptionServiceError::Kind::cancelled, {}});
    QFile file(request.part.path);
    if (!file.open(QIODevice::ReadOnly))
        co_return std::unexpected(
            TranscriptionServiceError{TranscriptionServiceError::Kind::unsupportedRecording, {}});
    // The part logic keeps parts under the limit; a part still above it
    // would be refused by the service after a long upload.
    if (file.size() > largestUploadBytes)
        co_return std::unexpected(
            TranscriptionServiceError{TranscriptionServiceError::Kind::recordingTooLarge, {}});
    HostedDictationRequest dictation =
        makeRequest(file.readAll(), request.part.path, request.context);
    file.close();

    auto reply = co_await hosted.dictate(std::move(dictation), cancel);
    if (!reply)
        co_return std::unexpected(error(reply.error(), context));
    EngineTranscript result;
    result.transcript = reply->transcript;
    result.rawTranscript = reply->rawTranscript.value_or(reply->transcript);
    result.formattingFallback = reply->formattingFallback;
    result.modelFormatted = true;
    co_return result;
}

} // namespace quendra

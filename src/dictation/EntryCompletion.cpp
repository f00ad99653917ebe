#include "EntryCompletion.h"

#include "audio/WaveFileWriter.h"
#include "model/AppDataStore.h"
#include "model/PendingRecordingStore.h"

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

EntryCompletion::EntryCompletion(AppDataStore& store, PendingRecordingStore& pendingRecordings,
                                 TranscriptionService& transcription,
                                 std::function<bool()> savedSignIn)
    : store(store)
    , pendingRecordings(pendingRecordings)
    , transcription(transcription)
    , savedSignIn(std::move(savedSignIn)) {}

std::optional<TranscriptEntry> EntryCompletion::entry(const QUuid& id) const {
    const auto history = store.history();
    const auto found =
        std::find_if(history.begin(), history.end(), [&](const auto& e) { return e.id == id; });
    if (found == history.end())
        return std::nullopt;
    return *found;
}

std::optional<QString> EntryCompletion::recordingPath(const QUuid& id) const {
    const auto e = entry(id);
    if (!e || !e->recordingFileName)
        return std::nullopt;
    return pendingRecordings.url(*e->recordingFileName);
}

TranscriptionRequest EntryCompletion::request(const TranscriptEntry& e, const QString& path) const {
    TranscriptionRequest request;
    request.fileURL = path;
    // Entries kept from before settings were frozen finish with today's.
    const DictationSessionSettings settings = e.dictationSettings.value_or(
        DictationSessionSettings{store.dictationStyle(),
                                 {},
                                 rawValue(store.dictationLanguage()).toString(),
                                 store.replyAssist(),
                                 {},
                                 {},
                                 {},
                                 {},
                                 {},
                                 {}});
    request.style = settings.style;
    request.appBundleID = settings.application;
    request.language =
        fromRawValue<DictationLanguage>(settings.language).value_or(DictationLanguage::automatic);
    request.replyAssist = settings.replyAssist;
    request.dictionary = settings.dictionary ? *settings.dictionary : store.dictionaryEntries();
    request.contextBefore = settings.contextBefore.value_or(QString());
    request.contextAfter = settings.contextAfter.value_or(QString());
    request.conversationContext = settings.conversationContext.value_or(QString());
    request.model = settings.model ? *settings.model : store.dictationModel(savedSignIn());
    request.allowFallback =
        settings.allowFallback ? *settings.allowFallback : store.allowModelFallback();
    return request;
}

void EntryCompletion::markPendingFailure(const QUuid& id, const std::optional<QString>& message) {
    auto e = entry(id);
    if (!e)
        return;
    e->transcriptionError = message;
    // The sentence is only advice; a failure to store it changes nothing else.
    (void)store.importHistory(*e);
}

QCoro::Task<std::expected<EntryCompletion::Completed, EntryCompletion::Failure>>
EntryCompletion::complete(QUuid id, std::function<void(TranscriptionProgress)> onProgress,
                          Cancellation cancel) {
    const auto original = entry(id);
    const auto path = original && original->recordingFileName
                          ? pendingRecordings.url(*original->recordingFileName)
                          : std::nullopt;
    if (!original || !path)
        co_return std::unexpected(
            Failure{Failure::Kind::recordingUnavailable, recordingUnavailable});
    TranscriptionRequest req = request(*original, *path);
    req.onProgress = std::move(onProgress);
    req.cancel = std::move(cancel);
    const DictationStyle style = req.style;
    auto result = co_await transcription.transcribe(std::move(req));
    if (!result) {
        if (result.error().kind == TranscriptionServiceError::Kind::cancelled)
            co_return std::unexpected(Failure{Failure::Kind::cancelled, result.error().message()});
        markPendingFailure(id, result.error().message());
        co_return std::unexpected(Failure{Failure::Kind::transcription, result.error().message()});
    }
    if (result->transcript.trimmed().isEmpty()) {
        markPendingFailure(id, noClearSpeechEntry);
        co_return std::unexpected(Failure{Failure::Kind::noClearSpeech, noClearSpeechEntry});
    }

    // Read again: the entry may have changed while the engine worked.
    TranscriptEntry finished = entry(id).value_or(*original);
    const QString fileName = *original->recordingFileName;
    finished.text = store.expandSnippet(result->transcript);
    finished.rawText = result->rawTranscript;
    finished.polished = style != DictationStyle::exact;
    finished.transcriptionError.reset();
    finished.recordingFileName.reset();
    if (!finished.durationMs)
        finished.durationMs = WaveFileWriter::durationMs(*path);
    if (auto stored = store.importHistory(finished); !stored) {
        // The text is not safe yet, so the audio stays for a retry.
        co_return std::unexpected(Failure{Failure::Kind::storage, stored.error().message});
    }
    pendingRecordings.remove(fileName);
    co_return Completed{finished, *result, title(style)};
}

} // namespace quendra

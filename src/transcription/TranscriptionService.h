#pragma once

#include "TranscriptionEngine.h"

#include <QMap>

#include <functional>
#include <memory>

namespace quendra {

struct TranscriptionProgress {
    int finishedParts = 0; // cached ones included
    int totalParts = 0;
};

struct TranscriptionRequest {
    QString fileURL; // path of the saved recording
    DictationStyle style = DictationStyle::clean;
    QString appBundleID;
    QList<PersonalDictionaryEntry> dictionary;
    DictationLanguage language = DictationLanguage::automatic;
    QString contextBefore;
    QString contextAfter;
    QString conversationContext;
    bool replyAssist = false;
    DictationModel model = DictationModel::hosted;
    bool allowFallback = false;
    // Join only the parts finished earlier; send nothing.
    bool completedOnly = false;
    // While the recording goes on: send only its first this many whole parts,
    // to be remembered for the final transcription; the result holds no text.
    int wholePartsOnly = 0;
    std::function<void(TranscriptionProgress)> onProgress;
    Cancellation cancel = std::make_shared<CancellationFlag>();
};

// Turns one saved recording into a finished transcript: picks the engine of
// the model, cuts the recording into parts, runs a few parts at once,
// remembers finished parts beside the recording, joins them and finishes
// the text. Main thread only.
class TranscriptionService {
public:
    // Three uploads at once keep a long recording moving without crowding
    // the connection; the local engines take one request at a time anyway.
    static constexpr int defaultConcurrentSections = 3;

    // The local finishing pass; normally DictationIntelligence::finish.
    using Finisher = std::function<std::expected<FinishedText, TranscriptionServiceError>(
        const QString& text, const FinishingContext& context, bool modelFormatted)>;

    explicit TranscriptionService(Finisher finisher,
                                  int concurrentSections = defaultConcurrentSections);

    void setEngine(DictationModel model, std::shared_ptr<TranscriptionEngine> engine);
    // The engine of `model`, for work that is not a dictation (a note's
    // sections); none when the build has none.
    std::shared_ptr<TranscriptionEngine> engine(DictationModel model) const {
        return engines.value(model);
    }
    int concurrentSections() const { return concurrency; }

    QCoro::Task<std::expected<TranscriptionResult, TranscriptionServiceError>>
    transcribe(TranscriptionRequest request);

    // Why a recording for `model` in `language` cannot be transcribed at all
    // (no engine, no key, not installed, language not understood), or none.
    std::optional<TranscriptionServiceError> unavailable(DictationModel model,
                                                         DictationLanguage language) const;

    // The failures after which another engine may be tried.
    static bool allowsFallback(const TranscriptionServiceError& error);
    // Engines tried, in order, when `model` fails and fallback is allowed.
    static QList<DictationModel> fallbacks(DictationModel model);

private:
    QCoro::Task<std::expected<TranscriptionResult, TranscriptionServiceError>>
    attempt(TranscriptionRequest request, DictationModel model);

    Finisher finisher;
    int concurrency;
    QMap<DictationModel, std::shared_ptr<TranscriptionEngine>> engines;
};

} // namespace quendra

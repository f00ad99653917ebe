#pragma once

#include "hosted/CancellationFlag.h"
#include "model/DictationModel.h"
#include "model/TranscriptEntry.h"
#include "model/TranscriptionResult.h"
#include "transcription/TranscriptionService.h"

#include <QString>
#include <QUuid>
#include <qcorotask.h>

#include <expected>
#include <functional>
#include <optional>

namespace quendra {

class AppDataStore;
class PendingRecordingStore;

// Turns one kept recording of History into text with the settings frozen
// when it was recorded, and keeps the entry and its audio in step: the audio
// goes only once the text is stored. The application's dictations, its
// retries and "parlevo history retry" all complete entries here.
class EntryCompletion {
public:
    struct Failure {
        enum class Kind {
            // The entry or its audio is gone; nothing was changed.
            recordingUnavailable,
            // The engines heard nothing to write; the audio is kept.
            noClearSpeech,
            transcription,
            cancelled,
            // The text could not be stored; the audio is kept.
            storage,
        };
        Kind kind = Kind::transcription;
        // What the user is told.
        QString message;
    };

    struct Completed {
        TranscriptEntry entry;
        TranscriptionResult result;
        // The frozen style's title, for the basic-cleanup notice.
        QString styleTitle;
    };

    // `savedSignIn` tells whether a sign-in is kept, which decides the model
    // of entries recorded before the model was frozen with them.
    EntryCompletion(
        AppDataStore& store, PendingRecordingStore& pendingRecordings,
        TranscriptionService& transcription,
        std::function<bool()> savedSignIn = [] { return false; });

    // The entry's kept recording, when both still exist.
    std::optional<QString> recordingPath(const QUuid& id) const;
    // The request for a kept recording with the entry's frozen settings;
    // entries from before settings were frozen use today's.
    TranscriptionRequest request(const TranscriptEntry& entry, const QString& path) const;

    // Completes the entry. A failure other than recordingUnavailable and
    // cancelled is written to the entry's `transcriptionError`.
    QCoro::Task<std::expected<Completed, Failure>>
    complete(QUuid id, std::function<void(TranscriptionProgress)> onProgress = {},
             Cancellation cancel = std::make_shared<CancellationFlag>());

    // Writes the failure sentence of an entry that keeps its audio.
    void markPendingFailure(const QUuid& id, const std::optional<QString>& message);

    // The sentences.
    static inline const QString noClearSpeechEntry =
        QStringLiteral("No clear speech was detected. Retry whenever you’re ready.");
    static inline const QString recordingUnavailable =
        QStringLiteral("The saved recording is no longer available.");

private:
    std::optional<TranscriptEntry> entry(const QUuid& id) const;

    AppDataStore& store;
    PendingRecordingStore& pendingRecordings;
    TranscriptionService& transcription;
    std::function<bool()> savedSignIn;
};

} // namespace quendra

#pragma once

#include "DictationSessionSettings.h"

#include <QDateTime>

namespace quendra {

// One row of the dictation history.
struct TranscriptEntry {
    QUuid id;
    QDateTime createdAt;
    QString text;
    QString source;
    bool polished = false;
    std::optional<QString> recordingFileName;
    std::optional<QString> transcriptionError;
    std::optional<DictationSessionSettings> dictationSettings;
    std::optional<QString> rawText;
    // Length of the recording, kept so History can show it after the audio is gone.
    std::optional<qint64> durationMs;

    // Waiting to be transcribed: no text yet, but its recording is kept.
    bool isPending() const { return text.isEmpty() && recordingFileName.has_value(); }
    bool isFailed() const { return isPending() && transcriptionError.has_value(); }

    friend bool operator==(const TranscriptEntry&, const TranscriptEntry&) = default;
};

void to_json(Json& j, const TranscriptEntry& e);
void from_json(const Json& j, TranscriptEntry& e);

} // namespace quendra

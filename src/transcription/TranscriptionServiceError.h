#pragma once

#include <QString>

namespace quendra {

// A failure of the transcription service, with the sentence the user sees.
struct TranscriptionServiceError {
    enum class Kind {
        bridgeUnavailable,
        invalidResponse,
        recordingTooLarge,
        unsupportedRecording,
        // An engine's own failure (outside service, local model); `detail`
        // carries its sentence.
        engine,
        cancelled,
        // More text than the finishing pass takes at once.
        textTooLong,
        // The temporary folder (`detail`) took no part or copy of the recording.
        temporaryFilesUnwritable,
    };
    Kind kind = Kind::invalidResponse;
    QString detail;

    QString message() const;

    static TranscriptionServiceError bridgeUnavailable(QString message) {
        return {Kind::bridgeUnavailable, std::move(message)};
    }
    static TranscriptionServiceError engine(QString sentence) {
        return {Kind::engine, std::move(sentence)};
    }
    // Names the temporary folder as it is now.
    static TranscriptionServiceError temporaryFilesUnwritable();

    friend bool operator==(const TranscriptionServiceError&,
                           const TranscriptionServiceError&) = default;
};

} // namespace quendra

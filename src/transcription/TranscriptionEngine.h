#pragma once

// The seam between the transcription service and the engines that turn one
// part of a recording into text (hosted service, outside provider, local
// workers).

#include "DictationIntelligence.h"
#include "TranscriptionServiceError.h"
#include "audio/AudioChunks.h"
#include "hosted/CancellationFlag.h"
#include "model/TranscriptionResult.h"

#include <QCoro/QCoroTask>

#include <expected>
#include <optional>

namespace quendra {

struct EngineRequest {
    AudioPart part;
    FinishingContext context; // style, language, dictionary and field context
    Cancellation cancel;
    // The engine should tell each word's time in `segments` where it can.
    bool wordTimes = false;
};

// One part's text. Segment times are relative to the part.
struct EngineTranscript {
    QString rawTranscript;
    QString transcript; // formatted by the engine, or the raw text
    QList<TranscriptionSegment> segments;
    bool modelFormatted = false; // a language model already formatted `transcript`
    bool formattingFallback = false;

    friend bool operator==(const EngineTranscript&, const EngineTranscript&) = default;
};

void to_json(Json& j, const EngineTranscript& t);
void from_json(const Json& j, EngineTranscript& t);

using EngineResult = std::expected<EngineTranscript, TranscriptionServiceError>;

class TranscriptionEngine {
public:
    virtual ~TranscriptionEngine() = default;
    virtual QCoro::Task<EngineResult> transcribe(EngineRequest request) = 0;
    // Why the engine cannot take a recording in `language` at all (not
    // installed, language not supported), or none.
    virtual std::optional<TranscriptionServiceError> unavailable(DictationLanguage language) const {
        (void)language;
        return std::nullopt;
    }
};

} // namespace quendra

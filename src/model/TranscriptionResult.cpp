#include "TranscriptionResult.h"

namespace quendra {

void to_json(Json& j, const TranscriptionSegment& s) {
    j = Json{{"startMs", s.startMs}, {"endMs", s.endMs}, {"text", s.text}};
    if (s.speaker)
        j["speaker"] = *s.speaker;
}

void from_json(const Json& j, TranscriptionSegment& s) {
    s.startMs = requiredInteger(j, "startMs");
    s.endMs = requiredInteger(j, "endMs");
    s.text = requiredField<QString>(j, "text");
    s.speaker = field<QString>(j, "speaker");
}

void to_json(Json& j, const TranscriptionResult& r) {
    j = Json{{"rawTranscript", r.rawTranscript},
             {"transcript", r.transcript},
             {"triggerTranscript", r.triggerTranscript},
             {"segments", r.segments},
             {"model", r.model},
             {"fallbackUsed", r.fallbackUsed},
             {"formattingFallback", r.formattingFallback}};
}

void from_json(const Json& j, TranscriptionResult& r) {
    r.rawTranscript = requiredField<QString>(j, "rawTranscript");
    r.transcript = requiredField<QString>(j, "transcript");
    r.triggerTranscript = requiredField<QString>(j, "triggerTranscript");
    r.segments = requiredField<QList<TranscriptionSegment>>(j, "segments");
    r.model = requiredField<DictationModel>(j, "model");
    r.fallbackUsed = requiredField<bool>(j, "fallbackUsed");
    r.formattingFallback = requiredField<bool>(j, "formattingFallback");
}

void to_json(Json& j, const TimedWord& w) {
    j = Json{{"text", w.text}, {"startMs", w.startMs}, {"endMs", w.endMs}, {"section", w.section}};
}

void from_json(const Json& j, TimedWord& w) {
    w.text = requiredField<QString>(j, "text");
    w.startMs = requiredInteger(j, "startMs");
    w.endMs = requiredInteger(j, "endMs");
    w.section = requiredInt(j, "section");
}

} // namespace quendra

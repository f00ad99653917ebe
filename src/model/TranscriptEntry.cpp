#include "TranscriptEntry.h"

namespace quendra {

void to_json(Json& j, const TranscriptEntry& e) {
    j = Json{{"id", e.id},
             {"createdAt", referenceSeconds(e.createdAt)},
             {"text", e.text},
             {"source", e.source},
             {"polished", e.polished}};
    if (e.recordingFileName)
        j["recordingFileName"] = *e.recordingFileName;
    if (e.transcriptionError)
        j["transcriptionError"] = *e.transcriptionError;
    if (e.dictationSettings)
        j["dictationSettings"] = *e.dictationSettings;
    if (e.rawText)
        j["rawText"] = *e.rawText;
    if (e.durationMs)
        j["durationMs"] = *e.durationMs;
}

void from_json(const Json& j, TranscriptEntry& e) {
    e.id = requiredField<QUuid>(j, "id");
    const double created = requiredField<double>(j, "createdAt");
    if (!std::isfinite(created) || std::fabs(created) > 1e11)
        throw std::invalid_argument("date out of range");
    e.createdAt = dateFromReferenceSeconds(created);
    // The remaining fields of old or damaged entries fall back to their
    // defaults, so one bad value never costs the whole entry.
    e.text = fieldOr<QString>(j, "text", {});
    e.source = fieldOr<QString>(j, "source", {});
    e.polished = fieldOr<bool>(j, "polished", false);
    e.recordingFileName = field<QString>(j, "recordingFileName");
    e.transcriptionError = field<QString>(j, "transcriptionError");
    e.dictationSettings = field<DictationSessionSettings>(j, "dictationSettings");
    e.rawText = field<QString>(j, "rawText");
    e.durationMs = field<qint64>(j, "durationMs");
    if (e.durationMs && *e.durationMs < 0)
        e.durationMs.reset();
}

} // namespace quendra

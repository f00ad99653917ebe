#include "DictionaryRecords.h"

namespace quendra {

void to_json(Json& j, const PersonalDictionaryEntry& e) {
    j = Json{{"id", e.id}, {"spelling", e.spelling}, {"spokenForms", e.spokenForms}};
}

void from_json(const Json& j, PersonalDictionaryEntry& e) {
    e.id = requiredField<QUuid>(j, "id");
    e.spelling = requiredField<QString>(j, "spelling");
    // Older entries may lack spoken forms; they simply have none.
    e.spokenForms = fieldOr<QStringList>(j, "spokenForms", {});
}

void to_json(Json& j, const VoiceSnippet& s) {
    j = Json{{"id", s.id}, {"trigger", s.trigger}, {"expansion", s.expansion}};
}

void from_json(const Json& j, VoiceSnippet& s) {
    s.id = requiredField<QUuid>(j, "id");
    s.trigger = requiredField<QString>(j, "trigger");
    s.expansion = requiredField<QString>(j, "expansion");
}

} // namespace quendra

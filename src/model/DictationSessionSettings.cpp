#include "DictationSessionSettings.h"

namespace quendra {

void to_json(Json& j, const DictationSessionSettings& s) {
    j = Json{{"style", s.style},
             {"application", s.application},
             {"language", s.language},
             {"replyAssist", s.replyAssist}};
    if (s.dictionary)
        j["dictionary"] = *s.dictionary;
    if (s.contextBefore)
        j["contextBefore"] = *s.contextBefore;
    if (s.contextAfter)
        j["contextAfter"] = *s.contextAfter;
    if (s.conversationContext)
        j["conversationContext"] = *s.conversationContext;
    if (s.model)
        j["model"] = *s.model;
    if (s.allowFallback)
        j["allowFallback"] = *s.allowFallback;
}

void from_json(const Json& j, DictationSessionSettings& s) {
    s.style = requiredField<DictationStyle>(j, "style");
    s.application = requiredField<QString>(j, "application");
    s.language = requiredField<QString>(j, "language");
    s.replyAssist = requiredField<bool>(j, "replyAssist");
    s.dictionary = field<QList<PersonalDictionaryEntry>>(j, "dictionary");
    s.contextBefore = field<QString>(j, "contextBefore");
    s.contextAfter = field<QString>(j, "contextAfter");
    s.conversationContext = field<QString>(j, "conversationContext");
    // An unknown model or a missing one both leave the choice to the caller's default.
    s.model = field<DictationModel>(j, "model");
    s.allowFallback = field<bool>(j, "allowFallback");
}

} // namespace quendra

#include "HostedRecords.h"

namespace quendra {

Json dictationBody(const HostedDictationRequest& request) {
    Json dictionary = Json::array();
    for (const auto& entry : request.dictionary)
        dictionary.push_back(
            Json{{"spelling", entry.spelling}, {"spokenForms", entry.spokenForms}});
    const auto text = [](const std::optional<QString>& value) { return value.value_or(QString()); };
    return Json{
        {"audioBase64", QString::fromLatin1(request.audio.toBase64())},
        {"mediaType", request.mediaType},
        {"language", text(request.language)},
        {"cleanupMode", request.cleanupMode},
        {"dictionary", dictionary},
        {"contextBefore", text(request.contextBefore)},
        {"contextAfter", text(request.contextAfter)},
        {"conversationContext", text(request.conversationContext)},
        {"writingSurface", text(request.writingSurface)},
        {"replyAssist", request.replyAssist},
    };
}

} // namespace quendra

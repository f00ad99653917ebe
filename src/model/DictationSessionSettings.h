#pragma once

#include "DictationModel.h"
#include "DictationStyle.h"
#include "DictionaryRecords.h"

#include <optional>

namespace quendra {

// The settings frozen for one recording, so that a retry transcribes it
// exactly as it was meant.
struct DictationSessionSettings {
    DictationStyle style = DictationStyle::exact;
    QString application;
    QString language;
    bool replyAssist = false;
    std::optional<QList<PersonalDictionaryEntry>> dictionary;
    std::optional<QString> contextBefore;
    std::optional<QString> contextAfter;
    std::optional<QString> conversationContext;
    std::optional<DictationModel> model;
    std::optional<bool> allowFallback;

    bool hasContext() const { return contextBefore || contextAfter || conversationContext; }

    friend bool operator==(const DictationSessionSettings&,
                           const DictationSessionSettings&) = default;
};

void to_json(Json& j, const DictationSessionSettings& s);
void from_json(const Json& j, DictationSessionSettings& s);

} // namespace quendra

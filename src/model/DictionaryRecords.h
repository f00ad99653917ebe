#pragma once

#include "Json.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>

namespace quendra {

// One preferred spelling in the user's Words, with the ways it is misheard.
struct PersonalDictionaryEntry {
    QUuid id;
    QString spelling;
    QStringList spokenForms;

    friend bool operator==(const PersonalDictionaryEntry&,
                           const PersonalDictionaryEntry&) = default;
};

// A spoken trigger that expands to a stored text.
struct VoiceSnippet {
    QUuid id;
    QString trigger;
    QString expansion;

    friend bool operator==(const VoiceSnippet&, const VoiceSnippet&) = default;
};

void to_json(Json& j, const PersonalDictionaryEntry& e);
void from_json(const Json& j, PersonalDictionaryEntry& e);
void to_json(Json& j, const VoiceSnippet& s);
void from_json(const Json& j, VoiceSnippet& s);

} // namespace quendra

#pragma once

// The records the hosted service sends and receives; JSON keys are the member names.

#include "model/DictionaryRecords.h"
#include "model/Json.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <optional>

namespace quendra {

struct HostedDictationRequest {
    QByteArray audio; // sent base64-encoded as "audioBase64"
    QString mediaType = QStringLiteral("audio/wav");
    std::optional<QString> language;
    QString cleanupMode;
    QList<PersonalDictionaryEntry> dictionary;
    std::optional<QString> contextBefore;
    std::optional<QString> contextAfter;
    std::optional<QString> writingSurface;
    bool replyAssist = false;
    std::optional<QString> conversationContext;
};

// The wire body of a dictation; absent optional strings go as empty strings.
Json dictationBody(const HostedDictationRequest& request);

struct HostedDictationResult {
    QString transcript;
    std::optional<QString> rawTranscript;
    bool polished = false;
    bool formattingFallback = false; // "formattingStatus": "fallback"

    friend bool operator==(const HostedDictationResult&, const HostedDictationResult&) = default;
};

struct HostedNoteWord {
    QString text;
    qint64 startMs = 0;
    qint64 endMs = 0;

    friend bool operator==(const HostedNoteWord&, const HostedNoteWord&) = default;
};

struct HostedNoteTranscript {
    QString transcript;
    QList<HostedNoteWord> words;
};

struct HostedSummaryPart {
    QString text;
    qint64 startMs = 0;
};

// Summaries and answers belong to note processing, which reads their fields;
// here they are carried as the objects the service sent.
struct HostedSummary {
    Json object = Json::object();
};
struct HostedAnswer {
    Json object = Json::object();
};

struct DesktopSignInStart {
    QString pollId;
    QUrl authURL;
    int expiresInSec = 600;
    int intervalSec = 3;
};

// What the account screen shows; the whole reply object is kept for it.
struct AccountView {
    QString email;
    Json object = Json::object();
};

struct DesktopClaim {
    bool pending = true;
    QString sessionToken; // only when signed in
    AccountView account;
};

} // namespace quendra

#pragma once

// Reading the hosted service's replies: status, body and headers in, a record
// or a HostedError out. Free of Qt Network and coroutines so that it can be
// fuzzed on its own.

#include "HostedError.h"
#include "HostedRecords.h"

#include <variant>

namespace quendra {

template <typename T>
using HostedOutcome = std::variant<HostedError, T>;

struct HostedReply {
    int status = 0;
    Json body = Json::object();          // empty when the body is not a JSON object
    std::optional<int> retryAfterHeader; // only when "Retry-After" is a plain integer
};

HostedReply makeReply(int status, const QByteArray& body, const QByteArray& retryAfterHeader);

// The error of a reply whose status is not the call's success status.
HostedError failure(const HostedReply& reply);

// An https URL with a host, or none.
std::optional<QUrl> secureURL(const QString& value);
std::optional<QUrl> secureURL(const Json& value);

HostedOutcome<DesktopSignInStart> decodeDesktopStart(const HostedReply& reply);
HostedOutcome<DesktopClaim> decodeDesktopClaim(const HostedReply& reply);
HostedOutcome<AccountView> decodeAccount(const HostedReply& reply);
HostedOutcome<bool> decodeDeleted(const HostedReply& reply);
HostedOutcome<HostedDictationResult> decodeDictation(const HostedReply& reply);
HostedOutcome<HostedNoteTranscript> decodeNoteTranscript(const HostedReply& reply);
HostedOutcome<HostedSummary> decodeSummary(const HostedReply& reply);
HostedOutcome<HostedAnswer> decodeAnswer(const HostedReply& reply);
HostedOutcome<bool> decodeSaved(const HostedReply& reply);

} // namespace quendra

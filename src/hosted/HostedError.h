#pragma once

#include <QString>

#include <optional>

namespace quendra {

// Where a hosted failure is shown; dictation and note sentences add where the
// recording is kept. A file the user named (the command line) is a recording
// too, but stays where it is, so nothing is added.
enum class HostedMessageContext { dictation, note, file, other };

// Every way a call to the hosted service can fail, with the sentence the user sees.
struct HostedError {
    enum class Kind {
        rateLimited,
        invalidRequest,
        signInRequired,
        sessionExpired,
        accessCodeInvalid,
        keychainLocked,
        busy,
        unavailable,
        accountsUnavailable,
        signInCancelled,
        signInExpired,
        offline,
        invalidResponse,
        // The caller cancelled the call; never shown as a failure of the service.
        cancelled,
    };

    Kind kind = Kind::invalidResponse;
    std::optional<int> retryAfterSec; // rateLimited only
    QString code;                     // invalidRequest only: the server's code or "http_<status>"

    static HostedError of(Kind kind) { return HostedError{kind, std::nullopt, {}}; }
    static HostedError rateLimited(std::optional<int> retryAfterSec) {
        return HostedError{Kind::rateLimited, retryAfterSec, {}};
    }
    static HostedError invalidRequest(QString code) {
        return HostedError{Kind::invalidRequest, std::nullopt, std::move(code)};
    }

    QString message(HostedMessageContext context) const;

    friend bool operator==(const HostedError&, const HostedError&) = default;
};

// For test output and diagnostics: "rateLimited(5)", "invalidRequest(http_404)".
QString describe(const HostedError& error);

} // namespace quendra

#include "HostedReply.h"

#include <limits>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

std::optional<int> nonNegativeInt(std::optional<qint64> value) {
    if (!value || *value < 0 || *value > std::numeric_limits<int>::max())
        return std::nullopt;
    return static_cast<int>(*value);
}

std::optional<int> plainInteger(const QByteArray& header) {
    const QByteArray text = header.trimmed();
    if (text.isEmpty() || text.size() > 10)
        return std::nullopt;
    for (const char c : text)
        if (c < '0' || c > '9')
            return std::nullopt;
    return nonNegativeInt(text.toLongLong());
}

HostedError unreadable() {
    return HostedError::of(HostedError::Kind::invalidResponse);
}

AccountView accountView(const Json& body) {
    AccountView view;
    view.object = body;
    if (auto account = body.find("account"); account != body.end())
        view.email = fieldOr<QString>(*account, "email", {});
    return view;
}

bool hasAccountObject(const Json& body) {
    auto account = body.find("account");
    return account != body.end() && account->is_object();
}

} // namespace

HostedReply makeReply(int status, const QByteArray& body, const QByteArray& retryAfterHeader) {
    HostedReply reply;
    reply.status = status;
    if (auto parsed = parseJson(body); parsed && parsed->is_object())
        reply.body = std::move(*parsed);
    reply.retryAfterHeader = plainInteger(retryAfterHeader);
    return reply;
}

HostedError failure(const HostedReply& reply) {
    using Kind = HostedError::Kind;
    const QString code = fieldOr<QString>(reply.body, "error", {});
    const int status = reply.status;
    if (status == 401) {
        if (code == u"session_expired"_s)
            return HostedError::of(Kind::sessionExpired);
        if (code == u"beta_access_required"_s)
            return HostedError::of(Kind::accessCodeInvalid);
        return HostedError::of(Kind::signInRequired);
    }
    if (status == 408)
        return HostedError::of(Kind::unavailable);
    if (status == 410)
        return HostedError::of(code == u"sign_in_cancelled"_s ? Kind::signInCancelled
                                                              : Kind::signInExpired);
    if (status == 429) {
        if (code == u"service_busy"_s)
            return HostedError::of(Kind::busy);
        const auto fromBody = nonNegativeInt(integerField(reply.body, "retryAfterSec"));
        return HostedError::rateLimited(fromBody ? fromBody : reply.retryAfterHeader);
    }
    if (status == 503)
        return HostedError::of(code == u"accounts_unavailable"_s ? Kind::accountsUnavailable
                                                                 : Kind::unavailable);
    if (status >= 500 && status <= 599)
        return HostedError::of(Kind::unavailable);
    return HostedError::invalidRequest(code.isEmpty() ? u"http_%1"_s.arg(status) : code);
}

std::optional<QUrl> secureURL(const QString& value) {
    const QUrl url(value, QUrl::StrictMode);
    if (!url.isValid() || url.scheme() != u"https"_s || url.host().isEmpty())
        return std::nullopt;
    return url;
}

std::optional<QUrl> secureURL(const Json& value) {
    if (!value.is_string())
        return std::nullopt;
    return secureURL(QString::fromStdString(value.get<std::string>()));
}

HostedOutcome<DesktopSignInStart> decodeDesktopStart(const HostedReply& reply) {
    if (reply.status != 200)
        return failure(reply);
    DesktopSignInStart start;
    start.pollId = fieldOr<QString>(reply.body, "pollId", {});
    auto url = reply.body.find("authUrl");
    auto authURL = url == reply.body.end() ? std::nullopt : secureURL(*url);
    if (start.pollId.isEmpty() || !authURL)
        return unreadable();
    start.authURL = *authURL;
    // A non-positive interval would poll without pause; treat it as absent.
    const auto positive = [&](const char* key, int fallback) {
        const auto value = nonNegativeInt(integerField(reply.body, key));
        return value && *value > 0 ? *value : fallback;
    };
    start.expiresInSec = positive("expiresInSec", 600);
    start.intervalSec = positive("intervalSec", 3);
    return start;
}

HostedOutcome<DesktopClaim> decodeDesktopClaim(const HostedReply& reply) {
    if (reply.status == 202)
        return DesktopClaim{};
    if (reply.status != 200)
        return failure(reply);
    const auto session = field<QString>(reply.body, "session");
    if (!session || session->isEmpty() || !hasAccountObject(reply.body))
        return unreadable();
    return DesktopClaim{false, *session, accountView(reply.body)};
}

HostedOutcome<AccountView> decodeAccount(const HostedReply& reply) {
    if (reply.status != 200)
        return failure(reply);
    if (!hasAccountObject(reply.body))
        return unreadable();
    return accountView(reply.body);
}

namespace {

HostedOutcome<bool> decodeFlag(const HostedReply& reply, const char* key) {
    if (reply.status != 200)
        return failure(reply);
    const auto flag = field<bool>(reply.body, key);
    if (!flag)
        return unreadable();
    return *flag;
}

} // namespace

HostedOutcome<bool> decodeDeleted(const HostedReply& reply) {
    return decodeFlag(reply, "deleted");
}

HostedOutcome<bool> decodeSaved(const HostedReply& reply) {
    return decodeFlag(reply, "saved");
}

HostedOutcome<HostedDictationResult> decodeDictation(const HostedReply& reply) {
    if (reply.status != 200)
        return failure(reply);
    const auto transcript = field<QString>(reply.body, "transcript");
    if (!transcript)
        return unreadable();
    HostedDictationResult result;
    result.transcript = *transcript;
    result.rawTranscript = field<QString>(reply.body, "rawTranscript");
    result.polished = fieldOr<bool>(reply.body, "polished", false);
    result.formattingFallback =
        fieldOr<QString>(reply.body, "formattingStatus", {}) == u"fallback"_s;
    return result;
}

HostedOutcome<HostedNoteTranscript> decodeNoteTranscript(const HostedReply& reply) {
    if (reply.status != 200)
        return failure(reply);
    const auto transcript = field<QString>(reply.body, "transcript");
    if (!transcript)
        return unreadable();
    HostedNoteTranscript result;
    result.transcript = *transcript;
    if (auto words = reply.body.find("words"); words != reply.body.end() && words->is_array()) {
        for (const auto& word : *words) {
            const auto text = field<QString>(word, "text");
            const auto startMs = integerField(word, "startMs");
            const auto endMs = integerField(word, "endMs");
            // A word without its text or times cannot be placed; drop only it.
            if (text && startMs && endMs)
                result.words.append({*text, *startMs, *endMs});
        }
    }
    return result;
}

HostedOutcome<HostedSummary> decodeSummary(const HostedReply& reply) {
    if (reply.status != 200)
        return failure(reply);
    auto summary = reply.body.find("summary");
    if (summary == reply.body.end() || !summary->is_object())
        return unreadable();
    return HostedSummary{*summary};
}

HostedOutcome<HostedAnswer> decodeAnswer(const HostedReply& reply) {
    if (reply.status != 200)
        return failure(reply);
    auto answer = reply.body.find("answer");
    if (answer == reply.body.end() || !answer->is_object())
        return unreadable();
    return HostedAnswer{*answer};
}

} // namespace quendra

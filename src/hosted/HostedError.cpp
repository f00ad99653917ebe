#include "HostedError.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString HostedError::message(HostedMessageContext context) const {
    const bool other = context == HostedMessageContext::other;
    QString sentence;
    bool keepsRecording = true;
    switch (kind) {
    case Kind::rateLimited:
        sentence = u"Too many requests at once. Try again in a moment."_s;
        break;
    case Kind::invalidRequest:
        sentence = other ? u"Parlevo couldn’t use that request. Try again."_s
                         : u"Parlevo couldn’t read that recording."_s;
        break;
    case Kind::signInRequired:
        sentence = other ? u"Sign in to Parlevo first."_s : u"Sign in to Parlevo to finish this."_s;
        break;
    case Kind::sessionExpired:
        sentence = u"Your sign-in expired. Sign in again."_s;
        break;
    case Kind::accessCodeInvalid:
        sentence =
            u"That access code has expired or isn’t valid. Enter a current code or sign in."_s;
        break;
    case Kind::keychainLocked:
        sentence = u"The system keyring hasn’t let Parlevo read your saved sign-in. Open "
                   "Settings, then Account, to allow it."_s;
        break;
    case Kind::busy:
        sentence = u"Parlevo is busy right now. Try again in a moment."_s;
        break;
    case Kind::unavailable:
        sentence = u"Parlevo is temporarily unavailable. Try again shortly."_s;
        break;
    case Kind::accountsUnavailable:
        sentence = u"Sign-in isn’t available yet."_s;
        keepsRecording = false;
        break;
    case Kind::signInCancelled:
        sentence = u"Sign-in was cancelled."_s;
        keepsRecording = false;
        break;
    case Kind::signInExpired:
        sentence = u"That sign-in took too long. Try again."_s;
        keepsRecording = false;
        break;
    case Kind::offline:
        sentence = u"Couldn’t reach Parlevo. Check your internet connection and try again."_s;
        break;
    case Kind::invalidResponse:
        sentence = u"Parlevo returned something unreadable. Try again."_s;
        break;
    case Kind::cancelled:
        sentence = u"Cancelled."_s;
        keepsRecording = false;
        break;
    }
    if (keepsRecording && context == HostedMessageContext::dictation)
        sentence += u" Your recording is kept in History."_s;
    if (keepsRecording && context == HostedMessageContext::note)
        sentence += u" Your recording is kept on this computer."_s;
    return sentence;
}

QString describe(const HostedError& error) {
    static const char* const names[] = {
        "rateLimited",         "invalidRequest",  "signInRequired", "sessionExpired",
        "accessCodeInvalid",   "keychainLocked",  "busy",           "unavailable",
        "accountsUnavailable", "signInCancelled", "signInExpired",  "offline",
        "invalidResponse",     "cancelled"};
    QString text = QString::fromLatin1(names[int(error.kind)]);
    if (error.kind == HostedError::Kind::rateLimited)
        text +=
            u"(%1)"_s.arg(error.retryAfterSec ? QString::number(*error.retryAfterSec) : u"none"_s);
    if (error.kind == HostedError::Kind::invalidRequest)
        text += u"(%1)"_s.arg(error.code);
    return text;
}

} // namespace quendra

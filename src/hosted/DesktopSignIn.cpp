#include "DesktopSignIn.h"

#include "HostedLog.h"

#include <QCryptographicHash>
#include <QRandomGenerator>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

constexpr double maximumWaitSec = 30;
// Consecutive unreachable polls tolerated before giving up.
constexpr int toleratedTransportFailures = 3;

QString base64Url(const QByteArray& bytes) {
    return QString::fromLatin1(
        bytes.toBase64(QByteArray::Base64UrlEncoding | QByteArray::OmitTrailingEquals));
}

SignInOutcome failed(QString sentence) {
    return {SignInOutcome::Kind::failed, std::move(sentence), {}};
}

SignInOutcome ended(SignInOutcome::Kind kind) {
    return {kind, {}, {}};
}

} // namespace

QString SignInOutcome::message() const {
    switch (kind) {
    case Kind::signedIn:
        return account.email.isEmpty() ? u"Signed in to Parlevo."_s
                                       : u"Signed in to Parlevo as %1."_s.arg(account.email);
    case Kind::failed:
        return failure;
    case Kind::cancelledInBrowser:
        return HostedError::of(HostedError::Kind::signInCancelled)
            .message(HostedMessageContext::other);
    case Kind::expired:
    case Kind::timedOut:
        return u"That sign-in took too long. Try again."_s;
    case Kind::notConfigured:
        return HostedError::of(HostedError::Kind::accountsUnavailable)
            .message(HostedMessageContext::other);
    case Kind::cancelledByUser:
        return u"Sign-in was cancelled."_s;
    }
    return failure;
}

DesktopSignIn::DesktopSignIn(HostedClient& client, HostedTokenStore& tokens, SignInClock& clock,
                             std::function<QString()> makeVerifier_)
    : client(client)
    , tokens(tokens)
    , clock(clock)
    , makeVerifier(std::move(makeVerifier_)) {
    if (!makeVerifier)
        makeVerifier = makeRandomVerifier;
}

QString DesktopSignIn::makeRandomVerifier() {
    QByteArray bytes(32, Qt::Uninitialized);
    QRandomGenerator::system()->fillRange(reinterpret_cast<quint32*>(bytes.data()), 8);
    return base64Url(bytes);
}

QString DesktopSignIn::challenge(const QString& verifier) {
    return base64Url(QCryptographicHash::hash(verifier.toUtf8(), QCryptographicHash::Sha256));
}

QCoro::Task<SignInOutcome>
DesktopSignIn::run(QString device, std::function<void(const DesktopSignInStart&)> onStarted,
                   Cancellation cancel) {
    using Kind = HostedError::Kind;
    const QString verifier = makeVerifier();
    const QString challengeText = challenge(verifier);
    auto started = co_await client.desktopStart(challengeText, device, cancel);
    if (!started) {
        switch (started.error().kind) {
        case Kind::cancelled:
            co_return ended(SignInOutcome::Kind::cancelledByUser);
        case Kind::rateLimited:
            co_return failed(u"Too many sign-in attempts. Wait a minute and try again."_s);
        case Kind::offline:
            co_return failed(started.error().message(HostedMessageContext::other));
        case Kind::accountsUnavailable:
            co_return ended(SignInOutcome::Kind::notConfigured);
        default:
            qCInfo(hostedLog) << "sign-in did not start:" << describe(started.error());
            co_return failed(u"Sign-in couldn’t start. Try again shortly."_s);
        }
    }
    const DesktopSignInStart start = *started;
    if (onStarted)
        onStarted(start);

    const QDateTime startedAt = clock.now();
    double waitSec = start.intervalSec;
    int transportFailures = 0;
    const SignInOutcome couldNotFinish = failed(u"Sign-in couldn’t finish. Try again."_s);
    for (;;) {
        if (startedAt.msecsTo(clock.now()) >= qint64(start.expiresInSec) * 1000)
            co_return ended(SignInOutcome::Kind::timedOut);
        if (!co_await clock.sleep(waitSec, cancel))
            co_return ended(SignInOutcome::Kind::cancelledByUser);
        auto claim = co_await client.desktopClaim(start.pollId, verifier, cancel);
        if (claim) {
            transportFailures = 0;
            if (claim->pending)
                continue;
            if (!tokens.saveSession(claim->sessionToken)) {
                if (!HostedTokenStore::isSessionToken(claim->sessionToken))
                    co_return couldNotFinish;
                co_return failed(u"The system keyring could not save your sign-in. Try again."_s);
            }
            co_return SignInOutcome{SignInOutcome::Kind::signedIn, {}, claim->account};
        }
        const HostedError error = claim.error();
        switch (error.kind) {
        case Kind::cancelled:
            co_return ended(SignInOutcome::Kind::cancelledByUser);
        case Kind::signInCancelled:
            co_return ended(SignInOutcome::Kind::cancelledInBrowser);
        case Kind::signInExpired:
            co_return ended(SignInOutcome::Kind::expired);
        case Kind::accountsUnavailable:
            co_return ended(SignInOutcome::Kind::notConfigured);
        case Kind::rateLimited:
            waitSec = std::min(maximumWaitSec,
                               std::max(2 * waitSec, double(error.retryAfterSec.value_or(0))));
            continue;
        case Kind::offline:
        case Kind::unavailable:
        case Kind::busy:
            if (++transportFailures <= toleratedTransportFailures)
                continue;
            co_return couldNotFinish;
        default:
            qCInfo(hostedLog) << "sign-in poll failed:" << describe(error);
            co_return couldNotFinish;
        }
    }
}

} // namespace quendra

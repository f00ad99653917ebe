#include "HostedTokenStore.h"

#include "HostedLog.h"

#include <QRegularExpression>
#include <QThread>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

bool matches(const QString& value, const QString& prefix) {
    static const QRegularExpression tail(u"^[A-Za-z0-9_-]{43}$"_s);
    return value.size() == prefix.size() + 43 && value.startsWith(prefix) &&
           tail.match(value.mid(prefix.size())).hasMatch();
}

constexpr int attempts = 3;

} // namespace

HostedTokenStore::HostedTokenStore(CredentialBackend& backend, std::function<void()> pause_)
    : store(backend)
    , pause(std::move(pause_)) {
    if (!pause)
        pause = [] { QThread::msleep(30); };
}

bool HostedTokenStore::isSessionToken(const QString& value) {
    return matches(value, u"pvs_"_s);
}

bool HostedTokenStore::isAccessCode(const QString& value) {
    return matches(value, u"pvb_"_s);
}

HostedTokenStore::Status HostedTokenStore::resolveLocked(bool allowInteraction) {
    if (cachedStatus)
        return *cachedStatus;
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        const CredentialLookup session =
            store.lookup(ConnectionStore::sessionItem, allowInteraction);
        if (session.kind == CredentialLookup::Kind::value && isSessionToken(session.value)) {
            cachedToken = session.value;
            return *(cachedStatus = Status::session);
        }
        if (session.kind != CredentialLookup::Kind::unknown) {
            const CredentialLookup code =
                store.lookup(ConnectionStore::accessCodeItem, allowInteraction);
            if (code.kind == CredentialLookup::Kind::value && isAccessCode(code.value)) {
                cachedToken = code.value;
                return *(cachedStatus = Status::accessCode);
            }
            if (code.kind != CredentialLookup::Kind::unknown) {
                cachedToken.clear();
                return *(cachedStatus = Status::signedOut);
            }
        }
        if (attempt < attempts)
            pause();
    }
    // Not cached: the keyring may be unlocked by the next call.
    qCInfo(hostedLog) << "saved sign-in could not be read; the keyring is locked";
    return Status::locked;
}

HostedTokenStore::Status HostedTokenStore::status() {
    QMutexLocker lock(&mutex);
    return resolveLocked(false);
}

HostedBearer HostedTokenStore::bearer() {
    QMutexLocker lock(&mutex);
    switch (resolveLocked(false)) {
    case Status::session:
    case Status::accessCode:
        return HostedBearer::of(cachedToken);
    case Status::signedOut:
        return HostedBearer::none();
    case Status::locked:
        return HostedBearer::locked();
    }
    return HostedBearer::none();
}

std::optional<QString> HostedTokenStore::token() {
    QMutexLocker lock(&mutex);
    const Status resolved = resolveLocked(false);
    if (resolved == Status::session || resolved == Status::accessCode)
        return cachedToken;
    return std::nullopt;
}

bool HostedTokenStore::saveSession(const QString& token) {
    QMutexLocker lock(&mutex);
    if (!isSessionToken(token) || !store.save(ConnectionStore::sessionItem, token))
        return false;
    cachedStatus = Status::session;
    cachedToken = token;
    return true;
}

bool HostedTokenStore::saveAccessCode(const QString& code) {
    QMutexLocker lock(&mutex);
    if (!isAccessCode(code) || !store.save(ConnectionStore::accessCodeItem, code))
        return false;
    store.remove(ConnectionStore::sessionItem);
    cachedStatus = Status::accessCode;
    cachedToken = code;
    return true;
}

HostedTokenStore::Status HostedTokenStore::authorize() {
    QMutexLocker lock(&mutex);
    cachedStatus.reset();
    return resolveLocked(true);
}

void HostedTokenStore::invalidate() {
    QMutexLocker lock(&mutex);
    cachedStatus.reset();
    cachedToken.clear();
}

bool HostedTokenStore::clearAll() {
    QMutexLocker lock(&mutex);
    const bool session = store.remove(ConnectionStore::sessionItem);
    const bool code = store.remove(ConnectionStore::accessCodeItem);
    cachedStatus = Status::signedOut;
    cachedToken.clear();
    return session && code;
}

} // namespace quendra

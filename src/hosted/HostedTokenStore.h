#pragma once

#include "ConnectionStore.h"
#include "HostedBearer.h"

#include <QMutex>

#include <functional>
#include <optional>

namespace quendra {

// Decides which stored token is in force (a browser session before an access
// code) and hands it to the hosted client. One lock guards the cache and every
// keyring call, so callers on any thread see one status.
class HostedTokenStore {
public:
    enum class Status { session, accessCode, signedOut, locked };

    // `pause` waits between reads of an unreadable item (0.03 s by default).
    explicit HostedTokenStore(CredentialBackend& backend, std::function<void()> pause = {});

    static bool isSessionToken(const QString& value);
    static bool isAccessCode(const QString& value);

    Status status();
    HostedBearer bearer();
    // The token in force, if any.
    std::optional<QString> token();

    // False when the keyring refused the write; the cache is then unchanged.
    bool saveSession(const QString& token);
    // Saves a code and puts it in force (a stored session would otherwise win).
    bool saveAccessCode(const QString& code);
    // Reads again, letting the keyring ask the user to unlock.
    Status authorize();
    void invalidate();
    // Removes both tokens; false when one could not be removed.
    bool clearAll();

private:
    Status resolveLocked(bool allowInteraction);

    QMutex mutex;
    ConnectionStore store;
    std::function<void()> pause;
    std::optional<Status> cachedStatus;
    QString cachedToken;
};

} // namespace quendra

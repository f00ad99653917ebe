#pragma once

#include "platform/CredentialBackend.h"

#include <expected>

namespace quendra {

// The keyring items of the hosted sign-in and of personal connections, all
// under the service "Quendra Personal Connections" with the item's name as
// its account. Same threads as its backend.
class ConnectionStore {
public:
    static inline const QString sessionItem = QStringLiteral("session");
    static inline const QString accessCodeItem = QStringLiteral("accessCode");

    explicit ConnectionStore(CredentialBackend& backend)
        : backend(backend) {}

    CredentialLookup lookup(const QString& name, bool allowInteraction = false) {
        return backend.lookup(name, allowInteraction);
    }
    bool save(const QString& name, const QString& value) { return backend.save(name, value); }
    bool remove(const QString& name) { return backend.remove(name); }

    // A personal connection's key (for an outside provider), by provider name.
    std::optional<QString> connectionKey(const QString& provider);
    std::expected<void, QString> saveConnectionKey(const QString& provider, const QString& key);
    bool removeConnectionKey(const QString& provider) { return remove(provider); }

private:
    CredentialBackend& backend;
};

} // namespace quendra

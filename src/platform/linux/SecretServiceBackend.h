#pragma once

#include "platform/CredentialBackend.h"

namespace quendra {

// Generic passwords in the Secret Service (gnome-keyring, KWallet) through
// libsecret, with the attributes "service" and "account", so that secret-tool
// reads the same items. A locked item reads as `unknown` unless interaction
// is allowed; only then may the keyring prompt.
class SecretServiceBackend final : public CredentialBackend {
public:
    CredentialLookup lookup(const QString& name, bool allowInteraction) override;
    bool save(const QString& name, const QString& value) override;
    bool remove(const QString& name) override;
    bool available() override;
};

} // namespace quendra

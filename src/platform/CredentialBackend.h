#pragma once

#include <QString>

#include <memory>

namespace quendra {

// One read of a stored secret.
struct CredentialLookup {
    enum class Kind {
        value,
        missing,
        // The item exists but could not be read (its keyring is locked, or
        // access was not approved).
        unknown,
    };
    Kind kind = Kind::missing;
    QString value;

    static CredentialLookup of(QString value) { return {Kind::value, std::move(value)}; }
    static CredentialLookup missing() { return {Kind::missing, {}}; }
    static CredentialLookup unknown() { return {Kind::unknown, {}}; }

    friend bool operator==(const CredentialLookup&, const CredentialLookup&) = default;
};

// The system keyring's generic passwords under one service name, one item per
// name. Calls block; any thread, one call at a time per backend.
class CredentialBackend {
public:
    static constexpr auto serviceName = "Quendra Personal Connections";

    virtual ~CredentialBackend() = default;

    // Without `allowInteraction` a locked item reads as `unknown` and nothing
    // is shown to the user; with it the keyring may ask to be unlocked.
    virtual CredentialLookup lookup(const QString& name, bool allowInteraction) = 0;
    // False when the keyring refused the write.
    virtual bool save(const QString& name, const QString& value) = 0;
    // True when the item is gone afterwards (also when there was none).
    virtual bool remove(const QString& name) = 0;
    // Whether a keyring answers at all; without one nothing can have been saved.
    virtual bool available() { return true; }

    // The desktop's keyring.
    static std::unique_ptr<CredentialBackend> create();
};

} // namespace quendra

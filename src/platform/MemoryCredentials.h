#pragma once

#include "CredentialBackend.h"

#include <QMap>
#include <QMutex>
#include <QSet>

namespace quendra {

// Credentials held in memory only, with the keyring's semantics, including a
// locked state: for previews, tests and a session that must not touch the
// keyring. Any thread.
class MemoryCredentials final : public CredentialBackend {
public:
    CredentialLookup lookup(const QString& name, bool allowInteraction) override;
    bool save(const QString& name, const QString& value) override;
    bool remove(const QString& name) override;

    // While locked, stored items read as `unknown` unless interaction is
    // allowed and `approveUnlock` is set, which unlocks them; writes fail.
    void setLocked(bool locked, bool approveUnlock = false);
    // Makes every write fail, as a keyring that refuses them.
    void setReadOnly(bool readOnly);
    int lookupCount() const;

private:
    mutable QMutex mutex;
    QMap<QString, QString> items;
    bool locked = false;
    bool approveUnlock = false;
    bool readOnly = false;
    int lookups = 0;
};

} // namespace quendra

#include "MemoryCredentials.h"

namespace quendra {

CredentialLookup MemoryCredentials::lookup(const QString& name, bool allowInteraction) {
    QMutexLocker lock(&mutex);
    ++lookups;
    if (!items.contains(name))
        return CredentialLookup::missing();
    if (locked) {
        if (!allowInteraction || !approveUnlock)
            return CredentialLookup::unknown();
        locked = false;
    }
    return CredentialLookup::of(items.value(name));
}

bool MemoryCredentials::save(const QString& name, const QString& value) {
    QMutexLocker lock(&mutex);
    if (locked || readOnly)
        return false;
    items.insert(name, value);
    return true;
}

bool MemoryCredentials::remove(const QString& name) {
    QMutexLocker lock(&mutex);
    if (readOnly)
        return !items.contains(name);
    items.remove(name);
    return true;
}

void MemoryCredentials::setLocked(bool locked_, bool approveUnlock_) {
    QMutexLocker lock(&mutex);
    locked = locked_;
    approveUnlock = approveUnlock_;
}

void MemoryCredentials::setReadOnly(bool readOnly_) {
    QMutexLocker lock(&mutex);
    readOnly = readOnly_;
}

int MemoryCredentials::lookupCount() const {
    QMutexLocker lock(&mutex);
    return lookups;
}

} // namespace quendra

#include "HotKeyManager.h"

#include <utility>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString message(HotKeyError error) {
    switch (error) {
    case HotKeyError::unavailable:
        return u"That shortcut is already in use. Choose another one."_s;
    case HotKeyError::notOffered:
        return u"This desktop does not let applications take a shortcut. Bind a key to "
               "Parlevo’s command in the desktop’s keyboard settings; “parlevo doctor” says "
               "how."_s;
    case HotKeyError::declined:
        return u"Your desktop did not allow this shortcut. Allow it in the desktop’s settings, or "
               "choose another one."_s;
    }
    return {};
}

namespace {

HotKeyError toHotKeyError(HotKeyServiceError error) {
    switch (error) {
    case HotKeyServiceError::unavailable:
        break;
    case HotKeyServiceError::notOffered:
        return HotKeyError::notOffered;
    case HotKeyServiceError::declined:
        return HotKeyError::declined;
    }
    return HotKeyError::unavailable;
}

} // namespace

HotKeyManager::HotKeyManager(HotKeyService& service, std::uint32_t identifier, QObject* parent)
    : QObject(parent)
    , service(service)
    , hotKeyID(identifier) {
    // Queued, so that whatever a press starts never runs inside the service's dispatch.
    connect(
        &service, &HotKeyService::pressed, this,
        [this](std::uint32_t pressedIdentifier) {
            if (pressedIdentifier == hotKeyID)
                Q_EMIT pressed();
        },
        Qt::QueuedConnection);
    connect(&service, &HotKeyService::registrationFailed, this,
            [this](std::uint32_t failedIdentifier, HotKeyServiceError error) {
                if (failedIdentifier != hotKeyID)
                    return;
                registered.reset();
                Q_EMIT failed(toHotKeyError(error));
            });
}

HotKeyManager::~HotKeyManager() {
    if (registered)
        service.unregisterHotKey(hotKeyID);
}

std::expected<void, HotKeyError>
HotKeyManager::registerShortcut(const DictationShortcut& shortcut) {
    QUENDRA_CHECK_THREAD(checker);
    const bool wasSuspended = std::exchange(suspended, false);
    if (registered) {
        if (*registered == shortcut && !wasSuspended)
            return {};
        if (!wasSuspended)
            service.unregisterHotKey(hotKeyID);
        registered.reset();
    }
    if (const auto taken = service.registerHotKey(hotKeyID, shortcut.keysym, shortcut.modifiers);
        !taken)
        return std::unexpected(toHotKeyError(taken.error()));
    registered = shortcut;
    if (hotKeyLog)
        std::fprintf(stderr, "qa registered shortcut=%s\n", qUtf8Printable(shortcut.displayName()));
    return {};
}

void HotKeyManager::suspend() {
    QUENDRA_CHECK_THREAD(checker);
    if (registered && !suspended) {
        service.unregisterHotKey(hotKeyID);
        suspended = true;
    }
}

std::expected<void, HotKeyError> HotKeyManager::resume() {
    QUENDRA_CHECK_THREAD(checker);
    if (!suspended || !registered)
        return {};
    return registerShortcut(*registered);
}

} // namespace quendra

#include "HotKeyManager.h"

#include <QPointer>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString message(HotKeyError error) {
    switch (error) {
    case HotKeyError::unavailable:
        return u"That shortcut is already in use. Choose another one."_s;
    }
    return {};
}

HotKeyManager::HotKeyManager(HotKeyService& service, std::uint32_t identifier,
                             QStringList arguments, QObject* parent)
    : QObject(parent)
    , service(service)
    , hotKeyID(identifier)
    , qaHotKeyLog(arguments.contains(u"--qa-hotkey-log"_s)) {}

HotKeyManager::~HotKeyManager() {
    if (registered)
        service.unregisterHotKey(hotKeyID);
}

std::expected<void, HotKeyError>
HotKeyManager::registerShortcut(const DictationShortcut& shortcut) {
    if (!handlerInstalled) {
        connect(&service, &HotKeyService::pressed, this, [this](std::uint32_t identifier) {
            if (identifier != hotKeyID)
                return;
            QPointer<HotKeyManager> self(this);
            QMetaObject::invokeMethod(
                this,
                [self] {
                    if (self && self->onPressed)
                        self->onPressed();
                },
                Qt::QueuedConnection);
        });
        handlerInstalled = true;
    }
    if (registered) {
        if (*registered == shortcut)
            return {};
        service.unregisterHotKey(hotKeyID);
        registered.reset();
    }
    if (!service.registerHotKey(hotKeyID, shortcut.keyCode, shortcut.carbonModifiers))
        return std::unexpected(HotKeyError::unavailable);
    registered = shortcut;
    if (qaHotKeyLog)
        std::fprintf(stderr, "qa registered shortcut=%s\n", qUtf8Printable(shortcut.displayName()));
    return {};
}

} // namespace quendra

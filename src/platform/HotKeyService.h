#pragma once

// One system-wide key combination per identifier. Main thread only.

#include "model/DictationShortcut.h"

#include <QObject>

#include <cstdint>
#include <expected>

namespace quendra {

enum class HotKeyServiceError {
    unavailable, // the keys are taken or cannot be placed on this keyboard
    notOffered,  // the desktop lets no application take a shortcut
    declined,    // the desktop, or the user in the desktop's own dialog, refused them
};

class HotKeyService : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // Takes the combination (a keysym and modifiers, as in DictationShortcut)
    // for the identifier, replacing nothing: unregister first. A service that
    // asks the desktop asynchronously answers whether the request was taken,
    // and reports a refusal found later through registrationFailed.
    virtual std::expected<void, HotKeyServiceError>
    registerHotKey(std::uint32_t identifier, std::uint32_t keysym, ShortcutModifiers modifiers) = 0;
    virtual void unregisterHotKey(std::uint32_t identifier) = 0;

Q_SIGNALS:
    // Once per press; auto-repeats are not reported.
    void pressed(std::uint32_t identifier);
    // When the keys of a press are let go, from the services that are told
    // (kglobalaccel and the shortcuts portal; not X11 key grabs).
    void released(std::uint32_t identifier);
    // A registration that registerHotKey accepted and the desktop refused
    // afterwards; the identifier is then free, as after unregisterHotKey.
    void registrationFailed(std::uint32_t identifier, HotKeyServiceError error);
};

} // namespace quendra

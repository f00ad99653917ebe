#pragma once

// One system-wide key combination per identifier. Main thread only.

#include "model/DictationShortcut.h"

#include <QObject>

#include <cstdint>
#include <expected>

namespace quendra {

enum class HotKeyServiceError {
    unavailable, // another program holds the keys
    notOffered,  // the desktop lets no application take a shortcut
};

class HotKeyService : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    // Takes the combination (a keysym and modifiers, as in DictationShortcut)
    // for the identifier, replacing nothing: unregister first.
    virtual std::expected<void, HotKeyServiceError>
    registerHotKey(std::uint32_t identifier, std::uint32_t keysym, ShortcutModifiers modifiers) = 0;
    virtual void unregisterHotKey(std::uint32_t identifier) = 0;

Q_SIGNALS:
    // Once per press; auto-repeats are not reported.
    void pressed(std::uint32_t identifier);
};

} // namespace quendra

#pragma once

// The keymap a virtual keyboard uploads, and the key events of a paste read
// through it. A full "us" keymap: toolkits that look up Ctrl+V through the
// keymap's modifiers (GTK 3) ignore keys sent with a partial one.

#include "platform/KeyEventPoster.h"

#include <QByteArray>
#include <QList>

#include <cstdint>
#include <memory>
#include <optional>

struct xkb_keymap;

namespace quendra {

// One request to the virtual keyboard: a key (evdev code) pressed or
// released, or the depressed modifiers' new mask.
struct VirtualKeyEvent {
    enum class Kind { key, modifiers };
    Kind kind;
    std::uint32_t code = 0;
    bool pressed = false;
    std::uint32_t depressed = 0;
};

class VirtualKeymap {
public:
    // None when xkbcommon cannot compile the keymap (no keyboard data installed).
    static std::optional<VirtualKeymap> create();

    // The keymap's text with its terminating NUL, as the protocol sends it.
    const QByteArray& text() const { return keymapText; }

    // The evdev code of the key whose first level gives the keysym in the
    // first layout; none when no key does.
    std::optional<std::uint32_t> keycodeOf(std::uint32_t keysym) const;
    // The mask of a named modifier ("Control", "Shift"); 0 when unknown.
    std::uint32_t modifierMask(const char* name) const;

    // The events that press and release V with the modifiers and leave every
    // key and modifier released; empty when a key is missing from the keymap.
    QList<VirtualKeyEvent> pasteEvents(PasteKeys keys) const;

private:
    std::shared_ptr<xkb_keymap> keymap;
    QByteArray keymapText;
};

} // namespace quendra

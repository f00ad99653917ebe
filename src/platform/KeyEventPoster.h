#pragma once

// Synthetic key presses into the focused application. Main thread only.

namespace quendra {

enum class PasteKeys { control, controlShift };

class KeyEventPoster {
public:
    virtual ~KeyEventPoster() = default;
    // Presses and releases V with the modifiers; false when no event could be made.
    virtual bool postPaste(PasteKeys keys) = 0;
    // Whether the keyboard is still being set up (a desktop portal's session):
    // a paste now would make no event, one a moment later would.
    virtual bool isStarting() const { return false; }
};

} // namespace quendra

#pragma once

#include "VirtualKeymap.h"
#include "WaylandConnection.h"
#include "model/MainThreadChecker.h"
#include "platform/KeyEventPoster.h"

#include <optional>

struct wl_seat;
struct zwp_virtual_keyboard_manager_v1;
struct zwp_virtual_keyboard_v1;

namespace quendra {

// Synthetic keys through a virtual keyboard of our own on the seat, for
// compositors that offer one (wlroots: sway, Hyprland, river...). KWin and
// mutter do not: there postPaste answers false.
class VirtualKeyboardKeyEventPoster : public KeyEventPoster {
public:
    VirtualKeyboardKeyEventPoster();
    ~VirtualKeyboardKeyEventPoster() override;

    // Whether the compositor of $WAYLAND_DISPLAY offers virtual keyboards.
    static bool available();

    bool postPaste(PasteKeys keys) override;

private:
    bool ensureKeyboard();

    MainThreadChecker checker;
    WaylandConnection wayland;
    wl_seat* seat = nullptr;
    zwp_virtual_keyboard_manager_v1* manager = nullptr;
    // Made at the first paste and kept: each new keyboard on the seat makes
    // the compositor send its keymap to the focused client again.
    zwp_virtual_keyboard_v1* keyboard = nullptr;
    std::optional<VirtualKeymap> keymap;
};

} // namespace quendra

#pragma once

// A shortcut spelled the way each desktop's own settings write a key binding,
// for the desktops where the user binds Parlevo's command to a key.

#include "model/DictationShortcut.h"

#include <QString>

#include <cstdint>

namespace quendra {

// The keysym's name in the keyboard layout files ("space", "d", "F5").
QString keysymName(std::uint32_t keysym);
// "<Alt>space", as GNOME's keybinding settings store it.
QString gnomeAccelerator(const DictationShortcut& shortcut);
// "Alt+space", as a sway or i3 bindsym line takes it.
QString swayBinding(const DictationShortcut& shortcut);
// "ALT, space", as a Hyprland bind line takes it.
QString hyprlandBinding(const DictationShortcut& shortcut);

} // namespace quendra

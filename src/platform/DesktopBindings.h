#pragma once

// A shortcut spelled the way each desktop's own settings write a key binding,
// for the desktops where the user binds Parlevo's command to a key.

#include "model/DictationShortcut.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace quendra {

// The keysym's name in the keyboard layout files, of the unshifted key
// ("space", "d", "F5"), as every desktop's bindings name keys; nothing for a
// keysym without a name.
std::optional<QString> keysymName(std::uint32_t keysym);
// "<Alt>space", as GNOME's keybinding settings store it.
QString gnomeAccelerator(const DictationShortcut& shortcut);
// "Alt+space", as a sway or i3 bindsym line takes it.
QString swayBinding(const DictationShortcut& shortcut);
// "ALT, space", as a Hyprland bind line takes it.
QString hyprlandBinding(const DictationShortcut& shortcut);
// The text the shortcuts portal takes as a preferred trigger: modifiers
// CTRL, ALT, SHIFT, LOGO then the key's name, joined by "+" ("CTRL+ALT+d",
// "LOGO+space"); other spellings bind nothing, silently. Nothing for a
// keysym without a name.
std::optional<QString> portalTrigger(std::uint32_t keysym, ShortcutModifiers modifiers);

} // namespace quendra

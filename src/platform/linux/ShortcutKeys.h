#pragma once

// The names a key combination goes by on Wayland desktops, from the keysym
// and modifiers a DictationShortcut holds.

#include "model/DictationShortcut.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace quendra {

// The Qt key code (modifiers or-ed with the Qt::Key) kglobalaccel stores
// shortcuts as. Nothing for a key Qt has no code for.
std::optional<int> qtKeyCode(std::uint32_t keysym, ShortcutModifiers modifiers);

// The group and the name a shortcut goes by in the desktop's shortcut
// settings, the same through the portal and kglobalaccel so that either finds
// the keys the other bound instead of holding them twice.
inline const QString desktopShortcutGroup = QStringLiteral("Parlevo");
QString desktopShortcutName(std::uint32_t identifier);
std::optional<std::uint32_t> identifierOfDesktopShortcut(const QString& name);

} // namespace quendra

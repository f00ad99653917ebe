#pragma once

#include "model/DictationShortcut.h"

#include <QString>

#include <cstdint>
#include <optional>

namespace quendra {

enum class CaptureKind { accepted, needsModifier, unusable };

// What a key press in the shortcut recorder amounts to.
struct CaptureResult {
    CaptureKind kind = CaptureKind::unusable;
    DictationShortcut shortcut; // when accepted
    QString label;              // when a modifier is needed

    // "A needs Ctrl, Alt, or Super to work globally." and the like.
    std::optional<QString> message() const;
};

// keysym is the key event's keysym (QKeyEvent::nativeVirtualKey() on X11),
// text what it typed, used as the label of keys without a fixed one.
CaptureResult captureShortcut(std::uint32_t keysym, ShortcutModifiers modifiers,
                              const std::optional<QString>& text);
// The fixed label of a named key ("Space", "F5", "←"), none for typed keys.
std::optional<QString> keyLabel(std::uint32_t keysym);

} // namespace quendra

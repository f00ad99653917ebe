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

// keyCode is a virtual key code of DictationShortcut, modifiers its modifier bits.
CaptureResult captureShortcut(std::uint16_t keyCode, std::uint32_t modifiers,
                              const std::optional<QString>& charactersIgnoringModifiers);
// The fixed label of a named key ("Space", "F5", "←"), none for typed keys.
std::optional<QString> keyLabel(std::uint32_t keyCode);

} // namespace quendra

#pragma once

#include "Json.h"

#include <QString>

#include <cstdint>

namespace quendra {

// Modifier bits in the Carbon hot-key convention, so that a stored shortcut
// means the same keys on every platform.
namespace CarbonModifier {
inline constexpr std::uint32_t command = 1u << 8;
inline constexpr std::uint32_t shift = 1u << 9;
inline constexpr std::uint32_t option = 1u << 11;
inline constexpr std::uint32_t control = 1u << 12;
} // namespace CarbonModifier

struct DictationShortcut {
    std::uint32_t keyCode = 0;
    std::uint32_t carbonModifiers = 0;
    QString keyLabel;

    // Modifiers in the order Ctrl, Alt, Shift, Super, then the key: "Alt+Space".
    QString displayName() const;
    static DictationShortcut defaultDictation();

    friend bool operator==(const DictationShortcut&, const DictationShortcut&) = default;
};

void to_json(Json& j, const DictationShortcut& s);
void from_json(const Json& j, DictationShortcut& s);

} // namespace quendra

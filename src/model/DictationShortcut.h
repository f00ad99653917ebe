#pragma once

#include "Json.h"

#include <QFlags>
#include <QString>

#include <cstdint>
#include <optional>

namespace quendra {

// The modifiers a global shortcut may hold.
enum class ShortcutModifier : std::uint8_t { ctrl = 0x1, alt = 0x2, shift = 0x4, super = 0x8 };
Q_DECLARE_FLAGS(ShortcutModifiers, ShortcutModifier)
Q_DECLARE_OPERATORS_FOR_FLAGS(ShortcutModifiers)

// "Ctrl", "Alt", "Shift", "Super": the names shown and stored.
QString modifierName(ShortcutModifier modifier);
std::optional<ShortcutModifier> modifierNamed(QStringView name);

// Keysyms used by name in portable code. A keysym names the key the user
// pressed whatever the keyboard; Latin-1 keysyms equal their characters.
namespace Keysym {
inline constexpr std::uint32_t space = 0x0020;
inline constexpr std::uint32_t backSpace = 0xff08;
inline constexpr std::uint32_t tab = 0xff09;
inline constexpr std::uint32_t returnKey = 0xff0d;
inline constexpr std::uint32_t escape = 0xff1b;
inline constexpr std::uint32_t home = 0xff50;
inline constexpr std::uint32_t left = 0xff51;
inline constexpr std::uint32_t up = 0xff52;
inline constexpr std::uint32_t right = 0xff53;
inline constexpr std::uint32_t down = 0xff54;
inline constexpr std::uint32_t pageUp = 0xff55;
inline constexpr std::uint32_t pageDown = 0xff56;
inline constexpr std::uint32_t end = 0xff57;
inline constexpr std::uint32_t insert = 0xff63;
inline constexpr std::uint32_t f1 = 0xffbe; // F1 to F35 follow one another
inline constexpr std::uint32_t f35 = 0xffe0;
inline constexpr std::uint32_t deleteKey = 0xffff;
} // namespace Keysym

struct DictationShortcut {
    // An X keysym rather than a Qt::Key: the X server grabs keys by keysym
    // (XKeysymToKeycode), and the shortcut recorder gets one from the key
    // event (nativeVirtualKey() on xcb), so no table translates between the
    // two; a Qt::Key would need one for every key that is not a letter.
    std::uint32_t keysym = 0;
    ShortcutModifiers modifiers;
    // The key as the recorder showed it ("Space", "F5", "D").
    QString keyLabel;

    // Modifiers in the order Ctrl, Alt, Shift, Super, then the key: "Ctrl+Alt+Space".
    QString displayName() const;
    // The same keys, whatever the labels.
    bool sameKeys(const DictationShortcut& other) const {
        return keysym == other.keysym && modifiers == other.modifiers;
    }
    static DictationShortcut defaultDictation();

    friend bool operator==(const DictationShortcut&, const DictationShortcut&) = default;
};

// Stored as {"keysym": 32, "modifiers": ["Alt"], "keyLabel": "Space"}. The
// form earlier builds wrote ({"keyCode", "carbonModifiers", "keyLabel"}) still
// reads, converted; a key it cannot place throws like any damaged value.
void to_json(Json& j, const DictationShortcut& s);
void from_json(const Json& j, DictationShortcut& s);
// Whether stored bytes hold the earlier form, which the owner of the stored
// shortcut writes back once in the current one.
bool isEarlierShortcutForm(const QByteArray& stored);

} // namespace quendra

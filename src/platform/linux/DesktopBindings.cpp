#include "platform/DesktopBindings.h"

#include <xkbcommon/xkbcommon.h>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

std::optional<QString> keysymName(std::uint32_t keysym) {
    if (keysym == XKB_KEY_NoSymbol)
        return std::nullopt;
    std::array<char, 64> name{};
    const int length = xkb_keysym_get_name(xkb_keysym_to_lower(keysym), name.data(), name.size());
    // A keysym without a name comes back as its number, which no desktop parses.
    if (length <= 0 || std::size_t(length) >= name.size() || (name[0] == '0' && name[1] == 'x'))
        return std::nullopt;
    return QString::fromLatin1(name.data(), length);
}

namespace {

QString keyText(std::uint32_t keysym) {
    return keysymName(keysym).value_or(u"0x%1"_s.arg(keysym, 0, 16));
}

} // namespace

QString gnomeAccelerator(const DictationShortcut& shortcut) {
    QString text;
    if (shortcut.modifiers & ShortcutModifier::ctrl)
        text += u"<Control>"_s;
    if (shortcut.modifiers & ShortcutModifier::alt)
        text += u"<Alt>"_s;
    if (shortcut.modifiers & ShortcutModifier::shift)
        text += u"<Shift>"_s;
    if (shortcut.modifiers & ShortcutModifier::super)
        text += u"<Super>"_s;
    return text + keyText(shortcut.keysym);
}

namespace {

QStringList modifierWords(ShortcutModifiers modifiers, bool upper) {
    QStringList words;
    const auto add = [&](ShortcutModifier modifier, const QString& word) {
        if (modifiers & modifier)
            words << (upper ? word.toUpper() : word);
    };
    add(ShortcutModifier::ctrl, u"Ctrl"_s);
    add(ShortcutModifier::alt, u"Alt"_s);
    add(ShortcutModifier::shift, u"Shift"_s);
    // sway calls it Mod4; Hyprland SUPER.
    add(ShortcutModifier::super, upper ? u"Super"_s : u"Mod4"_s);
    return words;
}

} // namespace

QString swayBinding(const DictationShortcut& shortcut) {
    QStringList parts = modifierWords(shortcut.modifiers, false);
    parts << keyText(shortcut.keysym);
    return parts.join(u'+');
}

QString hyprlandBinding(const DictationShortcut& shortcut) {
    return modifierWords(shortcut.modifiers, true).join(u' ') + u", "_s + keyText(shortcut.keysym);
}

std::optional<QString> portalTrigger(std::uint32_t keysym, ShortcutModifiers modifiers) {
    const auto name = keysymName(keysym);
    if (!name)
        return std::nullopt;
    QStringList parts;
    if (modifiers.testFlag(ShortcutModifier::ctrl))
        parts << u"CTRL"_s;
    if (modifiers.testFlag(ShortcutModifier::alt))
        parts << u"ALT"_s;
    if (modifiers.testFlag(ShortcutModifier::shift))
        parts << u"SHIFT"_s;
    if (modifiers.testFlag(ShortcutModifier::super))
        parts << u"LOGO"_s;
    parts << *name;
    return parts.join(u'+');
}

} // namespace quendra

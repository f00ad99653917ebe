#include "platform/DesktopBindings.h"

#include <xkbcommon/xkbcommon.h>

#include <array>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

QString keysymName(std::uint32_t keysym) {
    std::array<char, 64> name{};
    const int length = xkb_keysym_get_name(keysym, name.data(), name.size());
    if (length <= 0)
        return u"0x%1"_s.arg(keysym, 0, 16);
    // Bindings name letters in lower case; Shift is a modifier of its own.
    const QString text = QString::fromUtf8(name.data());
    return text.size() == 1 ? text.toLower() : text;
}

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
    return text + keysymName(shortcut.keysym);
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
    parts << keysymName(shortcut.keysym);
    return parts.join(u'+');
}

QString hyprlandBinding(const DictationShortcut& shortcut) {
    return modifierWords(shortcut.modifiers, true).join(u' ') + u", "_s +
           keysymName(shortcut.keysym);
}

} // namespace quendra

#include "ShortcutCapture.h"

#include <QRegularExpression>

#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

std::optional<QString> keyLabel(std::uint32_t keysym) {
    using namespace Keysym;
    if (keysym >= f1 && keysym <= f35)
        return u"F%1"_s.arg(keysym - f1 + 1);
    static const std::pair<std::uint32_t, QStringView> labels[] = {{space, u"Space"},
                                                                   {returnKey, u"Return"},
                                                                   {tab, u"Tab"},
                                                                   {escape, u"Esc"},
                                                                   {backSpace, u"Backspace"},
                                                                   {deleteKey, u"Delete"},
                                                                   {insert, u"Insert"},
                                                                   {home, u"Home"},
                                                                   {end, u"End"},
                                                                   {pageUp, u"Page Up"},
                                                                   {pageDown, u"Page Down"},
                                                                   {left, u"←"},
                                                                   {right, u"→"},
                                                                   {up, u"↑"},
                                                                   {down, u"↓"}};
    for (const auto& [known, label] : labels)
        if (known == keysym)
            return label.toString();
    return std::nullopt;
}

CaptureResult captureShortcut(std::uint32_t keysym, ShortcutModifiers modifiers,
                              const std::optional<QString>& text) {
    // With Shift held the event names the capital letter; the key is the same.
    if (keysym >= 'A' && keysym <= 'Z')
        keysym += 'a' - 'A';
    const QString label = keyLabel(keysym).value_or(text.value_or(QString()).trimmed().toUpper());
    if (keysym == 0 || label.isEmpty())
        return {};
    static const QRegularExpression functionKey(u"^F[0-9]+$"_s);
    const bool strong =
        modifiers & (ShortcutModifier::ctrl | ShortcutModifier::alt | ShortcutModifier::super);
    if (functionKey.match(label).hasMatch() || strong)
        return {CaptureKind::accepted, {keysym, modifiers, label}, {}};
    return {CaptureKind::needsModifier, {}, label};
}

std::optional<QString> CaptureResult::message() const {
    switch (kind) {
    case CaptureKind::accepted:
        return std::nullopt;
    case CaptureKind::needsModifier:
        return label + u" needs Ctrl, Alt, or Super to work globally."_s;
    case CaptureKind::unusable:
        return u"That key can’t be used. Press a different shortcut."_s;
    }
    return std::nullopt;
}

} // namespace quendra

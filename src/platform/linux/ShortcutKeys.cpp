#include "ShortcutKeys.h"

#include <QChar>
#include <QStringList>

#include <xkbcommon/xkbcommon.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// Keys without a character, by keysym. Letters, digits, punctuation and the
// characters of other scripts need no table: their Qt::Key is the character.
struct NamedKey {
    xkb_keysym_t keysym;
    Qt::Key key;
};
constexpr NamedKey namedKeys[] = {
    {XKB_KEY_Escape, Qt::Key_Escape},
    {XKB_KEY_Tab, Qt::Key_Tab},
    {XKB_KEY_ISO_Left_Tab, Qt::Key_Backtab},
    {XKB_KEY_BackSpace, Qt::Key_Backspace},
    {XKB_KEY_Return, Qt::Key_Return},
    {XKB_KEY_KP_Enter, Qt::Key_Enter},
    {XKB_KEY_Insert, Qt::Key_Insert},
    {XKB_KEY_Delete, Qt::Key_Delete},
    {XKB_KEY_Pause, Qt::Key_Pause},
    {XKB_KEY_Print, Qt::Key_Print},
    {XKB_KEY_Sys_Req, Qt::Key_SysReq},
    {XKB_KEY_Home, Qt::Key_Home},
    {XKB_KEY_End, Qt::Key_End},
    {XKB_KEY_Left, Qt::Key_Left},
    {XKB_KEY_Up, Qt::Key_Up},
    {XKB_KEY_Right, Qt::Key_Right},
    {XKB_KEY_Down, Qt::Key_Down},
    {XKB_KEY_Page_Up, Qt::Key_PageUp},
    {XKB_KEY_Page_Down, Qt::Key_PageDown},
    {XKB_KEY_Menu, Qt::Key_Menu},
    {XKB_KEY_Help, Qt::Key_Help},
    {XKB_KEY_XF86AudioPlay, Qt::Key_MediaPlay},
    {XKB_KEY_XF86AudioPause, Qt::Key_MediaPause},
    {XKB_KEY_XF86AudioStop, Qt::Key_MediaStop},
    {XKB_KEY_XF86AudioPrev, Qt::Key_MediaPrevious},
    {XKB_KEY_XF86AudioNext, Qt::Key_MediaNext},
    {XKB_KEY_XF86AudioRecord, Qt::Key_MediaRecord},
    {XKB_KEY_XF86AudioMute, Qt::Key_VolumeMute},
    {XKB_KEY_XF86AudioLowerVolume, Qt::Key_VolumeDown},
    {XKB_KEY_XF86AudioRaiseVolume, Qt::Key_VolumeUp},
    {XKB_KEY_XF86AudioMicMute, Qt::Key_MicMute},
};

} // namespace

std::optional<int> qtKeyCode(std::uint32_t keysym, ShortcutModifiers modifiers) {
    int key = 0;
    if (keysym >= XKB_KEY_F1 && keysym <= XKB_KEY_F35)
        key = Qt::Key_F1 + int(keysym - XKB_KEY_F1);
    for (const NamedKey& named : namedKeys)
        if (named.keysym == keysym)
            key = named.key;
    if (!key) {
        // The keypad's keys carry a character too, but Qt tells them apart
        // with a modifier kglobalaccel does not keep.
        if (keysym >= XKB_KEY_KP_Space && keysym <= XKB_KEY_KP_9)
            return std::nullopt;
        const char32_t character = xkb_keysym_to_utf32(keysym);
        // Control characters have keysyms of their own, in the table above.
        if (character < 0x20 || character == 0x7f)
            return std::nullopt;
        key = int(QChar::toUpper(character));
    }
    int code = key;
    if (modifiers.testFlag(ShortcutModifier::ctrl))
        code |= Qt::ControlModifier;
    if (modifiers.testFlag(ShortcutModifier::alt))
        code |= Qt::AltModifier;
    if (modifiers.testFlag(ShortcutModifier::shift))
        code |= Qt::ShiftModifier;
    if (modifiers.testFlag(ShortcutModifier::super))
        code |= Qt::MetaModifier;
    return code;
}

QString desktopShortcutName(std::uint32_t identifier) {
    return u"hotkey-"_s + QString::number(identifier);
}

std::optional<std::uint32_t> identifierOfDesktopShortcut(const QString& name) {
    const QString prefix = u"hotkey-"_s;
    bool number = false;
    const std::uint32_t identifier =
        name.startsWith(prefix) ? name.mid(prefix.size()).toUInt(&number) : 0;
    if (!number)
        return std::nullopt;
    return identifier;
}

} // namespace quendra

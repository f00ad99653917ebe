#include "platform/linux/ShortcutKeys.h"
#include "platform/DesktopBindings.h"
#include "support/TestSupport.h"

#include <QKeySequence>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;

namespace {

constexpr ShortcutModifiers ctrlAlt = ShortcutModifier::ctrl | ShortcutModifier::alt;

// Qt's own reading of a shortcut's text, which kglobalaccel stores codes by.
int qtCodeOf(const QString& text) {
    const QKeySequence sequence = QKeySequence::fromString(text, QKeySequence::PortableText);
    return sequence.isEmpty() ? 0 : sequence[0].toCombined();
}

TEST(ShortcutKeys, TriggerTextNamesModifiersInTheOrderThePortalReadsThenTheKeysName) {
    EXPECT_EQ(portalTrigger('d', ctrlAlt), u"CTRL+ALT+d"_s);
    EXPECT_EQ(portalTrigger(Keysym::space, ShortcutModifier::super), u"LOGO+space"_s);
    EXPECT_EQ(portalTrigger(Keysym::f1 + 4, ShortcutModifier::shift), u"SHIFT+F5"_s);
    EXPECT_EQ(portalTrigger(Keysym::returnKey, ShortcutModifier::ctrl | ShortcutModifier::shift),
              u"CTRL+SHIFT+Return"_s);
    EXPECT_EQ(portalTrigger(Keysym::pageUp, {}), u"Prior"_s);
    EXPECT_EQ(portalTrigger(0xe9, ctrlAlt), u"CTRL+ALT+eacute"_s);
    const ShortcutModifiers all = ShortcutModifier::super | ShortcutModifier::shift |
                                  ShortcutModifier::alt | ShortcutModifier::ctrl;
    EXPECT_EQ(portalTrigger('1', all), u"CTRL+ALT+SHIFT+LOGO+1"_s);
}

TEST(ShortcutKeys, AShiftedLetterNamesTheSameKeyAsItsLowerCase) {
    const ShortcutModifiers ctrlShift = ShortcutModifier::ctrl | ShortcutModifier::shift;
    EXPECT_EQ(portalTrigger('D', ctrlShift), portalTrigger('d', ctrlShift));
    EXPECT_EQ(portalTrigger(0xc9, ctrlAlt), portalTrigger(0xe9, ctrlAlt)); // É and é
    EXPECT_EQ(qtKeyCode('D', ctrlShift), qtKeyCode('d', ctrlShift));
}

TEST(ShortcutKeys, KeysWithoutANameOrACodeAreRefused) {
    EXPECT_EQ(portalTrigger(0, ctrlAlt), std::nullopt);
    // A number no keysym has: xkbcommon names it by its digits, which no desktop reads.
    EXPECT_EQ(portalTrigger(0x00abcdef, ctrlAlt), std::nullopt);
    EXPECT_EQ(qtKeyCode(0, ctrlAlt), std::nullopt);
    EXPECT_EQ(qtKeyCode(0x00abcdef, ctrlAlt), std::nullopt);
    // Modifier keys alone and the keypad's keys, which kglobalaccel cannot tell apart.
    EXPECT_EQ(qtKeyCode(0xffe1, ShortcutModifier::ctrl), std::nullopt); // Shift_L
    EXPECT_EQ(qtKeyCode(0xffb1, ShortcutModifier::ctrl), std::nullopt); // KP_1
}

TEST(ShortcutKeys, QtKeyCodesAreTheOnesQtReadsFromTheSameShortcutText) {
    struct Case {
        std::uint32_t keysym;
        ShortcutModifiers modifiers;
        QString text;
    };
    const Case cases[] = {
        {'d', ctrlAlt, u"Ctrl+Alt+D"_s},
        {Keysym::space, ShortcutModifier::super, u"Meta+Space"_s},
        {Keysym::f1 + 4, ctrlAlt, u"Ctrl+Alt+F5"_s},
        {Keysym::f35, ShortcutModifier::alt, u"Alt+F35"_s},
        {Keysym::returnKey, ShortcutModifier::ctrl | ShortcutModifier::shift,
         u"Ctrl+Shift+Return"_s},
        {0xff8d, ShortcutModifier::ctrl, u"Ctrl+Enter"_s}, // the keypad's Enter
        {Keysym::pageUp, ShortcutModifier::alt | ShortcutModifier::shift, u"Alt+Shift+PgUp"_s},
        {Keysym::escape, ShortcutModifier::super, u"Meta+Esc"_s},
        {Keysym::deleteKey, ctrlAlt, u"Ctrl+Alt+Del"_s},
        {Keysym::tab, ShortcutModifier::alt, u"Alt+Tab"_s},
        {'1', ctrlAlt, u"Ctrl+Alt+1"_s},
        {'-', ShortcutModifier::ctrl | ShortcutModifier::super, u"Ctrl+Meta+-"_s},
        {0xe9, ctrlAlt, u"Ctrl+Alt+É"_s},
        {0x6c1, ctrlAlt, u"Ctrl+Alt+А"_s},     // Cyrillic_a, a legacy keysym
        {0x10003b1, ctrlAlt, u"Ctrl+Alt+Α"_s}, // α as a Unicode keysym
        {0x1008ff14, {}, u"Media Play"_s},     // XF86AudioPlay
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text.toStdString());
        ASSERT_NE(qtCodeOf(c.text), 0);
        EXPECT_EQ(qtKeyCode(c.keysym, c.modifiers), qtCodeOf(c.text));
    }
}

TEST(ShortcutKeys, DesktopShortcutNamesGiveBackTheirIdentifierAndNothingElse) {
    for (std::uint32_t identifier : {0u, 1u, 2u, 4000000000u})
        EXPECT_EQ(identifierOfDesktopShortcut(desktopShortcutName(identifier)), identifier);
    EXPECT_NE(desktopShortcutName(1), desktopShortcutName(2));
    for (const QString& other : {u"toggle"_s, u""_s, u"hotkey-"_s, u"hotkey-x"_s, u"1"_s})
        EXPECT_EQ(identifierOfDesktopShortcut(other), std::nullopt) << other.toStdString();
}

} // namespace

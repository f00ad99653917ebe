#include "model/DictationShortcut.h"
#include "support/TestSupport.h"

#include <gtest/gtest.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

DictationShortcut parsed(const char* text) {
    return Json::parse(text).get<DictationShortcut>();
}

TEST(DictationShortcut, DisplayNameListsModifiersInFixedOrderThenTheKey) {
    EXPECT_EQ(DictationShortcut::defaultDictation().displayName(), u"Alt+Space"_s);
    const DictationShortcut all{'d',
                                ShortcutModifier::super | ShortcutModifier::shift |
                                    ShortcutModifier::alt | ShortcutModifier::ctrl,
                                u"D"_s};
    EXPECT_EQ(all.displayName(), u"Ctrl+Alt+Shift+Super+D"_s);
    EXPECT_EQ((DictationShortcut{Keysym::space, ShortcutModifier::alt | ShortcutModifier::ctrl,
                                 u"Space"_s})
                  .displayName(),
              u"Ctrl+Alt+Space"_s);
    // A key recorded without a label still shows something the user can read.
    EXPECT_EQ((DictationShortcut{0x1000439, ShortcutModifier::ctrl, {}}).displayName(),
              u"Ctrl+Key 0x1000439"_s);
}

TEST(DictationShortcut, StoresKeysymModifierNamesAndLabel) {
    const DictationShortcut shortcut{Keysym::f1 + 4,
                                     ShortcutModifier::ctrl | ShortcutModifier::super, u"F5"_s};
    const Json j = shortcut;
    EXPECT_EQ(j.dump(), R"({"keysym":65474,"modifiers":["Ctrl","Super"],"keyLabel":"F5"})");
    EXPECT_EQ(j.get<DictationShortcut>(), shortcut);
    EXPECT_EQ(parsed(R"({"keysym":32,"modifiers":[],"keyLabel":"Space"})").modifiers,
              ShortcutModifiers());

    EXPECT_THROW(parsed(R"({"keysym":32,"modifiers":["Command"],"keyLabel":"Space"})"),
                 std::invalid_argument);
    EXPECT_THROW(parsed(R"({"keysym":0,"modifiers":[],"keyLabel":"A"})"), std::invalid_argument);
    EXPECT_THROW(parsed(R"({"keysym":32,"keyLabel":"Space"})"), std::invalid_argument);
}

TEST(DictationShortcut, TheEarlierFormReadsAsTheSameKeys) {
    // What earlier builds wrote for the default, Alt+Space.
    EXPECT_EQ(parsed(R"({"keyCode":49,"carbonModifiers":2048,"keyLabel":"Space"})"),
              DictationShortcut::defaultDictation());
    const auto everything = parsed(R"({"keyCode":2,"carbonModifiers":6912,"keyLabel":"D"})");
    EXPECT_EQ(everything.displayName(), u"Ctrl+Alt+Shift+Super+D"_s);
    EXPECT_EQ(everything.keysym, std::uint32_t('d'));
    EXPECT_EQ(parsed(R"({"keyCode":96,"carbonModifiers":0,"keyLabel":"F5"})").keysym,
              Keysym::f1 + 4);
    // Bits of other modifiers (Caps Lock) are dropped, and the keys keep Linux names.
    const auto backspace = parsed(R"({"keyCode":51,"carbonModifiers":5120,"keyLabel":"Delete"})");
    EXPECT_EQ(backspace.displayName(), u"Ctrl+Backspace"_s);
    EXPECT_EQ(backspace.keysym, Keysym::backSpace);

    // Read once, it is stored in the current form.
    const Json rewritten = everything;
    EXPECT_EQ(rewritten.get<DictationShortcut>(), everything);
    EXPECT_FALSE(isEarlierShortcutForm(QByteArray::fromStdString(rewritten.dump())));
    EXPECT_TRUE(
        isEarlierShortcutForm(R"({"keyCode":49,"carbonModifiers":2048,"keyLabel":"Space"})"));
    EXPECT_FALSE(isEarlierShortcutForm("not json"));

    // A key code with no key on a Linux keyboard, or no key code at all, is damage.
    EXPECT_THROW(parsed(R"({"keyCode":10,"carbonModifiers":0,"keyLabel":"§"})"),
                 std::invalid_argument);
    EXPECT_THROW(parsed(R"({"keyCode":-1,"carbonModifiers":0,"keyLabel":"A"})"),
                 std::invalid_argument);
    EXPECT_THROW(parsed(R"({"keyCode":49,"keyLabel":"Space"})"), std::invalid_argument);
}

} // namespace

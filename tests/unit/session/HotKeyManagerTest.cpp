#include "session/HotKeyManager.h"
#include "fakes/FakeDesktop.h"
#include "session/ShortcutCapture.h"
#include "session/ShortcutSettings.h"
#include "support/EventLoop.h"
#include "support/TestSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;

namespace {

const DictationShortcut altSpace{49, CarbonModifier::option, u"Space"_s};
const DictationShortcut ctrlD{2, CarbonModifier::control, u"D"_s};
const DictationShortcut ctrlN{45, CarbonModifier::control, u"N"_s};

TEST(HotKeyManager, PressesReachOnlyTheirOwnManagerOutsideTheServiceDispatch) {
    ensureEventLoop();
    FakeHotKeyService service;
    HotKeyManager dictation(service, HotKeyManager::dictationIdentifier);
    HotKeyManager notes(service, HotKeyManager::notesIdentifier);
    int dictationPresses = 0, notesPresses = 0;
    dictation.onPressed = [&] { ++dictationPresses; };
    notes.onPressed = [&] { ++notesPresses; };
    ASSERT_TRUE(dictation.registerShortcut(altSpace));
    ASSERT_TRUE(notes.registerShortcut(ctrlN));

    service.press(altSpace.keyCode, altSpace.carbonModifiers);
    EXPECT_EQ(dictationPresses, 0); // delivered later, from the event loop
    spinEventLoop(50);
    EXPECT_EQ(dictationPresses, 1);
    EXPECT_EQ(notesPresses, 0);
    service.press(ctrlN.keyCode, ctrlN.carbonModifiers);
    spinEventLoop(50);
    EXPECT_EQ(notesPresses, 1);
    EXPECT_EQ(dictationPresses, 1);
}

TEST(HotKeyManager, ReRegisteringTheSameShortcutTouchesNothing) {
    FakeHotKeyService service;
    HotKeyManager manager(service, 1);
    ASSERT_TRUE(manager.registerShortcut(altSpace));
    ASSERT_TRUE(manager.registerShortcut(altSpace));
    EXPECT_EQ(service.registerCalls, 1);
    EXPECT_EQ(service.unregisterCalls, 0);
    // Another label is another shortcut for this purpose.
    ASSERT_TRUE(manager.registerShortcut({49, CarbonModifier::option, u"Blank"_s}));
    EXPECT_EQ(service.registerCalls, 2);
    EXPECT_EQ(service.unregisterCalls, 1);
}

TEST(HotKeyManager, ATakenCombinationLeavesNothingRegistered) {
    FakeHotKeyService service;
    service.takenElsewhere = {{ctrlD.keyCode, ctrlD.carbonModifiers}};
    {
        HotKeyManager manager(service, 1);
        ASSERT_TRUE(manager.registerShortcut(altSpace));
        const auto result = manager.registerShortcut(ctrlD);
        ASSERT_FALSE(result);
        EXPECT_EQ(message(result.error()),
                  u"That shortcut is already in use. Choose another one."_s);
        EXPECT_FALSE(manager.registeredShortcut());
        EXPECT_TRUE(service.registered.isEmpty());
        ASSERT_TRUE(manager.registerShortcut(altSpace));
    }
    EXPECT_TRUE(service.registered.isEmpty()); // released with the manager
}

class ShortcutSettingsTest : public testing::Test {
protected:
    QTemporaryDir dir;
    UserDefaults defaults{dir.filePath(u"defaults.json"_s)};
    AppDataStore store{defaults};
    FakeHotKeyService service;
    HotKeyManager hotKey{service, HotKeyManager::dictationIdentifier};
    HotKeyManager notesHotKey{service, HotKeyManager::notesIdentifier};
    ShortcutSettings settings{store, hotKey, notesHotKey};
};

TEST_F(ShortcutSettingsTest, AShortcutInUseElsewhereKeepsThePreviousOneWorking) {
    settings.registerStored();
    EXPECT_EQ(hotKey.registeredShortcut(), DictationShortcut::defaultDictation());
    service.takenElsewhere = {{ctrlD.keyCode, ctrlD.carbonModifiers}};
    EXPECT_FALSE(settings.setShortcut(ctrlD));
    EXPECT_EQ(settings.hotKeyError(), u"That shortcut is already in use. Choose another one."_s);
    EXPECT_EQ(hotKey.registeredShortcut(), DictationShortcut::defaultDictation());
    EXPECT_EQ(store.dictationShortcut(), DictationShortcut::defaultDictation());

    EXPECT_TRUE(settings.setShortcut(ctrlN));
    EXPECT_TRUE(settings.hotKeyError().isEmpty());
    EXPECT_EQ(AppDataStore(defaults).dictationShortcut(), ctrlN);
}

TEST_F(ShortcutSettingsTest, TheTwoShortcutsNeverShareACombination) {
    settings.registerStored();
    ASSERT_TRUE(settings.setNotesShortcut(ctrlN));
    const int calls = service.registerCalls;
    EXPECT_FALSE(settings.setShortcut({45, CarbonModifier::control, u"other label"_s}));
    EXPECT_EQ(settings.hotKeyError(),
              u"That shortcut already starts a Notes recording. Choose another one."_s);
    EXPECT_EQ(service.registerCalls, calls); // the system is never asked
    EXPECT_FALSE(settings.setNotesShortcut(DictationShortcut::defaultDictation()));
    EXPECT_EQ(settings.notesHotKeyError(),
              u"That shortcut already starts dictation. Choose another one."_s);
    EXPECT_EQ(store.notesRecordingShortcut(), ctrlN);
}

TEST(ShortcutCapture, NamedKeysFunctionKeysAndModifiers) {
    const auto shiftA = captureShortcut(0, CarbonModifier::shift, u"a"_s);
    EXPECT_EQ(shiftA.kind, CaptureKind::needsModifier);
    EXPECT_EQ(shiftA.message(), u"A needs Ctrl, Alt, or Super to work globally."_s);

    const auto f5 = captureShortcut(96, 0, std::nullopt);
    EXPECT_EQ(f5.kind, CaptureKind::accepted);
    EXPECT_EQ(f5.shortcut, (DictationShortcut{96, 0, u"F5"_s}));

    const auto ctrlSpace = captureShortcut(49, CarbonModifier::control | (1u << 16), u" "_s);
    EXPECT_EQ(ctrlSpace.shortcut, (DictationShortcut{49, CarbonModifier::control, u"Space"_s}));

    const auto blank = captureShortcut(200, CarbonModifier::command, u" \n"_s);
    EXPECT_EQ(blank.kind, CaptureKind::unusable);
    EXPECT_EQ(blank.message(), u"That key can’t be used. Press a different shortcut."_s);

    // The rule goes by the label: a plain letter needs a modifier, "F12" does not.
    EXPECT_EQ(captureShortcut(3, 0, u"f"_s).kind, CaptureKind::needsModifier);
    EXPECT_EQ(captureShortcut(3, 0, u"f12"_s).kind, CaptureKind::accepted);
}

} // namespace

#include "session/HotKeyManager.h"
#include "fakes/FakeDesktop.h"
#include "session/ShortcutCapture.h"
#include "session/ShortcutSettings.h"
#include "support/CoreApplication.h"
#include "support/TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

#include <sys/stat.h>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;

namespace {

const DictationShortcut altSpace{Keysym::space, ShortcutModifier::alt, u"Space"_s};
const DictationShortcut ctrlD{'d', ShortcutModifier::ctrl, u"D"_s};
const DictationShortcut ctrlN{'n', ShortcutModifier::ctrl, u"N"_s};

TEST(HotKeyManager, PressesReachOnlyTheirOwnManagerOutsideTheServiceDispatch) {
    ensureCoreApplication();
    FakeHotKeyService service;
    HotKeyManager dictation(service, HotKeyManager::dictationIdentifier);
    HotKeyManager notes(service, HotKeyManager::notesIdentifier);
    int dictationPresses = 0, notesPresses = 0;
    QObject::connect(&dictation, &HotKeyManager::pressed, [&] { ++dictationPresses; });
    QObject::connect(&notes, &HotKeyManager::pressed, [&] { ++notesPresses; });
    ASSERT_TRUE(dictation.registerShortcut(altSpace));
    ASSERT_TRUE(notes.registerShortcut(ctrlN));

    service.press(altSpace);
    EXPECT_EQ(dictationPresses, 0); // delivered later, from the event loop
    EXPECT_TRUE(processEventsUntil([&] { return dictationPresses == 1; }));
    EXPECT_EQ(notesPresses, 0);
    service.press(ctrlN);
    EXPECT_TRUE(processEventsUntil([&] { return notesPresses == 1; }));
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
    ASSERT_TRUE(manager.registerShortcut({Keysym::space, ShortcutModifier::alt, u"Blank"_s}));
    EXPECT_EQ(service.registerCalls, 2);
    EXPECT_EQ(service.unregisterCalls, 1);
}

TEST(HotKeyManager, ATakenCombinationLeavesNothingRegistered) {
    FakeHotKeyService service;
    service.takenElsewhere = {FakeHotKeyService::keysOf(ctrlD)};
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
    service.takenElsewhere = {FakeHotKeyService::keysOf(ctrlD)};
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
    EXPECT_FALSE(settings.setShortcut({'n', ShortcutModifier::ctrl, u"other label"_s}));
    EXPECT_EQ(settings.hotKeyError(),
              u"That shortcut already starts a Notes recording. Choose another one."_s);
    EXPECT_EQ(service.registerCalls, calls); // the system is never asked
    EXPECT_FALSE(settings.setNotesShortcut(DictationShortcut::defaultDictation()));
    EXPECT_EQ(settings.notesHotKeyError(),
              u"That shortcut already starts dictation. Choose another one."_s);
    EXPECT_EQ(store.notesRecordingShortcut(), ctrlN);
}

TEST(ShortcutCapture, NamedKeysFunctionKeysAndModifiers) {
    const auto shiftA = captureShortcut('A', ShortcutModifier::shift, u"A"_s);
    EXPECT_EQ(shiftA.kind, CaptureKind::needsModifier);
    EXPECT_EQ(shiftA.message(), u"A needs Ctrl, Alt, or Super to work globally."_s);

    const auto f5 = captureShortcut(Keysym::f1 + 4, {}, std::nullopt);
    EXPECT_EQ(f5.kind, CaptureKind::accepted);
    EXPECT_EQ(f5.shortcut, (DictationShortcut{Keysym::f1 + 4, {}, u"F5"_s}));
    EXPECT_EQ(captureShortcut(Keysym::f35, {}, std::nullopt).shortcut.displayName(), u"F35"_s);

    const auto ctrlSpace = captureShortcut(Keysym::space, ShortcutModifier::ctrl, u" "_s);
    EXPECT_EQ(ctrlSpace.shortcut,
              (DictationShortcut{Keysym::space, ShortcutModifier::ctrl, u"Space"_s}));
    EXPECT_EQ(
        captureShortcut(Keysym::backSpace, ShortcutModifier::super, {}).shortcut.displayName(),
        u"Super+Backspace"_s);

    // Shift turns the event's letter into a capital; the key is the same one.
    const auto ctrlShiftD =
        captureShortcut('D', ShortcutModifier::ctrl | ShortcutModifier::shift, u"D"_s);
    EXPECT_TRUE(ctrlShiftD.shortcut.sameKeys(
        {'d', ShortcutModifier::ctrl | ShortcutModifier::shift, u"D"_s}));
    EXPECT_EQ(ctrlShiftD.shortcut.displayName(), u"Ctrl+Shift+D"_s);

    const auto blank = captureShortcut(0xfe03, ShortcutModifier::super, u" \n"_s);
    EXPECT_EQ(blank.kind, CaptureKind::unusable);
    EXPECT_EQ(blank.message(), u"That key can’t be used. Press a different shortcut."_s);

    // The rule goes by the label: a plain letter needs a modifier, "F12" does not.
    EXPECT_EQ(captureShortcut('f', {}, u"f"_s).kind, CaptureKind::needsModifier);
    EXPECT_EQ(captureShortcut('f', {}, u"f12"_s).kind, CaptureKind::accepted);
}

// What earlier builds stored, as a defaults file they left behind.
class EarlierShortcutsTest : public testing::Test {
protected:
    EarlierShortcutsTest() {
        UserDefaults old(path);
        EXPECT_TRUE(old.setData(AppDataStore::Keys::dictationShortcut,
                                R"({"keyCode":2,"carbonModifiers":4096,"keyLabel":"D"})"));
        EXPECT_TRUE(old.setData(AppDataStore::Keys::notesRecordingShortcut,
                                R"({"keyCode":45,"carbonModifiers":6144,"keyLabel":"N"})"));
    }

    std::optional<QByteArray> stored(const QString& key) {
        UserDefaults fresh(path);
        return fresh.data(key);
    }
    // Every save replaces the file with a new one.
    ino_t fileIdentity() {
        struct stat info {};
        EXPECT_EQ(::stat(QFile::encodeName(path).constData(), &info), 0);
        return info.st_ino;
    }

    QTemporaryDir dir;
    const QString path = dir.filePath(u"defaults.json"_s);
    FakeHotKeyService service;
    HotKeyManager hotKey{service, HotKeyManager::dictationIdentifier};
    HotKeyManager notesHotKey{service, HotKeyManager::notesIdentifier};
};

TEST_F(EarlierShortcutsTest, AreReadAsTheSameKeysAndWrittenBackInTheCurrentFormOnce) {
    const DictationShortcut ctrlDLabelled{'d', ShortcutModifier::ctrl, u"D"_s};
    const DictationShortcut ctrlAltN{'n', ShortcutModifier::ctrl | ShortcutModifier::alt, u"N"_s};
    {
        UserDefaults defaults(path);
        AppDataStore store(defaults);
        ShortcutSettings settings(store, hotKey, notesHotKey);
        EXPECT_EQ(settings.shortcut(), ctrlDLabelled);
        EXPECT_EQ(settings.notesShortcut(), ctrlAltN);
        EXPECT_TRUE(settings.hotKeyError().isEmpty());
        settings.registerStored();
        EXPECT_EQ(service.registered.value(HotKeyManager::notesIdentifier),
                  FakeHotKeyService::keysOf(ctrlAltN));
        EXPECT_EQ(service.registered.value(HotKeyManager::dictationIdentifier),
                  FakeHotKeyService::keysOf(ctrlDLabelled));
    }
    for (const QString& key :
         {AppDataStore::Keys::dictationShortcut, AppDataStore::Keys::notesRecordingShortcut}) {
        const auto bytes = stored(key);
        ASSERT_TRUE(bytes);
        EXPECT_FALSE(isEarlierShortcutForm(*bytes)) << bytes->toStdString();
        EXPECT_TRUE(bytes->contains("\"keysym\"")) << bytes->toStdString();
    }

    // Read again, nothing is left to convert and the file is not written.
    const ino_t converted = fileIdentity();
    UserDefaults defaults(path);
    AppDataStore store(defaults);
    ShortcutSettings again(store, hotKey, notesHotKey);
    EXPECT_EQ(again.shortcut(), ctrlDLabelled);
    EXPECT_EQ(again.notesShortcut(), ctrlAltN);
    EXPECT_EQ(fileIdentity(), converted);
}

} // namespace

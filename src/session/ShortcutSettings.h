#pragma once

#include "HotKeyManager.h"
#include "model/AppDataStore.h"
#include "model/MainThreadChecker.h"

#include <QString>

#include <optional>

namespace quendra {

// The dictation and Notes shortcuts chosen in the settings: conflicts between
// the two, registration, storage and the error texts shown under each.
// Main thread only.
class ShortcutSettings {
public:
    // Reads the stored shortcuts; one stored in an earlier form is written
    // back in the current one (a failure shows as that shortcut's error).
    ShortcutSettings(AppDataStore& store, HotKeyManager& hotKey, HotKeyManager& notesHotKey);

    // Registers the stored shortcuts; their errors are published as usual.
    void registerStored();

    // While a new shortcut is recorded the current ones are let go, so that
    // their keys reach the recorder; resuming takes them back.
    void suspend();
    void resume();
    bool setShortcut(const DictationShortcut& shortcut);
    bool setNotesShortcut(const DictationShortcut& shortcut);

    const DictationShortcut& shortcut() const { return dictation; }
    const std::optional<DictationShortcut>& notesShortcut() const { return notes; }
    const QString& hotKeyError() const { return dictationError; }
    const QString& notesHotKeyError() const { return notesError; }

private:
    MainThreadChecker checker;
    AppDataStore& store;
    HotKeyManager& hotKey;
    HotKeyManager& notesHotKey;
    DictationShortcut dictation;
    std::optional<DictationShortcut> notes;
    QString dictationError;
    QString notesError;
};

} // namespace quendra

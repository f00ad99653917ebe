#include "ShortcutSettings.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

bool sameKeys(const DictationShortcut& a, const std::optional<DictationShortcut>& b) {
    return b && a.keyCode == b->keyCode && a.carbonModifiers == b->carbonModifiers;
}

} // namespace

ShortcutSettings::ShortcutSettings(AppDataStore& store, HotKeyManager& hotKey,
                                   HotKeyManager& notesHotKey)
    : store(store)
    , hotKey(hotKey)
    , notesHotKey(notesHotKey)
    , dictation(store.dictationShortcut())
    , notes(store.notesRecordingShortcut()) {}

void ShortcutSettings::registerStored() {
    if (const auto done = hotKey.registerShortcut(dictation); !done)
        dictationError = message(done.error());
    if (notes && !sameKeys(*notes, dictation))
        if (const auto done = notesHotKey.registerShortcut(*notes); !done)
            notesError = message(done.error());
}

bool ShortcutSettings::setShortcut(const DictationShortcut& shortcut) {
    if (sameKeys(shortcut, notes)) {
        dictationError = u"That shortcut already starts a Notes recording. Choose another one."_s;
        return false;
    }
    if (const auto done = hotKey.registerShortcut(shortcut); !done) {
        dictationError = message(done.error());
        (void)hotKey.registerShortcut(dictation);
        return false;
    }
    if (const auto saved = store.setDictationShortcut(shortcut); !saved) {
        // A shortcut that would be gone after a restart is not taken.
        dictationError = saved.error().message;
        (void)hotKey.registerShortcut(dictation);
        return false;
    }
    dictation = shortcut;
    dictationError.clear();
    return true;
}

bool ShortcutSettings::setNotesShortcut(const DictationShortcut& shortcut) {
    if (sameKeys(shortcut, dictation)) {
        notesError = u"That shortcut already starts dictation. Choose another one."_s;
        return false;
    }
    if (const auto done = notesHotKey.registerShortcut(shortcut); !done) {
        notesError = message(done.error());
        if (notes)
            (void)notesHotKey.registerShortcut(*notes);
        return false;
    }
    if (const auto saved = store.setNotesRecordingShortcut(shortcut); !saved) {
        notesError = saved.error().message;
        if (notes)
            (void)notesHotKey.registerShortcut(*notes);
        return false;
    }
    notes = shortcut;
    notesError.clear();
    return true;
}

} // namespace quendra

#include "ShortcutSettings.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

bool sameKeys(const DictationShortcut& a, const std::optional<DictationShortcut>& b) {
    return b && a.sameKeys(*b);
}

} // namespace

ShortcutSettings::ShortcutSettings(AppDataStore& store, HotKeyManager& hotKey,
                                   HotKeyManager& notesHotKey)
    : store(store)
    , hotKey(hotKey)
    , notesHotKey(notesHotKey)
    , dictation(store.dictationShortcut())
    , notes(store.notesRecordingShortcut()) {
    // Shortcuts stored by earlier builds were converted on reading; they are
    // written back in the current form once, so that no later read converts.
    const auto earlier = [&](const QString& key) {
        const auto bytes = store.defaults().data(key);
        return bytes && isEarlierShortcutForm(*bytes);
    };
    if (earlier(AppDataStore::Keys::dictationShortcut))
        if (const auto saved = store.setDictationShortcut(dictation); !saved)
            dictationError = saved.error().message;
    if (earlier(AppDataStore::Keys::notesRecordingShortcut))
        if (const auto saved = store.setNotesRecordingShortcut(notes); !saved)
            notesError = saved.error().message;
}

void ShortcutSettings::registerStored() {
    QUENDRA_CHECK_THREAD(checker);
    if (const auto done = hotKey.registerShortcut(dictation); !done)
        dictationError = message(done.error());
    if (notes && !sameKeys(*notes, dictation))
        if (const auto done = notesHotKey.registerShortcut(*notes); !done)
            notesError = message(done.error());
}

void ShortcutSettings::suspend() {
    QUENDRA_CHECK_THREAD(checker);
    hotKey.suspend();
    notesHotKey.suspend();
}

void ShortcutSettings::resume() {
    QUENDRA_CHECK_THREAD(checker);
    if (const auto done = hotKey.resume(); !done)
        dictationError = message(done.error());
    if (const auto done = notesHotKey.resume(); !done)
        notesError = message(done.error());
}

bool ShortcutSettings::setShortcut(const DictationShortcut& shortcut) {
    QUENDRA_CHECK_THREAD(checker);
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
    QUENDRA_CHECK_THREAD(checker);
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

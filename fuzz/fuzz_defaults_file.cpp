// Arbitrary bytes as the defaults file: opening it, reading every key as
// every type, and reading and changing the lists through the store must never
// crash or hang, and a change must leave a file that reads back.

#include "model/AppDataStore.h"

#include <QDir>
#include <QFile>

#include <cstdint>
#include <unistd.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Memory-backed where possible: every change syncs the file.
    static const QString base = QDir(u"/dev/shm"_s).exists() ? u"/dev/shm"_s : QDir::tempPath();
    static const QString folder = base + u"/parlevo-fuzz-%1"_s.arg(::getpid());
    static const bool made = QDir().mkpath(folder);
    (void)made;
    const QString path = folder + u"/defaults.json"_s;
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 0;
        file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    }
    for (const QString& stale : QDir(folder).entryList({u"*.damaged-*"_s}))
        QFile::remove(folder + u'/' + stale);

    UserDefaults defaults(path);
    for (const QString& key : defaults.keys()) {
        defaults.data(key);
        defaults.string(key);
        defaults.boolean(key);
        defaults.integer(key);
        defaults.stringMap(key);
        defaults.stringList(key);
    }
    AppDataStore store(defaults);
    store.dictionaryEntries();
    store.snippets();
    store.history();
    store.surfaceStyles();
    store.dismissedWordSuggestions();
    store.dictationShortcut();
    store.notesRecordingShortcut();
    store.recordingDuration();
    store.dictationStyle();
    store.dictationLanguage();
    store.dictationModel(false);
    if (defaults.readProblem())
        return 0;
    const bool added = store.saveSnippet(u"fuzz"_s, u"expansion"_s).has_value() &&
                       store.saveReviewedSpelling(u"Fuzz"_s, {u"fuzz form"_s}).has_value();
    if (added) {
        UserDefaults again(path);
        AppDataStore reread(again);
        if (reread.snippets().isEmpty() || reread.dictionaryEntries().isEmpty())
            __builtin_trap(); // a change that reported success did not stick
    }
    return 0;
}

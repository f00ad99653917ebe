// Arbitrary bytes as the defaults file: opening it and reading every key as
// every type, and through the store, must never crash or hang.

#include "model/AppDataStore.h"

#include <QDir>
#include <QFile>

#include <cstdint>
#include <unistd.h>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QString folder = QDir::tempPath() + u"/parlevo-fuzz-%1"_s.arg(::getpid());
    static const bool made = QDir().mkpath(folder);
    (void)made;
    const QString path = folder + u"/defaults.json"_s;
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 0;
        file.write(reinterpret_cast<const char*>(data), static_cast<qint64>(size));
    }
    for (const QString& stale : QDir(folder).entryList({u"defaults.json.damaged-*"_s}))
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
    store.dictationModel();
    return 0;
}

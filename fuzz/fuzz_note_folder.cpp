// Lays arbitrary bytes out as a note folder and runs the notes store and the
// assembly on it, as the notes commands would: whatever is on disk, they must
// neither crash, hang nor allocate from an absurd value, and a note folder is
// always either listed or reported unreadable.
//
// The input is split at each "--8<--": note.json, then part-0.env,
// part-1.env, part-0.wav and part-1.wav. The folder is named after the id the
// record holds, when it holds one.

#include "model/Note.h"
#include "notes/NoteAssembly.h"
#include "notes/NotesStore.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdlib>
#include <memory>

using namespace quendra;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QByteArrayView separator = "--8<--";
const char* const fileNames[] = {"note.json", "part-0.env", "part-1.env", "part-0.wav",
                                 "part-1.wav"};

std::unique_ptr<QTemporaryDir> scratch;

void put(const QString& path, QByteArrayView bytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes.data(), bytes.size()) != bytes.size())
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    QLoggingCategory::setFilterRules(u"*.warning=false"_s);
    // Memory-backed where there is one: every run writes and syncs files.
    const QString base = QDir(u"/dev/shm"_s).exists() ? u"/dev/shm/fuzz-notes-XXXXXX"_s
                                                      : QDir::tempPath() + u"/fuzz-notes-XXXXXX"_s;
    scratch = std::make_unique<QTemporaryDir>(base);
    if (!scratch->isValid())
        std::abort();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArrayView input(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QList<QByteArrayView> parts;
    qsizetype from = 0;
    while (parts.size() + 1 < qsizetype(std::size(fileNames))) {
        const qsizetype at = input.indexOf(separator, from);
        if (at < 0)
            break;
        parts.append(input.sliced(from, at - from));
        from = at + separator.size();
    }
    parts.append(input.sliced(from));

    const QString root = scratch->filePath(u"Notes"_s);
    QDir(root).removeRecursively();
    const auto record = decodeNote(parts[0].toByteArray());
    const QUuid id = record ? record->id : QUuid(u"6F9619FF-8B86-D011-B42D-00C04FC964FF"_s);
    const QString folder = root + u'/' + uuidText(id);
    if (!QDir().mkpath(folder))
        std::abort();
    for (qsizetype i = 0; i < parts.size(); ++i)
        put(folder + u'/' + QLatin1StringView(fileNames[i]), parts[i]);

    NotesStore store(root);
    const NoteListing listing = store.loadAll();
    if (listing.notes.size() + listing.unreadable.size() != 1)
        std::abort();
    const auto loaded = store.load(id);
    if (loaded.has_value() != (listing.notes.size() == 1))
        std::abort();
    (void)NoteAssembly::run(store, id);
    // A record kept aside was replaced by one that reads.
    const NoteRecovery recovery = store.recoverInterrupted();
    if (!recovery.keptAside.isEmpty() && !store.load(id))
        std::abort();
    return 0;
}

#include "NotesStore.h"

#include "EnergyEnvelope.h"
#include "model/ApplicationId.h"

#include "audio/WaveFileWriter.h"
#include "model/AppPaths.h"
#include "model/DurableFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>

#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace quendra {

using namespace Qt::Literals::StringLiterals;

namespace {

Q_LOGGING_CATEGORY(notesLog, QUENDRA_APPLICATION_ID ".notes")

constexpr char noteFileName[] = "note.json";
constexpr int folderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
// Note folders hold files only; anything nested deeper was not put there by Parlevo.
constexpr int deepestRemoval = 16;

StoreError notFound() {
    return {StoreError::Kind::missing,
            u"This note could not be found. It may have been deleted."_s};
}

StoreError readFailure(const QString& path, int error) {
    const auto kind = error == ENOENT                      ? StoreError::Kind::missing
                      : error == ELOOP || error == ENOTDIR ? StoreError::Kind::refused
                                                           : StoreError::Kind::unreadable;
    return {kind, DurableFile::failureSentence(false, path, error)};
}

StoreError saveFailure(const QString& path, int error) {
    return {StoreError::Kind::notSaved, DurableFile::failureSentence(true, path, error)};
}

QByteArray sectionFileName(int index, const char* extension) {
    return "part-" + QByteArray::number(index) + extension;
}

// The names in an open folder but "." and "..".
std::expected<QList<QByteArray>, int> entryNames(int folder) {
    const int copy = ::dup(folder); // closedir closes what it was given
    DIR* directory = copy < 0 ? nullptr : ::fdopendir(copy);
    if (!directory) {
        const int error = errno;
        if (copy >= 0)
            ::close(copy);
        return std::unexpected(error);
    }
    ::rewinddir(directory);
    QList<QByteArray> names;
    errno = 0;
    while (const dirent* entry = ::readdir(directory)) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..")
            names.append(name);
    }
    const int error = errno;
    ::closedir(directory);
    if (error)
        return std::unexpected(error);
    return names;
}

int removeEntryAt(int parent, const QByteArray& name, int depth);

// Removes what `folder` holds but `kept`; goes on past single failures and
// returns the first.
int removeContentsAt(int folder, const QByteArray& kept, int depth) {
    const auto names = entryNames(folder);
    if (!names)
        return names.error();
    int first = 0;
    for (const QByteArray& name : *names) {
        if (name == kept)
            continue;
        if (const int error = removeEntryAt(folder, name, depth); error && !first)
            first = error;
    }
    return first;
}

// Unlinks a file or link itself, and empties a real folder first: a link is
// never followed, so nothing outside the note folder is removed.
int removeEntryAt(int parent, const QByteArray& name, int depth) {
    if (::unlinkat(parent, name.constData(), 0) == 0 || errno == ENOENT)
        return 0;
    if (errno != EISDIR)
        return errno;
    if (depth >= deepestRemoval)
        return ELOOP;
    const FileDescriptor folder(::openat(parent, name.constData(), folderFlags));
    if (folder.get() < 0)
        return errno;
    if (const int error = removeContentsAt(folder.get(), {}, depth + 1))
        return error;
    return ::unlinkat(parent, name.constData(), AT_REMOVEDIR) == 0 ? 0 : errno;
}

} // namespace

NotesStore::NotesStore(std::optional<QString> root)
    : rootPath(root ? QDir::cleanPath(*root) : defaultRoot())
    , reviewOn(!root) {}

QString NotesStore::defaultRoot() {
    return applicationDataDirectory() + u"/Notes"_s;
}

bool NotesStore::capturesReview() const {
    std::lock_guard lock(mutex);
    return reviewOn;
}

void NotesStore::setCapturesReview(bool on) {
    std::lock_guard lock(mutex);
    reviewOn = on;
}

void NotesStore::setReviewCapture(std::function<void(const QString& directory)> capture) {
    std::lock_guard lock(mutex);
    reviewCapture = std::move(capture);
}

QString NotesStore::noteDirectory(const QUuid& id) const {
    return rootPath + u'/' + uuidText(id);
}

QString NotesStore::noteFilePath(const QUuid& id) const {
    return noteDirectory(id) + u'/' + QLatin1StringView(noteFileName);
}

QString NotesStore::sectionAudioPath(const QUuid& id, int index) const {
    return noteDirectory(id) + u'/' + QString::fromLatin1(sectionFileName(index, ".wav"));
}

QString NotesStore::sectionEnvelopePath(const QUuid& id, int index) const {
    return noteDirectory(id) + u'/' + QString::fromLatin1(sectionFileName(index, ".env"));
}

std::optional<QString> NotesStore::playbackPath(const Note& note) const {
    if (note.audioRemoved || !note.audioFile || note.audioFile->isEmpty())
        return std::nullopt;
    // Only a plain file name inside the note folder is trusted.
    if (QFileInfo(*note.audioFile).fileName() != *note.audioFile || *note.audioFile == u".."_s)
        return std::nullopt;
    const QString path = noteDirectory(note.id) + u'/' + *note.audioFile;
    const QFileInfo info(path);
    if (!info.isFile() || info.isSymLink())
        return std::nullopt;
    return path;
}

std::optional<qint64> NotesStore::freeBytes() const {
    // Before the first note the root may not exist yet; its nearest existing
    // parent lies on the same volume.
    QString path = rootPath;
    while (!QFileInfo::exists(path)) {
        const QString parent = QFileInfo(path).path();
        if (parent == path)
            return std::nullopt;
        path = parent;
    }
    struct statvfs info {};
    if (::statvfs(QFile::encodeName(path).constData(), &info) != 0)
        return std::nullopt;
    return static_cast<qint64>(info.f_bavail) * static_cast<qint64>(info.f_frsize);
}

StoreError NotesStore::unreadable(const QUuid& id, const StoreError& cause) const {
    // A folder without its record holds a note all the same.
    const auto kind =
        cause.kind == StoreError::Kind::missing ? StoreError::Kind::unreadable : cause.kind;
    return {kind, u"The note in %1 could not be read. %2"_s.arg(noteDirectory(id), cause.message)};
}

StoreResult<FileLock> NotesStore::lock(const QUuid& id) const {
    // Without the notes folder there is no note to change.
    if (!QFileInfo(rootPath).isDir())
        return std::unexpected(notFound());
    return FileLock::acquire(rootPath + u"/.lock"_s, u"the note %1"_s.arg(uuidText(id)));
}

StoreResult<FileDescriptor> NotesStore::openNoteFolder(const QUuid& id) const {
    FileDescriptor root(
        ::open(QFile::encodeName(rootPath).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (root.get() < 0)
        return std::unexpected(errno == ENOENT ? notFound() : readFailure(rootPath, errno));
    FileDescriptor folder(
        ::openat(root.get(), QFile::encodeName(uuidText(id)).constData(), folderFlags));
    if (folder.get() < 0) {
        if (errno == ENOENT)
            return std::unexpected(notFound());
        return std::unexpected(unreadable(id, readFailure(noteDirectory(id), errno)));
    }
    return folder;
}

StoreResult<QByteArray> NotesStore::readRecord(int folder, const QUuid& id) const {
    auto bytes = DurableFile::readAt(folder, noteFileName, NoteLimits::largestRecordBytes,
                                     QLatin1StringView(noteFileName));
    if (!bytes)
        return std::unexpected(unreadable(id, bytes.error()));
    return bytes;
}

StoreResult<Note> NotesStore::decodeRecord(const QUuid& id, const QByteArray& bytes) const {
    auto note = decodeNote(bytes);
    if (!note)
        return std::unexpected(unreadable(id, note.error()));
    if (note->id != id)
        return std::unexpected(
            unreadable(id, {StoreError::Kind::damaged,
                            u"Its record belongs to the note %1."_s.arg(uuidText(note->id))}));
    return note;
}

StoreResult<Note> NotesStore::readIn(int folder, const QUuid& id) const {
    const auto bytes = readRecord(folder, id);
    if (!bytes)
        return std::unexpected(bytes.error());
    return decodeRecord(id, *bytes);
}

StoreResult<Note> NotesStore::read(const QUuid& id) const {
    const auto folder = openNoteFolder(id);
    if (!folder)
        return std::unexpected(folder.error());
    return readIn(folder->get(), id);
}

StoreResult<> NotesStore::write(int folder, const Note& note) {
    // A note the decoder would refuse must never replace a readable one.
    if (auto violation = noteLimitViolation(Json(note)))
        return std::unexpected(StoreError{
            StoreError::Kind::invalid,
            u"The note in %1 was not saved. %2"_s.arg(noteDirectory(note.id), *violation)});
    if (auto written =
            DurableFile::writeAt(folder, noteFileName, encodeNote(note), noteFilePath(note.id));
        !written)
        return written;
    std::function<void(const QString&)> capture;
    {
        std::lock_guard lock(mutex);
        if (reviewOn)
            capture = reviewCapture;
    }
    if (capture) {
        try {
            capture(noteDirectory(note.id));
        } catch (...) {
            qCWarning(notesLog) << "review capture failed for" << noteDirectory(note.id);
        }
    }
    return {};
}

StoreResult<Note> NotesStore::load(const QUuid& id) const {
    // Writes replace note.json whole, so reading needs no lock.
    return read(id);
}

NoteListing NotesStore::loadAll() const {
    NoteListing listing;
    const FileDescriptor root(
        ::open(QFile::encodeName(rootPath).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (root.get() < 0 && errno == ENOENT)
        return listing;
    const auto names = root.get() < 0 ? std::unexpected(errno) : entryNames(root.get());
    if (!names) {
        listing.unreadable.append({QUuid(), rootPath, readFailure(rootPath, names.error())});
        return listing;
    }
    QList<QUuid> ids;
    for (const QByteArray& name : *names) {
        const QUuid id = QUuid::fromString(QLatin1StringView(name));
        // Only folders named as the store names them hold notes.
        if (!id.isNull() && QFile::encodeName(uuidText(id)) == name)
            ids.append(id);
    }
    std::ranges::sort(ids, {}, uuidText);
    for (const QUuid& id : ids) {
        auto note = read(id);
        if (note)
            listing.notes.append(std::move(*note));
        else if (note.error().kind != StoreError::Kind::missing)
            listing.unreadable.append({id, noteDirectory(id), note.error()});
    }
    std::ranges::stable_sort(
        listing.notes, [](const Note& a, const Note& b) { return a.createdAt > b.createdAt; });
    return listing;
}

StoreResult<> NotesStore::create(const Note& note) {
    QString reason;
    if (!makePrivateDirectory(rootPath, &reason))
        return std::unexpected(
            StoreError{StoreError::Kind::notSaved,
                       u"The notes folder %1 could not be created: %2."_s.arg(rootPath, reason)});
    const FileDescriptor root(
        ::open(QFile::encodeName(rootPath).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (root.get() < 0)
        return std::unexpected(saveFailure(rootPath, errno));
    const QString directory = noteDirectory(note.id);
    const QByteArray name = QFile::encodeName(uuidText(note.id));
    // Built under a hidden name and moved into place whole, so that no reader
    // ever finds a note folder without its record.
    static std::atomic<unsigned> counter = 0;
    const QByteArray building =
        "." + name + ".new-" + QByteArray::number(::getpid()) + "-" + QByteArray::number(counter++);
    if (::mkdirat(root.get(), building.constData(), 0700) != 0)
        return std::unexpected(saveFailure(directory, errno));
    StoreResult<> result;
    {
        const FileDescriptor folder(::openat(root.get(), building.constData(), folderFlags));
        if (folder.get() < 0 || ::fchmod(folder.get(), 0700) != 0)
            result = std::unexpected(saveFailure(directory, errno));
        if (result)
            result = write(folder.get(), note);
    }
    if (result && ::renameat(root.get(), building.constData(), root.get(), name.constData()) != 0)
        result =
            std::unexpected(errno == EEXIST || errno == ENOTEMPTY
                                ? StoreError{StoreError::Kind::invalid,
                                             u"A note with the identifier %1 already exists."_s.arg(
                                                 uuidText(note.id))}
                                : saveFailure(directory, errno));
    if (!result) {
        (void)removeEntryAt(root.get(), building, 0);
        return result;
    }
    return DurableFile::syncFolder(root.get(), rootPath);
}

StoreResult<Note> NotesStore::update(const QUuid& id, const std::function<void(Note&)>& change) {
    const auto held = lock(id);
    if (!held)
        return std::unexpected(held.error());
    const auto folder = openNoteFolder(id);
    if (!folder)
        return std::unexpected(folder.error());
    auto note = readIn(folder->get(), id);
    if (!note)
        return note;
    change(*note);
    note->id = id;
    note->revision += 1;
    if (auto written = write(folder->get(), *note); !written)
        return std::unexpected(written.error());
    return note;
}

StoreResult<> NotesStore::remove(const QUuid& id) {
    const auto held = lock(id);
    if (!held)
        return held.error().kind == StoreError::Kind::missing ? StoreResult<>{}
                                                              : std::unexpected(held.error());
    const FileDescriptor root(
        ::open(QFile::encodeName(rootPath).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (root.get() < 0)
        return std::unexpected(saveFailure(rootPath, errno));
    if (const int error = removeEntryAt(root.get(), QFile::encodeName(uuidText(id)), 0))
        return std::unexpected(StoreError{
            StoreError::Kind::notSaved,
            u"The note folder %1 could not be removed: %2"_s.arg(
                noteDirectory(id), DurableFile::failureSentence(true, noteDirectory(id), error))});
    return DurableFile::syncFolder(root.get(), rootPath);
}

StoreResult<Note> NotesStore::removeAudio(const QUuid& id) {
    const auto held = lock(id);
    if (!held)
        return std::unexpected(held.error());
    const auto folder = openNoteFolder(id);
    if (!folder)
        return std::unexpected(folder.error());
    auto note = readIn(folder->get(), id);
    if (!note)
        return note;
    if (const int error = removeContentsAt(folder->get(), noteFileName, 0))
        qCWarning(notesLog) << "cannot remove everything in" << noteDirectory(id)
                            << DurableFile::failureSentence(true, noteDirectory(id), error);
    note->audioRemoved = true;
    note->audioFile.reset();
    note->revision += 1;
    if (auto written = write(folder->get(), *note); !written)
        return std::unexpected(written.error());
    return note;
}

StoreResult<QByteArray> NotesStore::readSectionEnvelope(const QUuid& id, int index) const {
    const auto folder = openNoteFolder(id);
    if (!folder)
        return std::unexpected(folder.error());
    return DurableFile::readAt(folder->get(), sectionFileName(index, ".env"),
                               EnergyEnvelope::largestFileBytes, sectionEnvelopePath(id, index));
}

StoreResult<FileDescriptor> NotesStore::openSectionAudio(const QUuid& id, int index) const {
    const auto folder = openNoteFolder(id);
    if (!folder)
        return std::unexpected(folder.error());
    const QString shown = sectionAudioPath(id, index);
    // Non-blocking, so that a FIFO put in its place is refused, not waited on.
    FileDescriptor file(::openat(folder->get(), sectionFileName(index, ".wav").constData(),
                                 O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    if (file.get() < 0)
        return std::unexpected(readFailure(shown, errno));
    struct stat status {};
    if (::fstat(file.get(), &status) != 0)
        return std::unexpected(readFailure(shown, errno));
    if (!S_ISREG(status.st_mode))
        return std::unexpected(
            StoreError{StoreError::Kind::refused,
                       u"Could not read %1: it is not a regular file."_s.arg(shown)});
    return file;
}

void NotesStore::recover(const QUuid& id, NoteRecovery& recovery) {
    const auto held = lock(id);
    if (!held) {
        recovery.failures.append(held.error());
        return;
    }
    const auto folder = openNoteFolder(id);
    if (!folder) {
        if (folder.error().kind != StoreError::Kind::missing)
            recovery.failures.append(folder.error());
        return;
    }
    const auto bytes = readRecord(folder->get(), id);
    if (!bytes) {
        recovery.failures.append(bytes.error());
        return;
    }
    auto note = decodeRecord(id, *bytes);
    if (!note && note.error().kind != StoreError::Kind::damaged) {
        recovery.failures.append(note.error());
        return;
    }
    if (!note) {
        // Kept under the lock from the bytes read under it, so that of several
        // processes starting at once one keeps the record and the rest find
        // it replaced.
        const auto copy = DurableFile::keepAside(noteFilePath(id), *bytes);
        if (!copy) {
            recovery.failures.append(copy.error());
            return;
        }
        Note replacement;
        replacement.id = id;
        replacement.createdAt = QDateTime::currentDateTimeUtc();
        if (struct stat status{}; ::fstat(folder->get(), &status) == 0)
            replacement.createdAt = QDateTime::fromSecsSinceEpoch(status.st_mtime, Qt::UTC);
        replacement.state = NoteState::interrupted;
        replacement.message = u"This note’s record could not be read, so it was kept as %1 and "
                              u"replaced. The audio in this folder is kept."_s.arg(*copy);
        if (auto written = write(folder->get(), replacement); !written) {
            recovery.failures.append(written.error());
            return;
        }
        recovery.keptAside.append(u"%1 Its record was kept as %2 and replaced, so the note and "
                                  u"its audio stay listed."_s.arg(note.error().message, *copy));
        return;
    }
    if (note->state != NoteState::recording)
        return;
    qint64 lastEndMs = 0;
    for (const NoteSection& section : note->sections) {
        lastEndMs = std::max(lastEndMs, section.endMs);
        const QByteArray name = sectionFileName(section.index, ".wav");
        struct stat status {};
        if (::fstatat(folder->get(), name.constData(), &status, AT_SYMLINK_NOFOLLOW) != 0 &&
            errno == ENOENT)
            continue;
        if (auto repaired =
                WaveFileWriter::repairAt(folder->get(), name, sectionAudioPath(id, section.index));
            !repaired)
            recovery.failures.append({StoreError::Kind::notSaved, repaired.error()});
    }
    note->durationMs = std::max(note->durationMs, lastEndMs);
    note->state = NoteState::interrupted;
    note->message = u"Parlevo quit while this was recording. The audio captured so far is "
                    u"kept on this computer."_s;
    note->revision += 1;
    if (auto written = write(folder->get(), *note); !written) {
        recovery.failures.append(written.error());
        return;
    }
    recovery.recovered.append(std::move(*note));
}

NoteRecovery NotesStore::recoverInterrupted() {
    NoteRecovery recovery;
    const NoteListing listing = loadAll();
    QList<QUuid> ids;
    for (const Note& note : listing.notes)
        if (note.state == NoteState::recording)
            ids.append(note.id);
    for (const UnreadableNote& note : listing.unreadable) {
        if (note.id.isNull())
            recovery.failures.append(note.error);
        else
            ids.append(note.id);
    }
    // Each note is read again under the lock: another process may have
    // recovered it since.
    for (const QUuid& id : ids)
        recover(id, recovery);
    return recovery;
}

} // namespace quendra

#include "NotesStore.h"

#include "audio/WaveFileWriter.h"
#include "model/AppPaths.h"

#include <QDir>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QSaveFile>

#include <sys/statvfs.h>

#include <algorithm>

namespace quendra {

using namespace Qt::Literals::StringLiterals;

namespace {

Q_LOGGING_CATEGORY(notesLog, "com.orvane.quendra.mac.notes")

const QString noteFileName = u"note.json"_s;
constexpr QFile::Permissions filePermissions = QFile::ReadOwner | QFile::WriteOwner;

NotesStoreError notFound() {
    return {u"This note could not be found. It may have been deleted."_s};
}

NotesStoreError notSaved(const QString& directory) {
    return {u"The note could not be saved in %1."_s.arg(directory)};
}

} // namespace

NotesStore::NotesStore(std::optional<QString> root)
    : rootPath(root ? QDir::cleanPath(*root) : defaultRoot())
    , reviewOn(!root) {}

QString NotesStore::defaultRoot() { return applicationDataDirectory() + u"/Notes"_s; }

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
    return noteDirectory(id) + u'/' + noteFileName;
}

QString NotesStore::sectionAudioPath(const QUuid& id, int index) const {
    return noteDirectory(id) + u"/part-"_s + QString::number(index) + u".wav"_s;
}

QString NotesStore::sectionEnvelopePath(const QUuid& id, int index) const {
    return noteDirectory(id) + u"/part-"_s + QString::number(index) + u".env"_s;
}

std::optional<QString> NotesStore::playbackPath(const Note& note) const {
    if (note.audioRemoved || !note.audioFile || note.audioFile->isEmpty())
        return std::nullopt;
    // Only a plain file name inside the note folder is trusted.
    if (QFileInfo(*note.audioFile).fileName() != *note.audioFile || *note.audioFile == u".."_s)
        return std::nullopt;
    const QString path = noteDirectory(note.id) + u'/' + *note.audioFile;
    if (!QFileInfo(path).isFile())
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

std::optional<Note> NotesStore::read(const QUuid& id) const {
    QFile file(noteFilePath(id));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return decodeNote(file.readAll());
}

std::optional<Note> NotesStore::load(const QUuid& id) const {
    // Writes replace note.json whole, so reading needs no lock.
    return read(id);
}

QList<Note> NotesStore::loadAll() const {
    QList<Note> notes;
    const QDir root(rootPath);
    for (const QString& name : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile file(root.filePath(name) + u'/' + noteFileName);
        if (!file.open(QIODevice::ReadOnly))
            continue;
        if (auto note = decodeNote(file.readAll()))
            notes.append(std::move(*note));
    }
    std::ranges::stable_sort(
        notes, [](const Note& a, const Note& b) { return a.createdAt > b.createdAt; });
    return notes;
}

std::expected<void, NotesStoreError> NotesStore::write(const Note& note) {
    const QString directory = noteDirectory(note.id);
    const QString path = noteFilePath(note.id);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        qCWarning(notesLog) << "cannot open" << path << file.errorString();
        return std::unexpected(notSaved(directory));
    }
    // The temporary file is private before it replaces the old one, so the
    // note is never readable by others, not even for a moment.
    file.setPermissions(filePermissions);
    const QByteArray bytes = encodeNote(note);
    if (file.write(bytes) != bytes.size() || !file.commit()) {
        qCWarning(notesLog) << "cannot write" << path << file.errorString();
        return std::unexpected(notSaved(directory));
    }
    if (!QFile::setPermissions(path, filePermissions))
        return std::unexpected(notSaved(directory));
    if (reviewOn && reviewCapture) {
        try {
            reviewCapture(directory);
        } catch (...) {
            qCWarning(notesLog) << "review capture failed for" << directory;
        }
    }
    return {};
}

std::expected<void, NotesStoreError> NotesStore::create(const Note& note) {
    std::lock_guard lock(mutex);
    if (!makePrivateDirectory(noteDirectory(note.id)))
        return std::unexpected(
            NotesStoreError{u"The notes folder %1 could not be created."_s.arg(rootPath)});
    return write(note);
}

std::expected<Note, NotesStoreError> NotesStore::update(const QUuid& id,
                                                        const std::function<void(Note&)>& change) {
    std::lock_guard lock(mutex);
    std::optional<Note> note = read(id);
    if (!note)
        return std::unexpected(notFound());
    change(*note);
    note->id = id;
    note->revision += 1;
    if (auto written = write(*note); !written)
        return std::unexpected(written.error());
    return std::move(*note);
}

std::expected<void, NotesStoreError> NotesStore::remove(const QUuid& id) {
    std::lock_guard lock(mutex);
    QDir directory(noteDirectory(id));
    if (!directory.exists() || directory.removeRecursively())
        return {};
    return std::unexpected(
        NotesStoreError{u"The note folder %1 could not be removed."_s.arg(directory.path())});
}

std::expected<Note, NotesStoreError> NotesStore::removeAudio(const QUuid& id) {
    std::lock_guard lock(mutex);
    std::optional<Note> note = read(id);
    if (!note)
        return std::unexpected(notFound());
    const QDir directory(noteDirectory(id));
    const auto entries = directory.entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                                 QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : entries) {
        if (entry.fileName() == noteFileName)
            continue;
        const bool removed = entry.isDir() && !entry.isSymLink()
                                 ? QDir(entry.filePath()).removeRecursively()
                                 : QFile::remove(entry.filePath());
        if (!removed)
            qCWarning(notesLog) << "cannot remove" << entry.filePath();
    }
    note->audioRemoved = true;
    note->audioFile.reset();
    note->revision += 1;
    if (auto written = write(*note); !written)
        return std::unexpected(written.error());
    return std::move(*note);
}

QList<Note> NotesStore::recoverInterrupted() {
    std::lock_guard lock(mutex);
    QList<Note> recovered;
    const QDir root(rootPath);
    for (const QString& name : root.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QUuid id = QUuid::fromString(name);
        if (id.isNull())
            continue;
        std::optional<Note> note = read(id);
        if (!note || note->id != id || note->state != NoteState::recording)
            continue;
        qint64 lastEndMs = 0;
        for (const NoteSection& section : note->sections) {
            lastEndMs = std::max(lastEndMs, section.endMs);
            const QString audio = sectionAudioPath(id, section.index);
            if (!QFileInfo::exists(audio))
                continue;
            if (auto repaired = WaveFileWriter::repair(audio); !repaired)
                qCWarning(notesLog) << "cannot repair" << audio << repaired.error();
        }
        note->durationMs = std::max(note->durationMs, lastEndMs);
        note->state = NoteState::interrupted;
        note->message = u"Parlevo quit while this was recording. The audio captured so far is "
                        u"kept on this computer."_s;
        note->revision += 1;
        if (write(*note))
            recovered.append(std::move(*note));
    }
    return recovered;
}

} // namespace quendra

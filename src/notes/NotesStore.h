#pragma once

#include "model/FileDescriptor.h"
#include "model/FileLock.h"
#include "model/Note.h"
#include "model/StoreError.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <functional>
#include <mutex>
#include <optional>

namespace quendra {

// A note folder whose record could not be read; `error`'s sentence names the
// folder and what is wrong.
struct UnreadableNote {
    QUuid id;
    QString folder;
    StoreError error;
};

struct NoteListing {
    QList<Note> notes;                // newest first
    QList<UnreadableNote> unreadable; // by folder name
};

struct NoteRecovery {
    // Left recording, now interrupted.
    QList<Note> recovered;
    // One sentence per note whose damaged record was kept aside and replaced,
    // saying where the copy is.
    QStringList keptAside;
    // Notes that could not be checked or saved; nothing of theirs was changed.
    QList<StoreError> failures;
};

// Keeps each note in a folder of its own: `<root>/<ID>/note.json` beside the
// section audio and envelope files. Every read-modify-write holds a lock on
// `<root>/.lock` across processes and re-reads the note under it, so changes
// from the capture thread, processing, the interface and any command are
// applied one after the other and none is lost. A note folder and the files in
// it are only ever opened relative to one another without following a symbolic
// link, so nothing outside the notes folder is read or written through one.
// Safe to call from any thread.
class NotesStore {
public:
    // Without a root: $XDG_DATA_HOME/Quendra/Notes, and finished writes are
    // offered to the review capture.
    explicit NotesStore(std::optional<QString> root = std::nullopt);

    static QString defaultRoot();

    QString root() const { return rootPath; }

    bool capturesReview() const;
    void setCapturesReview(bool on);
    // Receives the note folder after each write while capturesReview() is on.
    // Runs under the store's lock: it must not call back into the store. What
    // it does never changes the outcome of the write.
    void setReviewCapture(std::function<void(const QString& directory)> capture);

    StoreResult<> create(const Note& note);
    // Kind `missing` when there is no such note folder.
    StoreResult<Note> load(const QUuid& id) const;
    // Every readable note, and every note folder whose record is not.
    NoteListing loadAll() const;
    // Applies `change` to the note as stored now, raises `revision` by one and
    // writes it back. The change cannot move the note to another id.
    StoreResult<Note> update(const QUuid& id, const std::function<void(Note&)>& change);
    // Removes the whole note folder; a note that is already gone is no error.
    StoreResult<> remove(const QUuid& id);
    // Removes every file of the note but note.json (single failures are
    // skipped), then marks the audio as removed.
    StoreResult<Note> removeAudio(const QUuid& id);
    // Start-up: every note still `recording` gets its section files repaired
    // and becomes `interrupted`. A record that no longer decodes is kept
    // aside and replaced by an interrupted note, so its audio stays listed.
    NoteRecovery recoverInterrupted();

    // The bytes of a section's level envelope, read inside the note folder.
    StoreResult<QByteArray> readSectionEnvelope(const QUuid& id, int index) const;
    // A section's audio file opened for reading inside the note folder, for
    // reading a long file piece by piece. Kind `missing` when it is not there;
    // a link or anything but a regular file is refused.
    StoreResult<FileDescriptor> openSectionAudio(const QUuid& id, int index) const;

    QString noteDirectory(const QUuid& id) const;
    QString noteFilePath(const QUuid& id) const;
    QString sectionAudioPath(const QUuid& id, int index) const;
    QString sectionEnvelopePath(const QUuid& id, int index) const;
    // The finished recording when it exists and was not removed; none while
    // the note has no exported audio yet.
    std::optional<QString> playbackPath(const Note& note) const;
    // Free space on the volume that holds the root (or would hold it).
    std::optional<qint64> freeBytes() const;

private:
    StoreResult<FileLock> lock(const QUuid& id) const;
    StoreResult<FileDescriptor> openNoteFolder(const QUuid& id) const;
    StoreResult<QByteArray> readRecord(int folder, const QUuid& id) const;
    // The note in an open folder, decoded; with the lock held for a change.
    StoreResult<Note> readIn(int folder, const QUuid& id) const;
    StoreResult<Note> decodeRecord(const QUuid& id, const QByteArray& bytes) const;
    StoreResult<Note> read(const QUuid& id) const;
    StoreResult<> write(int folder, const Note& note);
    StoreError unreadable(const QUuid& id, const StoreError& cause) const;
    void recover(const QUuid& id, NoteRecovery& recovery);

    QString rootPath;
    bool reviewOn = false;
    std::function<void(const QString&)> reviewCapture;
    mutable std::mutex mutex;
};

} // namespace quendra

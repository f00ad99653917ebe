#pragma once

#include "model/Note.h"

#include <QList>
#include <QString>
#include <QUuid>

#include <expected>
#include <functional>
#include <mutex>
#include <optional>

namespace quendra {

struct NotesStoreError {
    QString message;
};

// Keeps each note in a folder of its own: `<root>/<ID>/note.json` beside the
// section audio and envelope files. Every read-modify-write re-reads the note
// from disk under one lock, so changes from the capture thread, processing and
// the interface are applied one after the other and none is lost. Safe to call
// from any thread.
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

    std::expected<void, NotesStoreError> create(const Note& note);
    std::optional<Note> load(const QUuid& id) const;
    // Every readable note, newest first; unreadable folders are skipped.
    QList<Note> loadAll() const;
    // Applies `change` to the note as stored now, raises `revision` by one and
    // writes it back. The change cannot move the note to another id.
    std::expected<Note, NotesStoreError> update(const QUuid& id,
                                                const std::function<void(Note&)>& change);
    // Removes the whole note folder; a note that is already gone is no error.
    std::expected<void, NotesStoreError> remove(const QUuid& id);
    // Removes every file of the note but note.json (single failures are
    // skipped), then marks the audio as removed.
    std::expected<Note, NotesStoreError> removeAudio(const QUuid& id);
    // Start-up: every note still `recording` gets its section files repaired
    // and becomes `interrupted`. Returns the notes recovered.
    QList<Note> recoverInterrupted();

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
    std::optional<Note> read(const QUuid& id) const;
    std::expected<void, NotesStoreError> write(const Note& note);

    QString rootPath;
    bool reviewOn = false;
    std::function<void(const QString&)> reviewCapture;
    mutable std::mutex mutex;
};

} // namespace quendra

#pragma once

#include <QString>
#include <QUuid>

#include <expected>
#include <optional>

namespace quendra {

// The folder in which each dictation's audio is kept until its text is safely
// in the history. Main thread only.
class PendingRecordingStore {
public:
    // $XDG_DATA_HOME/Quendra/Pending Dictations (XDG_DATA_HOME defaults to ~/.local/share).
    static QString defaultDirectory();
    // The kept file of a recording: its identifier, upper case, with ".wav".
    static QString fileName(const QUuid& id);

    explicit PendingRecordingStore(std::optional<QString> directory = std::nullopt);

    QString directory() const { return folder; }

    // Creates the folder (0700) when needed and returns the path the recorder
    // must write to, or the reason the folder could not be made.
    std::expected<QString, QString> prepare(const QUuid& id) const;

    // The local path of a kept recording; none unless `fileName` is a bare file
    // name ending in ".wav" or ".m4a" that exists in the folder.
    std::optional<QString> url(const QString& fileName) const;

    // Deletes a recording and its "progress.json" companion; failures are ignored.
    void remove(const QString& fileName) const;

private:
    QString folder;
};

} // namespace quendra

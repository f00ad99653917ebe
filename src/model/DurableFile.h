#pragma once

#include "StoreError.h"

#include <QByteArray>
#include <QString>

#include <sys/types.h>

namespace quendra {

// Whole-file reads and writes for everything Parlevo stores. A write goes to
// a new private file beside the target, is flushed and synced, then renamed
// over the target and the folder synced: the old content stays until the new
// one is on the disk, and every failing step is reported. Reads never follow
// a symbolic link, never wait on a FIFO or device, and refuse files larger
// than the caller allows, before allocating for them. Any thread.
namespace DurableFile {

inline constexpr mode_t privateMode = 0600;

StoreResult<> write(const QString& path, const QByteArray& bytes, mode_t mode = privateMode);
// The same inside an open folder, for callers that must not be led out of it.
// `shownPath` names the file in sentences.
StoreResult<> writeAt(int directory, const QByteArray& name, const QByteArray& bytes,
                      const QString& shownPath, mode_t mode = privateMode);

// A file that does not exist is an error of kind `missing`.
StoreResult<QByteArray> read(const QString& path, qint64 maxBytes);
StoreResult<QByteArray> readAt(int directory, const QByteArray& name, qint64 maxBytes,
                               const QString& shownPath);

// Syncs an open folder after entries in it were added, renamed or removed.
StoreResult<> syncFolder(int directory, const QString& shownPath);

// Writes `bytes` to a new file named after `path` with ".damaged-<time>" and,
// when taken, a counter; gives the path of the copy. Never replaces a file.
StoreResult<QString> keepAside(const QString& path, const QByteArray& bytes);

// The sentence for a failed step: "Could not save PATH: the disk is full."
QString failureSentence(bool saving, const QString& path, int error);

} // namespace DurableFile

} // namespace quendra

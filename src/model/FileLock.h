#pragma once

#include "StoreError.h"

#include <QString>

#include <chrono>

namespace quendra {

// An advisory lock on a lock file, held across processes for one
// read-modify-write of a store: the application and any number of commands
// take turns instead of losing each other's changes. Locks belong to the open
// file, so two holders in one process exclude each other too; a holder must
// never ask for a lock it already holds. Released on destruction.
class FileLock {
public:
    static constexpr std::chrono::milliseconds defaultTimeout{5000};

    // Waits up to `timeout`; `what` names the data in the busy sentence
    // ("your settings").
    static StoreResult<FileLock> acquire(const QString& lockPath, const QString& what,
                                         std::chrono::milliseconds timeout = defaultTimeout);

    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&& other) noexcept;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

private:
    explicit FileLock(int fd)
        : fd(fd) {}
    int fd = -1;
};

} // namespace quendra

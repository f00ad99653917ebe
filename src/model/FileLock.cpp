#include "FileLock.h"

#include "DurableFile.h"

#include <QFile>

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// Each holder raises a count kept in the lock file, so that waiters can tell
// a lock that changes hands from one that is kept.
std::uint64_t holderCount(int fd) {
    std::uint64_t count = 0;
    return ::pread(fd, &count, sizeof count, 0) == sizeof count ? count : 0;
}

} // namespace

StoreResult<FileLock> FileLock::acquire(const QString& lockPath, const QString& what,
                                        std::chrono::milliseconds timeout) {
    const int fd = ::open(QFile::encodeName(lockPath).constData(),
                          O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK,
                          DurableFile::privateMode);
    if (fd < 0)
        return std::unexpected(StoreError{StoreError::Kind::notSaved,
                                          DurableFile::failureSentence(true, lockPath, errno)});
    FileLock lock(fd);
    auto deadline = std::chrono::steady_clock::now() + timeout;
    auto pause = std::chrono::milliseconds(1);
    std::uint64_t lastHolder = holderCount(fd);
    while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return std::unexpected(StoreError{StoreError::Kind::notSaved,
                                              DurableFile::failureSentence(true, lockPath, errno)});
        // The time-out is for one holder that keeps the lock, not for a queue
        // of holders that each keep it briefly.
        if (const std::uint64_t holder = holderCount(fd); holder != lastHolder) {
            lastHolder = holder;
            deadline = std::chrono::steady_clock::now() + timeout;
        }
        if (std::chrono::steady_clock::now() >= deadline)
            return std::unexpected(StoreError{
                StoreError::Kind::busy,
                u"Another Parlevo process has been changing %1 for more than %2 seconds, so "
                u"nothing was changed. Try again once it has finished (its lock is %3)."_s.arg(what)
                    .arg(std::chrono::duration<double>(timeout).count())
                    .arg(lockPath)});
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, std::chrono::milliseconds(20));
    }
    const std::uint64_t next = holderCount(fd) + 1;
    (void)::pwrite(fd, &next, sizeof next, 0); // a hint for waiters only
    return lock;
}

FileLock::FileLock(FileLock&& other) noexcept
    : fd(std::exchange(other.fd, -1)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
    if (this != &other) {
        if (fd >= 0)
            ::close(fd);
        fd = std::exchange(other.fd, -1);
    }
    return *this;
}

FileLock::~FileLock() {
    if (fd >= 0)
        ::close(fd); // closing the last descriptor releases the lock
}

} // namespace quendra

#include "FileLock.h"

#include "DurableFile.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

StoreResult<FileLock> FileLock::acquire(const QString& lockPath, const QString& what,
                                        std::chrono::milliseconds timeout) {
    const int fd = ::open(QFile::encodeName(lockPath).constData(),
                          O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK,
                          DurableFile::privateMode);
    if (fd < 0)
        return std::unexpected(StoreError{StoreError::Kind::notSaved,
                                          DurableFile::failureSentence(true, lockPath, errno)});
    FileLock lock(fd);
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    auto pause = std::chrono::milliseconds(1);
    while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return std::unexpected(StoreError{
                StoreError::Kind::notSaved, DurableFile::failureSentence(true, lockPath, errno)});
        if (std::chrono::steady_clock::now() >= deadline)
            return std::unexpected(StoreError{
                StoreError::Kind::busy,
                u"Another Parlevo process has been changing %1 for more than %2 seconds, so "
                u"nothing was changed. Try again once it has finished (its lock is %3)."_s
                    .arg(what)
                    .arg(std::chrono::duration<double>(timeout).count())
                    .arg(lockPath)});
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, std::chrono::milliseconds(20));
    }
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

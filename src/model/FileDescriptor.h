#pragma once

#include <QtGlobal>

#include <cerrno>
#include <optional>
#include <unistd.h>
#include <utility>

namespace quendra {

// An open file or folder, closed when it goes out of scope.
class FileDescriptor {
public:
    explicit FileDescriptor(int fd = -1)
        : fd(fd) {}
    ~FileDescriptor() {
        if (fd >= 0)
            ::close(fd);
    }
    FileDescriptor(FileDescriptor&& other) noexcept
        : fd(std::exchange(other.fd, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            if (fd >= 0)
                ::close(fd);
            fd = std::exchange(other.fd, -1);
        }
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return fd; }
    // Closing reports what a delayed write-back failure looks like on some
    // file systems (NFS, FUSE), so it is checked like every other step.
    // Returns 0 or the error.
    int close() {
        const int result = ::close(std::exchange(fd, -1));
        return result == 0 ? 0 : errno;
    }

private:
    int fd;
};

// Writes all of `data`, at `offset` when given (which then advances),
// continuing partial writes. Returns 0 or the errno of the failed write.
inline int writeAll(int fd, const char* data, qint64 size, std::optional<qint64> offset = {}) {
    while (size > 0) {
        const ssize_t n = offset ? ::pwrite(fd, data, size_t(size), off_t(*offset))
                                 : ::write(fd, data, size_t(size));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        if (n == 0)
            return ENOSPC;
        data += n;
        size -= n;
        if (offset)
            *offset += n;
    }
    return 0;
}

} // namespace quendra

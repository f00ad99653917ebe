#pragma once

#include <cerrno>
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

} // namespace quendra

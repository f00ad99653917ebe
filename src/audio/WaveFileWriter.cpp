#include "audio/WaveFileWriter.h"

#include "model/DurableFile.h"
#include "model/FileDescriptor.h"

#include <QFile>
#include <QFileInfo>
#include <QtEndian>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <limits>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

std::optional<qint64> WaveFileWriter::durationMs(const QString& path) {
    const QFileInfo info(path);
    if (!info.isFile() || info.size() < headerBytes)
        return std::nullopt;
    return (info.size() - headerBytes) * 1000 / bytesPerSecond;
}

namespace {

QString failure(const QString& what, const QString& path, int error) {
    return u"%1 %2: %3"_s.arg(what, path, QString::fromLocal8Bit(std::strerror(error)));
}

int openFile(const QString& path, int flags) {
    const QByteArray native = QFile::encodeName(path);
    int fd;
    do {
        fd = ::open(native.constData(), flags | O_CLOEXEC | O_NOFOLLOW, 0600);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

int syncFile(int fd) {
    return ::fdatasync(fd) == 0 ? 0 : errno;
}

} // namespace

QByteArray WaveFileWriter::header(qint64 dataBytes) {
    // The size fields are 32-bit; a longer file keeps the largest they can say.
    const auto count =
        quint32(std::clamp<qint64>(dataBytes, 0, std::numeric_limits<quint32>::max() - 36));
    QByteArray bytes(headerBytes, '\0');
    char* p = bytes.data();
    std::memcpy(p, "RIFF", 4);
    qToLittleEndian<quint32>(36 + count, p + 4);
    std::memcpy(p + 8, "WAVEfmt ", 8);
    qToLittleEndian<quint32>(16, p + 16);
    qToLittleEndian<quint16>(1, p + 20);
    qToLittleEndian<quint16>(1, p + 22);
    qToLittleEndian<quint32>(sampleRate, p + 24);
    qToLittleEndian<quint32>(bytesPerSecond, p + 28);
    qToLittleEndian<quint16>(2, p + 32);
    qToLittleEndian<quint16>(16, p + 34);
    std::memcpy(p + 36, "data", 4);
    qToLittleEndian<quint32>(count, p + 40);
    return bytes;
}

std::expected<WaveFileWriter, QString> WaveFileWriter::create(const QString& path, FileSync sync) {
    const int fd = openFile(path, O_WRONLY | O_CREAT | O_TRUNC);
    if (fd < 0)
        return std::unexpected(failure(u"Could not create"_s, path, errno));
    WaveFileWriter writer(fd, path, std::move(sync));
    const QByteArray empty = header(0);
    if (const int error = writeAll(fd, empty.constData(), empty.size())) {
        // A file without its header is no recording; a device is left alone.
        struct stat status {};
        if (::fstat(fd, &status) == 0 && S_ISREG(status.st_mode))
            ::unlink(QFile::encodeName(path).constData());
        writer.abandon();
        return std::unexpected(failure(u"Could not write"_s, path, error));
    }
    return writer;
}

std::expected<qint64, QString> WaveFileWriter::repair(const QString& path) {
    const QFileInfo info(path);
    const FileDescriptor directory(::open(QFile::encodeName(info.absolutePath()).constData(),
                                          O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() < 0)
        return std::unexpected(DurableFile::failureSentence(true, path, errno));
    return repairAt(directory.get(), QFile::encodeName(info.fileName()), path);
}

std::expected<qint64, QString> WaveFileWriter::repairAt(int directory, const QByteArray& name,
                                                        const QString& shownPath) {
    // Non-blocking, so that a FIFO put in the section's place is refused below
    // instead of waited on.
    FileDescriptor file(::openat(directory, name.constData(),
                                 O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    if (file.get() < 0)
        return std::unexpected(DurableFile::failureSentence(true, shownPath, errno));
    const int fd = file.get();
    struct stat status {};
    if (::fstat(fd, &status) != 0)
        return std::unexpected(DurableFile::failureSentence(true, shownPath, errno));
    if (!S_ISREG(status.st_mode))
        return std::unexpected(u"Could not repair %1: it is not a regular file."_s.arg(shownPath));
    const qint64 count = std::max<qint64>(0, qint64(status.st_size) - headerBytes) & ~qint64(1);
    int error = 0;
    if (::ftruncate(fd, off_t(headerBytes + count)) != 0)
        error = errno;
    if (!error) {
        const QByteArray bytes = header(count);
        error = writeAll(fd, bytes.constData(), bytes.size(), 0);
    }
    if (!error)
        error = syncFile(fd);
    if (const int closed = file.close(); !error)
        error = closed;
    if (error)
        return std::unexpected(DurableFile::failureSentence(true, shownPath, error));
    return count * 1000 / bytesPerSecond;
}

WaveFileWriter::WaveFileWriter(int fd, QString path, FileSync sync)
    : fd(fd)
    , path(std::move(path))
    , sync(std::move(sync)) {}

WaveFileWriter::WaveFileWriter(WaveFileWriter&& other) noexcept
    : fd(std::exchange(other.fd, -1))
    , path(std::move(other.path))
    , sync(std::move(other.sync))
    , bytes(other.bytes) {}

WaveFileWriter& WaveFileWriter::operator=(WaveFileWriter&& other) noexcept {
    if (this != &other) {
        abandon();
        fd = std::exchange(other.fd, -1);
        path = std::move(other.path);
        sync = std::move(other.sync);
        bytes = other.bytes;
    }
    return *this;
}

WaveFileWriter::~WaveFileWriter() {
    (void)close();
}

std::expected<void, QString> WaveFileWriter::write(std::span<const qint16> samples) {
    if (fd < 0)
        return std::unexpected(u"%1 is closed"_s.arg(path));
    const char* data = reinterpret_cast<const char*>(samples.data());
    std::vector<qint16> swapped;
    if constexpr (std::endian::native != std::endian::little) {
        swapped.resize(samples.size());
        qToLittleEndian<qint16>(samples.data(), qsizetype(samples.size()), swapped.data());
        data = reinterpret_cast<const char*>(swapped.data());
    }
    const qint64 size = qint64(samples.size_bytes());
    if (const int error = writeAll(fd, data, size))
        return std::unexpected(failure(u"Could not write"_s, path, error));
    bytes += size;
    return {};
}

std::expected<void, QString> WaveFileWriter::checkpoint() {
    if (fd < 0)
        return std::unexpected(u"%1 is closed"_s.arg(path));
    // pwrite leaves the file offset at the end, where the next samples go.
    const QByteArray current = header(bytes);
    int error = writeAll(fd, current.constData(), current.size(), 0);
    if (!error)
        error = sync ? sync(fd) : syncFile(fd);
    if (error)
        return std::unexpected(failure(u"Could not save"_s, path, error));
    return {};
}

std::expected<void, QString> WaveFileWriter::close() {
    if (fd < 0)
        return {};
    auto result = checkpoint();
    if (::close(std::exchange(fd, -1)) != 0 && result)
        result = std::unexpected(failure(u"Could not close"_s, path, errno));
    return result;
}

void WaveFileWriter::abandon() {
    if (fd >= 0)
        ::close(std::exchange(fd, -1));
}

} // namespace quendra

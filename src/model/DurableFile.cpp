#include "DurableFile.h"

#include "FileDescriptor.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra::DurableFile {

namespace {

QString reason(int error) {
    switch (error) {
    case ENOSPC:
    case EDQUOT:
        return u"the disk is full"_s;
    case EROFS:
        return u"the disk is read-only"_s;
    case EACCES:
    case EPERM:
        return u"permission denied"_s;
    case ELOOP:
        return u"it is a symbolic link, which Parlevo does not follow"_s;
    case EIO:
        return u"the disk reported an input/output error"_s;
    case EISDIR:
        return u"it is a folder"_s;
    default:
        return QString::fromLocal8Bit(std::strerror(error));
    }
}

StoreError failed(bool saving, const QString& path, int error) {
    StoreError::Kind kind = saving ? StoreError::Kind::notSaved : StoreError::Kind::unreadable;
    if (!saving && error == ENOENT)
        kind = StoreError::Kind::missing;
    if (error == ELOOP)
        kind = StoreError::Kind::refused;
    return {kind, failureSentence(saving, path, error)};
}

QByteArray temporaryName(const QByteArray& name) {
    static std::atomic<unsigned> counter = 0;
    return "." + name + ".new-" + QByteArray::number(::getpid()) + "-" +
           QByteArray::number(counter++);
}

// Some file systems cannot sync a folder; the rename itself is then the
// best that can be done.
bool syncFolderFailed(int directory) {
    return ::fsync(directory) != 0 && errno != EINVAL && errno != ENOTSUP && errno != EROFS;
}

int openFolder(const QString& path) {
    return ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

} // namespace

QString failureSentence(bool saving, const QString& path, int error) {
    return (saving ? u"Could not save %1: %2."_s : u"Could not read %1: %2."_s)
        .arg(path, reason(error));
}

StoreResult<> writeAt(int directory, const QByteArray& name, const QByteArray& bytes,
                      const QString& shownPath, mode_t mode) {
    const QByteArray temporary = temporaryName(name);
    FileDescriptor file(::openat(directory, temporary.constData(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
    if (file.get() < 0)
        return std::unexpected(failed(true, shownPath, errno));
    int error = ::fchmod(file.get(), mode) == 0 ? 0 : errno; // past the umask
    if (!error)
        error = writeAll(file.get(), bytes.constData(), bytes.size());
    if (!error && ::fsync(file.get()) != 0)
        error = errno;
    if (const int closed = file.close(); !error)
        error = closed;
    if (!error && ::renameat(directory, temporary.constData(), directory, name.constData()) != 0)
        error = errno;
    if (error) {
        ::unlinkat(directory, temporary.constData(), 0);
        return std::unexpected(failed(true, shownPath, error));
    }
    return syncFolder(directory, shownPath);
}

StoreResult<> syncFolder(int directory, const QString& shownPath) {
    if (syncFolderFailed(directory))
        return std::unexpected(failed(true, shownPath, errno));
    return {};
}

StoreResult<> write(const QString& path, const QByteArray& bytes, mode_t mode) {
    const QFileInfo info(path);
    FileDescriptor directory(openFolder(info.absolutePath()));
    if (directory.get() < 0)
        return std::unexpected(failed(true, path, errno));
    return writeAt(directory.get(), QFile::encodeName(info.fileName()), bytes, path, mode);
}

StoreResult<QByteArray> readAt(int directory, const QByteArray& name, qint64 maxBytes,
                               const QString& shownPath) {
    // Non-blocking, so that opening a FIFO returns at once instead of waiting
    // for a writer; the type check below then refuses it.
    FileDescriptor file(::openat(directory, name.constData(),
                                 O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    if (file.get() < 0)
        return std::unexpected(failed(false, shownPath, errno));
    struct stat status {};
    if (::fstat(file.get(), &status) != 0)
        return std::unexpected(failed(false, shownPath, errno));
    if (!S_ISREG(status.st_mode))
        return std::unexpected(
            StoreError{StoreError::Kind::refused,
                       u"Could not read %1: it is not a regular file."_s.arg(shownPath)});
    if (status.st_size > maxBytes)
        return std::unexpected(StoreError{
            StoreError::Kind::refused,
            u"Could not read %1: at %2 MB it is larger than Parlevo reads (%3 MB)."_s.arg(
                shownPath, QString::number(double(status.st_size) / 1e6, 'f', 1),
                QString::number(double(maxBytes) / 1e6, 'f', 1))});
    QByteArray bytes(static_cast<qsizetype>(status.st_size), Qt::Uninitialized);
    qint64 filled = 0;
    // The file may grow or shrink while it is read; the size read is what counts.
    for (;;) {
        if (filled == bytes.size()) {
            if (bytes.size() >= maxBytes + 1)
                return std::unexpected(StoreError{
                    StoreError::Kind::refused,
                    u"Could not read %1: it grew past the size Parlevo reads."_s.arg(shownPath)});
            bytes.resize(std::min<qint64>(maxBytes + 1, std::max<qint64>(4096, filled * 2)));
        }
        const ssize_t n =
            ::read(file.get(), bytes.data() + filled, static_cast<size_t>(bytes.size() - filled));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return std::unexpected(failed(false, shownPath, errno));
        }
        if (n == 0)
            break;
        filled += n;
    }
    bytes.truncate(static_cast<qsizetype>(filled));
    return bytes;
}

StoreResult<QByteArray> read(const QString& path, qint64 maxBytes) {
    const QFileInfo info(path);
    FileDescriptor directory(openFolder(info.absolutePath()));
    if (directory.get() < 0)
        return std::unexpected(failed(false, path, errno));
    return readAt(directory.get(), QFile::encodeName(info.fileName()), maxBytes, path);
}

StoreResult<QString> keepAside(const QString& path, const QByteArray& bytes) {
    const QFileInfo info(path);
    FileDescriptor directory(openFolder(info.absolutePath()));
    if (directory.get() < 0)
        return std::unexpected(failed(true, path, errno));
    const QString stem = info.fileName() + u".damaged-"_s +
                         QDateTime::currentDateTimeUtc().toString(u"yyyyMMdd-HHmmss"_s);
    for (int attempt = 0; attempt < 1000; ++attempt) {
        const QString name = attempt == 0 ? stem : stem + u'-' + QString::number(attempt);
        const QString copy = info.absolutePath() + u'/' + name;
        // Reserve the name first, so that two processes never write one copy.
        FileDescriptor reserved(::openat(directory.get(), QFile::encodeName(name).constData(),
                                         O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW,
                                         privateMode));
        if (reserved.get() < 0) {
            if (errno == EEXIST)
                continue;
            return std::unexpected(failed(true, copy, errno));
        }
        (void)reserved.close();
        if (auto written = writeAt(directory.get(), QFile::encodeName(name), bytes, copy);
            !written) {
            ::unlinkat(directory.get(), QFile::encodeName(name).constData(), 0);
            return std::unexpected(written.error());
        }
        return copy;
    }
    return std::unexpected(failed(true, path, EEXIST));
}

} // namespace quendra::DurableFile

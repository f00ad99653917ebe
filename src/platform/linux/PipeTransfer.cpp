#include "PipeTransfer.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>

namespace quendra {

namespace {

// A reader that closed its end would have write() raise SIGPIPE, which ends
// the process unless handled; blocked for this thread and taken back, it is
// just the EPIPE error.
ssize_t writeWithoutSignal(int fd, const char* bytes, std::size_t size) {
    sigset_t pipeSignal, previous, pending;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, &previous);
    sigpending(&pending);
    const bool alreadyPending = sigismember(&pending, SIGPIPE);
    const ssize_t n = write(fd, bytes, size);
    const int error = errno;
    if (n < 0 && error == EPIPE && !alreadyPending) {
        const timespec now{0, 0};
        sigtimedwait(&pipeSignal, nullptr, &now);
    }
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    errno = error;
    return n;
}

} // namespace

std::optional<QByteArray> readPipeUntilClosed(int fd,
                                              std::chrono::steady_clock::time_point deadline) {
    using namespace std::chrono;
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    QByteArray data;
    char buffer[65536];
    for (;;) {
        const ssize_t n = read(fd, buffer, sizeof buffer);
        if (n > 0) {
            data.append(buffer, n);
            continue;
        }
        if (n == 0) {
            close(fd);
            return data;
        }
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN)
            break;
        const auto left = duration_cast<milliseconds>(deadline - steady_clock::now()).count();
        if (left <= 0)
            break;
        pollfd readable{fd, POLLIN, 0};
        if (poll(&readable, 1, int(left)) < 0 && errno != EINTR)
            break;
    }
    close(fd);
    return std::nullopt;
}

PipeWriter* PipeWriter::start(int fd, const QByteArray& data, std::chrono::milliseconds patience,
                              QObject* parent) {
    auto* writer = new PipeWriter(fd, data, patience, parent);
    // The first part goes at once; `finished` may only be connected to after
    // this returns, so the end is reported from the event loop.
    QTimer::singleShot(0, writer, &PipeWriter::writeSome);
    return writer;
}

PipeWriter::PipeWriter(int fd, const QByteArray& data, std::chrono::milliseconds patience,
                       QObject* parent)
    : QObject(parent)
    , fd(fd)
    , data(data) {
    fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
    notifier = new QSocketNotifier(fd, QSocketNotifier::Write, this);
    notifier->setEnabled(false);
    connect(notifier, &QSocketNotifier::activated, this, &PipeWriter::writeSome);
    stuck.setSingleShot(true);
    stuck.setInterval(patience);
    connect(&stuck, &QTimer::timeout, this, [this] { finish(false); });
    stuck.start();
}

PipeWriter::~PipeWriter() {
    if (fd >= 0)
        close(fd);
}

void PipeWriter::writeSome() {
    if (done)
        return;
    while (offset < data.size()) {
        const ssize_t n =
            writeWithoutSignal(fd, data.constData() + offset, std::size_t(data.size() - offset));
        if (n > 0) {
            offset += n;
            stuck.start();
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && errno == EAGAIN) {
            notifier->setEnabled(true);
            return;
        }
        finish(false);
        return;
    }
    finish(true);
}

void PipeWriter::finish(bool complete) {
    if (done)
        return;
    done = true;
    notifier->setEnabled(false);
    stuck.stop();
    // The reader sees the end of the data when the descriptor closes.
    close(fd);
    fd = -1;
    Q_EMIT finished(complete);
    deleteLater();
}

} // namespace quendra

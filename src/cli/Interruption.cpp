#include "Interruption.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <iterator>

#include <fcntl.h>
#include <unistd.h>

namespace quendra {

namespace {

std::atomic<int> caughtSignal = 0;
std::atomic<int> wakeWrite = -1;
int wakeRead = -1;
constexpr int signals[] = {SIGINT, SIGTERM, SIGHUP};
struct sigaction previous[std::size(signals)]{};

void caught(int signal) {
    const int savedErrno = errno;
    caughtSignal = signal;
    const char byte = char(signal);
    // A full pipe already holds a wake-up; nothing is lost by dropping this one.
    [[maybe_unused]] const ssize_t written = write(wakeWrite, &byte, 1);
    errno = savedErrno;
}

} // namespace

Interruption::Interruption() {
    Q_ASSERT(wakeRead < 0);
    caughtSignal = 0;
    int ends[2];
    // Without a pipe the signals keep ending the process, as they would anyway.
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    wakeRead = ends[0];
    wakeWrite = ends[1];
    notifier = std::make_unique<QSocketNotifier>(wakeRead, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(), [this] {
        char bytes[16];
        while (read(wakeRead, bytes, sizeof bytes) > 0) {
        }
        if (onInterrupt)
            onInterrupt();
    });
    struct sigaction action {};
    action.sa_handler = caught;
    sigemptyset(&action.sa_mask);
    // Reads and waits in progress go on; the event loop acts on the signal.
    action.sa_flags = SA_RESTART;
    for (size_t i = 0; i < std::size(signals); ++i)
        sigaction(signals[i], &action, &previous[i]);
}

Interruption::~Interruption() {
    if (!notifier)
        return;
    for (size_t i = 0; i < std::size(signals); ++i)
        sigaction(signals[i], &previous[i], nullptr);
    notifier.reset();
    close(wakeRead);
    close(wakeWrite.exchange(-1));
    wakeRead = -1;
}

bool Interruption::requested() const {
    return caughtSignal != 0;
}

int Interruption::exitStatus() const {
    return 128 + caughtSignal;
}

} // namespace quendra

#pragma once

#include <QSocketNotifier>

#include <functional>
#include <memory>

namespace quendra {

// Ctrl+C (SIGINT), SIGTERM and a closed terminal (SIGHUP) for a command that
// has something to stop or clean up first: while an Interruption exists the
// signals no longer end the process; the event loop hears of them and calls
// `onInterrupt`. The handler
// only writes to a pipe, the one thing a signal handler may safely do. One at
// a time; main thread only.
class Interruption {
public:
    Interruption();
    ~Interruption();
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    // Called from the event loop once for each signal.
    std::function<void()> onInterrupt;

    // A signal came, whether or not the event loop has run since.
    bool requested() const;
    // What a shell reports for a process the signal ended: 128 plus its number.
    int exitStatus() const;

private:
    std::unique_ptr<QSocketNotifier> notifier;
};

} // namespace quendra

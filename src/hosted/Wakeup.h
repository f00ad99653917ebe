#pragma once

#include <QTimer>

#include <coroutine>
#include <utility>

namespace quendra {

// Wakes a coordinating task from the event loop, never from inside the task
// that finished, so that task's frame is gone before the coordinator moves
// on. Notifications before the wait are not lost. Main thread only.
class Wakeup {
public:
    void notify() {
        ++pending;
        if (waiter)
            QTimer::singleShot(0, [h = std::exchange(waiter, {})] { h.resume(); });
    }
    auto operator co_await() {
        struct Awaiter {
            Wakeup& wakeup;
            bool await_ready() const { return wakeup.pending > 0; }
            void await_suspend(std::coroutine_handle<> h) { wakeup.waiter = h; }
            void await_resume() { wakeup.pending = 0; }
        };
        return Awaiter{*this};
    }

private:
    int pending = 0;
    std::coroutine_handle<> waiter;
};

} // namespace quendra

#pragma once

#include <QList>

#include <functional>
#include <memory>

namespace quendra {

// Set once by whoever started a task; the task checks it after each await,
// and long waits register a callback to end early. Main thread only.
class CancellationFlag {
public:
    void cancel();
    bool isCancelled() const { return cancelled; }
    // Runs `callback` when cancelled, at once if that already happened.
    // Returns a number for `forget`.
    int onCancel(std::function<void()> callback);
    void forget(int callback);

private:
    bool cancelled = false;
    int nextId = 0;
    QList<std::pair<int, std::function<void()>>> callbacks;
};

using Cancellation = std::shared_ptr<CancellationFlag>;

} // namespace quendra

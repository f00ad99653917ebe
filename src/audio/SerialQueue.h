#pragma once

#include <QFuture>
#include <QPromise>
#include <QString>
#include <QThread>

#include <chrono>
#include <functional>
#include <memory>
#include <type_traits>

namespace quendra {

// One named thread that runs work items strictly one after another, in the
// order they were queued. Work still queued when the queue is destroyed runs
// before the thread ends. Its thread runs a Qt event loop, so the
// application object must exist.
class SerialQueue {
public:
    explicit SerialQueue(const QString& label);
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    QString label() const { return thread.objectName(); }
    bool isCurrent() const { return QThread::currentThread() == &thread; }

    void async(std::function<void()> work);
    // Queues `work` after `delay`; items queued meanwhile run first.
    void asyncAfter(std::chrono::milliseconds delay, std::function<void()> work);
    // Runs `work` and waits for it; never call it from the queue itself.
    void sync(const std::function<void()>& work);

    // Runs `work` on the queue; its result arrives through the future.
    template <typename F>
    auto submit(F work) -> QFuture<std::invoke_result_t<F>> {
        using T = std::invoke_result_t<F>;
        auto promise = std::make_shared<QPromise<T>>();
        QFuture<T> future = promise->future();
        promise->start();
        async([promise, work = std::move(work)]() mutable {
            promise->addResult(work());
            promise->finish();
        });
        return future;
    }

private:
    QThread thread;
    QObject* context = nullptr;
};

} // namespace quendra

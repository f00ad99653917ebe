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

// One thread that runs work items strictly one after another, in the order
// they were queued, named after the queue's label (its last dot-separated
// part, which fits the 15 characters a thread name may have). Work still queued when the queue is destroyed runs
// before the thread ends. Its thread runs a Qt event loop, so the
// application object must exist.
class SerialQueue {
public:
    explicit SerialQueue(const QString& label);
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    const QString& label() const { return name; }
    bool isCurrent() const { return QThread::currentThread() == &thread; }

    void async(std::function<void()> work);
    // Queues `work` after `delay`; items queued meanwhile run first.
    void asyncAfter(std::chrono::milliseconds delay, std::function<void()> work);
    // Runs `work` after everything queued before and waits for it; called on
    // the queue itself it runs at once.
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
    QString name;
    QThread thread;
    QObject* context = nullptr;
};

} // namespace quendra

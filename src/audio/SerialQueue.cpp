#include "audio/SerialQueue.h"

#include <pthread.h>

namespace quendra {

SerialQueue::SerialQueue(QString label)
    : name(std::move(label)) {
    worker = std::thread([this] { run(); });
    const QByteArray threadName = name.section(QLatin1Char('.'), -1).left(15).toUtf8();
    pthread_setname_np(worker.native_handle(), threadName.constData());
}

SerialQueue::~SerialQueue() {
    {
        std::lock_guard guard(mutex);
        ending = true;
    }
    wake.notify_one();
    worker.join();
}

void SerialQueue::async(std::function<void()> work) {
    {
        std::lock_guard guard(mutex);
        pending.push_back(std::move(work));
    }
    wake.notify_one();
}

void SerialQueue::sync(const std::function<void()>& work) {
    if (isCurrent()) {
        work();
        return;
    }
    std::mutex doneMutex;
    std::condition_variable doneWake;
    bool done = false;
    async([&] {
        work();
        std::lock_guard guard(doneMutex);
        done = true;
        doneWake.notify_one();
    });
    std::unique_lock guard(doneMutex);
    doneWake.wait(guard, [&] { return done; });
}

void SerialQueue::run() {
    for (;;) {
        std::function<void()> work;
        {
            std::unique_lock guard(mutex);
            wake.wait(guard, [this] { return ending || !pending.empty(); });
            if (pending.empty())
                return;
            work = std::move(pending.front());
            pending.pop_front();
        }
        work();
    }
}

} // namespace quendra

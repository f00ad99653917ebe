#pragma once

#include <QString>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace quendra {

// One thread that runs the work given to it in order, named after the queue's
// label (its last dot-separated part, which fits the 15 characters a thread
// name may have). Destroying the queue finishes the work already given.
class SerialQueue {
public:
    explicit SerialQueue(QString label);
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    const QString& label() const { return name; }
    bool isCurrent() const { return std::this_thread::get_id() == worker.get_id(); }

    void async(std::function<void()> work);
    // Runs `work` on the queue after everything given before, and waits for it.
    // Called on the queue itself it runs at once.
    void sync(const std::function<void()>& work);

private:
    void run();

    QString name;
    std::mutex mutex;
    std::condition_variable wake;
    std::deque<std::function<void()>> pending;
    bool ending = false;
    std::thread worker;
};

} // namespace quendra

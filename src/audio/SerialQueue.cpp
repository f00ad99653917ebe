#include "audio/SerialQueue.h"

#include <QSemaphore>
#include <QTimer>

namespace quendra {

SerialQueue::SerialQueue(const QString& label) : name(label) {
    // The thread takes its system name from the object name when it starts.
    thread.setObjectName(label.section(u'.', -1));
    context = new QObject;
    context->moveToThread(&thread);
    thread.start();
}

SerialQueue::~SerialQueue() {
    // Quitting from a queued item lets everything queued before it run.
    async([this] {
        context->deleteLater();
        thread.quit();
    });
    thread.wait();
}

void SerialQueue::async(std::function<void()> work) {
    QMetaObject::invokeMethod(context, std::move(work), Qt::QueuedConnection);
}

void SerialQueue::asyncAfter(std::chrono::milliseconds delay, std::function<void()> work) {
    // The timer must belong to the queue's thread, so it is made there.
    async([this, delay, work = std::move(work)] { QTimer::singleShot(delay, context, work); });
}

void SerialQueue::sync(const std::function<void()>& work) {
    if (isCurrent()) {
        work();
        return;
    }
    QSemaphore done;
    async([&] {
        work();
        done.release();
    });
    done.acquire();
}

} // namespace quendra

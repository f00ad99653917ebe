#include "RecordingLoop.h"

namespace quendra {

RecordingLoop::RecordingLoop() {
    interruption.onInterrupt = [this] { loop.quit(); };
    timer.setInterval(50);
    QObject::connect(&timer, &QTimer::timeout, &loop, [this] {
        // A signal heard by another event loop in between still stops this one.
        if (interruption.requested()) {
            loop.quit();
            return;
        }
        if (tick)
            tick();
    });
}

void RecordingLoop::run() {
    if (interruption.requested())
        return;
    timer.start();
    loop.exec();
    timer.stop();
}

void RecordingLoop::finish() {
    loop.quit();
}

bool RecordingLoop::interrupted() const {
    return interruption.requested();
}

} // namespace quendra

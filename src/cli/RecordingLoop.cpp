#include "RecordingLoop.h"

#include <atomic>
#include <csignal>

namespace quendra {

namespace {

std::atomic<bool> stopRequested = false;
struct sigaction previousInterrupt {};
struct sigaction previousTerminate {};

void requestStop(int) {
    stopRequested = true;
}

} // namespace

RecordingLoop::RecordingLoop() {
    stopRequested = false;
    struct sigaction action {};
    action.sa_handler = requestStop;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, &previousInterrupt);
    sigaction(SIGTERM, &action, &previousTerminate);
    timer.setInterval(50);
    QObject::connect(&timer, &QTimer::timeout, &loop, [this] {
        if (stopRequested) {
            loop.quit();
            return;
        }
        if (tick)
            tick();
    });
}

RecordingLoop::~RecordingLoop() {
    sigaction(SIGINT, &previousInterrupt, nullptr);
    sigaction(SIGTERM, &previousTerminate, nullptr);
}

void RecordingLoop::run() {
    if (stopRequested)
        return;
    timer.start();
    loop.exec();
    timer.stop();
}

void RecordingLoop::finish() {
    loop.quit();
}

bool RecordingLoop::interrupted() const {
    return stopRequested;
}

} // namespace quendra

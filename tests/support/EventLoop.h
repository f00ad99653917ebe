#pragma once

// An application object for tests that run timers, queued calls or coroutines.

#include <QCoreApplication>
#include <QElapsedTimer>

#include <functional>

inline void ensureEventLoop() {
    static int argc = 1;
    static char name[] = "unit-test";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
}

// Runs queued work for about the given time, or until done() holds.
inline void spinEventLoop(int ms, const std::function<bool()>& done = {}) {
    ensureEventLoop();
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms && !(done && done())) {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
}

#pragma once

// Some Qt objects (QJSEngine, event-loop users) need an application object;
// GoogleTest's own main does not make one.

#include <QCoreApplication>
#include <QElapsedTimer>

#include <functional>

inline void ensureCoreApplication() {
    if (QCoreApplication::instance())
        return;
    static int argc = 1;
    static char name[] = "quendra-test";
    static char* argv[] = {name, nullptr};
    new QCoreApplication(argc, argv);
}

// Runs the event loop until `done` holds or `timeoutMs` passed; returns `done`.
inline bool processEventsUntil(const std::function<bool()>& done, int timeoutMs = 5000) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < timeoutMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return done();
}

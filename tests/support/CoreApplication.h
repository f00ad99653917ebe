#pragma once

// Some Qt objects (QJSEngine, event-loop users) need an application object;
// GoogleTest's own main does not make one.

#include <QCoreApplication>

inline void ensureCoreApplication() {
    if (QCoreApplication::instance())
        return;
    static int argc = 1;
    static char name[] = "quendra-test";
    static char* argv[] = {name, nullptr};
    new QCoreApplication(argc, argv);
}

#pragma once

// Shared by the hosted tests: an application object for the event loop,
// and recordings of a chosen length whose minutes differ from each other.

#include <QCoreApplication>

#include "support/hosted/TestRecording.h"
#include "support/CoreApplication.h"

#include <QCoro/QCoroTask>

namespace quendra::testing {

inline void ensureApplication() {
    ensureCoreApplication();
}

template <typename T>
T run(QCoro::Task<T> task) {
    ensureApplication();
    return QCoro::waitFor(std::move(task));
}

} // namespace quendra::testing

#pragma once

// Shared by the hosted tests: running a task to its end on the event loop,
// and recordings of a chosen length whose minutes differ from each other.

#include <QCoreApplication>

#include "support/CoreApplication.h"
#include "support/hosted/TestRecording.h"

#include <QCoro/QCoroTask>

namespace quendra::testing {

template <typename T>
T run(QCoro::Task<T> task) {
    ensureCoreApplication();
    return QCoro::waitFor(std::move(task));
}

} // namespace quendra::testing

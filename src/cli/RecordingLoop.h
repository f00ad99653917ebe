#pragma once

#include "Interruption.h"

#include <QEventLoop>
#include <QTimer>

#include <functional>

namespace quendra {

// Runs the event loop of a command-line recording until `finish` is called,
// or Ctrl+C (or SIGTERM, or a closed terminal) asks for a clean stop. `tick` runs every 50 ms.
class RecordingLoop {
public:
    RecordingLoop();
    RecordingLoop(const RecordingLoop&) = delete;
    RecordingLoop& operator=(const RecordingLoop&) = delete;

    std::function<void()> tick;

    void run();
    void finish();
    bool interrupted() const;

private:
    Interruption interruption;
    QEventLoop loop;
    QTimer timer;
};

} // namespace quendra

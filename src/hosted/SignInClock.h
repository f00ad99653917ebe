#pragma once

#include "CancellationFlag.h"

#include <QDateTime>

#include <qcoro/qcorotask.h>

namespace quendra {

// Time as the browser sign-in sees it; tests replace it to run without waiting.
class SignInClock {
public:
    virtual ~SignInClock() = default;
    virtual QDateTime now() = 0;
    // False when `cancel` fired before the time was up.
    virtual QCoro::Task<bool> sleep(double seconds, Cancellation cancel) = 0;

    // The system clock.
    static SignInClock& live();
};

} // namespace quendra

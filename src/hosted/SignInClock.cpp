#include "SignInClock.h"

#include <QTimer>

#include <qcoro/qcorotimer.h>

#include <chrono>

namespace quendra {

namespace {

class LiveClock final : public SignInClock {
public:
    QDateTime now() override { return QDateTime::currentDateTimeUtc(); }

    QCoro::Task<bool> sleep(double seconds, Cancellation cancel) override {
        // Short steps keep a cancelled sign-in from lingering.
        const QDateTime until = now().addMSecs(qint64(seconds * 1000));
        while (now() < until) {
            if (cancel && cancel->isCancelled())
                co_return false;
            const qint64 left = now().msecsTo(until);
            co_await QCoro::sleepFor(std::chrono::milliseconds(std::min<qint64>(left, 100)));
        }
        co_return !(cancel && cancel->isCancelled());
    }
};

} // namespace

SignInClock& SignInClock::live() {
    static LiveClock clock;
    return clock;
}

} // namespace quendra

#include "platform/IdleInhibitor.h"

#include "model/ApplicationId.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusUnixFileDescriptor>
#include <QLoggingCategory>

#include <unistd.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

Q_LOGGING_CATEGORY(inhibitLog, QUENDRA_APPLICATION_ID ".audio")

// logind keeps the inhibition for as long as its descriptor is open.
class LogindHold final : public IdleInhibitor::Hold {
public:
    explicit LogindHold(int fd)
        : fd(fd) {}
    ~LogindHold() override { ::close(fd); }

private:
    int fd;
};

class LogindIdleInhibitor final : public IdleInhibitor {
public:
    std::unique_ptr<Hold> hold(const QString& reason) override {
        // Without a system bus or logind (containers, tests) there is nothing
        // to hold, and recording goes on.
        QDBusConnection bus = QDBusConnection::systemBus();
        if (!bus.isConnected() || !bus.interface() ||
            !bus.interface()->isServiceRegistered(u"org.freedesktop.login1"_s))
            return nullptr;
        QDBusMessage call = QDBusMessage::createMethodCall(
            u"org.freedesktop.login1"_s, u"/org/freedesktop/login1"_s,
            u"org.freedesktop.login1.Manager"_s, u"Inhibit"_s);
        call << u"idle"_s << u"Parlevo"_s << reason << u"block"_s;
        const QDBusReply<QDBusUnixFileDescriptor> reply = bus.call(call, QDBus::Block, 2000);
        if (!reply.isValid() || !reply.value().isValid()) {
            qCInfo(inhibitLog) << "idle inhibition refused:" << reply.error().message();
            return nullptr;
        }
        const int fd = ::dup(reply.value().fileDescriptor());
        if (fd < 0)
            return nullptr;
        return std::make_unique<LogindHold>(fd);
    }
};

} // namespace

std::unique_ptr<IdleInhibitor> IdleInhibitor::create() {
    return std::make_unique<LogindIdleInhibitor>();
}

} // namespace quendra

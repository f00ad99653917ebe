#include "PortalRequest.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <QCoro/QCoroDBusPendingCall>
#include <QCoro/QCoroSignal>

#include <cstdint>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

const QString requestInterface = u"org.freedesktop.portal.Request"_s;

bool watchRequest(QDBusConnection& bus, const QString& path, PortalResponseWatcher& watcher) {
    return bus.connect(Portal::service, path, requestInterface, u"Response"_s, &watcher,
                       SLOT(answer(uint, QVariantMap)));
}

void unwatchRequest(QDBusConnection& bus, const QString& path, PortalResponseWatcher& watcher) {
    bus.disconnect(Portal::service, path, requestInterface, u"Response"_s, &watcher,
                   SLOT(answer(uint, QVariantMap)));
}

// Outside the coroutine: GCC 12 miscompiles braced lists inside them.
PortalResponse failure(const QString& reason) {
    PortalResponse response;
    response.error = reason;
    return response;
}

} // namespace

QString PortalResponse::describe() const {
    if (!error.isEmpty())
        return error;
    switch (code) {
    case 0:
        return u"done"_s;
    case 1:
        return u"cancelled"_s;
    default:
        return u"refused by the portal"_s;
    }
}

void PortalResponseWatcher::answer(uint code, const QVariantMap& results) {
    if (response)
        return;
    response = PortalResponse{code, results, {}};
    Q_EMIT answered();
}

QCoro::Task<PortalResponse> portalRequest(QString interface, QString method, QVariantList arguments,
                                          QVariantMap options, std::chrono::milliseconds timeout,
                                          QDBusConnection bus) {
    if (!bus.isConnected())
        co_return failure(u"no session bus"_s);
    static std::uint32_t counter = 0;
    const QString token = u"quendra%1"_s.arg(++counter);
    // The portal names the request after the caller's unique name and the token.
    QString sender = bus.baseService().mid(1);
    sender.replace(u'.', u'_');
    QString requestPath = u"/org/freedesktop/portal/desktop/request/%1/%2"_s.arg(sender, token);

    PortalResponseWatcher watcher;
    if (!watchRequest(bus, requestPath, watcher))
        co_return failure(u"the portal's answer could not be watched"_s);
    options.insert(u"handle_token"_s, token);
    arguments << options;
    QDBusMessage call =
        QDBusMessage::createMethodCall(Portal::service, Portal::path, interface, method);
    call.setArguments(arguments);
    // Awaits take values made before them: GCC 12 destroys an await
    // expression's temporaries twice.
    const QDBusPendingCall pending = bus.asyncCall(call, int(timeout.count()));
    const QDBusMessage reply = co_await pending;
    if (reply.type() != QDBusMessage::ReplyMessage) {
        unwatchRequest(bus, requestPath, watcher);
        co_return failure(reply.errorName() + u": "_s + reply.errorMessage());
    }
    // Portals older than 0.9 chose the request's path themselves.
    const QString handle = reply.arguments().value(0).value<QDBusObjectPath>().path();
    if (!handle.isEmpty() && handle != requestPath) {
        unwatchRequest(bus, requestPath, watcher);
        requestPath = handle;
        watchRequest(bus, requestPath, watcher);
    }
    if (!watcher.response) {
        const auto answered = qCoro(&watcher, &PortalResponseWatcher::answered, timeout);
        co_await answered;
    }
    unwatchRequest(bus, requestPath, watcher);
    if (!watcher.response) {
        // Whatever the request is still showing goes away with it.
        bus.asyncCall(QDBusMessage::createMethodCall(Portal::service, requestPath, requestInterface,
                                                     u"Close"_s));
        co_return failure(method + u" got no answer in time"_s);
    }
    co_return *watcher.response;
}

QDBusMessage portalSessionClose(const QString& sessionHandle) {
    return QDBusMessage::createMethodCall(Portal::service, sessionHandle, Portal::sessionInterface,
                                          u"Close"_s);
}

void whenPortalSessionsEnd(QObject* context, std::function<void()> ended, QDBusConnection bus) {
    auto* watcher = new QDBusServiceWatcher(context);
    watcher->setConnection(bus);
    watcher->setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    watcher->setWatchedServices({Portal::service, u"org.freedesktop.impl.portal.desktop.kde"_s,
                                 u"org.freedesktop.impl.portal.desktop.gnome"_s});
    QObject::connect(watcher, &QDBusServiceWatcher::serviceUnregistered, context,
                     [ended = std::move(ended)] { ended(); });
}

void closePortalSession(const QString& sessionHandle, QDBusConnection bus) {
    if (!sessionHandle.isEmpty())
        bus.asyncCall(portalSessionClose(sessionHandle));
}

std::optional<uint> portalInterfaceVersion(const QString& interface, QDBusConnection bus) {
    if (!bus.isConnected())
        return std::nullopt;
    QDBusMessage get = QDBusMessage::createMethodCall(
        Portal::service, Portal::path, u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    get << interface << u"version"_s;
    // Starting the portal and its backend takes about a second on a slow machine.
    const QDBusMessage reply = bus.call(get, QDBus::Block, 5000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return std::nullopt;
    bool number = false;
    const uint version =
        reply.arguments().constFirst().value<QDBusVariant>().variant().toUInt(&number);
    if (!number || version == 0)
        return std::nullopt;
    return version;
}

} // namespace quendra

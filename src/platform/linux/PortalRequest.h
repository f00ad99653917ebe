#pragma once

// Calls of xdg-desktop-portal methods that answer later, through the
// org.freedesktop.portal.Request object each call creates. Main thread only.

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QList>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <QCoro/QCoroTask>

#include <chrono>
#include <functional>
#include <optional>

namespace quendra {

namespace Portal {
inline const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
inline const QString sessionInterface = QStringLiteral("org.freedesktop.portal.Session");
} // namespace Portal

struct PortalResponse {
    // The portal's own code: 0 done, 1 cancelled by the user, 2 ended
    // otherwise. A call the bus refused, or one that got no answer in time,
    // is 2 with the reason in error.
    uint code = 2;
    QVariantMap results;
    QString error;

    bool succeeded() const { return code == 0; }
    bool cancelled() const { return code == 1; }
    // The reason, for the log.
    QString describe() const;
};

// Calls interface.method(arguments..., options) on the portal and waits up to
// timeout for its Response. The options get a handle_token of their own, and
// the request object that token names is watched before the call is sent, so
// that an answer given at once is not missed.
QCoro::Task<PortalResponse> portalRequest(QString interface, QString method, QVariantList arguments,
                                          QVariantMap options, std::chrono::milliseconds timeout,
                                          QDBusConnection bus = QDBusConnection::sessionBus());

// The call that closes a portal session, and the same sent without waiting.
QDBusMessage portalSessionClose(const QString& sessionHandle);
void closePortalSession(const QString& sessionHandle,
                        QDBusConnection bus = QDBusConnection::sessionBus());

// Calls ended, in context, each time the portal or a desktop's backend behind
// it stops: its sessions are gone then, without a word to their owners (keys
// sent to one are taken and dropped).
void whenPortalSessionsEnd(QObject* context, std::function<void()> ended,
                           QDBusConnection bus = QDBusConnection::sessionBus());

// The interface version the portal offers for interface, or nothing when it
// offers none (no portal, or no backend implementing it). Waits for the
// answer, starting the portal if it is not running: for start-up choices only.
std::optional<uint> portalInterfaceVersion(const QString& interface,
                                           QDBusConnection bus = QDBusConnection::sessionBus());

// One answer to a request, kept until the request's coroutine takes it.
class PortalResponseWatcher : public QObject {
    Q_OBJECT
public:
    std::optional<PortalResponse> response;

public Q_SLOTS:
    void answer(uint code, const QVariantMap& results);

Q_SIGNALS:
    void answered();
};

} // namespace quendra

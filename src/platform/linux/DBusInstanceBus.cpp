#include "DBusInstanceBus.h"
#include "DBusApplicationObject.h"

#include "model/ApplicationId.h"
#include "session/SingleInstanceCoordinator.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusReply>
#include <QDBusVariant>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// How long any other copy is waited for: one that does not answer by then is
// busy or hung.
constexpr int answerTimeout = 2000;

const QString notRunning = u"Parlevo is not running. Start it, then try again."_s;
const QString notAnswering =
    u"Parlevo is running but did not answer within %1 seconds; it may be busy or stuck. Try "
    "again in a moment, or quit Parlevo and start it again."_s.arg(answerTimeout / 1000);

QString failureSentence(const QDBusMessage& reply) {
    const QDBusError::ErrorType type = QDBusError(reply).type();
    switch (type) {
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        return notAnswering;
    case QDBusError::ServiceUnknown:
        // It quit between being found and being asked.
        return notRunning;
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownObject:
        return u"The running Parlevo does not take this request; it may be an older version. "
               "Quit it, start it again, then try again."_s;
    default:
        return u"The running Parlevo could not be asked (%1)."_s.arg(reply.errorMessage());
    }
}

} // namespace

const QString DBusInstanceBus::interfaceName =
    QStringLiteral(QUENDRA_APPLICATION_ID ".Application");
const QString DBusInstanceBus::instancePrefix = QStringLiteral(QUENDRA_APPLICATION_ID ".Instance");

DBusInstanceBus::DBusInstanceBus(QObject* parent)
    : InstanceBus(parent) {}

DBusInstanceBus::~DBusInstanceBus() {
    if (published.isEmpty())
        return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterObject(objectPath);
    bus.unregisterService(published);
}

QList<DBusInstanceBus::Seen> DBusInstanceBus::seenInstances() {
    QList<Seen> seen;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface())
        return seen;
    const QDBusReply<QStringList> names = bus.interface()->registeredServiceNames();
    if (!names.isValid())
        return seen;
    const qint64 self = QCoreApplication::applicationPid();
    QList<QDBusPendingCall> locations;
    for (const QString& name : names.value()) {
        if (!name.startsWith(instancePrefix))
            continue;
        const QDBusReply<uint> pid = bus.interface()->servicePid(name);
        if (!pid.isValid() || qint64(pid.value()) == self)
            continue;
        QDBusMessage get = QDBusMessage::createMethodCall(
            name, objectPath, u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
        get << interfaceName << u"Location"_s;
        // All are asked at once, so that copies that do not answer cost one
        // wait, not one each.
        locations << bus.asyncCall(get, answerTimeout);
        seen << Seen{{qint64(pid.value()), QString(), name}};
    }
    for (qsizetype i = 0; i < seen.size(); ++i) {
        QDBusPendingReply<QDBusVariant> location(locations[i]);
        location.waitForFinished();
        if (location.isValid()) {
            seen[i].instance.location = location.value().variant().toString();
            seen[i].answered = true;
        }
    }
    return seen;
}

QList<RunningInstance> DBusInstanceBus::otherInstances() {
    QList<RunningInstance> others;
    for (const Seen& seen : seenInstances())
        others << seen.instance;
    return others;
}

void DBusInstanceBus::call(const RunningInstance& instance, const QString& method) {
    // The request is delivered before this copy may quit; what the other copy
    // then does is not waited for.
    QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(instance.address, objectPath, interfaceName, method),
        QDBus::Block, answerTimeout);
}

void DBusInstanceBus::activate(const RunningInstance& instance) {
    call(instance, u"ShowWindow"_s);
}

void DBusInstanceBus::quit(const RunningInstance& instance) {
    call(instance, u"Quit"_s);
}

bool DBusInstanceBus::publish(const QString& location) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !published.isEmpty())
        return false;
    auto* object = new DBusApplicationObject(*this, location);
    if (!bus.registerObject(objectPath, object,
                            QDBusConnection::ExportScriptableSlots |
                                QDBusConnection::ExportScriptableProperties)) {
        delete object;
        return false;
    }
    const QString name = instancePrefix + QString::number(QCoreApplication::applicationPid());
    if (!bus.registerService(name)) {
        bus.unregisterObject(objectPath);
        delete object;
        return false;
    }
    published = name;
    return true;
}

void DBusInstanceBus::setStatusProvider(std::function<QString()> provider) {
    statusProvider = std::move(provider);
}

QString DBusInstanceBus::statusLine() const {
    return statusProvider ? statusProvider() : u"starting"_s;
}

std::expected<QDBusMessage, QString> DBusInstanceBus::request(const QString& method) {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return std::unexpected(
            u"The desktop session's message bus can't be reached (%1), so Parlevo can't be "
            "asked. Run this command from within your desktop session."_s.arg(
                bus.lastError().message()));
    QList<RunningInstance> answering;
    bool silent = false;
    for (const Seen& seen : seenInstances()) {
        if (seen.answered)
            answering << seen.instance;
        else
            silent = true;
    }
    // A copy that did not answer the question of where it lives would not
    // answer this request either: it is not waited for a second time.
    const auto target = SingleInstanceCoordinator::commandTarget(
        SingleInstanceCoordinator::installedLocations(), answering);
    if (!target)
        return std::unexpected(silent ? notAnswering : notRunning);
    const QDBusMessage reply =
        bus.call(QDBusMessage::createMethodCall(target->address, objectPath, interfaceName, method),
                 QDBus::Block, answerTimeout);
    if (reply.type() != QDBusMessage::ReplyMessage)
        return std::unexpected(failureSentence(reply));
    return reply;
}

std::expected<void, QString> DBusInstanceBus::toggle() {
    if (const auto reply = request(u"Toggle"_s); !reply)
        return std::unexpected(reply.error());
    return {};
}

std::expected<void, QString> DBusInstanceBus::cancel() {
    if (const auto reply = request(u"Cancel"_s); !reply)
        return std::unexpected(reply.error());
    return {};
}

std::expected<void, QString> DBusInstanceBus::toggleNote() {
    if (const auto reply = request(u"ToggleNote"_s); !reply)
        return std::unexpected(reply.error());
    return {};
}

std::expected<QString, QString> DBusInstanceBus::status() {
    const auto reply = request(u"Status"_s);
    if (!reply)
        return std::unexpected(reply.error());
    return reply->arguments().value(0).toString();
}

std::unique_ptr<InstanceBus> InstanceBus::create() {
    return std::make_unique<DBusInstanceBus>();
}

} // namespace quendra

#include "DBusInstanceBus.h"
#include "DBusApplicationObject.h"

#include "model/ApplicationId.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

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

QList<RunningInstance> DBusInstanceBus::otherInstances() {
    QList<RunningInstance> others;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || !bus.interface())
        return others;
    const QDBusReply<QStringList> names = bus.interface()->registeredServiceNames();
    if (!names.isValid())
        return others;
    const qint64 self = QCoreApplication::applicationPid();
    for (const QString& name : names.value()) {
        if (!name.startsWith(instancePrefix))
            continue;
        const QDBusReply<uint> pid = bus.interface()->servicePid(name);
        if (!pid.isValid() || qint64(pid.value()) == self)
            continue;
        QDBusMessage get = QDBusMessage::createMethodCall(
            name, objectPath, u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
        get << interfaceName << u"Location"_s;
        // A copy that does not answer at once is busy or hung; it is not waited for long.
        const QDBusReply<QDBusVariant> location = bus.call(get, QDBus::Block, 2000);
        others << RunningInstance{
            qint64(pid.value()),
            location.isValid() ? location.value().variant().toString() : QString(), name};
    }
    return others;
}

void DBusInstanceBus::call(const RunningInstance& instance, const QString& method) {
    // The request is delivered before this copy may quit; what the other copy
    // then does is not waited for.
    QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(instance.address, objectPath, interfaceName, method),
        QDBus::Block, 2000);
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

std::unique_ptr<InstanceBus> InstanceBus::create() {
    return std::make_unique<DBusInstanceBus>();
}

} // namespace quendra

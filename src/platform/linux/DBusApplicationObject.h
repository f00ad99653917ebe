#pragma once

#include "model/ApplicationId.h"
#include "platform/InstanceBus.h"

#include <QObject>
#include <QString>

namespace quendra {

// What the session bus sees of this copy; its scriptable members are the
// application's interface.
class DBusApplicationObject : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", QUENDRA_APPLICATION_ID ".Application")
    Q_PROPERTY(QString Location READ location SCRIPTABLE true)
public:
    DBusApplicationObject(InstanceBus& bus, QString location)
        : QObject(&bus)
        , bus(bus)
        , path(std::move(location)) {}
    QString location() const { return path; }

public Q_SLOTS:
    Q_SCRIPTABLE void ShowWindow() { Q_EMIT bus.showWindowRequested(); }
    Q_SCRIPTABLE void Quit() { Q_EMIT bus.quitRequested(); }

private:
    InstanceBus& bus;
    QString path;
};

} // namespace quendra

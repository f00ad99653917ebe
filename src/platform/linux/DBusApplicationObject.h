#pragma once

#include "DBusInstanceBus.h"
#include "model/ApplicationId.h"

#include <QMetaObject>
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
    DBusApplicationObject(DBusInstanceBus& bus, QString location)
        : QObject(&bus)
        , bus(bus)
        , path(std::move(location)) {}
    QString location() const { return path; }

public Q_SLOTS:
    Q_SCRIPTABLE void ShowWindow() { Q_EMIT bus.showWindowRequested(); }
    Q_SCRIPTABLE void Quit() { Q_EMIT bus.quitRequested(); }
    // The caller is answered at once; starting or stopping a recording
    // happens after, so that it never makes the caller wait.
    Q_SCRIPTABLE void Toggle() {
        QMetaObject::invokeMethod(&bus, &InstanceBus::toggleRequested, Qt::QueuedConnection);
    }
    Q_SCRIPTABLE void Cancel() {
        QMetaObject::invokeMethod(&bus, &InstanceBus::cancelRequested, Qt::QueuedConnection);
    }
    Q_SCRIPTABLE void ToggleNote() {
        QMetaObject::invokeMethod(&bus, &InstanceBus::noteToggleRequested, Qt::QueuedConnection);
    }
    Q_SCRIPTABLE QString Status() { return bus.statusLine(); }

private:
    DBusInstanceBus& bus;
    QString path;
};

} // namespace quendra

#pragma once

#include <QList>
#include <QObject>
#include <QString>

#include <memory>

namespace quendra {

// Another running copy of the application, as this session sees it.
struct RunningInstance {
    qint64 processId = 0;
    QString location; // its executable, symbolic links resolved
    QString address;  // how to reach it on the bus
};

// The running copies of the application in this desktop session, and this
// copy's own place among them: others can ask it to show its window or to
// quit. Main thread only.
class InstanceBus : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    ~InstanceBus() override = default;

    // Every other copy that has published itself.
    virtual QList<RunningInstance> otherInstances() = 0;
    // Asks a copy to bring its main window to the front; does not wait.
    virtual void activate(const RunningInstance& instance) = 0;
    // Asks a copy to quit; does not wait for it.
    virtual void quit(const RunningInstance& instance) = 0;
    // Makes this copy, installed at `location`, reachable by the others.
    virtual bool publish(const QString& location) = 0;

    // The session bus; a bus that cannot be reached has no other copies.
    static std::unique_ptr<InstanceBus> create();

Q_SIGNALS:
    void showWindowRequested();
    void quitRequested();
};

} // namespace quendra

#pragma once

#include "platform/InstanceBus.h"

namespace quendra {

// The running copies on the session bus. Each copy owns the name
// "com.orvane.Parlevo.Instance<pid>" and exports the object
// "/com/orvane/Parlevo" with the interface "com.orvane.Parlevo.Application"
// (ShowWindow, Quit and the property Location).
class DBusInstanceBus final : public InstanceBus {
    Q_OBJECT
public:
    explicit DBusInstanceBus(QObject* parent = nullptr);
    ~DBusInstanceBus() override;

    QList<RunningInstance> otherInstances() override;
    void activate(const RunningInstance& instance) override;
    void quit(const RunningInstance& instance) override;
    bool publish(const QString& location) override;

    static inline const QString objectPath = QStringLiteral("/com/orvane/Parlevo");
    static const QString interfaceName;
    static const QString instancePrefix;

private:
    void call(const RunningInstance& instance, const QString& method);

    QString published;
};

} // namespace quendra

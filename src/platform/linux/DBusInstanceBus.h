#pragma once

#include "platform/InstanceBus.h"

class QDBusMessage;

namespace quendra {

// The running copies on the session bus. Each copy owns the name
// "com.orvane.Parlevo.Instance<pid>" and exports the object
// "/com/orvane/Parlevo" with the interface "com.orvane.Parlevo.Application"
// (ShowWindow, Quit, Toggle, Cancel, Status and the property Location).
class DBusInstanceBus final : public InstanceBus {
    Q_OBJECT
public:
    explicit DBusInstanceBus(QObject* parent = nullptr);
    ~DBusInstanceBus() override;

    QList<RunningInstance> otherInstances() override;
    void activate(const RunningInstance& instance) override;
    void quit(const RunningInstance& instance) override;
    bool publish(const QString& location) override;

    void setStatusProvider(std::function<QString()> provider) override;
    std::expected<void, QString> toggle() override;
    std::expected<void, QString> cancel() override;
    std::expected<void, QString> toggleNote() override;
    std::expected<QString, QString> status() override;

    // The answer to Status: the provider's line, or "starting" before it is set.
    QString statusLine() const;

    static inline const QString objectPath = QStringLiteral("/com/orvane/Parlevo");
    static const QString interfaceName;
    static const QString instancePrefix;

private:
    struct Seen {
        RunningInstance instance;
        bool answered = false;
    };
    QList<Seen> seenInstances();
    void call(const RunningInstance& instance, const QString& method);
    // Calls `method` on the copy a command line controls and gives its reply.
    std::expected<QDBusMessage, QString> request(const QString& method);

    QString published;
    std::function<QString()> statusProvider;
};

} // namespace quendra

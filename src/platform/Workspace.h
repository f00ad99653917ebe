#pragma once

// Running applications, which one is frontmost, and activating one.
// Main thread only.

#include <QObject>
#include <QString>

#include <optional>

namespace quendra {

struct RunningApplication {
    qint64 processId = 0;
    // The desktop application id, window class or executable name.
    QString bundleIdentifier;
    QString localizedName;

    friend bool operator==(const RunningApplication&, const RunningApplication&) = default;
};

class Workspace : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;

    virtual QList<RunningApplication> runningApplications() = 0;
    virtual std::optional<RunningApplication> frontmostApplication() = 0;
    virtual bool isTerminated(qint64 processId) = 0;
    // Asks for the application's window to come to the front; false when it
    // has none.
    virtual bool activate(qint64 processId) = 0;
    virtual qint64 ownProcessId() const = 0;

Q_SIGNALS:
    void applicationActivated(const quendra::RunningApplication& application);
    void applicationTerminated(qint64 processId);
};

} // namespace quendra

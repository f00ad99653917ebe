#pragma once

#include <QList>
#include <QObject>
#include <QString>

#include <expected>
#include <functional>
#include <memory>

namespace quendra {

// Another running copy of the application, as this session sees it.
struct RunningInstance {
    qint64 processId = 0;
    QString location; // its executable, symbolic links resolved
    QString address;  // how to reach it on the bus
};

// The running copies of the application in this desktop session, and this
// copy's own place among them: others can ask it to show its window, to quit,
// to start or stop a dictation and how it is doing. Main thread only.
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

    // What this copy answers when asked how it is doing: one line, such as
    // "ready" or "recording 0:12". Until a provider is set it answers
    // "starting".
    virtual void setStatusProvider(std::function<QString()> provider) = 0;

    // Requests to the running copy a command line controls: the installed
    // copy when one runs, else the first other copy that answers. Each waits
    // for the copy to take the request, never longer than a few seconds; the
    // error is the sentence for the user.
    virtual std::expected<void, QString> toggle() = 0;
    virtual std::expected<void, QString> cancel() = 0;
    // Starts or stops a note, as the Notes shortcut does.
    virtual std::expected<void, QString> toggleNote() = 0;
    virtual std::expected<QString, QString> status() = 0;

    // The session bus; a bus that cannot be reached has no other copies.
    static std::unique_ptr<InstanceBus> create();

Q_SIGNALS:
    void showWindowRequested();
    void quitRequested();
    // Another process asked this copy to start or finish a dictation, or to
    // drop the one under way.
    void toggleRequested();
    void cancelRequested();
    void noteToggleRequested();
};

} // namespace quendra

#pragma once

#include "X11Display.h"
#include "model/MainThreadChecker.h"
#include "platform/Workspace.h"

#include <QSet>
#include <QSocketNotifier>

#include <memory>

namespace quendra {

// Applications as the window manager sees them (EWMH): the active window's
// process is frontmost, and a process whose windows all closed and that is
// gone has terminated.
class X11Workspace : public Workspace {
    Q_OBJECT
public:
    explicit X11Workspace(QObject* parent = nullptr);
    ~X11Workspace() override;

    bool isConnected() const { return x.isOpen(); }

    QList<RunningApplication> runningApplications() override;
    std::optional<RunningApplication> frontmostApplication() override;
    bool isTerminated(qint64 processId) override;
    bool activate(qint64 processId) override;
    qint64 ownProcessId() const override;

    // The top-level window of a process, most recently stacked first.
    std::optional<XWindow> windowOf(qint64 processId);

private:
    std::optional<RunningApplication> applicationOf(XWindow window);
    void processEvents();
    void checkTerminations();

    MainThreadChecker checker;
    X11Display x;
    std::unique_ptr<QSocketNotifier> notifier;
    std::optional<qint64> lastFrontmost;
    QSet<qint64> knownProcesses;
    XAtom activeWindow = 0, clientList = 0, clientStacking = 0, wmPid = 0, gtkApplicationId = 0,
          wmClass = 0;
};

} // namespace quendra

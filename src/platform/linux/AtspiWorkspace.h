#pragma once

#include "AtspiAccessibility.h"
#include "model/MainThreadChecker.h"
#include "platform/Workspace.h"

#include <QElapsedTimer>
#include <QSet>
#include <QTimer>

namespace quendra {

// Applications as the accessibility layer sees them, for Wayland, where no
// program may ask the compositor which window is active: the application
// that last announced an active window or a focused element is frontmost,
// confirmed by its windows' states. No window can be brought to the front.
class AtspiWorkspace : public Workspace {
    Q_OBJECT
public:
    explicit AtspiWorkspace(AtspiAccessibility& accessibility, QObject* parent = nullptr);
    ~AtspiWorkspace() override;

    QList<RunningApplication> runningApplications() override;
    std::optional<RunningApplication> frontmostApplication() override;
    bool isTerminated(qint64 processId) override;
    // True only when the application already is in front.
    bool activate(qint64 processId) override;
    qint64 ownProcessId() const override;

private:
    RunningApplication describe(qint64 processId, const QString& accessibleName) const;
    void activationChanged(qint64 processId, bool active);
    bool ownWindowActive() const;
    void checkTerminations();

    MainThreadChecker checker;
    AtspiAccessibility& accessibility;
    std::optional<qint64> lastFrontmost;
    // When a scan of every application found none in front: the tracker asks
    // four times a second, and only an activation event changes the answer
    // before the next scan is due.
    QElapsedTimer sinceEmptyScan;
    QHash<qint64, QString> names;
    QTimer terminationTimer;
};

} // namespace quendra

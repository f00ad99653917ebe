#pragma once

#include "InsertionTarget.h"
#include "model/MainThreadChecker.h"
#include "platform/Accessibility.h"
#include "platform/Workspace.h"

#include <QObject>
#include <QTimer>

#include <memory>
#include <optional>

namespace quendra {

// Follows the frontmost other application and its focused element, and
// reports every change through targetChanged. Main thread only.
class AppTargetTracker : public QObject {
    Q_OBJECT
public:
    AppTargetTracker(Workspace& workspace, Accessibility& accessibility, QObject* parent = nullptr);
    ~AppTargetTracker() override;

    // Each capture written to standard error, for the tests that drive the
    // real desktop. Off by default.
    void setTargetLog(bool on);
    // Captures the running application with this identifier, when there is
    // one, instead of the frontmost. Empty (the default) for none.
    void setTargetBundleOverride(const QString& bundleIdentifier);

    void start();
    void captureCurrentTarget(bool allowingOwnApp,
                              const std::optional<RunningApplication>& preferredApplication,
                              TargetUpdateReason reason);
    // Catches focus changes that applications fail to announce.
    void pollCurrentTarget();
    Element focusedElement(const RunningApplication& application);

    const std::optional<RunningApplication>& targetApplication() const { return target; }
    const Element& focusedTargetElement() const { return focused; }
    bool isStarted() const { return started; }

    static constexpr int pollIntervalMs = 250;

Q_SIGNALS:
    void targetChanged(const quendra::TargetUpdate& update);
    void applicationTerminated(qint64 processId);

private:
    void updateTarget(const std::optional<RunningApplication>& application, const Element& element,
                      TargetUpdateReason reason);
    void installAccessibilityObserver(const RunningApplication& application);
    void removeAccessibilityObserver();
    void observeGeometry(const Element& element, const RunningApplication& application);
    void clearDynamicNotifications();
    void handleAccessibilityNotification(AccessibilityNotification notification);

    MainThreadChecker checker;
    Workspace& workspace;
    Accessibility& accessibility;
    QString targetBundleOverride;
    bool targetLog = false;

    std::optional<RunningApplication> target;
    Element focused;
    std::unique_ptr<AccessibilityObserver> accessibilityObserver;
    Element observedApplicationElement;
    QList<Element> observedDynamicElements;
    std::optional<qint64> observedProcessIdentifier;
    QTimer fallbackTimer;
    bool started = false;
};

} // namespace quendra

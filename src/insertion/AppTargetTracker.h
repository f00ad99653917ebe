#pragma once

#include "InsertionTarget.h"
#include "platform/Accessibility.h"
#include "platform/Workspace.h"

#include <QObject>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

namespace quendra {

// Follows the frontmost other application and its focused element, and
// reports every change through onTargetChanged. Main thread only.
class AppTargetTracker : public QObject {
    Q_OBJECT
public:
    AppTargetTracker(Workspace& workspace, Accessibility& accessibility, QStringList arguments = {},
                     QObject* parent = nullptr);
    ~AppTargetTracker() override;

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

    std::function<void(const TargetUpdate&)> onTargetChanged;
    std::function<void(qint64 processId)> onApplicationTerminated;

    static constexpr int pollIntervalMs = 250;

private:
    void updateTarget(const std::optional<RunningApplication>& application, const Element& element,
                      TargetUpdateReason reason);
    void installAccessibilityObserver(const RunningApplication& application);
    void removeAccessibilityObserver();
    void observeGeometry(const Element& element, const RunningApplication& application);
    void clearDynamicNotifications();
    void handleAccessibilityNotification(const QString& name);

    Workspace& workspace;
    Accessibility& accessibility;
    std::optional<QString> qaTargetBundle;
    bool qaTargetLog = false;

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

#include "AppTargetTracker.h"

#include <QPointer>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

using N = AccessibilityNotification;
constexpr N applicationNotifications[] = {N::focusedElementChanged, N::focusedWindowChanged,
                                          N::windowCreated};
constexpr N geometryNotifications[] = {N::moved, N::resized, N::created, N::destroyed};

} // namespace

AppTargetTracker::AppTargetTracker(Workspace& workspace, Accessibility& accessibility,
                                   QObject* parent)
    : QObject(parent)
    , workspace(workspace)
    , accessibility(accessibility) {
    fallbackTimer.setInterval(pollIntervalMs);
    connect(&fallbackTimer, &QTimer::timeout, this, &AppTargetTracker::pollCurrentTarget);
}

AppTargetTracker::~AppTargetTracker() {
    fallbackTimer.stop();
    removeAccessibilityObserver();
}

void AppTargetTracker::setTargetLog(bool on) {
    QUENDRA_CHECK_THREAD(checker);
    targetLog = on;
}

void AppTargetTracker::setTargetBundleOverride(const QString& bundleIdentifier) {
    QUENDRA_CHECK_THREAD(checker);
    targetBundleOverride = bundleIdentifier;
}

void AppTargetTracker::start() {
    QUENDRA_CHECK_THREAD(checker);
    if (started)
        return;
    started = true;
    connect(&workspace, &Workspace::applicationActivated, this,
            [this](const RunningApplication& application) {
                captureCurrentTarget(false, application, TargetUpdateReason::applicationChanged);
            });
    connect(&workspace, &Workspace::applicationTerminated, this,
            &AppTargetTracker::applicationTerminated);
    fallbackTimer.start();
    captureCurrentTarget(false, std::nullopt, TargetUpdateReason::manual);
}

void AppTargetTracker::captureCurrentTarget(
    bool allowingOwnApp, const std::optional<RunningApplication>& preferredApplication,
    TargetUpdateReason reason) {
    QUENDRA_CHECK_THREAD(checker);
    std::optional<RunningApplication> application;
    if (!targetBundleOverride.isEmpty()) {
        for (const RunningApplication& running : workspace.runningApplications())
            if (running.bundleIdentifier == targetBundleOverride) {
                application = running;
                break;
            }
    }
    if (!application)
        application =
            preferredApplication ? preferredApplication : workspace.frontmostApplication();
    Element element;
    if (!application || (!allowingOwnApp && application->processId == workspace.ownProcessId())) {
        removeAccessibilityObserver();
        updateTarget(std::nullopt, {}, reason);
    } else {
        installAccessibilityObserver(*application);
        element = focusedElement(*application);
        // While a global shortcut's key is down its grab holds the keyboard,
        // and GTK then reports nothing focused in the window that had it: the
        // capture that shortcut asks for keeps the element focused before.
        if (!element && reason == TargetUpdateReason::manual && target &&
            target->processId == application->processId)
            element = focused;
        updateTarget(application, element, reason);
        observeGeometry(element, *application);
    }
    if (targetLog) {
        const QString name = application && !application->localizedName.isEmpty()
                                 ? application->localizedName
                                 : u"unknown"_s;
        std::fprintf(stderr, "target app=%s element=%s\n", qUtf8Printable(name),
                     element ? "true" : "false");
    }
}

Element AppTargetTracker::focusedElement(const RunningApplication& application) {
    QUENDRA_CHECK_THREAD(checker);
    const Element app = accessibility.applicationElement(application.processId);
    if (!app)
        return {};
    return accessibility.elementAttribute(app, AccessibleElementAttribute::focusedElement);
}

void AppTargetTracker::updateTarget(const std::optional<RunningApplication>& application,
                                    const Element& element, TargetUpdateReason reason) {
    target = application;
    focused = element;
    Q_EMIT targetChanged({application, element, reason});
}

void AppTargetTracker::pollCurrentTarget() {
    QUENDRA_CHECK_THREAD(checker);
    if (!accessibility.isTrusted())
        return;
    const auto frontmost = workspace.frontmostApplication();
    if (!frontmost)
        return;
    if (frontmost->processId == workspace.ownProcessId()) {
        if (target) {
            removeAccessibilityObserver();
            updateTarget(std::nullopt, {}, TargetUpdateReason::focusChanged);
        }
        return;
    }
    if (observedProcessIdentifier != frontmost->processId) {
        captureCurrentTarget(false, frontmost, TargetUpdateReason::applicationChanged);
        return;
    }
    const Element element = focusedElement(*frontmost);
    if (sameElement(element, focused))
        return;
    updateTarget(frontmost, element, TargetUpdateReason::focusChanged);
    observeGeometry(element, *frontmost);
}

void AppTargetTracker::installAccessibilityObserver(const RunningApplication& application) {
    if (!accessibility.isTrusted() || observedProcessIdentifier == application.processId)
        return;
    removeAccessibilityObserver();
    QPointer<AppTargetTracker> self(this);
    auto observer = accessibility.createObserver(
        application.processId, [self](AccessibilityNotification notification, const Element&) {
            // Queued, so that a handler replacing the observer never runs
            // inside that observer's own dispatch.
            if (self)
                QMetaObject::invokeMethod(
                    self.data(),
                    [self, notification] {
                        if (self)
                            self->handleAccessibilityNotification(notification);
                    },
                    Qt::QueuedConnection);
        });
    if (!observer)
        return;
    const Element app = accessibility.applicationElement(application.processId);
    if (app)
        for (const AccessibilityNotification notification : applicationNotifications)
            observer->addNotification(app, notification);
    accessibilityObserver = std::move(observer);
    observedApplicationElement = app;
    observedProcessIdentifier = application.processId;
}

void AppTargetTracker::removeAccessibilityObserver() {
    clearDynamicNotifications();
    accessibilityObserver.reset();
    observedApplicationElement.reset();
    observedProcessIdentifier.reset();
}

void AppTargetTracker::observeGeometry(const Element& element,
                                       const RunningApplication& application) {
    if (observedProcessIdentifier != application.processId || !accessibilityObserver)
        return;
    clearDynamicNotifications();
    if (!element)
        return;
    QList<Element> watched;
    const auto add = [&watched](const Element& candidate) {
        if (!candidate)
            return;
        for (const Element& known : watched)
            if (sameElement(known, candidate))
                return;
        watched.append(candidate);
    };
    add(element);
    const Element parent =
        accessibility.elementAttribute(element, AccessibleElementAttribute::parent);
    add(parent);
    if (parent)
        add(accessibility.elementAttribute(parent, AccessibleElementAttribute::parent));
    add(accessibility.elementAttribute(element, AccessibleElementAttribute::window));
    for (const Element& watchedElement : watched)
        for (const AccessibilityNotification notification : geometryNotifications)
            accessibilityObserver->addNotification(watchedElement, notification);
    observedDynamicElements = watched;
}

void AppTargetTracker::clearDynamicNotifications() {
    if (accessibilityObserver)
        for (const Element& element : std::as_const(observedDynamicElements))
            for (const AccessibilityNotification notification : geometryNotifications)
                accessibilityObserver->removeNotification(element, notification);
    observedDynamicElements.clear();
}

void AppTargetTracker::handleAccessibilityNotification(AccessibilityNotification notification) {
    if (notification == AccessibilityNotification::moved ||
        notification == AccessibilityNotification::resized) {
        Q_EMIT targetChanged({target, focused, TargetUpdateReason::geometryChanged});
        return;
    }
    captureCurrentTarget(false, std::nullopt, TargetUpdateReason::focusChanged);
}

} // namespace quendra

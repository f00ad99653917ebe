#include "AppTargetTracker.h"

#include <QPointer>

#include <cstdio>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

const QStringList applicationNotifications{u"AXFocusedUIElementChanged"_s,
                                           u"AXFocusedWindowChanged"_s, u"AXWindowCreated"_s};
const QStringList geometryNotifications{u"AXMoved"_s, u"AXResized"_s, u"AXLayoutChanged"_s,
                                        u"AXCreated"_s, u"AXUIElementDestroyed"_s};

} // namespace

AppTargetTracker::AppTargetTracker(Workspace& workspace, Accessibility& accessibility,
                                   QStringList arguments, QObject* parent)
    : QObject(parent)
    , workspace(workspace)
    , accessibility(accessibility) {
    for (const QString& argument : arguments) {
        if (argument.startsWith(u"--qa-target-bundle="_s) && !qaTargetBundle)
            qaTargetBundle = argument.mid(19);
        if (argument == u"--qa-target-log"_s)
            qaTargetLog = true;
    }
    fallbackTimer.setInterval(pollIntervalMs);
    connect(&fallbackTimer, &QTimer::timeout, this, &AppTargetTracker::pollCurrentTarget);
}

AppTargetTracker::~AppTargetTracker() {
    fallbackTimer.stop();
    removeAccessibilityObserver();
}

void AppTargetTracker::start() {
    if (started)
        return;
    started = true;
    connect(&workspace, &Workspace::applicationActivated, this,
            [this](const RunningApplication& application) {
                captureCurrentTarget(false, application, TargetUpdateReason::applicationChanged);
            });
    connect(&workspace, &Workspace::applicationTerminated, this, [this](qint64 processId) {
        if (onApplicationTerminated)
            onApplicationTerminated(processId);
    });
    fallbackTimer.start();
    captureCurrentTarget(false, std::nullopt, TargetUpdateReason::manual);
}

void AppTargetTracker::captureCurrentTarget(
    bool allowingOwnApp, const std::optional<RunningApplication>& preferredApplication,
    TargetUpdateReason reason) {
    std::optional<RunningApplication> application;
    if (qaTargetBundle) {
        for (const RunningApplication& running : workspace.runningApplications())
            if (running.bundleIdentifier == *qaTargetBundle) {
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
        updateTarget(application, element, reason);
        observeGeometry(element, *application);
    }
    if (qaTargetLog) {
        const QString name = application && !application->localizedName.isEmpty()
                                 ? application->localizedName
                                 : u"unknown"_s;
        std::fprintf(stderr, "target app=%s element=%s\n", qUtf8Printable(name),
                     element ? "true" : "false");
    }
}

Element AppTargetTracker::focusedElement(const RunningApplication& application) {
    const Element app = accessibility.applicationElement(application.processId);
    if (!app)
        return {};
    return accessibility.elementAttribute(app, u"AXFocusedUIElement"_s);
}

void AppTargetTracker::updateTarget(const std::optional<RunningApplication>& application,
                                    const Element& element, TargetUpdateReason reason) {
    target = application;
    focused = element;
    if (onTargetChanged)
        onTargetChanged({application, element, reason});
}

void AppTargetTracker::pollCurrentTarget() {
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
        application.processId, [self](const QString& name, const Element&) {
            // Queued, so that a handler replacing the observer never runs
            // inside that observer's own dispatch.
            if (self)
                QMetaObject::invokeMethod(
                    self.data(),
                    [self, name] {
                        if (self)
                            self->handleAccessibilityNotification(name);
                    },
                    Qt::QueuedConnection);
        });
    if (!observer)
        return;
    const Element app = accessibility.applicationElement(application.processId);
    if (app)
        for (const QString& name : applicationNotifications)
            observer->addNotification(app, name);
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
    const Element parent = accessibility.elementAttribute(element, u"AXParent"_s);
    add(parent);
    if (parent)
        add(accessibility.elementAttribute(parent, u"AXParent"_s));
    add(accessibility.elementAttribute(element, u"AXWindow"_s));
    for (const Element& watchedElement : watched)
        for (const QString& name : geometryNotifications)
            accessibilityObserver->addNotification(watchedElement, name);
    observedDynamicElements = watched;
}

void AppTargetTracker::clearDynamicNotifications() {
    if (accessibilityObserver)
        for (const Element& element : std::as_const(observedDynamicElements))
            for (const QString& name : geometryNotifications)
                accessibilityObserver->removeNotification(element, name);
    observedDynamicElements.clear();
}

void AppTargetTracker::handleAccessibilityNotification(const QString& name) {
    if (name == u"AXMoved"_s || name == u"AXResized"_s || name == u"AXLayoutChanged"_s) {
        if (onTargetChanged)
            onTargetChanged({target, focused, TargetUpdateReason::geometryChanged});
        return;
    }
    captureCurrentTarget(false, std::nullopt, TargetUpdateReason::focusChanged);
}

} // namespace quendra

#include "AtspiWorkspace.h"

#include "ProcessInfo.h"

#include <QCoreApplication>
#include <QGuiApplication>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

AtspiWorkspace::AtspiWorkspace(AtspiAccessibility& accessibility, QObject* parent)
    : Workspace(parent)
    , accessibility(accessibility) {
    accessibility.setActivationHandler(
        [this](qint64 processId, bool active) { activationChanged(processId, active); });
    terminationTimer.setInterval(1000);
    connect(&terminationTimer, &QTimer::timeout, this, &AtspiWorkspace::checkTerminations);
    terminationTimer.start();
    if (const auto front = frontmostApplication())
        lastFrontmost = front->processId;
}

AtspiWorkspace::~AtspiWorkspace() {
    accessibility.setActivationHandler({});
}

qint64 AtspiWorkspace::ownProcessId() const {
    return QCoreApplication::applicationPid();
}

bool AtspiWorkspace::ownWindowActive() const {
    return qobject_cast<QGuiApplication*>(QCoreApplication::instance()) &&
           QGuiApplication::focusWindow() != nullptr;
}

RunningApplication AtspiWorkspace::describe(qint64 processId, const QString& accessibleName) const {
    RunningApplication app;
    app.processId = processId;
    const QString executable = executableName(processId);
    // Toolkits name the application after the program or its desktop id,
    // which is what the per-application settings know it by.
    app.bundleIdentifier = accessibleName.isEmpty() ? executable : accessibleName;
    app.localizedName = app.bundleIdentifier;
    return app;
}

QList<RunningApplication> AtspiWorkspace::runningApplications() {
    QUENDRA_CHECK_THREAD(checker);
    QList<RunningApplication> apps;
    QSet<qint64> seen;
    for (const auto& [pid, name] : accessibility.applications()) {
        if (seen.contains(pid))
            continue;
        seen.insert(pid);
        names.insert(pid, name);
        apps.append(describe(pid, name));
    }
    return apps;
}

std::optional<RunningApplication> AtspiWorkspace::frontmostApplication() {
    QUENDRA_CHECK_THREAD(checker);
    const qint64 own = ownProcessId();
    if (ownWindowActive())
        return describe(own, QCoreApplication::applicationName());
    // The one the events named, confirmed; otherwise each application is asked.
    if (lastFrontmost && *lastFrontmost != own && accessibility.hasActiveWindow(*lastFrontmost))
        return describe(*lastFrontmost, names.value(*lastFrontmost));
    if (sinceEmptyScan.isValid() && sinceEmptyScan.elapsed() < 1000)
        return std::nullopt;
    for (const RunningApplication& app : runningApplications())
        if (app.processId != own && accessibility.hasActiveWindow(app.processId)) {
            lastFrontmost = app.processId;
            sinceEmptyScan.invalidate();
            return app;
        }
    sinceEmptyScan.start();
    return std::nullopt;
}

void AtspiWorkspace::activationChanged(qint64 processId, bool active) {
    if (processId <= 0)
        return;
    if (!active) {
        if (lastFrontmost == processId)
            lastFrontmost.reset();
        return;
    }
    sinceEmptyScan.invalidate();
    if (lastFrontmost == processId)
        return;
    lastFrontmost = processId;
    // Out of the accessibility layer's dispatch: whoever listens asks it again.
    QMetaObject::invokeMethod(
        this,
        [this, processId] {
            if (lastFrontmost != processId)
                return;
            if (!names.contains(processId))
                runningApplications();
            Q_EMIT applicationActivated(describe(processId, names.value(processId)));
        },
        Qt::QueuedConnection);
}

bool AtspiWorkspace::isTerminated(qint64 processId) {
    QUENDRA_CHECK_THREAD(checker);
    return !processAlive(processId);
}

bool AtspiWorkspace::activate(qint64 processId) {
    QUENDRA_CHECK_THREAD(checker);
    const auto front = frontmostApplication();
    return front && front->processId == processId;
}

void AtspiWorkspace::checkTerminations() {
    QList<qint64> gone;
    for (auto it = names.cbegin(); it != names.cend(); ++it)
        if (!processAlive(it.key()))
            gone.append(it.key());
    for (qint64 pid : gone) {
        names.remove(pid);
        if (lastFrontmost == pid)
            lastFrontmost.reset();
        Q_EMIT applicationTerminated(pid);
    }
}

} // namespace quendra

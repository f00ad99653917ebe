#include "X11Workspace.h"

#include "ProcessInfo.h"

#include <QCoreApplication>

#include <X11/Xatom.h>
#include <X11/Xlib.h>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

X11Workspace::X11Workspace(QObject* parent)
    : Workspace(parent) {
    if (!x.isOpen())
        return;
    activeWindow = x.atom("_NET_ACTIVE_WINDOW");
    clientList = x.atom("_NET_CLIENT_LIST");
    clientStacking = x.atom("_NET_CLIENT_LIST_STACKING");
    wmPid = x.atom("_NET_WM_PID");
    gtkApplicationId = x.atom("_GTK_APPLICATION_ID");
    wmClass = XA_WM_CLASS;
    XSelectInput(x.get(), x.root(), PropertyChangeMask);
    XFlush(x.get());
    notifier = std::make_unique<QSocketNotifier>(x.fileDescriptor(), QSocketNotifier::Read);
    connect(notifier.get(), &QSocketNotifier::activated, this, &X11Workspace::processEvents);
    for (const RunningApplication& app : runningApplications())
        knownProcesses.insert(app.processId);
    if (const auto front = frontmostApplication())
        lastFrontmost = front->processId;
}

X11Workspace::~X11Workspace() = default;

qint64 X11Workspace::ownProcessId() const {
    return QCoreApplication::applicationPid();
}

std::optional<RunningApplication> X11Workspace::applicationOf(XWindow window) {
    const auto pid = x.cardinalProperty(window, wmPid);
    if (!pid || *pid == 0)
        return std::nullopt;
    RunningApplication app;
    app.processId = *pid;
    QString windowClass;
    if (const auto bytes = x.bytesProperty(window, wmClass)) {
        // Instance name, NUL, class name.
        const QList<QByteArray> parts = bytes->split('\0');
        windowClass = QString::fromUtf8(parts.value(1).isEmpty() ? parts.value(0) : parts.value(1));
    }
    const QString executable = executableName(app.processId);
    if (const auto id = x.bytesProperty(window, gtkApplicationId); id && !id->isEmpty())
        app.bundleIdentifier = QString::fromUtf8(*id);
    else if (!windowClass.isEmpty())
        app.bundleIdentifier = windowClass;
    else
        app.bundleIdentifier = executable;
    app.localizedName = windowClass.isEmpty() ? executable : windowClass;
    return app;
}

QList<RunningApplication> X11Workspace::runningApplications() {
    QUENDRA_CHECK_THREAD(checker);
    QList<RunningApplication> apps;
    if (!x.isOpen())
        return apps;
    QSet<qint64> seen;
    for (XWindow window : x.windowListProperty(x.root(), clientList))
        if (const auto app = applicationOf(window); app && !seen.contains(app->processId)) {
            seen.insert(app->processId);
            apps.append(*app);
        }
    return apps;
}

std::optional<RunningApplication> X11Workspace::frontmostApplication() {
    QUENDRA_CHECK_THREAD(checker);
    if (!x.isOpen())
        return std::nullopt;
    const auto window = x.windowProperty(x.root(), activeWindow);
    if (!window)
        return std::nullopt;
    return applicationOf(*window);
}

bool X11Workspace::isTerminated(qint64 processId) {
    QUENDRA_CHECK_THREAD(checker);
    return !processAlive(processId);
}

std::optional<XWindow> X11Workspace::windowOf(qint64 processId) {
    QUENDRA_CHECK_THREAD(checker);
    QList<XWindow> windows = x.windowListProperty(x.root(), clientStacking);
    if (windows.isEmpty())
        windows = x.windowListProperty(x.root(), clientList);
    for (auto it = windows.crbegin(); it != windows.crend(); ++it)
        if (x.cardinalProperty(*it, wmPid) == std::uint32_t(processId))
            return *it;
    return std::nullopt;
}

bool X11Workspace::activate(qint64 processId) {
    QUENDRA_CHECK_THREAD(checker);
    if (!x.isOpen())
        return false;
    const auto window = windowOf(processId);
    if (!window)
        return false;
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = *window;
    event.xclient.message_type = activeWindow;
    event.xclient.format = 32;
    event.xclient.data.l[0] = 2; // from a pager: the window manager does not second-guess it
    event.xclient.data.l[1] = CurrentTime;
    XSendEvent(x.get(), x.root(), False, SubstructureRedirectMask | SubstructureNotifyMask, &event);
    XFlush(x.get());
    return true;
}

void X11Workspace::processEvents() {
    bool activeChanged = false, clientsChanged = false;
    while (XPending(x.get())) {
        XEvent event;
        XNextEvent(x.get(), &event);
        if (event.type != PropertyNotify)
            continue;
        if (event.xproperty.atom == activeWindow)
            activeChanged = true;
        else if (event.xproperty.atom == clientList)
            clientsChanged = true;
    }
    if (clientsChanged)
        checkTerminations();
    if (activeChanged) {
        const auto front = frontmostApplication();
        const std::optional<qint64> pid =
            front ? std::optional<qint64>(front->processId) : std::nullopt;
        if (pid != lastFrontmost) {
            lastFrontmost = pid;
            if (front)
                Q_EMIT applicationActivated(*front);
        }
    }
}

void X11Workspace::checkTerminations() {
    QSet<qint64> current;
    for (const RunningApplication& app : runningApplications())
        current.insert(app.processId);
    for (qint64 pid : std::as_const(knownProcesses))
        if (!current.contains(pid) && !processAlive(pid))
            Q_EMIT applicationTerminated(pid);
    knownProcesses.removeIf([&](qint64 pid) { return !current.contains(pid); });
    knownProcesses.unite(current);
}

} // namespace quendra

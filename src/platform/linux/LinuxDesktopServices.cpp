#include "AtspiAccessibility.h"
#include "AtspiWorkspace.h"
#include "KGlobalAccelHotKeyService.h"
#include "NoPasteKeys.h"
#include "PortalHotKeyService.h"
#include "QtPasteboard.h"
#include "QtScreens.h"
#include "RemoteDesktopKeyEventPoster.h"
#include "UnofferedHotKeyService.h"
#include "VirtualKeyboardKeyEventPoster.h"
#include "WaylandPasteboard.h"
#include "X11HotKeyService.h"
#include "X11Workspace.h"
#include "XTestKeyEventPoster.h"
#include "platform/DesktopServices.h"
#include "session/HotKeyManager.h"

#include <QDBusConnection>
#include <QDBusInterface>
#include <QDBusReply>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLocalSocket>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

// What the desktop's shortcut settings show beside each of our shortcuts.
QHash<std::uint32_t, QString> shortcutDescriptions() {
    return {{HotKeyManager::dictationIdentifier, u"Start or stop dictation"_s},
            {HotKeyManager::notesIdentifier, u"Start or stop a note"_s}};
}

std::unique_ptr<HotKeyService> waylandHotKeys(const DesktopSession& session) {
    switch (DesktopServices::shortcutRoute(session)) {
    case DesktopServices::ShortcutRoute::globalShortcutsPortal:
        return std::make_unique<PortalHotKeyService>(shortcutDescriptions());
    case DesktopServices::ShortcutRoute::kglobalaccel:
        return std::make_unique<KGlobalAccelHotKeyService>(shortcutDescriptions());
    case DesktopServices::ShortcutRoute::x11Grab:
    case DesktopServices::ShortcutRoute::desktopSettings:
        break;
    }
    return std::make_unique<UnofferedHotKeyService>();
}

std::expected<DesktopServices, QString> connectWayland(DesktopSession session) {
    if (QGuiApplication::platformName() != u"wayland"_s)
        return std::unexpected(u"Parlevo’s windows are not on the Wayland display; install "
                               "qt6-wayland, or start Parlevo with QT_QPA_PLATFORM=wayland."_s);
    DesktopServices services;
    services.session = session;
    auto accessibility = std::make_unique<AtspiAccessibility>();
    services.workspace = std::make_unique<AtspiWorkspace>(*accessibility);
    services.accessibility = std::move(accessibility);
    // Qt's clipboard serves only a focused window, which ours never is while
    // the user dictates; the data-control protocol serves us unfocused.
    if (WaylandPasteboard::available())
        services.pasteboard = std::make_unique<WaylandPasteboard>();
    else
        services.pasteboard = std::make_unique<QtPasteboard>();
    switch (session.pasteRoute()) {
    case PasteRoute::virtualKeyboard:
        if (VirtualKeyboardKeyEventPoster::available())
            services.keys = std::make_unique<VirtualKeyboardKeyEventPoster>();
        break;
    case PasteRoute::remoteDesktopPortal:
        // Started at once: its session takes three round trips with the portal.
        if (RemoteDesktopKeyEventPoster::available())
            services.keys = std::make_unique<RemoteDesktopKeyEventPoster>();
        break;
    case PasteRoute::x11Keys:
    case PasteRoute::none:
        break;
    }
    if (!services.keys)
        services.keys = std::make_unique<NoPasteKeys>();
    services.hotKeys = waylandHotKeys(session);
    services.screens = std::make_unique<QtScreens>();
    return services;
}

std::expected<DesktopServices, QString> connectX11(DesktopSession session) {
    if (QGuiApplication::platformName() != u"xcb"_s || qEnvironmentVariableIsEmpty("DISPLAY"))
        return std::unexpected(u"No X11 display is available; Parlevo needs an X11 session (or "
                               "XWayland with DISPLAY set) to find and write text fields."_s);
    auto workspace = std::make_unique<X11Workspace>();
    if (!workspace->isConnected())
        return std::unexpected(u"The X11 display could not be opened."_s);
    DesktopServices services;
    services.session = session;
    services.workspace = std::move(workspace);
    services.accessibility = std::make_unique<AtspiAccessibility>();
    services.pasteboard = std::make_unique<QtPasteboard>();
    services.keys = std::make_unique<XTestKeyEventPoster>();
    services.hotKeys = std::make_unique<X11HotKeyService>();
    services.screens = std::make_unique<QtScreens>();
    return services;
}

} // namespace

std::expected<DesktopServices, QString> DesktopServices::connect() {
    const DesktopSession session = DesktopSession::current();
    switch (session.type) {
    case SessionType::wayland:
        return connectWayland(session);
    case SessionType::x11:
        return connectX11(session);
    case SessionType::none:
        break;
    }
    return std::unexpected(u"No display is available: Parlevo needs a Wayland or X11 desktop "
                           "session to find and write text fields."_s);
}

} // namespace quendra

namespace quendra {

DesktopServices::DisplayStatus DesktopServices::displayStatus() {
    DisplayStatus status;
    const DesktopSession session = DesktopSession::current();
    if (session.isWayland()) {
        status.name = u"Wayland display "_s + session.display;
        const QString socket =
            QFileInfo(session.display).isAbsolute()
                ? session.display
                : QDir(qEnvironmentVariable("XDG_RUNTIME_DIR")).filePath(session.display);
        QLocalSocket probe;
        probe.connectToServer(socket);
        status.reachable = probe.waitForConnected(2000);
        // A Wayland compositor is its own window manager.
        status.windowManager = status.reachable;
        return status;
    }
    const QString display = qEnvironmentVariable("DISPLAY");
    if (display.isEmpty())
        return status;
    status.name = u"X11 display "_s + display;
    X11Display x;
    if (!x.isOpen())
        return status;
    status.reachable = true;
    // A window manager announces itself with a check window that names itself.
    const XAtom check = x.atom("_NET_SUPPORTING_WM_CHECK");
    if (const auto window = x.windowProperty(x.root(), check))
        status.windowManager = x.windowProperty(*window, check) == *window;
    return status;
}

DesktopServices::AccessibilityStatus DesktopServices::accessibilityStatus() {
    AccessibilityStatus status;
    QDBusInterface bus(u"org.a11y.Bus"_s, u"/org/a11y/bus"_s, u"org.a11y.Bus"_s,
                       QDBusConnection::sessionBus());
    const QDBusReply<QString> address = bus.call(u"GetAddress"_s);
    status.busReachable = address.isValid() && !address.value().isEmpty();
    status.enabled = status.busReachable && AtspiAccessibility::busEnabled();
    return status;
}

DesktopServices::ShortcutRoute DesktopServices::shortcutRoute(const DesktopSession& session) {
    if (!session.isWayland())
        return ShortcutRoute::x11Grab;
    // Asked once per process: finding the portal may start it.
    static const bool portal = PortalHotKeyService::available();
    if (portal)
        return ShortcutRoute::globalShortcutsPortal;
    if (session.family == DesktopFamily::kde && KGlobalAccelHotKeyService::available())
        return ShortcutRoute::kglobalaccel;
    return ShortcutRoute::desktopSettings;
}

bool DesktopServices::pasteKeysAvailable(const DesktopSession& session) {
    switch (session.pasteRoute()) {
    case PasteRoute::x11Keys:
        return displayStatus().reachable;
    case PasteRoute::virtualKeyboard:
        return VirtualKeyboardKeyEventPoster::available();
    case PasteRoute::remoteDesktopPortal:
        return RemoteDesktopKeyEventPoster::available();
    case PasteRoute::none:
        break;
    }
    return false;
}

bool DesktopServices::canRegisterHotKey(const DictationShortcut& shortcut) {
    if (shortcutRoute(DesktopSession::current()) != ShortcutRoute::x11Grab)
        return false;
    X11HotKeyService service;
    constexpr std::uint32_t probe = 0xD0C;
    if (!service.registerHotKey(probe, shortcut.keysym, shortcut.modifiers))
        return false;
    service.unregisterHotKey(probe);
    return true;
}

bool DesktopServices::enableAccessibility() {
    QDBusInterface status(u"org.a11y.Bus"_s, u"/org/a11y/bus"_s,
                          u"org.freedesktop.DBus.Properties"_s, QDBusConnection::sessionBus());
    const QDBusMessage reply = status.call(u"Set"_s, u"org.a11y.Status"_s, u"IsEnabled"_s,
                                           QVariant::fromValue(QDBusVariant(true)));
    return reply.type() == QDBusMessage::ReplyMessage;
}

} // namespace quendra

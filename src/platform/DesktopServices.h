#pragma once

#include "model/DictationShortcut.h"
#include "platform/Accessibility.h"
#include "platform/DesktopSession.h"
#include "platform/HotKeyService.h"
#include "platform/KeyEventPoster.h"
#include "platform/Pasteboard.h"
#include "platform/Screens.h"
#include "platform/Workspace.h"

#include <QString>

#include <expected>
#include <memory>

namespace quendra {

// The desktop services of this session, built once by whoever needs the real
// desktop (the application, the desktop commands). Main thread only; needs a
// QGuiApplication.
struct DesktopServices {
    DesktopSession session;
    // Declared first: the Wayland workspace reads it, and goes before it.
    std::unique_ptr<Accessibility> accessibility;
    std::unique_ptr<Workspace> workspace;
    std::unique_ptr<Pasteboard> pasteboard;
    std::unique_ptr<KeyEventPoster> keys;
    std::unique_ptr<HotKeyService> hotKeys;
    std::unique_ptr<Screens> screens;

    // The sentence saying what is missing when there is no usable desktop.
    static std::expected<DesktopServices, QString> connect();

    // What the doctor reports about this session, asked without a QGuiApplication.
    struct DisplayStatus {
        bool reachable = false;
        bool windowManager = false;
        QString name; // "X11 display :0", "Wayland display wayland-0"
    };
    static DisplayStatus displayStatus();
    struct AccessibilityStatus {
        bool busReachable = false;
        bool enabled = false;
    };
    static AccessibilityStatus accessibilityStatus();
    // How a global shortcut reaches Parlevo in this session.
    enum class ShortcutRoute {
        x11Grab,               // the X server's key grab
        globalShortcutsPortal, // the desktop portal's shortcuts (KDE Plasma, GNOME 48+)
        kglobalaccel,          // KDE's shortcut service
        desktopSettings,       // none: the user binds Parlevo's command in the desktop
    };
    static ShortcutRoute shortcutRoute(const DesktopSession& session);
    // Whether the session's paste route (DesktopSession::pasteRoute) is there.
    static bool pasteKeysAvailable(const DesktopSession& session);
    // Asks the server for the shortcut's keys and gives them back at once.
    static bool canRegisterHotKey(const DictationShortcut& shortcut);
    // Turns accessibility on for applications started from now on.
    static bool enableAccessibility();
};

} // namespace quendra

#pragma once

// Which kind of desktop session Parlevo runs in, read from the environment the
// session gives every program. The one place that decides which backends and
// which of the user's choices a session can offer.

#include <QProcessEnvironment>
#include <QString>

namespace quendra {

enum class SessionType { x11, wayland, none };

// Desktops differ on Wayland in what they let an application do from outside.
enum class DesktopFamily {
    kde,     // KWin: the desktop portal's shortcuts and keyboard, kglobalaccel
    gnome,   // mutter: the portal's keyboard only after the user allows it
    wlroots, // sway and its relatives: a virtual keyboard, shortcuts in the compositor's config
    other,
};

// How text that the accessibility layer cannot write is typed as a paste.
enum class PasteRoute { x11Keys, virtualKeyboard, remoteDesktopPortal, none };

struct DesktopSession {
    SessionType type = SessionType::none;
    DesktopFamily family = DesktopFamily::other;
    // As the session names it ("KDE", "sway", "GNOME"), for the doctor.
    QString desktopName;
    // "wayland-0", ":1".
    QString display;

    static DesktopSession fromEnvironment(const QProcessEnvironment& environment);
    static DesktopSession current();

    bool isWayland() const { return type == SessionType::wayland; }
    PasteRoute pasteRoute() const;
    // Wayland gives no application the screen position of another's field,
    // so the button beside it cannot be placed.
    bool offersFieldMicrophone() const { return type == SessionType::x11; }
    // X11 lets the text go in as a paste the user could have made; a Wayland
    // compositor may drop synthetic keys, while the accessibility layer
    // writes and reads back on every one.
    bool writesAccessibleTextFirst() const { return isWayland(); }

    // "Wayland (KDE)", "X11".
    QString description() const;
};

} // namespace quendra

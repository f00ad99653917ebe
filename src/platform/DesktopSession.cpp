#include "DesktopSession.h"

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

DesktopFamily familyOf(const QStringList& desktops, bool swaySocket) {
    for (const QString& name : desktops) {
        const QString lower = name.toLower();
        if (lower == u"kde"_s)
            return DesktopFamily::kde;
        if (lower == u"gnome"_s || lower == u"gnome-classic"_s || lower == u"gnome-flashback"_s)
            return DesktopFamily::gnome;
        if (lower == u"sway"_s || lower == u"hyprland"_s || lower == u"river"_s ||
            lower == u"wayfire"_s || lower == u"labwc"_s)
            return DesktopFamily::wlroots;
    }
    // sway started by hand sets no desktop name, but always its socket.
    return swaySocket ? DesktopFamily::wlroots : DesktopFamily::other;
}

} // namespace

DesktopSession DesktopSession::fromEnvironment(const QProcessEnvironment& environment) {
    DesktopSession session;
    const QString wayland = environment.value(u"WAYLAND_DISPLAY"_s);
    const QString x11 = environment.value(u"DISPLAY"_s);
    const QString declared = environment.value(u"XDG_SESSION_TYPE"_s).toLower();
    // Asking Qt for X11 inside a Wayland session puts our windows on XWayland,
    // where X11's keys and grabs reach only other XWayland windows.
    const bool qtOnX11 = environment.value(u"QT_QPA_PLATFORM"_s).startsWith(u"xcb"_s);
    if (!wayland.isEmpty() && (declared == u"wayland"_s || x11.isEmpty())) {
        session.type = SessionType::wayland;
        session.display = wayland;
    } else if (!x11.isEmpty()) {
        session.type = SessionType::x11;
        session.display = x11;
    }
    if (session.type == SessionType::wayland && qtOnX11 && !x11.isEmpty()) {
        session.type = SessionType::x11;
        session.display = x11;
    }
    const QStringList desktops =
        environment.value(u"XDG_CURRENT_DESKTOP"_s).split(u':', Qt::SkipEmptyParts);
    session.desktopName = desktops.value(0);
    session.family = familyOf(desktops, !environment.value(u"SWAYSOCK"_s).isEmpty());
    if (session.desktopName.isEmpty() && !environment.value(u"SWAYSOCK"_s).isEmpty())
        session.desktopName = u"sway"_s;
    return session;
}

DesktopSession DesktopSession::current() {
    return fromEnvironment(QProcessEnvironment::systemEnvironment());
}

PasteRoute DesktopSession::pasteRoute() const {
    switch (type) {
    case SessionType::x11:
        return PasteRoute::x11Keys;
    case SessionType::none:
        return PasteRoute::none;
    case SessionType::wayland:
        break;
    }
    switch (family) {
    case DesktopFamily::wlroots:
        return PasteRoute::virtualKeyboard;
    case DesktopFamily::kde:
        return PasteRoute::remoteDesktopPortal;
    case DesktopFamily::gnome: // its portal asks the user first, every session
    case DesktopFamily::other:
        return PasteRoute::none;
    }
    return PasteRoute::none;
}

QString DesktopSession::description() const {
    const QString kind = type == SessionType::wayland ? u"Wayland"_s
                         : type == SessionType::x11   ? u"X11"_s
                                                      : u"No display"_s;
    return desktopName.isEmpty() ? kind : u"%1 (%2)"_s.arg(kind, desktopName);
}

} // namespace quendra

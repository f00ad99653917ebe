#include "platform/DesktopSession.h"
#include "platform/DesktopBindings.h"

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;

namespace {

DesktopSession sessionOf(std::initializer_list<std::pair<QString, QString>> variables) {
    QProcessEnvironment environment;
    for (const auto& [name, value] : variables)
        environment.insert(name, value);
    return DesktopSession::fromEnvironment(environment);
}

TEST(DesktopSessionTest, TheSessionTypeFollowsTheDisplayOurWindowsAndKeysWouldReach) {
    // A Wayland session also offers XWayland; its keys would reach only X clients.
    const auto plasma = sessionOf({{u"XDG_SESSION_TYPE"_s, u"wayland"_s},
                                   {u"WAYLAND_DISPLAY"_s, u"wayland-0"_s},
                                   {u"DISPLAY"_s, u":0"_s},
                                   {u"XDG_CURRENT_DESKTOP"_s, u"KDE"_s}});
    EXPECT_EQ(plasma.type, SessionType::wayland);
    EXPECT_EQ(plasma.display, u"wayland-0"_s);
    EXPECT_EQ(plasma.description(), u"Wayland (KDE)"_s);

    // The user asked for Qt on X11: the whole X11 path goes with it.
    const auto forced = sessionOf({{u"XDG_SESSION_TYPE"_s, u"wayland"_s},
                                   {u"WAYLAND_DISPLAY"_s, u"wayland-0"_s},
                                   {u"DISPLAY"_s, u":0"_s},
                                   {u"QT_QPA_PLATFORM"_s, u"xcb"_s}});
    EXPECT_EQ(forced.type, SessionType::x11);
    EXPECT_EQ(forced.display, u":0"_s);

    // A compositor started by hand declares no session type.
    EXPECT_EQ(sessionOf({{u"WAYLAND_DISPLAY"_s, u"wayland-1"_s}}).type, SessionType::wayland);
    // An X11 session inside which a nested compositor's variable leaked.
    EXPECT_EQ(sessionOf({{u"XDG_SESSION_TYPE"_s, u"x11"_s},
                         {u"WAYLAND_DISPLAY"_s, u"wayland-1"_s},
                         {u"DISPLAY"_s, u":1"_s}})
                  .type,
              SessionType::x11);
    EXPECT_EQ(sessionOf({{u"DISPLAY"_s, u":1"_s}}).type, SessionType::x11);
    EXPECT_EQ(sessionOf({}).type, SessionType::none);
    EXPECT_EQ(sessionOf({}).description(), u"No display"_s);
}

TEST(DesktopSessionTest, TheDesktopDecidesHowTextIsTypedWhereItCannotBeWritten) {
    const auto wayland = [](std::initializer_list<std::pair<QString, QString>> more) {
        QProcessEnvironment environment;
        environment.insert(u"WAYLAND_DISPLAY"_s, u"wayland-0"_s);
        environment.insert(u"XDG_SESSION_TYPE"_s, u"wayland"_s);
        for (const auto& [name, value] : more)
            environment.insert(name, value);
        return DesktopSession::fromEnvironment(environment);
    };
    EXPECT_EQ(wayland({{u"XDG_CURRENT_DESKTOP"_s, u"KDE"_s}}).pasteRoute(),
              PasteRoute::remoteDesktopPortal);
    // GNOME's portal asks the user in a dialog first: no route is taken silently.
    const auto ubuntu = wayland({{u"XDG_CURRENT_DESKTOP"_s, u"ubuntu:GNOME"_s}});
    EXPECT_EQ(ubuntu.family, DesktopFamily::gnome);
    EXPECT_EQ(ubuntu.pasteRoute(), PasteRoute::none);
    // sway started from a console names no desktop, only its socket.
    const auto sway = wayland({{u"SWAYSOCK"_s, u"/run/user/1000/sway-ipc.sock"_s}});
    EXPECT_EQ(sway.family, DesktopFamily::wlroots);
    EXPECT_EQ(sway.desktopName, u"sway"_s);
    EXPECT_EQ(sway.pasteRoute(), PasteRoute::virtualKeyboard);
    EXPECT_EQ(wayland({{u"XDG_CURRENT_DESKTOP"_s, u"Hyprland"_s}}).pasteRoute(),
              PasteRoute::virtualKeyboard);
    EXPECT_EQ(wayland({{u"XDG_CURRENT_DESKTOP"_s, u"X-Cinnamon"_s}}).pasteRoute(),
              PasteRoute::none);

    const auto x11 = sessionOf({{u"DISPLAY"_s, u":0"_s}, {u"XDG_CURRENT_DESKTOP"_s, u"KDE"_s}});
    EXPECT_EQ(x11.pasteRoute(), PasteRoute::x11Keys);
    EXPECT_TRUE(x11.offersFieldMicrophone());
    EXPECT_FALSE(x11.writesAccessibleTextFirst());
    EXPECT_FALSE(sway.offersFieldMicrophone());
    EXPECT_TRUE(sway.writesAccessibleTextFirst());
}

TEST(DesktopBindingsTest, EachDesktopSpellsTheShortcutItsOwnWay) {
    const DictationShortcut letter{'D', ShortcutModifier::ctrl | ShortcutModifier::alt, u"D"_s};
    EXPECT_EQ(gnomeAccelerator(letter), u"<Control><Alt>d"_s);
    EXPECT_EQ(swayBinding(letter), u"Ctrl+Alt+d"_s);
    EXPECT_EQ(hyprlandBinding(letter), u"CTRL ALT, d"_s);

    const DictationShortcut space{Keysym::space, ShortcutModifier::super | ShortcutModifier::shift,
                                  u"Space"_s};
    EXPECT_EQ(gnomeAccelerator(space), u"<Shift><Super>space"_s);
    EXPECT_EQ(swayBinding(space), u"Shift+Mod4+space"_s);
    EXPECT_EQ(hyprlandBinding(space), u"SHIFT SUPER, space"_s);

    const DictationShortcut function{Keysym::f1 + 4, {}, u"F5"_s};
    EXPECT_EQ(swayBinding(function), u"F5"_s);
    EXPECT_EQ(gnomeAccelerator(function), u"F5"_s);
}

} // namespace

#include "cli/ShortcutGuide.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;

namespace {

// Stand-ins for the desktop's own tools on PATH: gsettings keeps its values
// in files, swaymsg writes down what it was asked.
class ShortcutGuideTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(tools.isValid());
        savedPath = qgetenv("PATH");
        qputenv("PATH", (tools.path() + u":"_s).toLocal8Bit() + savedPath);
        write(u"gsettings"_s, uR"sh(#!/bin/sh
store="$(dirname "$0")/settings"; mkdir -p "$store"
key="$(printf '%s' "$2.$3" | tr '/:' '__')"
case "$1" in
get) [ -f "$store/$key" ] && cat "$store/$key" || echo "@as []" ;;
set) [ -f "$(dirname "$0")/refuse" ] && exit 1; printf '%s\n' "$4" > "$store/$key" ;;
esac
)sh"_s);
        write(u"swaymsg"_s, uR"sh(#!/bin/sh
printf '%s\n' "$*" >> "$(dirname "$0")/swaymsg.log"
[ "$1" = -t ] && printf '{ "config": "bindsym Mod4+Return exec foot" }\n'
exit 0
)sh"_s);
    }
    void TearDown() override { qputenv("PATH", savedPath); }

    void write(const QString& name, const QString& script) {
        QFile file(tools.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(script.toUtf8());
        file.close();
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner |
                            QFileDevice::ExeOwner);
    }
    QString read(const QString& name) {
        QFile file(tools.filePath(name));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed()
                                              : QString();
    }
    static DesktopSession session(const QString& desktop) {
        QProcessEnvironment environment;
        environment.insert(u"WAYLAND_DISPLAY"_s, u"wayland-0"_s);
        environment.insert(u"XDG_CURRENT_DESKTOP"_s, desktop);
        return DesktopSession::fromEnvironment(environment);
    }

    QTemporaryDir tools;
    QByteArray savedPath;
    const DictationShortcut altSpace{Keysym::space, ShortcutModifier::alt, u"Space"_s};
    const QString program = u"/home/ann/My Apps/parlevo"_s;
};

TEST_F(ShortcutGuideTest, GnomeGetsACustomShortcutBesideTheUsersOwn) {
    const QString list =
        u"settings/org.gnome.settings-daemon.plugins.media-keys.custom-keybindings"_s;
    QDir(tools.path()).mkpath(u"settings"_s);
    QFile existing(tools.filePath(list));
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write(
        "['/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/custom0/']\n");
    existing.close();

    const ShortcutGuide guide(session(u"GNOME"_s), altSpace, program);
    EXPECT_EQ(guide.command(), u"\"/home/ann/My Apps/parlevo\" dictation toggle"_s);
    EXPECT_TRUE(guide.canBind());
    EXPECT_EQ(guide.isBound(), false);
    const auto bound = guide.bind();
    ASSERT_TRUE(bound) << bound.error().toStdString();
    EXPECT_EQ(guide.isBound(), true);
    // The user's own shortcut stays, ours joins it, once.
    EXPECT_TRUE(guide.bind());
    const QString paths = read(list);
    EXPECT_TRUE(paths.contains(u"custom0"_s)) << paths.toStdString();
    EXPECT_EQ(paths.count(u"parlevo-dictation"_s), 1) << paths.toStdString();
    const QString entry =
        u"settings/org.gnome.settings-daemon.plugins.media-keys.custom-keybinding_"
        "_org_gnome_settings-daemon_plugins_media-keys_custom-keybindings_"
        "parlevo-dictation_."_s;
    EXPECT_EQ(read(entry + u"binding"_s), u"<Alt>space"_s);
    EXPECT_EQ(read(entry + u"command"_s), guide.command());
}

TEST_F(ShortcutGuideTest, AGnomeThatRefusesTheWriteLeavesTheUserTheWayByHand) {
    write(u"refuse"_s, {});
    const ShortcutGuide guide(session(u"GNOME"_s), altSpace, program);
    const auto bound = guide.bind();
    ASSERT_FALSE(bound);
    EXPECT_TRUE(bound.error().contains(u"Custom Shortcuts"_s)) << bound.error().toStdString();
    EXPECT_EQ(guide.isBound(), false);
}

TEST_F(ShortcutGuideTest, SwayBindsForTheSessionAndTellsTheLineToKeepIt) {
    const ShortcutGuide guide(session(u"sway"_s), altSpace, u"/usr/bin/parlevo"_s);
    EXPECT_EQ(guide.isBound(), false);
    const auto bound = guide.bind();
    ASSERT_TRUE(bound);
    EXPECT_TRUE(bound->contains(u"bindsym Alt+space exec /usr/bin/parlevo dictation toggle"_s));
    EXPECT_TRUE(
        read(u"swaymsg.log"_s)
            .contains(u"-- bindsym --no-warn Alt+space exec /usr/bin/parlevo dictation toggle"_s))
        << read(u"swaymsg.log"_s).toStdString();
}

TEST_F(ShortcutGuideTest, DesktopsThatTakeNoBindingFromOutsideAreOnlyAdvised) {
    for (const QString& desktop : {u"KDE"_s, u"Hyprland"_s, u"X-Cinnamon"_s}) {
        const ShortcutGuide guide(session(desktop), altSpace, u"/usr/bin/parlevo"_s);
        EXPECT_FALSE(guide.canBind()) << desktop.toStdString();
        EXPECT_FALSE(guide.isBound().has_value());
        const auto bound = guide.bind();
        ASSERT_FALSE(bound);
        EXPECT_TRUE(bound.error().contains(guide.command())) << bound.error().toStdString();
    }
    EXPECT_TRUE(ShortcutGuide(session(u"Hyprland"_s), altSpace, u"/usr/bin/parlevo"_s)
                    .advice()
                    .contains(u"bind = ALT, space, exec, /usr/bin/parlevo dictation toggle"_s));
}

} // namespace

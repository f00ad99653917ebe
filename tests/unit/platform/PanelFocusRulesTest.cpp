#include "platform/PanelFocusRules.h"
#include "support/CoreApplication.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace Qt::Literals::StringLiterals;
using namespace quendra;

namespace {

QString read(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

TEST(PanelFocusRulesTest, KWinGetsOneRuleBesideTheUsersOwn) {
    ensureCoreApplication();
    QTemporaryDir config;
    qputenv("XDG_CONFIG_HOME", config.path().toLocal8Bit());
    const QString path = config.filePath(u"kwinrulesrc"_s);
    QFile existing(path);
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("[General]\ncount=1\nrules=a1b2\n\n[a1b2]\nDescription=Firefox on desktop 2\n"
                   "wmclass=firefox\ndesktops=2\n");
    existing.close();

    QProcessEnvironment environment;
    environment.insert(u"WAYLAND_DISPLAY"_s, u"wayland-0"_s);
    environment.insert(u"XDG_CURRENT_DESKTOP"_s, u"KDE"_s);
    const auto kde = DesktopSession::fromEnvironment(environment);
    for (int run = 0; run < 2; ++run) {
        PanelFocusRules rules(kde, u"com.orvane.Parlevo"_s);
        EXPECT_FALSE(rules.honoured()); // not before KWin has reloaded
        rules.apply();
    }
    const QString text = read(path);
    EXPECT_TRUE(text.contains(u"[General]\ncount=2\nrules=a1b2,parlevo-panels\n"_s))
        << text.toStdString();
    EXPECT_TRUE(text.contains(u"[a1b2]\nDescription=Firefox on desktop 2\nwmclass=firefox\n"_s));
    EXPECT_EQ(text.count(u"[parlevo-panels]"_s), 1);
    EXPECT_TRUE(text.contains(u"wmclass=com.orvane.Parlevo\n"_s));
    EXPECT_TRUE(text.contains(u"acceptfocus=false\nacceptfocusrule=2\n"_s));
    EXPECT_TRUE(text.contains(u"title="_s + PanelFocusRules::titlePattern()));

    // A new user has no rules file at all.
    QFile::remove(path);
    PanelFocusRules(kde, u"com.orvane.Parlevo"_s).apply();
    EXPECT_TRUE(read(path).startsWith(u"[General]\ncount=1\nrules=parlevo-panels\n"_s))
        << read(path).toStdString();
    qunsetenv("XDG_CONFIG_HOME");
}

TEST(PanelFocusRulesTest, X11NeedsNoRuleAndOtherWaylandDesktopsKeepThePillHidden) {
    ensureCoreApplication();
    QProcessEnvironment x11;
    x11.insert(u"DISPLAY"_s, u":0"_s);
    EXPECT_TRUE(PanelFocusRules(DesktopSession::fromEnvironment(x11), u"id"_s).honoured());
    QProcessEnvironment gnome;
    gnome.insert(u"WAYLAND_DISPLAY"_s, u"wayland-0"_s);
    gnome.insert(u"XDG_CURRENT_DESKTOP"_s, u"GNOME"_s);
    PanelFocusRules rules(DesktopSession::fromEnvironment(gnome), u"id"_s);
    rules.apply();
    EXPECT_FALSE(rules.honoured());
}

} // namespace

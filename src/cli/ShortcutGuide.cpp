#include "ShortcutGuide.h"

#include "platform/DesktopBindings.h"

#include <QProcess>
#include <QRegularExpression>

using namespace Qt::Literals::StringLiterals;

namespace quendra {

namespace {

constexpr auto gnomeList = "org.gnome.settings-daemon.plugins.media-keys";
constexpr auto gnomeEntry = "org.gnome.settings-daemon.plugins.media-keys.custom-keybinding";
const QString gnomePath =
    u"/org/gnome/settings-daemon/plugins/media-keys/custom-keybindings/parlevo-dictation/"_s;

struct Run {
    bool ok = false;
    QString output;
};

Run run(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished(1000);
        return {};
    }
    return {process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
            QString::fromUtf8(process.readAllStandardOutput()).trimmed() +
                QString::fromUtf8(process.readAllStandardError()).trimmed()};
}

bool isSway(const DesktopSession& session) {
    return session.desktopName.compare(u"sway"_s, Qt::CaseInsensitive) == 0;
}

bool isHyprland(const DesktopSession& session) {
    return session.desktopName.compare(u"Hyprland"_s, Qt::CaseInsensitive) == 0;
}

// A GVariant string literal.
QString quoted(const QString& text) {
    QString escaped = text;
    escaped.replace(u"\\"_s, u"\\\\"_s).replace(u"'"_s, u"\\'"_s);
    return u"'"_s + escaped + u"'"_s;
}

} // namespace

ShortcutGuide::ShortcutGuide(DesktopSession session, DictationShortcut shortcut, QString program)
    : session(std::move(session))
    , shortcut(std::move(shortcut))
    , program(std::move(program)) {}

QString ShortcutGuide::command() const {
    const QString path = program.contains(u' ') ? u"\"%1\""_s.arg(program) : program;
    return path + u" dictation toggle"_s;
}

QString ShortcutGuide::advice() const {
    const QString keys = shortcut.displayName();
    switch (session.family) {
    case DesktopFamily::gnome:
        return u"In Settings, Keyboard, “View and Customise Shortcuts”, “Custom Shortcuts”, add "
               "one named “Parlevo dictation” with the command “%1” and the shortcut %2, or run "
               "“parlevo doctor --bind-shortcut” to add it."_s.arg(command(), keys);
    case DesktopFamily::kde:
        return u"In the desktop’s shortcut settings, add a new command “%1” and give it the "
               "shortcut %2."_s.arg(command(), keys);
    case DesktopFamily::wlroots:
        if (isSway(session))
            return u"Add the line “bindsym %1 exec %2” to ~/.config/sway/config and run "
                   "“swaymsg reload”; “parlevo doctor --bind-shortcut” binds it until you log "
                   "out."_s.arg(swayBinding(shortcut), command());
        if (isHyprland(session))
            return u"Add the line “bind = %1, exec, %2” to ~/.config/hypr/hyprland.conf."_s.arg(
                hyprlandBinding(shortcut), command());
        break;
    case DesktopFamily::other:
        break;
    }
    return u"Bind the command “%1” to %2 in the desktop’s keyboard shortcut settings."_s.arg(
        command(), keys);
}

std::optional<bool> ShortcutGuide::isBound() const {
    if (session.family == DesktopFamily::gnome) {
        const Run listed =
            run(u"gsettings"_s, {u"get"_s, QLatin1String(gnomeList), u"custom-keybindings"_s});
        if (!listed.ok)
            return std::nullopt;
        return listed.output.contains(gnomePath);
    }
    if (isSway(session)) {
        // The bindings made at run time are not in the configuration text.
        const Run bindings = run(u"swaymsg"_s, {u"-t"_s, u"get_config"_s});
        if (!bindings.ok)
            return std::nullopt;
        return bindings.output.contains(u"dictation toggle"_s);
    }
    return std::nullopt;
}

bool ShortcutGuide::canBind() const {
    return session.isWayland() && (session.family == DesktopFamily::gnome || isSway(session));
}

std::expected<QString, QString> ShortcutGuide::bind() const {
    if (session.family == DesktopFamily::gnome)
        return bindGnome();
    if (isSway(session))
        return bindSway();
    return std::unexpected(u"This desktop takes no shortcut from another program. "_s + advice());
}

std::expected<QString, QString> ShortcutGuide::bindGnome() const {
    const Run listed =
        run(u"gsettings"_s, {u"get"_s, QLatin1String(gnomeList), u"custom-keybindings"_s});
    if (!listed.ok)
        return std::unexpected(
            u"GNOME’s keyboard settings could not be read (%1). "_s.arg(
                listed.output.isEmpty() ? u"gsettings failed"_s : listed.output) +
            advice());
    // "@as []" or "['/org/…/custom0/', …]".
    QStringList paths;
    static const QRegularExpression item(u"'([^']*)'"_s);
    for (auto it = item.globalMatch(listed.output); it.hasNext();)
        paths << it.next().captured(1);
    const QString entry = QLatin1String(gnomeEntry) + u":"_s + gnomePath;
    const bool written =
        run(u"gsettings"_s, {u"set"_s, entry, u"name"_s, u"Parlevo dictation"_s}).ok &&
        run(u"gsettings"_s, {u"set"_s, entry, u"command"_s, command()}).ok &&
        run(u"gsettings"_s, {u"set"_s, entry, u"binding"_s, gnomeAccelerator(shortcut)}).ok;
    if (written && !paths.contains(gnomePath)) {
        paths << gnomePath;
        QStringList items;
        for (const QString& path : std::as_const(paths))
            items << quoted(path);
        if (!run(u"gsettings"_s, {u"set"_s, QLatin1String(gnomeList), u"custom-keybindings"_s,
                                  u"["_s + items.join(u", "_s) + u"]"_s})
                 .ok)
            return std::unexpected(u"GNOME did not take the new shortcut. "_s + advice());
    }
    if (!written)
        return std::unexpected(u"GNOME did not take the new shortcut. "_s + advice());
    return u"Added the GNOME shortcut %1 running “%2”."_s.arg(shortcut.displayName(), command());
}

std::expected<QString, QString> ShortcutGuide::bindSway() const {
    // Without "--", swaymsg would take the binding's own option for one of its own.
    const Run bound = run(u"swaymsg"_s, {u"--"_s, u"bindsym"_s, u"--no-warn"_s,
                                         swayBinding(shortcut), u"exec"_s, command()});
    if (!bound.ok)
        return std::unexpected(u"sway did not take the binding (%1). "_s.arg(
                                   bound.output.isEmpty() ? u"swaymsg failed"_s : bound.output) +
                               advice());
    return u"Bound %1 to “%2” in sway until you log out; add the line “bindsym %3 exec %2” to "
           "~/.config/sway/config to keep it."_s.arg(shortcut.displayName(), command(),
                                                     swayBinding(shortcut));
}

} // namespace quendra

# Sourced by the Wayland integration tests: a private session bus, a headless
# compositor (sway or KWin with the desktop portals), the accessibility bus and
# registry, and GTK target applications.
# Usage: source wayland.sh
#   wayland_sway_start [--bind KEYS COMMAND]...   sway with a kept virtual keyboard;
#                                                  each KEYS (sway's spelling,
#                                                  Ctrl+Alt+d) runs COMMAND
#   wayland_kwin_start                             KWin, its global shortcuts and
#                                                  the portals with their KDE side
#   wayland_target ID [gtk_target options]         a GTK target, active and accessible
#   wayland_type TEXT                              types through the compositor
#   wayland_press COMBO...                         presses ctrl+alt+d, ctrl+shift+v...
#   wayland_active                                 PID<tab>TITLE of the active window
#   wayland_activate ID                            brings the window titled ID to the front
#   wayland_screenshot PATH                        a PNG of the screen (sway only)
# wayland_compositor is left set to sway or kwin.

harness_root="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
source "$harness_root/common.sh"

portal_keys="$harness_root/portal_keys.py"

# Our application's Wayland app id (the desktop file name Qt is given) and the
# titles of its panels, which must never take the keyboard from the field
# being dictated into. Its main window has the plain title "Parlevo".
wayland_app_id=com.orvane.Parlevo
wayland_panel_titles='^Parlevo (dictation|alert|placement|microphone)$'

# What every Wayland session here shares: a private home, runtime folder and
# session bus, and the toolkits told to use Wayland and accessibility.
wayland_session() {
    harness_home
    unset DISPLAY NO_AT_BRIDGE MOZ_HEADLESS
    export GSETTINGS_BACKEND=memory GDK_BACKEND=wayland QT_QPA_PLATFORM=wayland
    export XDG_SESSION_TYPE=wayland QT_QUICK_BACKEND=software QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
    harness_bus "$@"
    harness_accessibility
}

# Starts sway headless. As root sway refuses to start, so it runs as user 1000
# of a user namespace of its own, which is root outside: its sockets stay ours.
# The commands its key bindings run stay in that namespace, where the session
# bus cannot check their user; the bus lets them in anonymously.
wayland_sway_start() {
    local bindings=()
    while [ $# -gt 0 ]; do
        case "$1" in
        --bind)
            [ $# -ge 3 ] || { echo "wayland_sway_start: --bind KEYS COMMAND" >&2; return 1; }
            bindings+=("bindsym $2 exec $3")
            shift 3
            ;;
        *)
            echo "wayland_sway_start: unknown option $1" >&2
            return 1
            ;;
        esac
    done
    wayland_session --allow-anonymous || return 1
    export XDG_CURRENT_DESKTOP=sway
    wayland_compositor=sway

    local panels="[app_id=\"$wayland_app_id\" title=\"$wayland_panel_titles\"]"
    # Floating and sticky go in the file: sent through swaymsg, the comma
    # would split the command.
    {
        echo "xwayland disable"
        echo "output HEADLESS-1 resolution 1280x800"
        echo "no_focus $panels"
        echo "for_window $panels floating enable, sticky enable"
        printf '%s\n' "${bindings[@]}"
    } >"$harness_dir/sway.config"

    WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman \
        harness_spawn sway unshare --user --map-user=1000 --map-group=1000 \
        sway -c "$harness_dir/sway.config"
    local sway_pid="${harness_pids[-1]}"
    harness_wait 30 sh -c "ls '$XDG_RUNTIME_DIR'/sway-ipc.*.$sway_pid.sock" ||
        { echo "sway did not start: $(cat "$harness_dir/sway.log")" >&2; return 1; }
    SWAYSOCK="$(ls "$XDG_RUNTIME_DIR"/sway-ipc.*."$sway_pid".sock)"
    export SWAYSOCK
    harness_wait 30 swaymsg -t get_outputs ||
        { echo "sway does not answer: $(cat "$harness_dir/sway.log")" >&2; return 1; }
    local socket
    for socket in "$XDG_RUNTIME_DIR"/wayland-*; do
        [ -S "$socket" ] && export WAYLAND_DISPLAY="${socket##*/}"
    done
    [ -n "${WAYLAND_DISPLAY:-}" ] || { echo "sway made no Wayland socket" >&2; return 1; }

    # A headless seat has no keyboard, and without one no window gets the
    # focus: a virtual keyboard is kept connected for the whole test.
    harness_spawn keyboard wtype -s 86400000
    harness_wait 30 sh -c 'swaymsg -t get_inputs | grep -q "\"type\": \"keyboard\""' ||
        { echo "the virtual keyboard did not connect: $(cat "$harness_dir/keyboard.log")" >&2; return 1; }
}

# Starts KWin headless with the desktop portals and their KDE side; returns
# once the portal answers with its GlobalShortcuts and RemoteDesktop.
wayland_kwin_start() {
    wayland_session || return 1
    export XDG_CURRENT_DESKTOP=KDE KDE_FULL_SESSION=true KWIN_COMPOSE=Q
    wayland_compositor=kwin

    # Our panels never take the focus (acceptfocus, forced) and stay above.
    # Matched on the app id exactly and the panel titles as a pattern.
    cat >"$XDG_CONFIG_HOME/kwinrulesrc" <<EOF
[General]
count=1
rules=parlevo-panels

[parlevo-panels]
Description=Parlevo panels never take the focus
wmclass=$wayland_app_id
wmclassmatch=1
title=$wayland_panel_titles
titlematch=3
acceptfocus=false
acceptfocusrule=2
above=true
aboverule=2
EOF

    # The packaged binary carries a file capability this sandbox refuses.
    cp /usr/bin/kwin_wayland "$harness_dir/kwin_wayland"
    export WAYLAND_DISPLAY=wayland-kwin
    harness_spawn kwin "$harness_dir/kwin_wayland" --virtual --width 1280 --height 800 \
        --socket "$WAYLAND_DISPLAY" --no-lockscreen --no-kactivities
    harness_wait 60 test -S "$XDG_RUNTIME_DIR/$WAYLAND_DISPLAY" ||
        { echo "KWin did not start: $(cat "$harness_dir/kwin.log")" >&2; return 1; }
    harness_wait 60 wayland_bus_has org.kde.kglobalaccel ||
        { echo "KWin's global shortcuts did not start: $(cat "$harness_dir/kwin.log")" >&2; return 1; }

    # Started here, not by the bus, so that they see this desktop's variables.
    local portal_kde
    portal_kde="$(ls /usr/lib/*/libexec/xdg-desktop-portal-kde | head -1)"
    harness_spawn portal-kde "$portal_kde"
    harness_wait 60 wayland_bus_has org.freedesktop.impl.portal.desktop.kde ||
        { echo "the KDE portal did not start: $(cat "$harness_dir/portal-kde.log")" >&2; return 1; }
    harness_spawn portal /usr/libexec/xdg-desktop-portal
    harness_wait 60 wayland_portal_offers GlobalShortcuts RemoteDesktop ||
        { echo "the portal offers no shortcuts or remote desktop: $(cat "$harness_dir/portal.log")" >&2; return 1; }
}

# Succeeds when NAME has an owner on the session bus.
wayland_bus_has() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus / \
        org.freedesktop.DBus.NameHasOwner "string:$1" 2>/dev/null | grep -q "boolean true"
}

# Succeeds when the portal answers and offers each interface named.
wayland_portal_offers() {
    wayland_bus_has org.freedesktop.portal.Desktop || return 1
    local found each
    found="$(dbus-send --session --print-reply --dest=org.freedesktop.portal.Desktop \
        /org/freedesktop/portal/desktop org.freedesktop.DBus.Introspectable.Introspect)" || return 1
    for each in "$@"; do
        grep -q "interface name=\"org.freedesktop.portal.$each\"" <<<"$found" || return 1
    done
}

# Starts a GTK target whose window title is ID and waits until it is
# accessible and its window is the active one; its process id is left in
# target_pid.
wayland_target() {
    local id="$1"
    shift
    harness_spawn "target-$id" /usr/bin/python3 "$gtk_target" "$id" "$@"
    target_pid="${harness_pids[-1]}"
    harness_wait 60 probe wait "$id" ||
        { echo "target $id did not appear: $(cat "$harness_dir/target-$id.log")" >&2; return 1; }
    harness_wait 30 sh -c "[ \"\$(/usr/bin/python3 '$atspi_probe' active)\" = '$target_pid	$id' ]" ||
        { echo "target $id is not the active window: $(probe active 2>&1)" >&2; return 1; }
}

# PID<tab>TITLE of the window that has the keyboard.
wayland_active() {
    probe active
}

# Brings the window titled ID to the front, as a click on it would, and waits
# until it has the keyboard. KWin takes that only from a script of its own.
wayland_activate() {
    local id="$1"
    case "$wayland_compositor" in
    sway) swaymsg "[title=\"^${id//./\\.}\$\"] focus" >/dev/null || return 1 ;;
    kwin)
        local script="$harness_dir/activate-$id.js" name="parlevo-activate-$RANDOM"
        cat >"$script" <<EOF
for (const client of workspace.clientList())
    if (client.caption === "$id")
        workspace.activeClient = client;
EOF
        dbus-send --session --print-reply --dest=org.kde.KWin /Scripting \
            org.kde.kwin.Scripting.loadScript "string:$script" "string:$name" >/dev/null &&
            dbus-send --session --print-reply --dest=org.kde.KWin /Scripting \
                org.kde.kwin.Scripting.start >/dev/null || return 1
        ;;
    esac
    local shown=0
    harness_wait 30 sh -c "/usr/bin/python3 '$atspi_probe' active | cut -f2 | grep -qxF '$id'" || shown=1
    [ "$wayland_compositor" = kwin ] && dbus-send --session --print-reply --dest=org.kde.KWin \
        /Scripting org.kde.kwin.Scripting.unloadScript "string:$name" >/dev/null
    return $shown
}

# Types TEXT the way the compositor takes keys from outside: a virtual
# keyboard on sway, the RemoteDesktop portal on KWin.
wayland_type() {
    case "$wayland_compositor" in
    sway) wtype -- "$1" ;;
    kwin) /usr/bin/python3 "$portal_keys" type "$1" ;;
    esac
}

# Presses each key combination in turn, such as ctrl+alt+d or ctrl+shift+v
# (modifiers ctrl, shift, alt, super; keys by character or X key name).
wayland_press() {
    local combination
    case "$wayland_compositor" in
    kwin) /usr/bin/python3 "$portal_keys" press "$@" ;;
    sway)
        for combination in "$@"; do
            local parts=() part args=() mods=()
            IFS=+ read -ra parts <<<"$combination"
            for part in "${parts[@]:0:${#parts[@]}-1}"; do
                [ "$part" = super ] && part=logo
                mods+=("$part")
            done
            for part in "${mods[@]}"; do args+=(-M "$part"); done
            args+=(-k "${parts[-1]}")
            for ((i = ${#mods[@]} - 1; i >= 0; i--)); do args+=(-m "${mods[i]}"); done
            wtype "${args[@]}" || return 1
        done
        ;;
    esac
}

# Saves the screen as a PNG at PATH. Headless KWin draws without the effect
# that screenshots need, so there it fails with a sentence.
wayland_screenshot() {
    case "$wayland_compositor" in
    sway) grim "$1" ;;
    *)
        echo "no screenshot on headless $wayland_compositor" >&2
        return 1
        ;;
    esac
}

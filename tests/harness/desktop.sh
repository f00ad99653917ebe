# Sourced by the desktop integration tests: a private session bus, Xvfb, the
# accessibility bus and registry, openbox, and GTK target applications.
# Usage: source desktop.sh; desktop_start; desktop_target ID [--ignore-paste]

harness_root="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
source "$harness_root/common.sh"

desktop_start() {
    harness_home
    unset NO_AT_BRIDGE WAYLAND_DISPLAY MOZ_HEADLESS
    export GSETTINGS_BACKEND=memory GDK_BACKEND=x11 QT_QPA_PLATFORM=xcb
    export QT_QUICK_BACKEND=software QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
    harness_bus

    # Xvfb picks a free display itself and writes its number on the descriptor.
    local display_file="$harness_dir/display"
    Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp +extension XTEST \
        3>"$display_file" >"$harness_dir/xvfb.log" 2>&1 &
    harness_pids+=("$!")
    harness_wait 10 test -s "$display_file" || { echo "Xvfb did not start" >&2; return 1; }
    export DISPLAY=":$(head -1 "$display_file")"
    harness_wait 10 xdpyinfo || { echo "X display not reachable" >&2; return 1; }

    harness_accessibility || return 1

    # Openbox's stock configuration grabs keys of its own.
    cat >"$harness_dir/openbox.xml" <<'XML'
<?xml version="1.0" encoding="UTF-8"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <keyboard/>
  <mouse/>
  <focus><focusNew>yes</focusNew><followMouse>no</followMouse></focus>
</openbox_config>
XML
    harness_spawn openbox openbox --sm-disable --config-file "$harness_dir/openbox.xml"
    harness_wait 10 sh -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q "window id"' ||
        { echo "openbox did not start" >&2; return 1; }
}

# Starts a GTK target whose window title is ID and waits until it is
# accessible; its process id is left in target_pid.
desktop_target() {
    local id="$1"
    shift
    harness_spawn "target-$id" /usr/bin/python3 "$gtk_target" "$id" "$@"
    target_pid="${harness_pids[-1]}"
    probe wait "$id" || { echo "target $id did not appear" >&2; return 1; }
    harness_wait 10 sh -c "xdotool search --name '^$id\$' >/dev/null" ||
        { echo "target $id has no window" >&2; return 1; }
}

# Brings the window titled ID to the front through the window manager.
desktop_activate() {
    xdotool search --name "^$1\$" windowactivate --sync
}

desktop_active_title() {
    xdotool getactivewindow getwindowname
}

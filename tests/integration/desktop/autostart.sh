#!/bin/bash
# "Start at login" as the desktop sees it: turned on in Settings of a copy
# installed in a folder whose name has spaces and shell characters, it writes
# an autostart entry that the desktop's own parser (GLib) reads as the
# installed program with --autostart; run as a session start-up would run it,
# that starts Parlevo without its window (here a desktop without a tray),
# while a plain start shows it. Turned off, the entry is gone.
# Usage: autostart.sh BUILD_FOLDER
set -euo pipefail
build="$1"
source "$(dirname "$0")/../../harness/desktop.sh"
source "$(dirname "$0")/../../harness/sound.sh"
source "$(dirname "$0")/../../harness/app.sh"
window_probe="$(dirname "$0")/../../harness/window_probe.py"
ui() { /usr/bin/python3 "$window_probe" "$1" "$app_pid" "${@:2}"; }

desktop_start
sound_server
app_prefix="$harness_dir/My Apps \$HOME \`x\`/prefix"
cmake --install "$build" --prefix "$app_prefix" >"$harness_dir/install.log" 2>&1 ||
    fail "the build could not be installed: $(cat "$harness_dir/install.log")"
app_parlevo="$app_prefix/bin/parlevo"
autostart="$XDG_CONFIG_HOME/autostart/com.orvane.Parlevo.desktop"

# Settings > Start at login, reached with the mouse wheel as a person does.
press_start_at_login() {
    app_start_on_bus || fail "the installed application did not start"
    app_wait_up || fail "the installed application showed no window"
    ui press "page tab" Settings || fail "no Settings section"
    ui wait label Settings 10 || fail "Settings did not open"
    local where
    where="$(ui centre label "In Messaging")" || fail "nothing to scroll Settings from"
    # shellcheck disable=SC2086
    xdotool mousemove --sync $where click --repeat 15 --delay 30 5
    ui press "check box" "Start at login" || fail "no Start at login"
}

press_start_at_login
harness_wait 10 test -f "$autostart" || fail "start at login wrote no autostart entry"
app_stop
desktop-file-validate "$autostart" || fail "the autostart entry is not valid"

# What a session start-up runs: the entry's Exec, parsed by GLib.
/usr/bin/python3 - "$autostart" >"$harness_dir/argv" <<'PY' || fail "GLib does not take the entry"
import sys
import gi
gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib
entry = Gio.DesktopAppInfo.new_from_filename(sys.argv[1])
assert entry is not None, open(sys.argv[1]).read()
assert entry.get_boolean("X-GNOME-Autostart-enabled") is not False
print("\n".join(GLib.shell_parse_argv(entry.get_commandline())[1]))
PY
mapfile -t argv <"$harness_dir/argv"
[ "${#argv[@]}" = 2 ] && [ "${argv[0]}" = "$app_parlevo" ] && [ "${argv[1]}" = --autostart ] ||
    fail "the entry runs: ${argv[*]}"
app_log="$harness_dir/autostarted.log"
harness_spawn autostarted "${argv[@]}"
app_pid="${harness_pids[-1]}"
harness_wait 30 app_cli dictation status || fail "the autostarted copy did not answer: $(cat "$app_log")"
# It answers once started; a window would have been mapped by then.
sleep 2
app_running || fail "the autostarted copy ended: $(cat "$app_log")"
! app_window_shown >/dev/null 2>&1 || fail "starting at login opened the main window"
echo "autostarted: running, answering \"$(app_cli dictation status)\", no window"
app_stop

# Turned off, the entry goes; the plain start showing its window is the
# counterpart of the check above.
press_start_at_login
harness_wait 10 test ! -e "$autostart" || fail "turning start at login off left the entry"
app_stop
echo "autostart: ok"

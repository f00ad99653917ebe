#!/bin/bash
# Global shortcuts through a portal that works as the interface describes
# (as GNOME's does): nothing is bound until BindShortcuts, where the desktop
# asks the user, once; a later run finds the binding without asking again; a
# refusal is reported; presses arrive. The portal answers each request before
# its call returns, or, with --own-paths, at paths of its own choosing.
# Usage: shortcuts_by_the_interface.sh PORTAL_PROBE [--own-paths]
set -euo pipefail
portal_probe="$1"
mode="${2:-}"
here="$(dirname "$0")"
source "$here/../../harness/common.sh"
source "$here/../../harness/portal_probe.sh"
harness_home
harness_bus

portal_log="$harness_dir/portal.log"
harness_spawn portal /usr/bin/python3 "$here/../../fixtures/desktop/fake_portal.py" $mode
wait_ms 20000 grep -qx ready "$portal_log" || fail "the portal did not start: $(cat "$portal_log")"
press() {
    dbus-send --session --print-reply --dest=org.freedesktop.portal.Desktop \
        /org/freedesktop/portal/desktop org.quendra.test.FakePortal.Press "string:$1" >/dev/null
}

log="$harness_dir/first.log"
probe_start first shortcuts portal Parlevo
probe_send first "register 1 0x64 Ctrl+Alt" "register 2 0x20 Super"
wait_ms 20000 grep -qx bound "$log" || fail "not bound: $(cat "$log") / $(cat "$portal_log")"
grep -qx 'BindShortcuts Parlevo hotkey-1=CTRL+ALT+d hotkey-2=LOGO+space' "$portal_log" ||
    fail "the desktop was not asked for both: $(cat "$portal_log")"
press hotkey-2
wait_ms 10000 grep -qx 'released 2' "$log" || fail "no press: $(cat "$log")"
[ "$(count_lines "$log" '^pressed 2$')" = 1 ] || fail "presses: $(cat "$log")"
grep -q 'pressed 1' "$log" && fail "the other shortcut was pressed: $(cat "$log")"
probe_quit first
wait_ms 10000 grep -qx 'Close Parlevo' "$portal_log" || fail "the session was left open"

# The next run finds both bound: the user is not asked again.
log="$harness_dir/second.log"
probe_start second shortcuts portal Parlevo
probe_send second "register 1 0x64 Ctrl+Alt" "register 2 0x20 Super"
wait_ms 20000 grep -qx bound "$log" || fail "not bound again: $(cat "$log")"
[ "$(count_lines "$portal_log" '^BindShortcuts')" = 1 ] ||
    fail "the user was asked again: $(cat "$portal_log")"
press hotkey-1
wait_ms 10000 grep -qx 'pressed 1' "$log" || fail "no press in the second run: $(cat "$log")"

# A new shortcut the user refuses is reported, and the others keep working.
dbus-send --session --print-reply --dest=org.freedesktop.portal.Desktop \
    /org/freedesktop/portal/desktop org.quendra.test.FakePortal.Refuse boolean:true >/dev/null
probe_send second "register 3 0x6e Ctrl+Alt"
wait_ms 20000 grep -qx 'failed 3 declined' "$log" || fail "the refusal was not reported: $(cat "$log")"
wait_ms 20000 has_lines "$log" '^bound$' 2 || fail "not bound after the refusal: $(cat "$log")"
press hotkey-1
wait_ms 10000 has_lines "$log" '^pressed 1$' 2 || fail "shortcut 1 after the refusal: $(cat "$log")"
echo "shortcuts by the interface${mode:+ ($mode)}: ok"

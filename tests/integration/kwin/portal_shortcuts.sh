#!/bin/bash
# Global shortcuts through the desktop portal on a headless KWin: the keys
# asked for are the keys KDE binds, a press arrives once however long the
# keys are held, new keys take over when the user changes them, the binding
# outlives the program, and keys another shortcut holds are reported.
set -euo pipefail
portal_probe="$1"
here="$(dirname "$0")"
source "$here/../../harness/wayland.sh"
source "$here/../../harness/portal_probe.sh"
wayland_kwin_start

log="$harness_dir/shortcuts.log"
probe_start shortcuts shortcuts portal Parlevo
wait_ms 20000 grep -qx 'available yes' "$log" || fail "the portal offers no shortcuts: $(cat "$log")"
probe_send shortcuts "register 1 0x64 Ctrl+Alt" "register 2 0x6e Ctrl+Alt"
wait_ms 20000 has_lines "$log" '^bound$' 1 || fail "the shortcuts were not bound: $(cat "$log")"
for id_keys in "1 0x64 Ctrl+Alt" "2 0x6e Ctrl+Alt"; do
    read -r id keysym modifiers <<<"$id_keys"
    [ "$(bound_code Parlevo "hotkey-$id")" = "$(qt_code "$keysym" "$modifiers")" ] ||
        fail "shortcut $id is bound to $(bound_code Parlevo "hotkey-$id"): $(cat "$log")"
done

# Each kind of key, as KDE reads the trigger text back. Registrations read
# together make one new session.
binds=1
for keys in "0x20 Ctrl+Super" "0xffc2 Ctrl+Alt" "0xff0d Ctrl+Shift" "0xe9 Ctrl+Alt" \
    "0xff55 Alt+Shift" "0x31 Ctrl+Alt" "0x2d Ctrl+Super"; do
    probe_send shortcuts "unregister 3" "register 3 $keys"
    binds=$((binds + 1))
    wait_ms 20000 has_lines "$log" '^bound$' "$binds" || fail "$keys not bound: $(cat "$log")"
    bound_is Parlevo hotkey-3 "$(qt_code $keys)" ||
        fail "$(trigger $keys) was bound to $(bound_code Parlevo hotkey-3), not $(qt_code $keys)"
done
probe_send shortcuts "unregister 3"
binds=$((binds + 1))
wait_ms 20000 has_lines "$log" '^bound$' "$binds" || fail "not bound without 3: $(cat "$log")"
grep -q '^failed' "$log" && fail "a registration failed: $(cat "$log")"

# One press, then the same keys held past the keyboard's repeat delay: still
# one press each, each released once.
wayland_press ctrl+alt+d
wait_ms 10000 has_lines "$log" '^released 1$' 1 || fail "no press and release: $(cat "$log")"
hold_keys 1.5 ctrl+alt+d
wait_ms 10000 has_lines "$log" '^released 1$' 2 || fail "no release after holding: $(cat "$log")"
[ "$(count_lines "$log" '^pressed 1$')" = 2 ] || fail "holding the keys: $(cat "$log")"
wayland_press ctrl+alt+n
wait_ms 10000 has_lines "$log" '^pressed 2$' 1 || fail "the second shortcut: $(cat "$log")"
[ "$(count_lines "$log" '^pressed 1$')" = 2 ] || fail "the second shortcut pressed the first"
# Run from the desktop's shortcut settings: a press without a release, which still counts.
sleep 2.2
invoke_shortcut Parlevo hotkey-1
wait_ms 10000 has_lines "$log" '^pressed 1$' 3 || fail "the shortcut run without keys: $(cat "$log")"

# The user changes the keys: the new ones press it, the old ones no longer do.
sleep 2.2
probe_send shortcuts "unregister 1" "register 1 0x65 Ctrl+Alt"
binds=$((binds + 1))
wait_ms 20000 has_lines "$log" '^bound$' "$binds" || fail "not bound after the change: $(cat "$log")"
bound_is Parlevo hotkey-1 "$(qt_code 0x65 Ctrl+Alt)" ||
    fail "the new keys were not bound: $(bound_code Parlevo hotkey-1)"
wayland_press ctrl+alt+e
wait_ms 10000 has_lines "$log" '^pressed 1$' 4 || fail "the new keys: $(cat "$log")"
wayland_press ctrl+alt+d
sleep 1
[ "$(count_lines "$log" '^pressed 1$')" = 4 ] || fail "the old keys still press it: $(cat "$log")"

# Changes in quick succession, as while the user tries keys: the last one is
# bound and presses.
for keysym in 0x66 0x67 0x68 0x69 0x6a 0x6b 0x6c 0x65; do
    probe_send shortcuts "unregister 1"
    sleep 0.03
    probe_send shortcuts "register 1 $keysym Ctrl+Alt"
    sleep 0.03
done
wait_ms 30000 probe_settled shortcuts || fail "the changes did not settle: $(cat "$log")"
bound_is Parlevo hotkey-1 "$(qt_code 0x65 Ctrl+Alt)" ||
    fail "the last keys were not bound: $(bound_code Parlevo hotkey-1)"
presses="$(count_lines "$log" '^pressed 1$')"
wayland_press ctrl+alt+e
wait_ms 10000 has_lines "$log" '^pressed 1$' $((presses + 1)) || fail "after the changes: $(cat "$log")"
grep -q '^failed' "$log" && fail "a change failed: $(cat "$log")"

# The binding outlives the program: KDE keeps it, and the next run finds it.
probe_quit shortcuts
grep -qx 'hotkey-1=Ctrl+Alt+E,Ctrl+Alt+E,Start or stop dictation' \
    "$XDG_CONFIG_HOME/kglobalshortcutsrc" || fail "KDE kept no binding: $(cat "$XDG_CONFIG_HOME/kglobalshortcutsrc")"
log="$harness_dir/again.log"
probe_start again shortcuts portal Parlevo
probe_send again "register 1 0x65 Ctrl+Alt"
wait_ms 20000 has_lines "$log" '^bound$' 1 || fail "not bound again: $(cat "$log")"
wayland_press ctrl+alt+e
wait_ms 10000 has_lines "$log" '^pressed 1$' 1 || fail "the next run's press: $(cat "$log")"

# The desktop's side of the portal stops and comes back: the shortcut is
# bound again and presses.
stop_kde_portal || fail "the KDE portal could not be stopped"
start_kde_portal
wait_ms 30000 has_lines "$log" '^bound$' 2 || fail "not bound after the restart: $(cat "$log")"
wayland_press ctrl+alt+e
wait_ms 10000 has_lines "$log" '^pressed 1$' 2 || fail "no press after the restart: $(cat "$log")"

# Keys KWin holds itself (Meta+D shows the desktop) are reported, not claimed.
probe_send again "register 4 0x64 Super"
wait_ms 20000 grep -qx 'failed 4 unavailable' "$log" || fail "taken keys were not reported: $(cat "$log")"
echo "portal shortcuts: ok"

#!/bin/bash
# Global shortcuts through kglobalaccel on a headless KWin: keys another
# shortcut holds are refused at once, a press arrives once however long the
# keys are held and is released once, new keys take over when the user
# changes them, the keys are freed at the end, and the keys the portal left
# bound under the same names are taken over rather than refused.
set -euo pipefail
portal_probe="$1"
here="$(dirname "$0")"
source "$here/../../harness/wayland.sh"
source "$here/../../harness/portal_probe.sh"
wayland_kwin_start

# A run through the portal first, which leaves its binding with KDE.
probe_start portal shortcuts portal Parlevo
probe_send portal "register 1 0x64 Ctrl+Alt"
wait_ms 20000 grep -qx bound "$harness_dir/portal.log" ||
    fail "the portal did not bind: $(cat "$harness_dir/portal.log")"
probe_quit portal

log="$harness_dir/shortcuts.log"
probe_start shortcuts shortcuts kglobalaccel Parlevo
wait_ms 20000 grep -qx 'available yes' "$log" || fail "no kglobalaccel: $(cat "$log")"
probe_send shortcuts "register 1 0x64 Ctrl+Alt" "register 2 0x6e Ctrl+Alt"
wait_ms 10000 grep -qx 'registered 2' "$log" || fail "no answer: $(cat "$log")"
grep -qx 'registered 1' "$log" || fail "the portal's binding was not taken over: $(cat "$log")"
for id_keys in "1 0x64 Ctrl+Alt" "2 0x6e Ctrl+Alt"; do
    read -r id keysym modifiers <<<"$id_keys"
    bound_is Parlevo "hotkey-$id" "$(qt_code "$keysym" "$modifiers")" ||
        fail "shortcut $id is bound to $(bound_code Parlevo "hotkey-$id")"
done

# Keys KWin holds (Meta+D shows the desktop), and keys shortcut 1 holds.
probe_send shortcuts "register 4 0x64 Super" "register 5 0x64 Ctrl+Alt"
wait_ms 10000 grep -qx 'refused 5' "$log" || fail "no answer: $(cat "$log")"
grep -qx 'refused 4' "$log" || fail "KWin's keys were taken: $(cat "$log")"
[ "$(bound_code Parlevo hotkey-4)" = "" ] || fail "a refused shortcut was left behind"

# One press, then the same keys held past the keyboard's repeat delay: one
# press each, each released once.
wayland_press ctrl+alt+d
wait_ms 10000 has_lines "$log" '^released 1$' 1 || fail "no press and release: $(cat "$log")"
hold_keys 1.5 ctrl+alt+d
wait_ms 10000 has_lines "$log" '^released 1$' 2 || fail "no release after holding: $(cat "$log")"
[ "$(count_lines "$log" '^pressed 1$')" = 2 ] || fail "holding the keys: $(cat "$log")"
wayland_press ctrl+alt+n
wait_ms 10000 has_lines "$log" '^released 2$' 1 || fail "the second shortcut: $(cat "$log")"
[ "$(count_lines "$log" '^pressed 2$')" = 1 ] || fail "the second shortcut: $(cat "$log")"
[ "$(count_lines "$log" '^pressed 1$')" = 2 ] || fail "the second shortcut pressed the first"
sleep 2.2
invoke_shortcut Parlevo hotkey-1
wait_ms 10000 has_lines "$log" '^pressed 1$' 3 || fail "the shortcut run without keys: $(cat "$log")"

# The user changes the keys: the new ones press it, the old ones no longer do.
sleep 2.2
probe_send shortcuts "unregister 1" "register 1 0x65 Ctrl+Alt"
wait_ms 10000 has_lines "$log" '^registered 1$' 2 || fail "the new keys: $(cat "$log")"
bound_is Parlevo hotkey-1 "$(qt_code 0x65 Ctrl+Alt)" ||
    fail "the new keys were not bound: $(bound_code Parlevo hotkey-1)"
wayland_press ctrl+alt+e
wait_ms 10000 has_lines "$log" '^pressed 1$' 4 || fail "the new keys: $(cat "$log")"
wayland_press ctrl+alt+d
sleep 1
[ "$(count_lines "$log" '^pressed 1$')" = 4 ] || fail "the old keys still press it: $(cat "$log")"

# At the end the keys are given back.
probe_quit shortcuts
wait_ms 10000 bound_is Parlevo hotkey-1 "" || fail "shortcut 1 is still bound: $(bound_code Parlevo hotkey-1)"
bound_is Parlevo hotkey-2 "" || fail "shortcut 2 is still bound: $(bound_code Parlevo hotkey-2)"
echo "kglobalaccel shortcuts: ok"

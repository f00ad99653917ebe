#!/bin/bash
# Global shortcuts: a combination held by another client is refused and the
# previous one keeps working; holding the keys fires once.
set -euo pipefail
desktop_probe="$2"
source "$(dirname "$0")/../../harness/desktop.sh"
desktop_start
log="$harness_dir/shortcut.log"

# Ctrl+D (keysym 0x64) taken by someone else.
harness_spawn other "$desktop_probe" grab 0x64 Ctrl
wait_ms 5000 grep -qx grabbed "$harness_dir/other.log" || fail "the other client could not grab"

# Alt+Space (keysym 0x20) registered, then Ctrl+D tried.
harness_spawn shortcut "$desktop_probe" shortcut 0x20 Alt 0x64 Ctrl 20 --qa-hotkey-log
wait_ms 5000 grep -q '^registered:' "$log" || fail "no registration: $(cat "$log")"
grep -qx 'taken: no' "$log" || fail "the taken shortcut was accepted"
grep -qx 'error: That shortcut is already in use. Choose another one.' "$log" ||
    fail "wrong error: $(cat "$log")"
grep -qx 'registered: Alt+Space' "$log" || fail "the previous shortcut is gone: $(cat "$log")"
# Registered at the start and again after the refusal.
[ "$(count_lines "$log" '^qa registered shortcut=Alt+Space$')" -eq 2 ] ||
    fail "the registrations were not logged: $(cat "$log")"

xdotool key alt+space
wait_ms 2000 has_lines "$log" '^pressed$' 1 || fail "the press was not delivered"

# Held past the auto-repeat delay: still one press.
xdotool keydown alt+space
sleep 1.5
xdotool keyup alt+space
wait_ms 2000 has_lines "$log" '^pressed$' 2 || fail "no press for the held keys"
sleep 0.3
[ "$(count_lines "$log" '^pressed$')" -eq 2 ] || fail "holding fired $(count_lines "$log" '^pressed$') times"
echo "hot keys: ok"

#!/bin/bash
# Ctrl+V from our own virtual keyboard lands in a focused GTK field on a
# headless sway, with the text put on the clipboard through data control, and
# is read back over AT-SPI; Ctrl+Shift+V reaches a Qt window as such.
set -euo pipefail
wayland_probe="$1"
source "$(dirname "$0")/keys_session.sh"
wayland_sway_start
wayland_target org.quendra.TargetOne
keys_probe_start "$wayland_probe"

[ "$(ask 2 available)" = $'keyboard yes\npasteboard yes' ] || fail "sway offers both protocols"

# The first paste makes the keyboard and must not lose its keys.
probe focus org.quendra.TargetOne single-line
text='Grüße aus 東京 😀 done'
ask 1 "set $text" >/dev/null
[ "$(ask 1 paste)" = "pasted yes" ] || fail "the paste was not sent"
wait_ms 3000 sh -c "[ \"\$(/usr/bin/python3 '$atspi_probe' text \
    org.quendra.TargetOne single-line)\" = '$text' ]" ||
    fail "the field holds '$(probe text org.quendra.TargetOne single-line)'"

# A second paste with new clipboard text, into the multi-line view.
probe focus org.quendra.TargetOne multi-line
ask 1 "set into the view" >/dev/null
[ "$(ask 1 paste)" = "pasted yes" ] || fail "the second paste was not sent"
wait_ms 3000 sh -c "[ \"\$(/usr/bin/python3 '$atspi_probe' text \
    org.quendra.TargetOne multi-line)\" = 'into the view' ]" ||
    fail "the view holds '$(probe text org.quendra.TargetOne multi-line)'"
[ "$(probe text org.quendra.TargetOne single-line)" = "$text" ] || fail "the entry changed too"

# The keys as a Qt application reads them, with and without Shift.
[ "$(ask 1 window)" = shown ] || fail "no key log window"
wait_ms 5000 has_focus org.quendra.KeyLog || fail "the key log window has no focus: $(focused_title)"
[ "$(ask 1 paste-shift)" = "pasted yes" ] || fail "Ctrl+Shift+V was not sent"
[ "$(ask 1 paste)" = "pasted yes" ] || fail "Ctrl+V was not sent"
wait_ms 3000 sh -c "[ \$(grep -c '^key ' '$keys_log') -ge 2 ]" || fail "keys missing: $(cat "$keys_log")"
[ "$(grep '^key ' "$keys_log")" = $'key Ctrl+Shift+V\nkey Ctrl+V' ] ||
    fail "wrong keys: $(cat "$keys_log")"

# Back in GTK, after the keymap went elsewhere meanwhile.
swaymsg '[title="^org.quendra.TargetOne$"] focus' >/dev/null
wait_ms 5000 has_focus org.quendra.TargetOne || fail "the GTK window did not get focus back"
probe focus org.quendra.TargetOne password
ask 1 "set hunter2" >/dev/null
[ "$(ask 1 paste)" = "pasted yes" ] || fail "the third paste was not sent"
wait_ms 3000 sh -c "[ \"\$(/usr/bin/python3 '$atspi_probe' text \
    org.quendra.TargetOne password | tr -d '\n' | wc -m)\" = 7 ]" ||
    fail "nothing reached the password field"

keys_probe_quit
echo "wayland paste: ok"

#!/bin/bash
# Paste through the RemoteDesktop portal's keyboard on a headless KWin: Ctrl+V
# lands the clipboard in the focused GTK field and Ctrl+Shift+V in the
# terminal, read back over AT-SPI; nothing is claimed before the keyboard has
# started or where there is no portal; when the desktop's side of the portal
# stops, a new keyboard is started and pastes work again.
set -euo pipefail
portal_probe="$1"
here="$(dirname "$0")"
source "$here/../../harness/wayland.sh"
source "$here/../../harness/portal_probe.sh"

# No session bus, no portal: no event can be made, and none is claimed.
answer="$(printf 'paste\nquit\n' | DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent \
    "$portal_probe" keys 2>/dev/null)"
grep -qx 'available no' <<<"$answer" && grep -qx 'posted no' <<<"$answer" &&
    ! grep -q 'posted yes' <<<"$answer" || fail "without a portal: $answer"

wayland_kwin_start
app=org.quendra.PasteTarget
wayland_target "$app"
words="words from the clipboard"
harness_spawn clipboard wl-copy --foreground "$words"
wait_ms 10000 sh -c "[ \"\$(wl-paste --no-newline)\" = '$words' ]" ||
    fail "the clipboard holds '$(wl-paste 2>&1)'"
field_holds() { [ "$(probe text "$app" "$1")" = "$2" ]; }

log="$harness_dir/keys.log"
probe_start keys keys
wait_ms 20000 grep -qx started "$log" || fail "the keyboard did not start: $(cat "$log")"
probe focus "$app" single-line
probe_send keys paste
wait_ms 10000 field_holds single-line "$words" ||
    fail "after Ctrl+V the field holds '$(probe text "$app" single-line)': $(cat "$log")"
probe_send keys paste
wait_ms 10000 field_holds single-line "$words$words" ||
    fail "after a second Ctrl+V the field holds '$(probe text "$app" single-line)'"

# Terminals paste with Ctrl+Shift+V (and take Ctrl+V as a control key).
probe focus "$app" terminal
probe_send keys "paste shift"
wait_ms 10000 field_holds terminal "$words" ||
    fail "after Ctrl+Shift+V the terminal holds '$(probe text "$app" terminal)'"
field_holds single-line "$words$words" || fail "the paste also reached the single-line field"
[ "$(count_lines "$log" '^posted yes$')" = 3 ] || fail "pastes not all posted: $(cat "$log")"

# The desktop's side of the portal stops, taking the session with it, and
# comes back: the keyboard is started again and pastes work again.
probe focus "$app" single-line
probe clear "$app" single-line
stop_kde_portal || fail "the KDE portal could not be stopped"
wait_ms 10000 grep -qx stopped "$log" || fail "the end of the session went unseen: $(cat "$log")"
probe_send keys paste
wait_ms 10000 has_lines "$log" '^posted no$' 1 || fail "a paste without a session was claimed: $(cat "$log")"
start_kde_portal
wait_ms 30000 has_lines "$log" '^started$' 2 || fail "the keyboard was not started again: $(cat "$log")"
probe_send keys paste
wait_ms 10000 field_holds single-line "$words" ||
    fail "after the restart the field holds '$(probe text "$app" single-line)': $(cat "$log")"
echo "portal paste: ok"

#!/bin/bash
# The Wayland harness on one headless compositor: it starts, a GTK target gets
# the keyboard and shows on the accessibility bus, keys typed through the
# compositor land in the field given focus over AT-SPI and read back, a
# second window is brought to the front and back, a paste
# reaches the terminal field (which has no editable text), a key combination
# pressed through the compositor reaches its binding, and on sway the screen
# is saved.
# Usage: wayland_harness.sh sway|kwin [OUTPUT_FOLDER] (for the screenshot)
set -euo pipefail
compositor="$1"
output="${2:-}"
source "$(dirname "$0")/../../harness/wayland.sh"

ms_since() { echo $((($(date +%s%N) - $1) / 1000000)); }

began="$(date +%s%N)"
case "$compositor" in
sway)
    # Run by sway inside its user namespace: it reaches the session bus only
    # if the harness let it in.
    wayland_sway_start --bind Ctrl+Alt+d \
        'dbus-send --session --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.GetId >$XDG_RUNTIME_DIR/bound'
    ;;
kwin) wayland_kwin_start ;;
*) fail "unknown compositor $compositor" ;;
esac
echo "harness folder $harness_dir"
echo "$compositor started in $(ms_since "$began") ms"

began="$(date +%s%N)"
app=org.quendra.WaylandTarget
wayland_target "$app"
echo "target active in $(ms_since "$began") ms"
first_pid="$target_pid"
[ "$(wayland_active)" = "$target_pid	$app" ] || fail "active window: $(wayland_active)"

field_holds() { [ "$(probe text "$app" "$1")" = "$2" ]; }

probe focus "$app" single-line
wayland_type "hello"
wait_ms 10000 field_holds single-line hello ||
    fail "typed hello, the field holds '$(probe text "$app" single-line)'"
wayland_type " World+2"
wait_ms 10000 field_holds single-line "hello World+2" ||
    fail "typed ' World+2', the field holds '$(probe text "$app" single-line)'"

# A second window takes the keyboard when it opens, and gives it back.
wayland_target org.quendra.WaylandOther
other_pid="$target_pid"
wayland_activate "$app" || fail "$app did not come back to the front: $(wayland_active)"
[ "$(wayland_active)" = "$first_pid	$app" ] || fail "active window: $(wayland_active)"
wayland_activate org.quendra.WaylandOther || fail "the other window did not come to the front"
[ "$(wayland_active)" = "$other_pid	org.quendra.WaylandOther" ] || fail "active window: $(wayland_active)"
wayland_activate "$app" || fail "$app did not come back to the front: $(wayland_active)"

# The terminal is what the paste fallback is for: text to read, none to edit.
kind="$(probe kind "$app" terminal)"
[[ "$kind" == terminal$'\t'* ]] || fail "the terminal field is a $kind"
[[ "$kind" != *EditableText* ]] || fail "the terminal field has editable text: $kind"
harness_spawn clipboard wl-copy --foreground "pasted words"
wait_ms 10000 sh -c '[ "$(wl-paste --no-newline)" = "pasted words" ]' ||
    fail "the clipboard holds '$(wl-paste 2>&1)'"
probe focus "$app" terminal
wayland_press ctrl+shift+v
wait_ms 10000 field_holds terminal "pasted words" ||
    fail "pasted into the terminal, it holds '$(probe text "$app" terminal)'"
field_holds single-line "hello World+2" || fail "the paste also reached the single-line field"

if [ "$compositor" = sway ]; then
    wayland_press ctrl+alt+d
    wait_ms 10000 grep -q string "$XDG_RUNTIME_DIR/bound" ||
        fail "the binding did not reach the session bus: $(cat "$XDG_RUNTIME_DIR/bound" 2>&1)"
    # The binding's keys went to sway, not to the field.
    field_holds terminal "pasted words" || fail "the terminal got the binding's keys"

    if [ -n "$output" ]; then
        mkdir -p "$output"
        wayland_screenshot "$output/sway.png"
        [ "$(identify -format '%w %h' "$output/sway.png")" = "1280 800" ] ||
            fail "the screenshot is not the whole screen: $(identify "$output/sway.png")"
    fi
fi
echo "PASS"

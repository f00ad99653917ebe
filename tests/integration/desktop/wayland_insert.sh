#!/bin/bash
# Insertion on a headless Wayland compositor, the way a dictation writes: the
# focused GTK field is followed through AT-SPI, text lands in it through the
# accessibility layer and is read back, a password field is refused, and a
# terminal (no editable text) gets a paste read back where the compositor
# lets us type (sway's virtual keyboard, KWin's portal), or an honest failure.
# Usage: wayland_insert.sh sway|kwin PARLEVO
set -euo pipefail
compositor="$1" parlevo="$2"
source "$(dirname "$0")/../../harness/wayland.sh"
case "$compositor" in
sway) wayland_sway_start ;;
kwin) wayland_kwin_start ;;
*) fail "unknown compositor $compositor" ;;
esac
app=org.quendra.WaylandInsert
wayland_target "$app"
out="$harness_dir/insert.log"

# The focused field is followed: the watch names the application and a field.
probe focus "$app" single-line
"$parlevo" target --watch --seconds 4 >"$harness_dir/watch.log" 2>&1 &
watch_pid=$!
sleep 1
probe focus "$app" multi-line
wait "$watch_pid" || fail "the target watch failed: $(cat "$harness_dir/watch.log")"
grep -q "role=text" "$harness_dir/watch.log" || fail "the multi-line field was not followed: $(cat "$harness_dir/watch.log")"

# Non-ASCII text lands whole, through the accessibility layer, read back.
probe focus "$app" single-line
text='Grüße aus 東京 😀 done'
"$parlevo" insert "$text" >"$out" 2>&1 || fail "insert failed: $(cat "$out")"
grep -qx 'inserted with Accessibility and read back' "$out" || fail "not written and read back: $(cat "$out")"
[ "$(probe text "$app" single-line)" = "$text" ] || fail "the entry holds: $(probe text "$app" single-line)"
# A second dictation adds to what the field holds (focusing a GTK entry
# again would select its text for replacing).
"$parlevo" insert " and more" >"$out" 2>&1 || fail "the second insert failed: $(cat "$out")"
text="$text and more"
[ "$(probe text "$app" single-line)" = "$text" ] || fail "the entry holds: $(probe text "$app" single-line)"

probe focus "$app" multi-line
"$parlevo" insert "into the view" >"$out" 2>&1 || fail "insert into the view failed: $(cat "$out")"
[ "$(probe text "$app" multi-line)" = "into the view" ] || fail "the view holds the wrong text"
[ "$(probe text "$app" single-line)" = "$text" ] || fail "the entry changed too"

probe focus "$app" password
if "$parlevo" insert "secret" >"$out" 2>&1; then fail "a password field took text"; fi
grep -qx 'blockedSecureField' "$out" || fail "password field not refused: $(cat "$out")"
[ -z "$(probe text "$app" password)" ] || fail "the password field holds text"

# The terminal: the accessibility layer cannot write there.
probe focus "$app" terminal
before="$(probe text "$app" terminal)"
if "$parlevo" insert "echo pasted words" >"$out" 2>&1; then
    grep -qx 'inserted with paste and read back' "$out" || fail "not pasted: $(cat "$out")"
    [[ "$(probe text "$app" terminal)" == *"echo pasted words"* ]] || fail "the terminal does not show the text"
    echo "terminal: pasted and read back"
else
    # Only where nothing can type: said, and nothing claimed.
    [ "$(tail -1 "$out")" = failed ] || fail "expected failed: $(cat "$out")"
    [ "$(probe text "$app" terminal)" = "$before" ] || fail "the terminal changed"
    echo "terminal: refused honestly ($(grep '^failed' "$out" | head -1))"
fi

# A field in an application that lost the front while the user spoke.
wayland_target org.quendra.WaylandOther
wayland_activate "$app"
probe focus "$app" single-line
"$parlevo" insert "must not land" --hold 2 >"$out" 2>&1 &
insert_pid=$!
wait_ms 8000 grep -q '^target ready' "$out" || true
wayland_activate org.quendra.WaylandOther
if wait "$insert_pid"; then fail "insertion into a background application succeeded: $(cat "$out")"; fi
[ "$(probe text "$app" single-line)" = "$text" ] || fail "text landed in the background field"
echo "wayland insertion on $compositor: ok"

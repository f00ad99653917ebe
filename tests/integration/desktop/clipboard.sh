#!/bin/bash
# The user's clipboard (text and an image) comes back after a paste; a copy
# made meanwhile is left alone.
set -euo pipefail
parlevo="$1"
desktop_probe="$2"
source "$(dirname "$0")/../../harness/desktop.sh"
desktop_start
desktop_target org.quendra.TargetOne
out="$harness_dir/insert.log"
png="$harness_dir/served.png"

harness_spawn owner "$desktop_probe" own-clipboard "the user's caption" "$png"
wait_ms 5000 grep -qx owning "$harness_dir/owner.log" || fail "clipboard owner did not start"

probe focus org.quendra.TargetOne single-line
"$parlevo" insert "dictated" --keep-clipboard 4 --qa-target-log >"$out" 2>&1 &
insert_pid=$!
wait_ms 5000 grep -qx inserted "$out" || fail "not inserted: $(cat "$out")"
sleep 1.2
targets="$(xclip -o -selection clipboard -t TARGETS)"
grep -qx 'image/png' <<<"$targets" || fail "the image was not restored: $targets"
grep -qx 'text/plain;charset=utf-8' <<<"$targets" || fail "the text was not restored: $targets"
xclip -o -selection clipboard -t image/png | cmp - "$png" || fail "the image came back changed"
[ "$(xclip -o -selection clipboard -t 'text/plain;charset=utf-8')" = "the user's caption" ] ||
    fail "the text was not restored"
[ "$(probe text org.quendra.TargetOne single-line)" = dictated ] || fail "nothing was pasted"
wait "$insert_pid" || fail "insert reported failure"

"$parlevo" insert " again" --keep-clipboard 3 >"$out" 2>&1 &
insert_pid=$!
wait_ms 5000 grep -qx inserted "$out" || fail "second insert failed: $(cat "$out")"
printf 'copied meanwhile' >"$harness_dir/newer.txt"
harness_spawn newer xclip -quiet -selection clipboard -i "$harness_dir/newer.txt"
sleep 1.2
[ "$(xclip -o -selection clipboard -t UTF8_STRING)" = "copied meanwhile" ] ||
    fail "the newer copy was overwritten"
wait "$insert_pid" || true
echo "clipboard: ok"

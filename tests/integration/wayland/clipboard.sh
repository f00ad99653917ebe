#!/bin/bash
# The data-control clipboard on a headless sway: another program's rich
# content survives our write (the way a paste restores it), changes by other
# programs move the change count and ours alone do not, and a clipboard owner
# that never answers reads as empty instead of freezing us.
set -euo pipefail
wayland_probe="$1"
source "$(dirname "$0")/keys_session.sh"
wayland_sway_start
wayland_target org.quendra.TargetOne
keys_probe_start "$wayland_probe"
saved="$harness_dir/saved"
mkdir -p "$saved"

# Every type on the clipboard, and each type's bytes, into folder $1.
save_clipboard() {
    rm -rf "$1" && mkdir -p "$1"
    wl-paste --list-types >"$1/types"
    local type i=0
    while IFS= read -r type; do
        wl-paste --no-newline --type "$type" >"$1/$i"
        i=$((i + 1))
    done <"$1/types"
}

# Another program owns the clipboard with data of TYPE from FILE; its process
# id is left in owner_pid.
own_clipboard() {
    local type="$1" file="$2"
    harness_spawn "owner-$(date +%s%N)" sh -c "exec wl-copy --foreground --type '$type' <'$file'"
    owner_pid="${harness_pids[-1]}"
    wait_ms 3000 sh -c "wl-paste --list-types | grep -qx '$type'" || fail "wl-copy did not serve $type"
}

# Rich text: snapshot, our text pasted into a field, then the snapshot written back.
printf '<p>the user’s <b>rich</b> text</p>' >"$harness_dir/rich.html"
own_clipboard text/html "$harness_dir/rich.html"
save_clipboard "$saved/before"
snapshot="$(ask 1 snapshot)"
[ "$snapshot" = "snapshot $(tr '\n' ' ' <"$saved/before/types" | sed 's/ $//')" ] ||
    fail "the snapshot has other types: $snapshot"
probe focus org.quendra.TargetOne single-line
ask 1 "set dictated words" >/dev/null
[ "$(wl-paste --no-newline)" = "dictated words" ] || fail "our text is not on the clipboard"
[ "$(ask 1 paste)" = "pasted yes" ] || fail "the paste was not sent"
wait_ms 3000 sh -c "[ \"\$(/usr/bin/python3 '$atspi_probe' text \
    org.quendra.TargetOne single-line)\" = 'dictated words' ]" || fail "the field did not get our text"
wait_ms 3000 sh -c "! kill -0 $owner_pid" || fail "the old owner still serves"
ask 1 restore >/dev/null
save_clipboard "$saved/after"
diff -r "$saved/before" "$saved/after" || fail "the rich text came back changed"
cmp "$saved/after/0" "$harness_dir/rich.html" || fail "the HTML came back changed"

# An image, bytes for bytes.
convert -size 16x9 xc:'#c82a5a' "png:$harness_dir/picture.png"
own_clipboard image/png "$harness_dir/picture.png"
[ "$(ask 1 snapshot)" = "snapshot image/png" ] || fail "the image was not read"
ask 1 "set dictated" >/dev/null
ask 1 restore >/dev/null
[ "$(wl-paste --list-types)" = image/png ] || fail "the image type was not restored"
wl-paste --type image/png | cmp - "$harness_dir/picture.png" || fail "the image came back changed"

# A screenshot-sized image, read back by several programs at once.
head -c $((16 * 1024 * 1024)) /dev/urandom >"$harness_dir/large.bin"
own_clipboard image/png "$harness_dir/large.bin"
answer="$(ask 2 types)"
[ "$(head -1 <<<"$answer")" = "types image/png" ] || fail "the large image was not read: $answer"
echo "16 MB image: $(tail -1 <<<"$answer")"
ask 1 snapshot >/dev/null
ask 1 "set dictated" >/dev/null
ask 1 restore >/dev/null
readers=()
for i in 1 2 3 4; do
    wl-paste --type image/png >"$harness_dir/large.$i" &
    readers+=("$!")
done
for i in 1 2 3 4; do
    wait "${readers[i - 1]}" || fail "reader $i failed"
    cmp -s "$harness_dir/large.$i" "$harness_dir/large.bin" || fail "reader $i got other bytes"
done

# The count: still after our own write, moved by another program's copy and
# by the clipboard being emptied by another program.
# One line per change of the clipboard, with the text it then holds.
watch_log="$harness_dir/watch.log"
ask 1 clear >/dev/null
harness_spawn watch wl-paste --watch sh -c 'echo "changed: $(cat)"'
written="$(ask 1 "set ours")"
wait_ms 3000 sh -c "[ \"\$(tail -1 '$watch_log')\" = 'changed: ours' ]" || fail "our text was not seen: $(tail -3 "$watch_log" | cut -c1-80)"
sleep 0.5
[ "$(ask 1 count)" = "$written" ] || fail "the count moved by itself"
# A clipboard manager takes what we wrote and serves it itself: still ours.
wl-paste --no-newline --type 'text/plain;charset=utf-8' >"$harness_dir/kept.txt"
changed="$(wc -l <"$watch_log")"
harness_spawn keeper sh -c \
    "exec wl-copy --foreground --type 'text/plain;charset=utf-8' <'$harness_dir/kept.txt'"
wait_ms 3000 sh -c "[ \$(wc -l <'$watch_log') -gt $changed ]" ||
    fail "the clipboard manager did not take over"
[ "$(ask 1 count)" = "$written" ] || fail "our own text served again counted as a change"
harness_spawn copier wl-copy --foreground "copied meanwhile"
wait_ms 3000 sh -c '[ "$(wl-paste --no-newline)" = "copied meanwhile" ]' || fail "wl-copy did not copy"
moved="$(ask 1 count)"
[ "$moved" != "$written" ] || fail "another program's copy did not move the count"
wl-copy --clear
wait_ms 3000 sh -c '! wl-paste --list-types' || fail "the clipboard was not emptied"
[ "$(ask 1 count)" != "$moved" ] || fail "emptying by another program did not move the count"
[ "$(ask 1 types)" = "types " ] || fail "an empty clipboard has types"
[ "$(ask 1 "set ours again")" != "$moved" ] || fail "our own write did not move the count"
[ "$(ask 1 clear)" != "$written" ] || fail "clearing did not move the count"
wait_ms 3000 sh -c '! wl-paste --list-types' || fail "our clear left something"

# An owner that stopped answering: the read gives up and finds nothing.
printf 'held' >"$harness_dir/held.txt"
own_clipboard text/plain "$harness_dir/held.txt"
kill -STOP "$owner_pid"
answer="$(ask 2 types)"
kill -CONT "$owner_pid"
[ "$(head -1 <<<"$answer")" = "types " ] || fail "a stuck owner's data was read: $answer"
echo "stuck owner: $(tail -1 <<<"$answer")"
[ "$(ask 1 snapshot)" = "snapshot $(wl-paste --list-types | tr '\n' ' ' | sed 's/ $//')" ] ||
    fail "the owner answers again but was not read"

keys_probe_quit
echo "wayland clipboard: ok"

#!/usr/bin/env bash
# Words, snippets and history as a person uses them from the installed
# command line, against the faults that lost data before: many entries, many
# processes at once, a full or read-only disk, a file the user cannot read, a
# damaged file, a FIFO, and a lock another process keeps. Every failure must
# say why with status 1 and leave what was stored as it was.
set -euo pipefail
source "$(dirname "$0")/../harness/smalldisk.sh"
smalldisk_enter "$@"
parlevo="$1" build="$2"
source "$(dirname "$0")/../harness/common.sh"
harness_home
trap 'smalldisk_unmount_all; harness_cleanup' EXIT

prefix="$harness_dir/prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
installed="$prefix/bin/parlevo"
defaults="$XDG_CONFIG_HOME/Quendra/defaults.json"

fail() { echo "FAIL: $*"; exit 1; }
count_words() { "$installed" words list --json | python3 -c 'import json,sys; print(len(json.load(sys.stdin)))'; }
count_snippets() { "$installed" snippets list --json | python3 -c 'import json,sys; print(len(json.load(sys.stdin)))'; }
# Runs a command that must fail: status 1 and one sentence matching $1 on stderr.
must_fail() {
    local pattern="$1" status=0
    shift
    timeout 30 "$@" >"$harness_dir/out" 2>"$harness_dir/err" || status=$?
    [ "$status" -eq 1 ] || fail "status $status from $*: $(cat "$harness_dir/err")"
    grep -q -- "$pattern" "$harness_dir/err" || fail "no “$pattern” from $*: $(cat "$harness_dir/err")"
    if grep -q "Added\|Saying\|Removed" "$harness_dir/out"; then fail "claimed success: $*"; fi
}

echo "$(date +%T.%N | cut -c1-12) == dozens of words, one after the other, in the build copy and the installed one"
for i in $(seq 1 30); do "$parlevo" words add "Word$i" --form "word number $i" >/dev/null; done
for i in $(seq 31 60); do "$installed" words add "Word$i" >/dev/null; done
[ "$(count_words)" -eq 60 ] || fail "60 words added, $(count_words) listed"
[ "$(stat -c %a "$defaults")" = 600 ] || fail "defaults file is $(stat -c %a "$defaults")"
[ "$(stat -c %a "$(dirname "$defaults")")" = 700 ] || fail "defaults folder is not private"

echo "$(date +%T.%N | cut -c1-12) == twenty processes at once keep twenty entries"
rm -f "$defaults"
pids=()
for i in $(seq 1 20); do
    "$installed" words add "Parallel$i" >/dev/null 2>"$harness_dir/p$i.err" &
    pids+=($!)
    "$installed" snippets add "trigger $i" "Expansion number $i" >/dev/null 2>>"$harness_dir/p$i.err" &
    pids+=($!)
done
for pid in "${pids[@]}"; do wait "$pid" || fail "a parallel add failed: $(cat "$harness_dir"/p*.err)"; done
[ "$(count_words)" -eq 20 ] || fail "20 parallel words, $(count_words) kept"
[ "$(count_snippets)" -eq 20 ] || fail "20 parallel snippets, $(count_snippets) kept"

echo "$(date +%T.%N | cut -c1-12) == a lock another process keeps ends in a sentence, not a hang"
# -o: the lock stays with flock itself, so that stopping it releases the lock.
flock -o "$defaults.lock" sleep 60 &
holder=$!
harness_wait 5 sh -c "! flock -n '$defaults.lock' true"
must_fail "Another Parlevo process" "$installed" words add Blocked
pkill -P "$holder" sleep || true
wait "$holder" 2>/dev/null || true
[ "$(count_words)" -eq 20 ] || fail "the blocked add changed the list"

echo "$(date +%T.%N | cut -c1-12) == a Words list that does not decode is kept aside before an add replaces it"
cp "$defaults" "$harness_dir/before.json"
python3 - "$defaults" <<'EOF'
import json, sys
d = json.load(open(sys.argv[1]))
d["personalDictionaryV2"] = "t:[{\"id\": 3}, not json"
json.dump(d, open(sys.argv[1], "w"))
EOF
"$installed" words add Fresh >/dev/null 2>"$harness_dir/err" || fail "add over a damaged list failed"
copy="$(ls "$XDG_CONFIG_HOME"/Quendra/personalDictionaryV2.json.damaged-* 2>/dev/null | head -1)"
[ -n "$copy" ] || fail "no copy of the damaged list"
grep -q "$copy" "$harness_dir/err" || fail "the user was not told where the copy is: $(cat "$harness_dir/err")"
grep -q "not json" "$copy" || fail "the copy does not hold the damaged list"
[ "$("$installed" words list)" = "Fresh" ] || fail "the list after the add: $("$installed" words list)"

echo "$(date +%T.%N | cut -c1-12) == a damaged defaults file read by many processes at once is kept aside once"
printf '{"personalDictionaryV2": "t:[]", broken' >"$defaults"
cp "$defaults" "$harness_dir/damaged"
pids=()
for i in $(seq 1 12); do
    "$installed" words list >/dev/null 2>"$harness_dir/d$i.err" &
    pids+=($!)
done
for pid in "${pids[@]}"; do wait "$pid" || fail "a list of a damaged file failed"; done
copies=("$XDG_CONFIG_HOME"/Quendra/defaults.json.damaged-*)
[ "${#copies[@]}" -eq 1 ] || fail "${#copies[@]} copies of one damaged file"
cmp -s "${copies[0]}" "$harness_dir/damaged" || fail "the copy differs from the damaged file"
[ "$(cat "$harness_dir"/d*.err | grep -c "${copies[0]}")" -eq 1 ] || fail "not told once where the copy is"
python3 -c 'import json,sys; json.load(open(sys.argv[1]))' "$defaults" || fail "the file was not repaired"

echo "$(date +%T.%N | cut -c1-12) == a FIFO in place of the file is refused at once"
rm -f "$defaults"
mkfifo "$defaults"
must_fail "not a regular file" "$installed" words list
must_fail "not a regular file" "$installed" words add Piped
rm -f "$defaults"

echo "$(date +%T.%N | cut -c1-12) == a file the user cannot read is never written over"
"$installed" words add Precious >/dev/null
if [ "$(id -u)" -eq 0 ]; then
    # Root reads everything; the file is tried by an ordinary user instead.
    chown -R nobody "$harness_dir" && chown root "$defaults"
    as_user=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
else
    chmod 000 "$defaults"
    as_user=()
fi
must_fail "permission denied" "${as_user[@]}" "$installed" words list
must_fail "permission denied" "${as_user[@]}" "$installed" words add Lost
must_fail "permission denied" "${as_user[@]}" "$installed" snippets remove "trigger 1"
must_fail "permission denied" "${as_user[@]}" "$installed" history list
must_fail "permission denied" "${as_user[@]}" "$installed" finish --style clean </dev/null
if [ "$(id -u)" -eq 0 ]; then chown -R root "$harness_dir"; else chmod 600 "$defaults"; fi
[ "$("$installed" words list)" = "Precious" ] || fail "the unreadable file was changed"

echo "$(date +%T.%N | cut -c1-12) == output that cannot be written is a failure"
status=0
"$installed" words list >/dev/full 2>"$harness_dir/err" || status=$?
[ "$status" -eq 1 ] && grep -q "could not be written" "$harness_dir/err" ||
    fail "words list to a full device gave $status: $(cat "$harness_dir/err")"

echo "$(date +%T.%N | cut -c1-12) == a full disk: every change fails with its sentence and nothing is lost"
disk="$harness_dir/disk"
smalldisk_mount "$disk" 256
export XDG_CONFIG_HOME="$disk/config"
defaults="$XDG_CONFIG_HOME/Quendra/defaults.json"
for i in $(seq 1 12); do "$installed" words add "Kept$i" >/dev/null; done
"$installed" snippets add "sign off" "Best wishes, Ana" >/dev/null
cp "$defaults" "$harness_dir/full-before.json"
smalldisk_fill "$disk"
must_fail "the disk is full" "$installed" words add Overflow
must_fail "the disk is full" "$installed" words add Kept1 --form "new form"
must_fail "the disk is full" "$installed" words remove Kept3
must_fail "the disk is full" "$installed" snippets add another "Something longer than before"
must_fail "the disk is full" "$installed" snippets remove "sign off"
cmp -s "$defaults" "$harness_dir/full-before.json" || fail "the full disk changed the file"
[ "$(count_words)" -eq 12 ] || fail "words lost on a full disk"
leftovers="$(find "$XDG_CONFIG_HOME" -name '.*.new-*' | wc -l)"
[ "$leftovers" -eq 0 ] || fail "$leftovers temporary files left on the full disk"

echo "$(date +%T.%N | cut -c1-12) == a read-only disk"
mount -o remount,ro "$disk"
must_fail "read-only" "$installed" words add ReadOnly
must_fail "read-only" "$installed" snippets add ro "read only"
[ "$(count_words)" -eq 12 ] || fail "words lost on a read-only disk"
echo "ok"

#!/usr/bin/env bash
# Many parlevo processes changing one note at once all land their change, and
# several start-ups that find a damaged record keep exactly one copy of it.
set -euo pipefail
source "$(dirname "$0")/support.sh" "$1"

id="$(new_id)"
write_note "$id" "Stand-up" finishing "$transcribed"
before="$(revision_of "$id")"
processes=12 rounds=3
pids=()
for p in $(seq "$processes"); do
    (for r in $(seq "$rounds"); do
        "$parlevo" notes assemble "$id" >/dev/null 2>>"$harness_dir/assemble-$p.err" || exit 1
    done) &
    pids+=($!)
done
failed=0
for pid in "${pids[@]}"; do wait "$pid" || failed=$((failed + 1)); done
[ "$failed" -eq 0 ] || fail "$failed of $processes processes failed"
after="$(revision_of "$id")"
[ "$after" -eq $((before + processes * rounds)) ] ||
    fail "revision $after after $((processes * rounds)) changes from revision $before"
[ "$(file_mode "$notes/$id/note.json")" = 600 ] || fail "note.json is not private"
[ "$(file_mode "$notes/.lock")" = 600 ] || fail "the lock file is not private"
[ "$(ls -A "$notes/$id")" = note.json ] || fail "files left beside the record: $(ls -A "$notes/$id")"

damaged="$(new_id)"
mkdir -m 0700 "$notes/$damaged"
printf '{"id":"%s","title":"Half written' "$damaged" >"$notes/$damaged/note.json"
cp "$notes/$damaged/note.json" "$harness_dir/original.json"
write_cut_section "$notes/$damaged/part-0.wav"
pids=()
for p in $(seq 6); do
    "$parlevo" notes recover >"$harness_dir/recover-$p.out" 2>"$harness_dir/recover-$p.err" &
    pids+=($!)
done
failed=0
for pid in "${pids[@]}"; do wait "$pid" || failed=$((failed + 1)); done
[ "$failed" -eq 0 ] || fail "$failed recover processes failed"
shopt -s nullglob
copies=("$notes/$damaged"/note.json.damaged-*)
[ "${#copies[@]}" -eq 1 ] || fail "${#copies[@]} copies of the damaged record"
cmp -s "${copies[0]}" "$harness_dir/original.json" || fail "the copy differs from the damaged record"
[ "$(file_mode "${copies[0]}")" = 600 ] || fail "the copy is not private"
told=$(grep -lF -- "${copies[0]}" "$harness_dir"/recover-*.out | wc -l)
[ "$told" -eq 1 ] || fail "$told processes said where the copy is"
[ -s "$notes/$damaged/part-0.wav" ] || fail "the audio beside the damaged record is gone"

run list "$parlevo" notes list
expect_status 0 "listing after the record was replaced"
expect_text list.out "${damaged:0:8}"
run show "$parlevo" notes show "$damaged"
expect_status 0 "showing the replaced note"
expect_text show.out "State: interrupted"
expect_text show.out "${copies[0]}"
echo "ok"

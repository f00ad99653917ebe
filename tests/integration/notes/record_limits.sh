#!/usr/bin/env bash
# Records past what a note can hold (a time of 10^15 ms, nesting 20,000 deep)
# are reported unreadable with what is wrong, and never hide the good note.
set -euo pipefail
source "$(dirname "$0")/support.sh" "$1"

good="$(new_id)"
write_note "$good" "Good" finishing "$transcribed"
far="$(new_id)"
write_note "$far" "Far" finishing '[{"index":0,"startMs":0,"endMs":1000000000000000,"closed":true,
  "done":true,"words":[{"text":"Hi","startMs":100,"endMs":400,"section":0}]}]' call
head -c 4000 /dev/urandom >"$notes/$far/part-0.env"
late="$(new_id)"
write_note "$late" "Late" finishing '[{"index":0,"startMs":0,"endMs":1000,"closed":true,"done":true,
  "words":[{"text":"Hi","startMs":1000000000000000,"endMs":1000000000000400,"section":0}]}]' call
head -c 4000 /dev/urandom >"$notes/$late/part-0.env"
deep="$(new_id)"
mkdir -m 0700 "$notes/$deep"
{
    printf '{"id":"%s","summary":' "$deep"
    printf '%.0s[' $(seq 20000)
    printf '%.0s]' $(seq 20000)
    printf '}'
} >"$notes/$deep/note.json"

run list "$parlevo" notes list
expect_status 1 "listing with unreadable notes"
expect_text list.out "${good:0:8}"
expect_text list.out "Good"
expect_text list.out "$notes/$far — The note in $notes/$far could not be read. Its sections[0].endMs is 1000000000000000 ms, past the 72 hours a note can last."
expect_text list.out "Its sections[0].words[0].startMs is 1000000000000000 ms"
expect_text list.out "$notes/$deep — The note in $notes/$deep could not be read. Its record nests deeper than the 128 levels Parlevo reads."
expect_text list.err "3 notes could not be read."
run list-json "$parlevo" notes list --json
expect_status 1 "listing as JSON with unreadable notes"
python3 - "$harness_dir/list-json.out" "$good" "$notes/$deep" <<'PY' || fail "the JSON list is not as expected"
import json, sys
entries = json.load(open(sys.argv[1]))
assert [e["id"] for e in entries if e["state"] != "unreadable"] == [sys.argv[2]], entries
assert sys.argv[3] in [e.get("folder") for e in entries if e["state"] == "unreadable"], entries
assert len(entries) == 4, entries
PY

run assemble-good "$parlevo" notes assemble "${good:0:8}"
expect_status 0 "assembling the good note"
expect_text assemble-good.out "Hello there."
for id in "$far" "$late"; do
    run assemble "$parlevo" notes assemble "$id"
    expect_status 1 "assembling a note past the limits"
    expect_text assemble.err "The note in $notes/$id could not be read."
    ! grep -q "No note has the identifier" "$harness_dir/assemble.err" || fail "the note was called missing"
done
run show-deep "$parlevo" notes show "$deep"
expect_status 1 "showing a note nested too deep"
expect_text show-deep.err "nests deeper than the 128 levels"
run transcript-far "$parlevo" notes transcript "$far"
expect_status 1 "printing the transcript of a note past the limits"
expect_text transcript-far.err "past the 72 hours"
echo "ok"

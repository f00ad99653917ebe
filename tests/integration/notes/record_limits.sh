#!/usr/bin/env bash
# Records that once crashed the notes commands (a time of 10^15 ms, nesting
# 20,000 deep) are reported unreadable with what is wrong, and never hide the
# good note beside them.
# Usage: record_limits.sh PARLEVO FIXTURES   (a folder of note records)
set -euo pipefail
source "$(dirname "$0")/support.sh" "$1"
fixtures="$2"

good="$(new_id)"
write_note "$good" "Good" finishing "$transcribed"
bad=()
for record in "$fixtures"/*.json; do
    id="$(grep -o '"id": *"[0-9A-F-]*"' "$record" | head -n 1 | grep -o '[0-9A-F-]\{36\}')"
    mkdir -m 0700 "$notes/$id"
    cp "$record" "$notes/$id/note.json"
    # Levels for the call, so assembling would size its buffers from the times.
    head -c 4000 /dev/urandom >"$notes/$id/part-0.env"
    bad+=("$id")
done
[ "${#bad[@]}" -ge 3 ] || fail "only ${#bad[@]} records in $fixtures"

run list "$parlevo" notes list
expect_status 1 "listing with unreadable notes"
expect_text list.out "${good:0:8}"
expect_text list.out "Good"
for id in "${bad[@]}"; do
    expect_text list.out "$notes/$id — The note in $notes/$id could not be read. Its "
done
expect_text list.out "sections[0].endMs is 1000000000000000 ms, past the 72 hours a note can last."
expect_text list.out "sections[0].words[0].startMs is 1000000000000000 ms"
expect_text list.out "Its record nests deeper than the 128 levels Parlevo reads."
expect_text list.err "${#bad[@]} notes could not be read."
run list-json "$parlevo" notes list --json
expect_status 1 "listing as JSON with unreadable notes"
python3 - "$harness_dir/list-json.out" "$good" "$notes" "${bad[@]}" <<'PY' || fail "the JSON list is not as expected"
import json, sys
entries = json.load(open(sys.argv[1]))
good, notes, bad = sys.argv[2], sys.argv[3], sys.argv[4:]
assert [e["id"] for e in entries if e["state"] != "unreadable"] == [good], entries
unreadable = sorted((e["id"], e["folder"]) for e in entries if e["state"] == "unreadable")
assert unreadable == sorted((i, notes + "/" + i) for i in bad), unreadable
PY

run assemble-good "$parlevo" notes assemble "${good:0:8}"
expect_status 0 "assembling the good note"
expect_text assemble-good.out "Hello there."
for id in "${bad[@]}"; do
    for command in assemble show transcript; do
        run "$command" "$parlevo" notes "$command" "$id"
        expect_status 1 "notes $command of a note past the limits"
        expect_text "$command.err" "The note in $notes/$id could not be read. Its "
    done
done
echo "ok"

#!/usr/bin/env bash
# Symbolic links and FIFOs put in the notes folder: nothing outside it is read
# or written through them, and every command returns at once with a sentence.
set -euo pipefail
source "$(dirname "$0")/support.sh" "$1"

outside="$harness_dir/outside"
mkdir -p "$outside"
head -c 4000 /dev/urandom >"$outside/precious.wav"
two_sections='[{"index":0,"startMs":0,"endMs":1000},{"index":1,"startMs":800,"endMs":2000}]'
linked="$(new_id)"
write_note "$linked" "Linked section" recording "$two_sections"
ln -s "$outside/precious.wav" "$notes/$linked/part-0.wav"
write_cut_section "$notes/$linked/part-1.wav"
# A whole note folder that is a link to a recording note outside.
away="$(new_id)"
mkdir -p "$outside/$away"
printf '{"id":"%s","state":"recording","sections":[{"index":0}]}' "$away" >"$outside/$away/note.json"
write_cut_section "$outside/$away/part-0.wav"
ln -s "$outside/$away" "$notes/$away"
cp -a "$outside" "$harness_dir/outside-before"

run recover "$parlevo" notes recover
expect_status 1 "recovering with links in the notes folder"
expect_text recover.err "symbolic link"
diff -r "$outside" "$harness_dir/outside-before" >/dev/null || fail "a file outside the notes folder changed"
run show-linked "$parlevo" notes show "$linked"
expect_status 0 "showing the note with a linked section"
expect_text show-linked.out "State: interrupted"
run show-away "$parlevo" notes show "$away"
expect_status 1 "showing a linked note folder"
expect_text show-away.err "The note in $notes/$away could not be read."

fifo="$(new_id)"
mkdir -m 0700 "$notes/$fifo"
mkfifo "$notes/$fifo/note.json"
run list "$parlevo" notes list
expect_status 1 "listing with a FIFO for a record"
expect_text list.out "$notes/$fifo"
expect_text list.out "not a regular file"
for command in show transcript assemble; do
    run "$command" "$parlevo" notes "$command" "$fifo"
    expect_status 1 "notes $command of a FIFO record"
    expect_text "$command.err" "The note in $notes/$fifo could not be read."
done
run recover-fifo "$parlevo" notes recover
expect_status 1 "recovering with a FIFO for a record"
expect_text recover-fifo.err "not a regular file"

# FIFOs in the place of section files: the envelope counts as lost, the
# audio is not repaired, and nothing waits on them.
call="$(new_id)"
write_note "$call" "Call" finishing "$transcribed" call
mkfifo "$notes/$call/part-0.env"
run assemble-call "$parlevo" notes assemble "$call"
expect_status 0 "assembling a call whose envelope is a FIFO"
expect_text assemble-call.out "Hello there."
piped="$(new_id)"
write_note "$piped" "Piped" recording '[{"index":0,"startMs":0,"endMs":1000}]'
mkfifo "$notes/$piped/part-0.wav"
run recover-piped "$parlevo" notes recover
expect_status 1 "recovering a section that is a FIFO"
expect_text recover-piped.err "part-0.wav: it is not a regular file"
echo "ok"

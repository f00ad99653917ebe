#!/usr/bin/env bash
# With the data folder on a full disk, the commands that write a note say so
# and fail, and every note stays listed exactly as it was.
set -euo pipefail
source "$(dirname "$0")/../../harness/smalldisk.sh"
smalldisk_enter "$@"
source "$(dirname "$0")/support.sh" "$1"
smalldisk_mount "$XDG_DATA_HOME" 2048
trap 'umount "$XDG_DATA_HOME" 2>/dev/null; harness_cleanup' EXIT
mkdir -p -m 0700 "$notes"

ready="$(new_id)"
write_note "$ready" "Planning" finishing "$transcribed"
run first-assemble "$parlevo" notes assemble "$ready"
expect_status 0 "assembling with room on the disk"
recording="$(new_id)"
write_note "$recording" "Supplier call" recording '[{"index":0,"startMs":0,"endMs":1000}]'
write_cut_section "$notes/$recording/part-0.wav"
cp "$notes/$ready/note.json" "$harness_dir/ready.json"
cp "$notes/$recording/note.json" "$harness_dir/recording.json"
run list-before "$parlevo" notes list
expect_status 0 "listing before the disk filled"

smalldisk_fill "$XDG_DATA_HOME"

run recover "$parlevo" notes recover
expect_status 1 "recovering on a full disk"
expect_text recover.err "the disk is full"
cmp -s "$notes/$recording/note.json" "$harness_dir/recording.json" || fail "recover changed the note"

run assemble "$parlevo" notes assemble "$ready"
expect_status 1 "assembling on a full disk"
expect_text assemble.err "the disk is full"
cmp -s "$notes/$ready/note.json" "$harness_dir/ready.json" || fail "assemble changed the note"

run list-after "$parlevo" notes list
expect_status 0 "listing on a full disk"
cmp -s "$harness_dir/list-before.out" "$harness_dir/list-after.out" || fail "the list changed"
for id in "$ready" "$recording"; do
    [ "$(ls -A "$notes/$id" | grep -vc '^part-')" -eq 1 ] || fail "files left in $id: $(ls -A "$notes/$id")"
done
echo "ok"

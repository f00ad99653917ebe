#!/usr/bin/env bash
# Writes that do not reach the disk are failures with one sentence, never a
# success: "parlevo record" into a full disk, a read-only folder and a disk
# that fills while it records; any command's output to a full disk;
# "parlevo transcribe" when the temporary folder takes no part or copy of
# the recording. Small file systems of their own, in
# a private mount namespace.
# Usage: cli_full_disk.sh PARLEVO
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
source "$here/../harness/smalldisk.sh"
smalldisk_enter "$@"
source "$here/../harness/sound.sh"
parlevo="$(readlink -f "$1")"
clips=/usr/share/pocketsphinx/test/data/librivox
sound_start
mounts=()
trap 'for m in "${mounts[@]}"; do umount "$m"; done; harness_cleanup' EXIT
disk() { # disk FOLDER KILOBYTES
    smalldisk_mount "$1" "$2"
    mounts+=("$1")
}

failures=0
fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

# failed DESCRIPTION ARGUMENTS...: status 1 and the sentence as the last line.
failed() {
    local what="$1" status=0
    shift
    timeout 60 "$parlevo" "$@" >"$harness_dir/out" 2>"$harness_dir/err" || status=$?
    echo "$what: status $status: $(tail -n 1 "$harness_dir/err")"
    [ "$status" -eq 1 ] || fail "$what: status $status"
}

disk "$harness_dir/full" 64
smalldisk_fill "$harness_dir/full"
failed "record into a full disk" record "$harness_dir/full/take.wav" --seconds 1
grep -q "No space left" "$harness_dir/err" || fail "the full disk is not named: $(cat "$harness_dir/err")"
[ ! -e "$harness_dir/full/take.wav" ] || fail "an empty take.wav was left on the full disk"

# Standard output on the full disk: the text never arrives, so no command succeeds.
for command in "finish --style clean" "transcribe $clips/sense_and_sensibility_01_austen_64kb-0870.wav --model pocketsphinx-en-us" "--help"; do
    status=0
    echo "um we ship on friday" | timeout 120 "$parlevo" $command \
        >"$harness_dir/full/out.txt" 2>"$harness_dir/err" || status=$?
    echo "$command > full disk: status $status: $(cat "$harness_dir/err")"
    [ "$status" -eq 1 ] || fail "$command > full disk: status $status"
    grep -q "output could not be written (No space left on device)" "$harness_dir/err" ||
        fail "$command > full disk: $(cat "$harness_dir/err")"
done

disk "$harness_dir/readonly" 64
mount -o remount,ro "$harness_dir/readonly"
failed "record into a read-only folder" record "$harness_dir/readonly/take.wav" --seconds 1
grep -q "Read-only" "$harness_dir/err" || fail "the read-only folder is not named"

# 48 KB hold a second and a half of 16 kHz audio; four are asked for.
disk "$harness_dir/small" 48
failed "record until the disk is full" record "$harness_dir/small/take.wav" --seconds 4
grep -q "stopped unexpectedly" "$harness_dir/err" || fail "no sentence for the filled disk"
seconds="$(soxi -D "$harness_dir/small/take.wav")"
echo "kept: $seconds s"
python3 -c "import sys; sys.exit(0 if 0.5 <= float('$seconds') < 4 else 1)" ||
    fail "the take kept on the filled disk holds $seconds s"

# Transcription writes parts, and the offline engine a converted copy, to the
# temporary folder: 256 KB take a short clip's copy but not the parts of a
# long recording; a full one takes nothing.
sox "$clips"/*.wav "$clips"/*.wav "$clips"/*.wav "$clips"/*.wav "$harness_dir/long.wav"
sox "$harness_dir/long.wav" "$harness_dir/long.flac"
cp "$clips/sense_and_sensibility_01_austen_64kb-0870.wav" "$harness_dir/short.wav"
export TMPDIR="$harness_dir/tmp"
disk "$TMPDIR" 256
for recording in long.wav long.flac; do
    failed "transcribe $recording, little room" transcribe "$harness_dir/$recording" \
        --model pocketsphinx-en-us
    grep -q "temporary files" "$harness_dir/err" || fail "$recording: $(cat "$harness_dir/err")"
    [ -z "$(ls -A "$TMPDIR")" ] || fail "$recording: left $(ls -A "$TMPDIR")"
done
smalldisk_fill "$TMPDIR"
failed "transcribe short.wav, no room" transcribe "$harness_dir/short.wav" \
    --model pocketsphinx-en-us
grep -q "temporary files" "$harness_dir/err" || fail "short.wav: $(cat "$harness_dir/err")"
exit "$failures"

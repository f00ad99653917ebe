#!/usr/bin/env bash
# Ctrl+C (SIGINT), SIGTERM and SIGHUP during "parlevo transcribe" of a 25-minute
# recording with the offline engine: the command says it was interrupted,
# ends with the signal's status within a second, and leaves no part,
# converted copy or part cache behind, nor a worker running.
# Usage: transcribe_interrupt.sh PARLEVO
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
source "$here/../harness/common.sh"
parlevo="$1"
clips=/usr/share/pocketsphinx/test/data/librivox
harness_home
export TMPDIR="$harness_dir/tmp"
mkdir -p "$TMPDIR"

failures=0
fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

long="$harness_dir/long.wav"
takes=()
for _ in $(seq 60); do takes+=("$clips"/*.wav); done
sox "${takes[@]}" "$long"
echo "recording: $(soxi -d "$long")"

parts() { compgen -G "$TMPDIR/quendra-parts-*/part-*" >/dev/null; }
transcribed_one() { grep -q "Part 1 of" "$harness_dir/err"; }

# interrupt SIGNAL STATUS CONDITION: starts the command, waits until the
# condition holds, sends the signal and checks what is left.
interrupt() {
    local signal="$1" expected="$2" condition="$3"
    "$parlevo" transcribe "$long" --model pocketsphinx-en-us --style exact \
        >"$harness_dir/out" 2>"$harness_dir/err" &
    local pid=$!
    harness_wait 240 "$condition" || fail "$signal: $condition never held: $(cat "$harness_dir/err")"
    local workers
    workers="$(pgrep -P "$pid" || true)"
    local sent
    sent="$(date +%s%N)"
    kill -s "$signal" "$pid"
    local status=0
    wait "$pid" || status=$?
    local took=$((($(date +%s%N) - sent) / 1000000))
    echo "$signal after $condition: status $status after $took ms; $(tail -n 1 "$harness_dir/err")"
    # The worker is in the middle of a part: cancelling ends it, not waits for it.
    [ "$took" -lt 1000 ] || fail "$signal: the command took $took ms to end"
    [ "$status" -eq "$expected" ] || fail "$signal: status $status, not $expected"
    [ "$(tail -n 1 "$harness_dir/err")" = "The transcription was interrupted." ] ||
        fail "$signal: $(cat "$harness_dir/err")"
    if [ -s "$harness_dir/out" ]; then fail "$signal: text was printed"; fi
    local left
    left="$(find "$TMPDIR" -mindepth 1)"
    [ -z "$left" ] || fail "$signal: left in the temporary folder: $left"
    [ ! -e "$long.progress.json" ] || fail "$signal: the part cache was left beside the recording"
    for worker in $workers; do
        [ ! -e "/proc/$worker" ] || grep -q '^State:.*Z' "/proc/$worker/status" ||
            fail "$signal: worker $worker still runs"
    done
}

interrupt INT 130 parts
interrupt TERM 143 transcribed_one
# The terminal it ran in was closed.
interrupt HUP 129 parts
exit "$failures"

#!/usr/bin/env bash
# CPU time per second of recorded audio of the dictation recorder and of a
# two-source note, with a private PulseAudio in the loop playing speech into
# the microphone and the speaker all along.
# Usage: bench/audio_capture_cpu.sh PARLEVO [SECONDS]
# The start-up cost is taken out by subtracting a 2-second run from a long one.
set -euo pipefail
parlevo="$(realpath "$1")"
long="${2:-20}"
short=2
source "$(dirname "$0")/../tests/harness/sound.sh"
sound_start

clip=/usr/share/pocketsphinx/test/data/librivox/sense_and_sensibility_01_austen_64kb-0870.wav
other=/usr/share/pocketsphinx/test/data/librivox/sense_and_sensibility_01_austen_64kb-0890.wav
harness_spawn speech-mic sh -c "while :; do paplay -d micfeed '$clip' || exit; done"
harness_spawn speech-speaker sh -c "while :; do paplay -d speaker '$other' || exit; done"

# Prints the user + system CPU seconds of one run.
cpu_of() {
    /usr/bin/python3 - "$@" <<'PY'
import resource, subprocess, sys
subprocess.run(sys.argv[1:], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
usage = resource.getrusage(resource.RUSAGE_CHILDREN)
print(f"{usage.ru_utime + usage.ru_stime:.4f}")
PY
}

measure() {
    local name="$1"
    shift
    local cpu_long cpu_short
    cpu_long="$(cpu_of "$@" --seconds "$long")"
    cpu_short="$(cpu_of "$@" --seconds "$short")"
    /usr/bin/python3 -c "
long, short, seconds = $cpu_long, $cpu_short, $long - $short
per_second = (long - short) / seconds
print(f'$name: {long:.3f} s CPU for $long s, {short:.3f} s for $short s; '
      f'{per_second * 1000:.2f} ms CPU per second of audio = {per_second * 100:.2f} % of one core')"
}

measure "dictation recorder" "$parlevo" record "$harness_dir/bench.wav"
measure "call note (microphone + computer audio)" "$parlevo" notes record --call

#!/usr/bin/env bash
# Real-time factor of the offline worker: the time to transcribe the five
# LibriVox clips of pocketsphinx-testdata (24.74 s of speech) in one worker,
# less the time the same worker takes to load its model and answer nothing,
# divided by the length of the audio. Below 1 is faster than real time.
# Usage: offline_rtf.sh PATH/TO/parlevo-sphinx-worker [RUNS]
set -euo pipefail
worker="$1"
runs="${2:-3}"
clips=/usr/share/pocketsphinx/test/data/librivox
requests="$(mktemp)"
trap 'rm -f "$requests"' EXIT
for clip in "$clips"/*.wav; do
    printf '{"id":"%s","audioPath":"%s","language":"en"}\n' "$(basename "$clip")" "$clip"
done >"$requests"
audio="$(python3 - "$clips" <<'PY'
import glob, os, sys
print(sum((os.path.getsize(f) - 44) / 32000 for f in glob.glob(sys.argv[1] + "/*.wav")))
PY
)"
best_load=""; best_all=""
for _ in $(seq "$runs"); do
    t0=$(date +%s.%N); "$worker" </dev/null >/dev/null; t1=$(date +%s.%N)
    "$worker" <"$requests" >/dev/null; t2=$(date +%s.%N)
    load=$(python3 -c "print($t1 - $t0)"); all=$(python3 -c "print($t2 - $t1)")
    best_load=$(python3 -c "print(min(x for x in [$load, ${best_load:-1e9}]))")
    best_all=$(python3 -c "print(min(x for x in [$all, ${best_all:-1e9}]))")
done
python3 -c "
audio, load, total = $audio, $best_load, $best_all
print(f'audio {audio:.2f} s; model load {load:.2f} s; load and five clips {total:.2f} s')
print(f'real-time factor {(total - load) / audio:.3f} (best of $runs runs)')"

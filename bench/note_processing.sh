#!/usr/bin/env bash
# Processing a long two-source call with the offline engine against the
# engine's own time on the same sections, in the same run: the offline worker
# given every section file, one request after another, as processing sends
# them; then `parlevo notes process` on the note (transcription, speaker
# labels and turns, audio.m4a; no summary, as nothing is signed in). Prints
# both wall times, their ratio, and the peak resident memory of the process
# and of the worker.
# Usage: bench/note_processing.sh BUILD [SECONDS]      (SECONDS: 3600)
set -euo pipefail
build="$(cd "$1" && pwd)"
seconds="${2:-3600}"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
export XDG_DATA_HOME="$work/data" XDG_CONFIG_HOME="$work/config"
mkdir -p "$XDG_DATA_HOME/Quendra/Notes" "$XDG_CONFIG_HOME"
notes="$XDG_DATA_HOME/Quendra/Notes"

echo "making a call of $seconds s..."
id="$("$build/bench/long_note" "$notes" "$seconds" "$work/note.wav" --call)"
parlevo="$(find "$build/src/app" -name parlevo -type f -perm -u+x | head -n 1)"
worker="$(find "$build/src/app" -name parlevo-sphinx-worker -type f -perm -u+x | head -n 1)"

python3 - "$notes/$id" "$worker" "$parlevo" "$id" <<'PY'
import json, os, subprocess, sys, time
folder, worker, parlevo, note = sys.argv[1:5]
sections = json.load(open(os.path.join(folder, "note.json")))["sections"]

def measure(argv, feed=None):
    start = time.perf_counter()
    process = subprocess.Popen(argv, stdin=subprocess.PIPE if feed else None,
                               stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    if feed:
        process.stdin.write(feed.encode())
        process.stdin.close()
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.perf_counter() - start
    if status != 0:
        sys.exit(" ".join(argv) + " failed: " + process.stderr.read().decode())
    return wall, usage.ru_maxrss / 1024

requests = "".join(json.dumps({"id": i, "audioPath": os.path.join(folder, "part-%d.wav" % s["index"]),
                               "language": "en"}) + "\n" for i, s in enumerate(sections))
engine, engine_mib = measure([worker], requests)
print("engine alone: %.1f s for %d sections (peak %.0f MiB)" % (engine, len(sections), engine_mib))
processing, processing_mib = measure([parlevo, "notes", "process", note])
note_json = json.load(open(os.path.join(folder, "note.json")))
assert note_json["state"] == "ready" and note_json["turns"], note_json["state"]
# The worker is a child of parlevo: RUSAGE of wait4 covers the parlevo process only.
print("notes process: %.1f s (peak %.0f MiB in parlevo)" % (processing, processing_mib))
print("processing / engine: %.2f" % (processing / engine))
PY

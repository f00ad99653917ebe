#!/usr/bin/env bash
# Processing a long two-source call with the offline engine against the
# engine's own time on the same sections, side by side in the same run (each
# is single-threaded; a machine of two cores gives each one): the offline
# worker given every section file, one request after another, as processing
# sends them, and `parlevo notes process` on the note (transcription, speaker
# labels and turns, audio.m4a; no summary, as nothing is signed in). Prints
# both wall times, their ratio, and the peak resident memory of each.
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

def start(argv, feed=None):
    process = subprocess.Popen(argv, stdin=subprocess.PIPE if feed else None,
                               stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    if feed:
        process.stdin.write(feed.encode())
        process.stdin.close()
    return process, time.perf_counter()

def finish(process, started, argv):
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.perf_counter() - started
    if status != 0:
        sys.exit(" ".join(argv) + " failed: " + process.stderr.read().decode())
    return wall, usage.ru_maxrss / 1024

requests = "".join(json.dumps({"id": i, "audioPath": os.path.join(folder, "part-%d.wav" % s["index"]),
                               "language": "auto"}) + "\n" for i, s in enumerate(sections))
alone = start([worker], requests)
processing = start([parlevo, "notes", "process", note])
engine, engine_mib = finish(*alone, [worker])
whole, whole_mib = finish(*processing, [parlevo, "notes", "process", note])
note_json = json.load(open(os.path.join(folder, "note.json")))
assert note_json["state"] == "ready" and note_json["turns"], note_json["state"]
print("engine alone: %.1f s for %d sections (peak %.0f MiB)" % (engine, len(sections), engine_mib))
# wait4's figure for parlevo is the larger of its own and its worker's.
print("notes process: %.1f s (peak %.0f MiB, its worker included)" % (whole, whole_mib))
print("processing / engine: %.2f" % (whole / engine))
PY

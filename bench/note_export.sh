#!/usr/bin/env bash
# M4A export of a long note against the ffmpeg command line on the same
# audio, in the same run: `parlevo notes export ID --format m4a` reads the
# note's overlapping 30-s section files and encodes AAC (16 kHz, one channel,
# 32 kbit/s); ffmpeg encodes the same audio from one plain WAV file to the same
# format, once with its default AAC coder and once with the fast coder Parlevo
# uses. The commands take turns, RUNS times each; the medians of wall time and
# the peak resident memory are printed, with our time over ffmpeg's.
# Usage: bench/note_export.sh BUILD [SECONDS] [RUNS]      (SECONDS: 3600)
set -euo pipefail
build="$(cd "$1" && pwd)"
seconds="${2:-3600}"
runs="${3:-5}"
command -v ffmpeg >/dev/null || { echo "ffmpeg is missing; run scripts/setup"; exit 1; }
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
export XDG_DATA_HOME="$work/data" XDG_CONFIG_HOME="$work/config"
mkdir -p "$XDG_DATA_HOME/Quendra/Notes" "$XDG_CONFIG_HOME"

echo "making a note of $seconds s..."
id="$("$build/bench/long_note" "$XDG_DATA_HOME/Quendra/Notes" "$seconds" "$work/note.wav")"
parlevo="$build/src/app/parlevo"
[ -x "$parlevo" ] || parlevo="$(find "$build" -name parlevo -type f -perm -u+x | head -n 1)"

python3 - "$work" "$runs" "$parlevo" "$id" <<'EOF'
import os, statistics, subprocess, sys, time
work, runs, parlevo, note = sys.argv[1], int(sys.argv[2]), sys.argv[3], sys.argv[4]
ffmpeg = ["ffmpeg", "-nostdin", "-v", "error", "-y", "-i", f"{work}/note.wav",
          "-c:a", "aac", "-b:a", "32k", "-ar", "16000", "-ac", "1"]
commands = {
    "parlevo": [parlevo, "notes", "export", note, "--format", "m4a", "-o", f"{work}/ours.m4a"],
    "ffmpeg": ffmpeg + [f"{work}/theirs.m4a"],
    "ffmpeg fast coder": ffmpeg[:-4] + ["-aac_coder", "fast"] + ffmpeg[-4:] + [f"{work}/fast.m4a"],
}

def once(argv):
    start = time.perf_counter()
    process = subprocess.Popen(argv, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.perf_counter() - start
    assert os.waitstatus_to_exitcode(status) == 0, argv
    return wall, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024

figures = {name: [] for name in commands}
for name, argv in commands.items():  # warm-up: caches, the page cache
    once(argv)
for _ in range(runs):
    for name, argv in commands.items():
        figures[name].append(once(argv))

def duration(path):
    out = subprocess.run(["ffprobe", "-v", "error", "-show_entries", "format=duration",
                          "-of", "csv=p=0", path], capture_output=True, text=True).stdout
    return float(out)

ours = statistics.median(w for w, _, _ in figures["parlevo"])
for name, rows in figures.items():
    wall = statistics.median(w for w, _, _ in rows)
    cpu = statistics.median(c for _, c, _ in rows)
    peak = max(m for _, _, m in rows)
    ratio = "" if name == "parlevo" else f"  parlevo/this {ours / wall:.2f}x"
    print(f"{name:18} wall {wall:6.2f} s (min {min(w for w, _, _ in rows):.2f}, "
          f"max {max(w for w, _, _ in rows):.2f})  cpu {cpu:6.2f} s  peak {peak:6.1f} MiB{ratio}")
for name, path in (("parlevo", "ours"), ("ffmpeg", "theirs"), ("ffmpeg fast coder", "fast")):
    print(f"{name:18} {duration(f'{work}/{path}.m4a'):.3f} s, "
          f"{os.path.getsize(f'{work}/{path}.m4a') / 1e6:.1f} MB")
EOF

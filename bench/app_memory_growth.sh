#!/bin/bash
# Resident memory of the installed application after one dictation and after
# DICTATIONS (default 20) into a focused GTK field, with its defaults (the
# offline engine), read from /proc/PID/status once each text has landed.
# Usage: bench/app_memory_growth.sh BUILD_FOLDER [DICTATIONS] [CLIP_ID]
set -euo pipefail
build="$(realpath "$1")"
dictations="${2:-20}"
clip="${3:-sense_and_sensibility_01_austen_64kb-0880}"
root="$(cd "$(dirname "$0")/.." && pwd)"
source "$root/tests/harness/desktop.sh"
source "$root/tests/harness/sound.sh"
source "$root/tests/harness/app.sh"
target=org.quendra.Bench

app_stage "$build" "$target"
shortcut="$(app_wait_shortcut)"
before="$(app_rss_kb)"

# History settles (the recording removed) before memory is read.
settled() { ! app_cli history list --json | grep -q recordingFileName; }

for run in $(seq "$dictations"); do
    probe focus "$target" single-line
    probe clear "$target" single-line
    app_dictate "$shortcut" "$target" single-line 600 "$clip"
    harness_wait 60 settled
    rss="$(app_rss_kb)"
    echo "dictation $run: $((rss / 1024)) MiB resident"
    [ "$run" -eq 1 ] && first="$rss"
done
/usr/bin/python3 -c "
before, first, last, n = $before, $first, $rss, $dictations
print(f'resident memory: {before / 1024:.1f} MiB before, {first / 1024:.1f} MiB after 1, '
      f'{last / 1024:.1f} MiB after {n}; growth {(last - first) / 1024:.1f} MiB, '
      f'{(last - first) / max(n - 1, 1):.0f} kB per dictation after the first; '
      f'target under 5 MB ' + ('met' if (last - first) * 1024 < 5e6 else 'missed'))"
app_stop

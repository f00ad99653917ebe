#!/bin/bash
# The installed application at rest with a focused GTK field in front: its
# CPU use (percent of one core) and resident memory over SECONDS, read from
# /proc/PID/stat and /proc/PID/status once a second.
# Usage: bench/app_idle.sh BUILD_FOLDER [SECONDS]
set -euo pipefail
build="$(realpath "$1")"
seconds="${2:-60}"
root="$(cd "$(dirname "$0")/.." && pwd)"
source "$root/tests/harness/desktop.sh"
source "$root/tests/harness/sound.sh"
source "$root/tests/harness/app.sh"
target=org.quendra.Bench

app_stage "$build" "$target"
probe focus "$target" single-line
if ! shortcut="$(app_wait_shortcut 30 2>/dev/null)"; then
    echo "note: no dictation shortcut was registered; these are the figures of an" \
        "application without its dictation controller" >&2
fi
[ -z "${shortcut:-}" ] || echo "shortcut: $shortcut"
# Start-up work is over once the field has had focus for a while.
sleep 5

ticks_per_second="$(getconf CLK_TCK)"
start_ticks="$(app_cpu_ticks)"
start_ns="$(date +%s%N)"
samples=()
deadline=$((SECONDS + seconds))
while ((SECONDS < deadline)); do
    sleep 1
    samples+=("$(app_rss_kb)")
done
end_ticks="$(app_cpu_ticks)"
end_ns="$(date +%s%N)"
/usr/bin/python3 - "$ticks_per_second" "$start_ticks" "$end_ticks" "$start_ns" "$end_ns" \
    "${samples[@]}" <<'PY'
import sys
hz, t0, t1, n0, n1 = (int(x) for x in sys.argv[1:6])
rss = [int(x) for x in sys.argv[6:]]
wall = (n1 - n0) / 1e9
cpu = (t1 - t0) / hz / wall * 100
print(f"idle over {wall:.1f} s: CPU {cpu:.2f} % of one core "
      f"({(t1 - t0) / hz * 1000:.0f} ms); resident memory {rss[0] / 1024:.1f} MiB at the "
      f"start, {rss[-1] / 1024:.1f} MiB at the end, {max(rss) / 1024:.1f} MiB at most")
print(f"targets: CPU 0.5 % or less {'met' if cpu <= 0.5 else 'missed'}; "
      f"80 MB or less {'met' if max(rss) * 1024 <= 80e6 else 'missed'}")
PY
app_stop

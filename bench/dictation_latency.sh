#!/bin/bash
# Time from the second press of the dictation shortcut to the text being
# readable in a focused GTK field (over AT-SPI), less the offline engine's own
# time, for the installed application with its defaults. The application's
# --qa-insert-timing lines split the rest: ending the recording, handing it to
# the engine, finishing the text, inserting it.
# Usage: bench/dictation_latency.sh BUILD_FOLDER [DICTATIONS] [CLIP_ID]
set -euo pipefail
build="$(realpath "$1")"
dictations="${2:-5}"
clip="${3:-sense_and_sensibility_01_austen_64kb-0880}"
root="$(cd "$(dirname "$0")/.." && pwd)"
source "$root/tests/harness/desktop.sh"
source "$root/tests/harness/sound.sh"
source "$root/tests/harness/app.sh"
target=org.quendra.Bench

app_stage "$build" "$target" --qa-insert-timing
shortcut="$(app_wait_shortcut)"

# The Nth "qa NAME at=MS" line of the log.
stamp() { sed -n "s/^qa $1 at=//p" "$app_log" | sed -n "$2p"; }
has_stamp() { [ -n "$(stamp "$1" "$2")" ]; }

printf '%-3s %9s %9s %9s %9s %9s %9s %9s %9s\n' run total engine "less eng" stop handoff finish \
    insert confirm
rows="$harness_dir/rows"
: >"$rows"
for run in $(seq "$dictations"); do
    probe focus "$target" single-line
    probe clear "$target" single-line
    watch="$harness_dir/watch.out"
    /usr/bin/python3 "$root/bench/field_filled.py" "$target" single-line 600 >"$watch" &
    watcher=$!
    wait_ms 5000 grep -q watching "$watch"
    app_press_shortcut "$shortcut"
    harness_wait 10 app_recording || { echo "the shortcut did not start a recording" >&2; exit 1; }
    app_play_clip "$clip"
    # Pressed in-process, so that no program's start-up counts as the application's.
    pressed="$(/usr/bin/python3 "$root/bench/press_shortcut.py" "$shortcut")"
    harness_wait 10 app_not_recording || { echo "the second press did not end it" >&2; exit 1; }
    wait "$watcher" || { echo "no text reached the field: $(cat "$app_log")" >&2; exit 1; }
    shown="$(tail -1 "$watch")"
    stopped="$(stamp 'dictation stopped' "$run")"
    engine_start="$(stamp 'transcription started' "$run")"
    engine_end="$(stamp 'transcription finished' "$run")"
    insert="$(stamp 'insert started' "$run")"
    # The field may show the text before the insertion has seen it change.
    harness_wait 10 has_stamp 'insert finished' "$run" || true
    inserted="$(stamp 'insert finished' "$run")"
    [ -n "$stopped" ] && [ -n "$engine_start" ] && [ -n "$engine_end" ] && [ -n "$insert" ] &&
        [ -n "$inserted" ] || {
        echo "the application logged no timing lines for run $run:" >&2
        grep '^qa ' "$app_log" >&2
        exit 1
    }
    total=$((shown - pressed))
    engine=$((engine_end - engine_start))
    row="$(printf '%-3s %9s %9s %9s %9s %9s %9s %9s %9s' "$run" "$total" "$engine" \
        $((total - engine)) $((stopped - pressed)) $((engine_start - stopped)) \
        $((insert - engine_end)) $((shown - insert)) $((inserted - insert)))"
    echo "$row"
    echo "$row" >>"$rows"
done
/usr/bin/python3 - "$rows" <<'PY'
import statistics, sys
columns = list(zip(*([int(x) for x in line.split()[1:]] for line in open(sys.argv[1]))))
print(("%-3s" + " %9d" * len(columns)) % ("med", *(statistics.median(c) for c in columns)))
less_engine = statistics.median(columns[2])
print(f"median less engine: {less_engine:.0f} ms (target 150 ms or less: "
      f"{'met' if less_engine <= 150 else 'missed'})")
PY
echo "ms; total = second press to text readable; less eng = total - engine;"
echo "stop = press to recording closed; handoff = closed to engine started;"
echo "finish = engine done to insertion started; insert = insertion started to text readable;"
echo "confirm = insertion started to the application seeing the field change (not in total)"
app_stop

#!/bin/bash
# Time from the insertion call to the text being readable in a GTK entry (read
# over AT-SPI), for 20 and 5,000 characters, beside `xdotool type` of the same
# text into the same field in the same run.
# Usage: bench/insert_vs_xdotool.sh PARLEVO [REPETITIONS]
set -euo pipefail
parlevo="$(realpath "$1")"
repetitions="${2:-3}"
root="$(cd "$(dirname "$0")/.." && pwd)"
source "$root/tests/harness/desktop.sh"
desktop_start >/dev/null
desktop_target org.quendra.Bench
app=org.quendra.Bench

# Words of plain ASCII, so that xdotool types every character the same way.
make_text() {
    /usr/bin/python3 -c "
import itertools, sys
words = 'the quick brown fox jumps over a lazy dog while we dictate text'.split()
out = ''
for w in itertools.cycle(words):
    if len(out) >= $1: break
    out += w + ' '
sys.stdout.write(out[:$1].rstrip() + 'x' if out[:$1].endswith(' ') else out[:$1])"
}

# Runs the watcher, then the writer; prints the milliseconds between the
# writer's start and the text being readable.
measure() {
    local method="$1" file="$2"
    probe focus "$app" single-line
    probe clear "$app" single-line
    local watch="$harness_dir/watch.out"
    /usr/bin/python3 "$root/bench/field_watch.py" "$app" single-line "$file" 300 >"$watch" &
    local watcher=$!
    wait_ms 5000 grep -q watching "$watch"
    local started
    case "$method" in
    parlevo)
        "$parlevo" insert "$(cat "$file")" --qa-insert-timing >/dev/null 2>"$harness_dir/err"
        started="$(sed -n 's/^qa insert started at=//p' "$harness_dir/err")"
        ;;
    xdotool)
        started="$(date +%s%3N)"
        xdotool type --file "$file"
        ;;
    xdotool-nodelay)
        started="$(date +%s%3N)"
        xdotool type --delay 0 --file "$file"
        ;;
    esac
    wait "$watcher"
    echo $(($(tail -1 "$watch") - started))
}

printf '%-8s %-16s %s\n' chars method "ms (each run)"
for size in 20 5000; do
    file="$harness_dir/text-$size"
    make_text "$size" >"$file"
    for method in parlevo xdotool xdotool-nodelay; do
        runs=()
        for _ in $(seq "$repetitions"); do runs+=("$(measure "$method" "$file")"); done
        printf '%-8s %-16s %s\n' "$size" "$method" "${runs[*]}"
    done
done

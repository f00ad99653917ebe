#!/bin/bash
# Frame times of the main window with full lists: filtering 5,000 Words and
# 2,000 notes as the user types, and scrolling History at its cap of 60
# entries. The installed application runs on the harness's desktop with Qt
# Quick's per-frame timing in its log; keys and wheel turns go in through
# XTEST with the moment of each noted (xtest_input.py), and frame_log.py
# weighs the frames against them.
# Usage: bench/main_window_frames.sh BUILD_FOLDER [WORDS] [NOTES] [HISTORY]
set -euo pipefail
build="$(realpath "$1")"
words="${2:-5000}"
notes="${3:-2000}"
history="${4:-60}"
root="$(cd "$(dirname "$0")/.." && pwd)"
source "$root/tests/harness/desktop.sh"
source "$root/tests/harness/sound.sh"
source "$root/tests/harness/app.sh"
fixtures="$build/bench/main_window_fixtures"
[ -x "$fixtures" ] || { echo "build $fixtures first" >&2; exit 1; }

window() { /usr/bin/python3 "$root/tests/harness/window_probe.py" "$@"; }
input() { /usr/bin/python3 "$root/bench/xtest_input.py" "$@"; }
frame_log() { /usr/bin/python3 "$root/bench/frame_log.py" "$@"; }

desktop_start >/dev/null
sound_server
app_install "$build"
"$fixtures" words-csv "$words" "$harness_dir/words.csv"
app_cli words import "$harness_dir/words.csv" >/dev/null
"$fixtures" notes "$notes"
"$fixtures" history "$history"

export QSG_RENDER_TIMING=1 QT_LOGGING_RULES="qt.scenegraph.time.renderloop.debug=true"
export QT_MESSAGE_PATTERN='%{time yyyy-MM-ddTHH:mm:ss.zzz} %{category}: %{message}'
app_start
app_wait_up
pid="$app_pid"

settle() { frame_log settle "$app_log"; }

# Types WORD into the field named FIELD one key at a time (a pause of 300 ms
# after each) and deletes it again, then the same as a fast typist would
# (a key every 40 ms).
filter_as_you_type() {
    local field="$1" word="$2" label="$3" limit="$4"
    window focus "$pid" text "$field"
    settle
    input type "$word" 300 --erase >"$harness_dir/keys"
    frame_log inputs "$app_log" "$harness_dir/keys" "$limit" "$label, one key at a time" latency
    settle
    input type "$word" 40 --erase >"$harness_dir/keys"
    sleep 0.5
    frame_log inputs "$app_log" "$harness_dir/keys" "$limit" "$label, a key every 40 ms" \
        latency --gaps
}

window press "$pid" "page tab" Words
window wait "$pid" text "Search Words" 30
window wait "$pid" "list item" "" 30 --contains
# The floor: a field that filters nothing.
window focus "$pid" text Spelling
settle
input type hartwell 300 --erase >"$harness_dir/keys"
frame_log inputs "$app_log" "$harness_dir/keys" 50 "Words, the Spelling field (no filter)" latency
filter_as_you_type "Search Words" hartwell "Words ($words), filter" 50

window press "$pid" "page tab" Notes
window wait "$pid" text "Search notes" 30
window wait "$pid" "list item" "" 60 --contains --within list Notes
filter_as_you_type "Search notes" contract "Notes ($notes), filter" 50

window press "$pid" "page tab" History
window wait "$pid" "list item" "" 30 --contains --within list Dictations
read -r x y < <(window centre "$pid" list Dictations)
# Its entries show as list items. The end of the list is reached when a few more turns change no entry shown.
shown() { window names "$pid" "list item" --within list Dictations | md5sum; }
settle
turns=0
before="$(shown)"
while ((turns < 600)); do
    input wheel down 10 30 "$x" "$y" >/dev/null
    turns=$((turns + 10))
    settle
    now="$(shown)"
    [ "$now" = "$before" ] && break
    before="$now"
done
input wheel up "$((turns + 10))" 30 "$x" "$y" >/dev/null
settle
# Measured: to the bottom and back, a notch every 30 ms.
input wheel down "$turns" 30 "$x" "$y" >"$harness_dir/wheel"
settle
input wheel up "$turns" 30 "$x" "$y" >>"$harness_dir/wheel"
sleep 0.5
frame_log inputs "$app_log" "$harness_dir/wheel" 16 \
    "History ($history), scroll with the wheel ($turns notches each way)" work
app_stop

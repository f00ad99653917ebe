#!/bin/bash
# Target tracking against real GTK windows: focus changes, secure and
# non-editable fields, window moves, a second application and its exit.
set -euo pipefail
parlevo="$1"
desktop_probe="$2"
source "$(dirname "$0")/../../harness/desktop.sh"
desktop_start
desktop_target org.quendra.TargetOne
log="$harness_dir/watch.log"

"$parlevo" target --watch --seconds 30 --qa-target-log >"$log" 2>&1 &
harness_pids+=("$!")
wait_ms 5000 grep -q '^manual app=org.quendra.TargetOne .*role=entry .*classification=ready' "$log" ||
    fail "the starting target was not reported: $(cat "$log")"
wait_ms 2000 grep -Eq '^target app=.* element=(true|false)$' "$log" ||
    fail "--qa-target-log wrote nothing"

probe focus org.quendra.TargetOne multi-line
wait_ms 600 grep -q '^focusChanged .*role=text .*classification=ready' "$log" ||
    fail "moving to the text view was not reported within a poll"

probe focus org.quendra.TargetOne password
wait_ms 600 grep -q '^focusChanged .*role=password-text .*classification=secureField' "$log" ||
    fail "the password field was not reported as secure"

probe focus org.quendra.TargetOne button
wait_ms 600 grep -q '^focusChanged .*role=push-button .*classification=noEditableField' "$log" ||
    fail "the button was not reported as no editable field"

before="$(count_lines "$log" '^geometryChanged .*role=push-button')"
xdotool search --name '^org.quendra.TargetOne$' windowmove --sync 40 60
wait_ms 2000 has_lines "$log" '^geometryChanged .*app=org.quendra.TargetOne .*role=push-button' $((before + 1)) ||
    fail "moving the window did not report geometryChanged with the same field: $(tail -4 "$log")"

desktop_target org.quendra.TargetTwo
second_pid="$target_pid"
# Its window may come up before its field has focus: the focus follows.
wait_ms 2000 grep -q '^applicationChanged app=org.quendra.TargetTwo ' "$log" ||
    fail "the second application was not reported: $(tail -5 "$log")"
wait_ms 2000 grep -Eq '^(applicationChanged|focusChanged) app=org.quendra.TargetTwo .*classification=ready' "$log" ||
    fail "the second application's field was not reported: $(tail -5 "$log")"

kill "$second_pid"
wait_ms 3000 grep -q "^terminated pid=$second_pid\$" "$log" ||
    fail "the second application's exit was not reported"

# Bringing the tracking program's own window to the front clears the target.
harness_spawn own "$desktop_probe" track 20
own_log="$harness_dir/own.log"
harness_wait 10 sh -c "xdotool search --name '^org.quendra.Probe\$' >/dev/null" ||
    fail "the probe window did not appear"
desktop_activate org.quendra.TargetOne
wait_ms 2000 grep -Eq "^(manual|applicationChanged|focusChanged) app=org.quendra.TargetOne element=true$" "$own_log" ||
    fail "the tracker did not follow the target: $(cat "$own_log")"
desktop_activate org.quendra.Probe
wait_ms 2000 grep -Eq '^(applicationChanged|focusChanged) app=- element=false$' "$own_log" ||
    fail "the own window did not clear the target: $(cat "$own_log")"
echo "target tracking: ok"

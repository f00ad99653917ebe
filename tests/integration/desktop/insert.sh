#!/bin/bash
# Guarded insertion into real GTK fields, read back through AT-SPI.
set -euo pipefail
parlevo="$1"
source "$(dirname "$0")/../../harness/desktop.sh"
desktop_start
desktop_target org.quendra.TargetOne
one_pid="$target_pid"
out="$harness_dir/insert.log"

# Non-ASCII text of several UTF-8 lengths lands whole in the remembered field.
probe focus org.quendra.TargetOne single-line
text='Grüße aus 東京 😀 done'
"$parlevo" insert "$text" --qa-target-log >"$out" 2>&1 || fail "insert failed: $(cat "$out")"
grep -qx 'inserted with paste' "$out" || fail "not pasted: $(cat "$out")"
[ "$(probe text org.quendra.TargetOne single-line)" = "$text" ] || fail "entry holds the wrong text"

probe focus org.quendra.TargetOne multi-line
"$parlevo" insert "into the view" >"$out" 2>&1 || fail "insert into the text view failed"
[ "$(probe text org.quendra.TargetOne multi-line)" = "into the view" ] ||
    fail "text view holds the wrong text"
[ "$(probe text org.quendra.TargetOne single-line)" = "$text" ] || fail "the entry changed too"

probe focus org.quendra.TargetOne password
if "$parlevo" insert "secret" >"$out" 2>&1; then fail "a password field took text"; fi
grep -qx 'blockedSecureField' "$out" || fail "password field not blocked: $(cat "$out")"

# The user switches to a third application while speaking: nothing is activated.
desktop_target org.quendra.TargetTwo
two_pid="$target_pid"
desktop_activate org.quendra.TargetOne
probe focus org.quendra.TargetOne single-line
"$parlevo" insert "must not land" --hold 1.5 >"$out" 2>&1 &
insert_pid=$!
wait_ms 5000 grep -q '^target ready' "$out" || fail "no target remembered: $(cat "$out")"
desktop_activate org.quendra.TargetTwo
if wait "$insert_pid"; then fail "insertion into a background application succeeded"; fi
[ "$(tail -1 "$out")" = failed ] || fail "expected failed: $(cat "$out")"
[ "$(desktop_active_title)" = org.quendra.TargetTwo ] || fail "the first application was activated"
[ "$(probe text org.quendra.TargetOne single-line)" = "$text" ] || fail "text landed in the first"
[ -z "$(probe text org.quendra.TargetTwo single-line)" ] || fail "text landed in the third"

# The remembered field turns into a password field while the user speaks.
desktop_activate org.quendra.TargetTwo
probe focus org.quendra.TargetTwo single-line
"$parlevo" insert "hidden" --hold 1.5 >"$out" 2>&1 &
insert_pid=$!
wait_ms 5000 grep -q '^target ready' "$out" || fail "no target remembered: $(cat "$out")"
kill -USR1 "$two_pid"
if wait "$insert_pid"; then fail "a field turned secret took text"; fi
grep -qx 'blocked: original target is secure' "$out" || fail "not blocked: $(cat "$out")"
[ "$(tail -1 "$out")" = blockedSecureField ] || fail "expected blockedSecureField: $(cat "$out")"
grep -q 'starting for app' "$out" && fail "the application was activated first"

# The target quits while the user speaks.
desktop_activate org.quendra.TargetOne
probe focus org.quendra.TargetOne single-line
"$parlevo" insert "too late" --hold 1.5 >"$out" 2>&1 &
insert_pid=$!
wait_ms 5000 grep -q '^target ready' "$out" || fail "no target remembered: $(cat "$out")"
kill "$one_pid"
if wait "$insert_pid"; then fail "insertion into a quit application succeeded"; fi
grep -qx 'blocked: target application terminated' "$out" || fail "wrong reason: $(cat "$out")"
echo "insertion: ok"

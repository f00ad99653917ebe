#!/usr/bin/env bash
# "parlevo dictation toggle|cancel|status" on a private session bus: against
# stand-in copies that publish themselves as the application does, each
# request reaches the installed copy once, status prints the copy's line, and
# a missing or stopped copy gives its sentence within a few seconds instead
# of a hang; then against the real application.
# Usage: dictation_bus.sh PARLEVO PUBLISHED_INSTANCE
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
source "$here/../harness/common.sh"
parlevo="$1"
stand_in="$2"
harness_home
harness_bus

failures=0
fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

installed="$HOME/.local/bin/parlevo"
elsewhere="$harness_dir/elsewhere/parlevo"
mkdir -p "$(dirname "$installed")" "$(dirname "$elsewhere")"
cp "$parlevo" "$installed"
cp "$parlevo" "$elsewhere"
installed="$(realpath "$installed")"
elsewhere="$(realpath "$elsewhere")"

published() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
        org.freedesktop.DBus.ListNames | grep -q "\"com\.orvane\.Parlevo\.Instance$1\""
}
unpublished() { ! published "$1"; }
none_published() {
    ! dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
        org.freedesktop.DBus.ListNames | grep -q 'com\.orvane\.Parlevo'
}
# How many requests of one kind (toggle, cancel) the stand-in NAME was handed.
requests() { grep -cx "$2" "$harness_dir/$1.log" || true; }
handed() { [ "$(requests "$1" "$2")" -ge "$3" ]; }
start() {
    local name="$1"
    shift
    harness_spawn "$name" "$@"
    last="${harness_pids[-1]}"
    harness_wait 10 published "$last" || fail "$name never published itself: $(cat "$harness_dir/$name.log")"
}

# Runs the command line; its status, output and error land in $rc, $said, $complaint
# and how long it took in milliseconds in $took.
ask() {
    local began
    began=$(date +%s%N)
    rc=0
    timeout 20 "$parlevo" dictation "$@" >"$harness_dir/out" 2>"$harness_dir/err" || rc=$?
    took=$((($(date +%s%N) - began) / 1000000))
    said="$(cat "$harness_dir/out")"
    complaint="$(cat "$harness_dir/err")"
    echo "ask $* -> $rc in $took ms: ${said:-} ${complaint:-}" >&2
}

# No copy runs: each request says so at once.
for request in toggle cancel status; do
    ask "$request"
    [ "$rc" -eq 1 ] || fail "$request without a running copy ended with $rc"
    grep -q "Parlevo is not running" <<<"$complaint" || fail "$request without a copy said: $complaint"
    [ -z "$said" ] || fail "$request without a copy printed: $said"
    ((took < 5000)) || fail "$request without a copy took $took ms"
done

ask frobnicate
[ "$rc" -eq 2 ] || fail "a bad subcommand ended with $rc"
grep -q "parlevo dictation --help" <<<"$complaint" || fail "a bad subcommand said: $complaint"
ask
[ "$rc" -eq 2 ] || fail "a missing subcommand ended with $rc"
ask status extra
[ "$rc" -eq 2 ] || fail "status with an extra argument ended with $rc"

# One copy from elsewhere: it gets every request.
start other "$stand_in" "$elsewhere" "recording 0:12"
other=$last
ask status
[ "$rc" -eq 0 ] && [ "$said" = "recording 0:12" ] || fail "status printed “$said” ($rc): $complaint"
ask toggle
[ "$rc" -eq 0 ] || fail "toggle ended with $rc: $complaint"
harness_wait 10 handed other toggle 1 || fail "the copy was not asked to toggle"
ask cancel
[ "$rc" -eq 0 ] || fail "cancel ended with $rc: $complaint"
harness_wait 10 handed other cancel 1 || fail "the copy was not asked to cancel"
# A status answered after both shows no request was handed twice.
ask status
[ "$(requests other toggle)" -eq 1 ] || fail "one toggle gave $(requests other toggle) requests"
[ "$(requests other cancel)" -eq 1 ] || fail "one cancel gave $(requests other cancel) requests"

# The Notes toggle reaches the same copy, once, and is no dictation toggle.
note_rc=0
timeout 20 "$parlevo" notes toggle >"$harness_dir/out" 2>"$harness_dir/err" || note_rc=$?
[ "$note_rc" -eq 0 ] || fail "notes toggle ended with $note_rc: $(cat "$harness_dir/err")"
harness_wait 10 handed other note 1 || fail "the copy was not asked to toggle a note"
ask status
[ "$(requests other note)" -eq 1 ] || fail "one notes toggle gave $(requests other note) requests"
[ "$(requests other toggle)" -eq 1 ] || fail "notes toggle also toggled a dictation"

# The installed copy wins over the one from elsewhere.
start home "$stand_in" "$installed" "ready"
home=$last
ask status
[ "$said" = "ready" ] || fail "status with the installed copy running printed “$said”: $complaint"
ask toggle
harness_wait 10 handed home toggle 1 || fail "the installed copy was not asked to toggle"
ask status
[ "$(requests other toggle)" -eq 1 ] || fail "the copy from elsewhere was asked to toggle too"

# A stopped copy is not waited for twice; when none answers, the command says so.
kill -STOP "$home"
ask toggle
[ "$rc" -eq 0 ] || fail "toggle with the installed copy stopped ended with $rc: $complaint"
harness_wait 10 handed other toggle 2 ||
    fail "the answering copy was not asked when the installed one was stopped"
kill -STOP "$other"
for request in toggle status; do
    ask "$request"
    [ "$rc" -eq 1 ] || fail "$request with every copy stopped ended with $rc"
    grep -q "did not answer" <<<"$complaint" || fail "$request to a stopped copy said: $complaint"
    ((took < 4000)) || fail "$request to a stopped copy took $took ms"
done
kill -CONT "$home" "$other"
ask status
[ "$said" = "ready" ] || fail "the installed copy did not answer again once continued: $complaint"
# What failed while they were stopped does not happen later.
[ "$(requests home toggle)" -eq 1 ] && [ "$(requests other toggle)" -eq 2 ] ||
    fail "a request that failed was handed on once the copies continued"
kill "$home" "$other"
harness_wait 10 unpublished "$home" || fail "the installed stand-in did not stop"
harness_wait 10 unpublished "$other" || fail "the stand-in from elsewhere did not stop"

# A copy without a provider yet says it is starting.
start early "$stand_in" "$elsewhere"
ask status
[ "$rc" -eq 0 ] && [ "$said" = "starting" ] || fail "a copy without a provider answered “$said”"
kill "$last"
harness_wait 10 unpublished "$last" || fail "the early stand-in did not stop"

# The real application answers on the same interface.
export QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software
harness_wait 10 none_published || fail "a stand-in still runs"
start app "$elsewhere"
ask status
[ "$rc" -eq 0 ] && [ -n "$said" ] && [ "$(wc -l <<<"$said")" -eq 1 ] ||
    fail "the application's status was “$said” ($rc): $complaint"
ask toggle
[ "$rc" -eq 0 ] || fail "the application did not take toggle: $complaint"
ask cancel
[ "$rc" -eq 0 ] || fail "the application did not take cancel: $complaint"
exit "$failures"

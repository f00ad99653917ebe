#!/usr/bin/env bash
# One copy for the user, the installed one first, on a private session bus:
# a copy from the build folder quits when the installed copy starts; a later
# copy from elsewhere brings the installed one forward and quits at once;
# two copies from elsewhere run side by side; any copy can be asked to quit
# over the bus.
# Usage: single_instance.sh PARLEVO
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
source "$here/../harness/common.sh"
parlevo="$1"
harness_home
harness_bus
export QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software

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

instances() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
        org.freedesktop.DBus.ListNames | grep -o 'com\.orvane\.Parlevo\.Instance[0-9]*' || true
}
published() { instances | grep -qx "com.orvane.Parlevo.Instance$1"; }
gone() { [ ! -d "/proc/$1" ] || grep -q '^State:.*Z' "/proc/$1/status"; }
start() {
    local name="$1" program="$2"
    "$program" >"$harness_dir/$name.log" 2>&1 &
    harness_pids+=("$!")
    last=$!
}

start build "$elsewhere"
build=$last
harness_wait 30 published "$build" || fail "the build copy never published itself: $(cat "$harness_dir/build.log")"

start installed "$installed"
home=$last
harness_wait 30 published "$home" || fail "the installed copy never published itself"
harness_wait 10 gone "$build" || fail "the build copy still runs after the installed copy started"

start second "$elsewhere"
second=$last
harness_wait 10 gone "$second" || fail "a second copy from elsewhere did not quit"
wait "$second" && status=0 || status=$?
[ "$status" -eq 0 ] || fail "the copy that deferred ended with status $status"
harness_wait 10 grep -q "another copy asked for the main window" "$harness_dir/installed.log" ||
    fail "the installed copy was not brought forward: $(cat "$harness_dir/installed.log")"
gone "$home" && fail "the installed copy quit"

dbus-send --session --type=method_call --dest="com.orvane.Parlevo.Instance$home" \
    /com/orvane/Parlevo com.orvane.Parlevo.Application.Quit
harness_wait 10 gone "$home" || fail "the installed copy did not quit when asked over the bus"

start one "$elsewhere"
one=$last
start two "$harness_dir/elsewhere/../elsewhere/parlevo"
two=$last
harness_wait 30 published "$one" || fail "the first copy from elsewhere did not start"
harness_wait 30 published "$two" || fail "the second copy from elsewhere did not start"
gone "$one" && fail "copies from elsewhere did not run side by side"
echo "instances at the end: $(instances | tr '\n' ' ')"
exit "$failures"

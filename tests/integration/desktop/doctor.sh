#!/bin/bash
# The doctor finds a working desktop fine, and names what is missing.
set -euo pipefail
parlevo="$1"
desktop_probe="$2"
source "$(dirname "$0")/../../harness/desktop.sh"
source "$(dirname "$0")/../../harness/sound.sh"
source "$(dirname "$0")/../../harness/keyring.sh"
desktop_start
harness_keyring
sound_server
out="$harness_dir/doctor.log"

"$parlevo" doctor >"$out" 2>&1 || fail "doctor failed on a working desktop: $(cat "$out")"
! grep -q '^FIX' "$out" || fail "not every check passed: $(cat "$out")"

# Accessibility turned off is named, and --enable-accessibility turns it on.
dbus-send --session --print-reply --dest=org.a11y.Bus /org/a11y/bus \
    org.freedesktop.DBus.Properties.Set string:org.a11y.Status string:IsEnabled variant:boolean:false >/dev/null
if "$parlevo" doctor >"$out" 2>&1; then fail "doctor passed with accessibility off"; fi
grep -q '^FIX  Accessibility: Accessibility is turned off' "$out" || fail "off not reported: $(cat "$out")"
"$parlevo" doctor --enable-accessibility >"$out" 2>&1 || fail "doctor did not turn accessibility on: $(cat "$out")"

harness_spawn other "$desktop_probe" grab 0x20 Alt
wait_ms 5000 grep -qx grabbed "$harness_dir/other.log" || fail "could not grab Alt+Space"
if "$parlevo" doctor >"$out" 2>&1; then fail "doctor passed with the shortcut taken"; fi
grep -q '^FIX  Dictation shortcut: The dictation shortcut Alt+Space cannot be registered' "$out" ||
    fail "the taken shortcut was not reported: $(cat "$out")"

if env -u DISPLAY "$parlevo" doctor >"$out" 2>&1; then fail "doctor passed without a display"; fi
grep -q '^FIX  Display server: No display is set' "$out" || fail "no display not reported: $(cat "$out")"

# A sound server that went away is named.
sound_kill_server
if "$parlevo" doctor >"$out" 2>&1; then fail "doctor passed without a sound server"; fi
grep -q '^FIX  Sound server: No microphone can be recorded' "$out" || fail "no sound server not reported: $(cat "$out")"
echo "doctor: ok"

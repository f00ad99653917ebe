#!/bin/bash
# One dictation on a headless Wayland compositor with the installed
# application: a key the desktop knows toggles it (on sway the binding the
# doctor adds, running the command that asks the application over the bus;
# on KWin the shortcut the application asked of the portal), LibriVox speech
# plays into the microphone, the key ends it, and the text lands in the
# focused GTK field, written through the accessibility layer and read back.
# On sway the screen is saved while the pill shows, in OUTPUT_FOLDER.
# Usage: wayland_dictation.sh sway|kwin BUILD_FOLDER [OUTPUT_FOLDER]
set -euo pipefail
compositor="$1" build="$2" output="${3:-}"
source "$(dirname "$0")/../../harness/wayland.sh"
source "$(dirname "$0")/../../harness/sound.sh"
source "$(dirname "$0")/../../harness/app.sh"
target=org.quendra.WaylandDictation
case "$compositor" in
sway) wayland_sway_start ;;
kwin) wayland_kwin_start ;;
*) fail "unknown compositor $compositor" ;;
esac
sound_server
app_install "$build" || fail "the build could not be installed"
clip="$(app_clip_ids | head -1)"

wayland_target "$target"
case "$compositor" in
sway)
    # sway gives applications no shortcut: the doctor binds the command.
    app_cli doctor >"$harness_dir/doctor.log" 2>&1 || true
    grep -q 'FIX  Dictation shortcut: .*bindsym Alt+space exec' "$harness_dir/doctor.log" ||
        fail "the doctor did not say how to bind: $(cat "$harness_dir/doctor.log")"
    app_cli doctor --bind-shortcut >"$harness_dir/bind.log" 2>&1 || true
    grep -q '^Bound Alt+Space to ' "$harness_dir/bind.log" ||
        fail "the doctor did not bind the key: $(cat "$harness_dir/bind.log")"
    app_start_on_bus || fail "the installed application did not start"
    ;;
kwin)
    # As a session start would: no window over the field.
    app_start --autostart
    shortcut="$(app_wait_shortcut)" || fail "the portal did not take the shortcut: $(cat "$app_log")"
    echo "shortcut: $shortcut"
    ;;
esac
# Its window may have come up over the target: the user goes back to the field.
wayland_activate "$target" || fail "the target could not be brought back: $(wayland_active)"
probe focus "$target" single-line || fail "the field did not take focus"

if [ "$compositor" = sway ] && [ -n "$output" ]; then
    mkdir -p "$output"
    # The pill beside the field it must not take the keyboard from.
    (harness_wait 30 app_recording && sleep 2 && wayland_screenshot "$output/recording.png") &
    shot_pid=$!
fi
app_dictate Alt+Space "$target" single-line 300 "$clip" || fail "the dictation failed"
[ -z "${shot_pid:-}" ] || wait "$shot_pid" || fail "no screenshot of the recording"
echo "dictated: $app_text"
read -r errors words rate < <(app_wer "$app_text" "$clip")
echo "dictation: $errors errors in $words words ($rate)"
# One clip, live: only a garbled or partial text fails here; the word error
# rate itself is the X11 dictation test's business.
app_within "$rate" 0.6 || fail "word error rate $rate: $app_text"

harness_wait 30 sh -c "'$app_parlevo' history list --json | grep -q '\"text\"'" ||
    fail "History holds no entry"
app_cli history list --json >"$harness_dir/history.json"
/usr/bin/python3 - "$harness_dir/history.json" "$app_text" <<'PY' || fail "History: $(cat "$harness_dir/history.json")"
import json, sys
entry = json.load(open(sys.argv[1]))[0]
assert entry["text"].strip() == sys.argv[2].strip(), entry
PY
app_stop
echo "dictation on $compositor: ok"

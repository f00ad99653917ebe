#!/bin/bash
# The installed application's main window, driven over the accessibility tree
# as a screen reader user would: a word with a spoken form added in Words,
# a new shortcut recorded from the keyboard and a conflicting one refused,
# a failed dictation retried from History and History searched, a
# per-application style chosen, start at login turned on and off. Each
# section is photographed into BUILD_FOLDER/test-output/main_window.
# Usage: main_window.sh BUILD_FOLDER
set -euo pipefail
build="$1"
source "$(dirname "$0")/../../harness/desktop.sh"
source "$(dirname "$0")/../../harness/sound.sh"
source "$(dirname "$0")/../../harness/app.sh"
output="$build/test-output/main_window"
mkdir -p "$output"
rm -f "$output"/*.png
window_probe="$(dirname "$0")/../../harness/window_probe.py"
ui() { /usr/bin/python3 "$window_probe" "$1" "$app_pid" "${@:2}"; }
clip=sense_and_sensibility_01_austen_64kb-0870

desktop_start
sound_server
app_install "$build" || fail "the build could not be installed"
app_start_on_bus || fail "the installed application did not start"
app_wait_up || fail "the installed application showed no window"
window="$(app_window_shown | head -1)"
xdotool windowactivate --sync "$window" 2>/dev/null || true

shot() { import -window "$window" "$output/$1.png" || fail "no screenshot of $1"; }
section() {
    ui press "page tab" "$1" || fail "no section $1"
    ui wait label "$1" 10 || fail "the $1 section did not open"
}
# Types TEXT into the field named NAME, which gets the keyboard first.
type_into() {
    ui focus text "$1" || fail "the field $1 did not take focus"
    xdotool key --clearmodifiers ctrl+a BackSpace
    xdotool type --delay 20 "$2"
}
shows() { ui wait "$@" || fail "the window does not show $*"; }
# Turns the mouse wheel over the section, as a person reaches what is below.
scroll_down() {
    local where
    where="$(ui centre label "$1")" || fail "no $1 to scroll from"
    # shellcheck disable=SC2086
    xdotool mousemove --sync $where click --repeat "$2" --delay 30 5
}

# --- Home -----------------------------------------------------------------------
shows "push button" "Start dictation"
shows label "Shortcut: Alt+Space" --contains
shot home

# --- Words: a spelling with the way it is heard ---------------------------------
section Words
type_into Spelling "Kubernetes"
type_into "Spoken forms" "cooper netties, cube and eddies"
ui press "push button" "Add word"
shows "list item" "Kubernetes, heard as cooper netties, cube and eddies"
app_cli words list --json | /usr/bin/python3 -c '
import json, sys
words = {w["spelling"]: w["spokenForms"] for w in json.load(sys.stdin)}
assert words.get("Kubernetes") == ["cooper netties", "cube and eddies"], words
' || fail "the word added in the window is not stored as typed"
# One the command line adds shows without reopening anything.
app_cli words add "Quendra" --form "kwen dra" >/dev/null
shows "list item" "Quendra, heard as kwen dra"
type_into "Search Words" "cooper"
ui gone "list item" "Quendra, heard as kwen dra" 5 || fail "the search did not leave Quendra out"
shows "list item" "Kubernetes, heard as cooper netties, cube and eddies"
shot words

# --- Settings: shortcuts recorded from the keyboard -------------------------------
section Settings
ui press "push button" "Notes shortcut"
shows label "Press shortcut…"
xdotool key --clearmodifiers shift+a
shows label "A needs Ctrl, Alt, or Super to work globally."
xdotool key --clearmodifiers ctrl+alt+n
ui gone label "A needs Ctrl, Alt, or Super to work globally." 10 || fail "Ctrl+Alt+N was not taken for Notes"
# The same keys for dictation are refused with the conflict's sentence.
ui press "push button" "Dictation shortcut"
xdotool key --clearmodifiers ctrl+alt+n
shows label "That shortcut already starts a Notes recording. Choose another one."
shows label "Press another shortcut to try again."
xdotool key Escape
ui gone label "Press another shortcut to try again." 5 || fail "Escape did not end the recording"
defaults="$XDG_CONFIG_HOME/Quendra/defaults.json"
/usr/bin/python3 - "$defaults" <<'PY' || fail "the shortcuts are not stored as recorded"
import base64, json, sys
d = json.load(open(sys.argv[1]))
def stored(key):
    # Values carry a type tag: "t:" readable JSON data, "d:" base64 data.
    value = d.get(key)
    if not value:
        return None
    return json.loads(base64.b64decode(value[2:]) if value.startswith("d:") else value[2:])
notes = stored("notesRecordingShortcut")
assert notes and notes.get("keyLabel") == "N", notes
dictation = stored("dictationShortcut")
assert not dictation or dictation.get("keyLabel") == "Space", dictation
PY

# --- Settings: a style for one kind of application --------------------------------
ui focus "combo box" "Email style" || fail "no Email style choice"
xdotool key Down
harness_wait 10 /usr/bin/python3 - "$defaults" <<'PY' || fail "the Email style is not stored"
import json, sys
d = json.load(open(sys.argv[1]))
# A map is kept as "m:" and its JSON text.
styles = json.loads(d.get("surfaceStyles", "m:{}")[2:])
sys.exit(0 if styles.get("email") == "exact" else 1)
PY

# --- Settings: start at login -------------------------------------------------------
autostart="$XDG_CONFIG_HOME/autostart/com.orvane.Parlevo.desktop"
scroll_down "In Messaging" 15
ui press "check box" "Start at login"
harness_wait 10 test -f "$autostart" || fail "start at login wrote no autostart entry"
grep -q "^Exec=\"$app_prefix/bin/parlevo\" --autostart$" "$autostart" ||
    fail "the autostart entry does not run the installed copy: $(cat "$autostart")"
[ "$(ui checked "check box" "Start at login")" = true ] || fail "start at login does not show as on"
shot settings
ui press "check box" "Start at login"
harness_wait 10 test ! -e "$autostart" || fail "turning start at login off left the entry"

# --- History: a failed dictation retried ------------------------------------------
# A broken installation (the offline worker gone) fails the dictation and
# keeps its audio; with the worker back, Retry in History finishes it.
worker="$app_prefix/libexec/parlevo/parlevo-sphinx-worker"
mv "$worker" "$worker.away"
app_cli dictation toggle >/dev/null
harness_wait 10 app_recording || fail "the command did not start a dictation"
app_play_clip "$clip"
app_cli dictation toggle >/dev/null
harness_wait 120 sh -c "'$app_parlevo' history list --json | /usr/bin/python3 -c '
import json, sys
sys.exit(0 if any(e.get(\"transcriptionError\") for e in json.load(sys.stdin)) else 1)'" ||
    fail "the dictation did not fail without its worker: $(app_cli history list)"
mv "$worker.away" "$worker"
section History
shows "list item" "" --contains
ui press "push button" "Retry" --within "list item" "$(app_cli history list --json | /usr/bin/python3 -c '
import json, sys
print(next(e["transcriptionError"] for e in json.load(sys.stdin) if e.get("transcriptionError"))[:30])')"
harness_wait 180 sh -c "'$app_parlevo' history list --json | /usr/bin/python3 -c '
import json, sys
entries = json.load(sys.stdin)
sys.exit(0 if entries and all(e[\"text\"] and not e.get(\"recordingFileName\") for e in entries) else 1)'" ||
    fail "Retry did not finish the failed dictation: $(app_cli history list)"
text="$(app_cli history list --json | /usr/bin/python3 -c 'import json,sys; print(json.load(sys.stdin)[0]["text"])')"
word="$(tr ' ' '\n' <<<"$text" | awk 'length > 4' | head -1)"
[ -n "$word" ] || fail "the retried text has no word to search for: $text"
shows "list item" "$word" --contains
shows "push button" "Copy" --within "list item" "$word"

# A second dictation to search among.
app_cli dictation toggle >/dev/null
harness_wait 10 app_recording || fail "the second dictation did not start"
app_play_clip sense_and_sensibility_01_austen_64kb-0880
app_cli dictation toggle >/dev/null
harness_wait 180 sh -c "[ \"\$('$app_parlevo' history list --json | /usr/bin/python3 -c 'import json,sys; print(sum(1 for e in json.load(sys.stdin) if e[\"text\"]))')\" = 2 ]" ||
    fail "the second dictation did not finish: $(app_cli history list)"
harness_wait 10 sh -c "[ \"\$(/usr/bin/python3 '$window_probe' names $app_pid 'list item' --within list Dictations | wc -l)\" = 2 ]" ||
    fail "History does not list both dictations"
type_into "Search History" "$word"
harness_wait 10 sh -c "[ \"\$(/usr/bin/python3 '$window_probe' names $app_pid 'list item' --within list Dictations | wc -l)\" = 1 ]" ||
    fail "searching History for '$word' did not leave one dictation"
shot history

# --- Notes -------------------------------------------------------------------------
section Notes
shows label "Record a call or a meeting" --contains
shot notes

app_stop
echo "main window: ok (screenshots in $output)"

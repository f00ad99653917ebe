#!/bin/bash
# A call recorded by the installed application as a person records one: from
# the Notes section, with one LibriVox reader played into the microphone and
# another, in turn, into the speaker sink. The offline engine transcribes it;
# the words must carry the side that spoke them, the saved audio must last as
# long as the note, the subtitles must parse, and the summary and an answer
# come from the hosted stand-in. Then a second call goes to the stand-in, the
# application is killed while it processes, and after a restart only the
# section not yet done is sent. Screenshots go to BUILD/test-output/notes_call.
# Usage: notes_call.sh BUILD_FOLDER STANDIN
set -euo pipefail
build="$1" standin="$2"
source "$(dirname "$0")/../../harness/desktop.sh"
source "$(dirname "$0")/../../harness/sound.sh"
source "$(dirname "$0")/../../harness/app.sh"
source "$(dirname "$0")/../../harness/keyring.sh"
source "$(dirname "$0")/../../harness/standin.sh"
output="$build/test-output/notes_call"
mkdir -p "$output"
rm -f "$output"/*.png
window_probe="$(dirname "$0")/../../harness/window_probe.py"
ui() { /usr/bin/python3 "$window_probe" "$1" "$app_pid" "${@:2}"; }
shows() { ui wait "$@" || fail "the window does not show $*"; }
now_ms() { date +%s%3N; }

desktop_start
sound_server
harness_keyring
standin_start "$standin"
notes="$XDG_DATA_HOME/Quendra/Notes"
defaults="$XDG_CONFIG_HOME/Quendra/defaults.json"
# Signed in with an access code, the offline engine chosen for speech.
choose_model() {
    /usr/bin/python3 - "$defaults" "$1" <<'PY'
import json, sys
path, model = sys.argv[1], sys.argv[2]
d = json.load(open(path))
if model:
    d["dictationModel"] = "s:" + model
else:
    d.pop("dictationModel", None)
json.dump(d, open(path + ".new", "w"))
PY
    mv "$defaults.new" "$defaults"
}
choose_model pocketsphinx-en-us
printf '%s' "pvb_$(printf 'C%.0s' $(seq 43))" | secret-tool store --label="Parlevo access code" \
    service 'Quendra Personal Connections' account accessCode
control /_control/script '{"replies": [
    {"path": "notes", "action": "summarize", "repeat": true, "json": {"summary": {"title": "Sense and Sensibility",
        "overview": "Two readers take turns with the opening of the novel.",
        "keyPoints": [{"text": "The family of Dashwood settled in Sussex", "atMs": 2000}]}}},
    {"path": "notes", "action": "ask", "repeat": true, "json": {"answer": {"text": "In Sussex.",
        "citations": [{"atMs": 2000}]}}}]}' >/dev/null
sent() {
    control /_control/requests | /usr/bin/python3 -c '
import json, sys
print(sum(1 for r in json.load(sys.stdin)["requests"]
          if r["path"].endswith("/notes") and r["body"].get("action") == sys.argv[1]))' "$1"
}
# The newest note's identifier and its state.
newest() { app_cli notes list --json | /usr/bin/python3 -c 'import json,sys; n=json.load(sys.stdin)[0]; print(n["id"], n["state"])'; }

app_install "$build" || fail "the build could not be installed"
app_start_on_bus || fail "the installed application did not start"
app_wait_up || fail "the installed application showed no window"
window="$(app_window_shown | head -1)"
xdotool windowactivate --sync "$window" 2>/dev/null || true
shot() { import -window "$window" "$output/$1.png" || fail "no screenshot of $1"; }

# --- A call: the two readers take turns -------------------------------------------
# A call application playing sound is noticed.
sox -n -r 48000 -c 2 "$harness_dir/quiet.wav" trim 0 12
paplay -d speaker --property=application.id=us.zoom.Zoom "$harness_dir/quiet.wav" &
caller=$!
ui press "page tab" "Notes" || fail "no Notes section"
shows label "Notes"
ui wait label "A call in Zoom seems to be running." 12 || fail "the call in Zoom was not noticed"
kill "$caller" 2>/dev/null || true
ui press "push button" "Record call"
shows "push button" "Stop recording"
shows panel "Recording a call"
windows="$harness_dir/windows"
: >"$windows"
turn() { # turn SINK CLIP: plays one reader into the microphone or the speaker
    local from
    from="$(now_ms)"
    "sound_play_$1" "$(app_clip "$2")"
    echo "$1 $from $(now_ms)" >>"$windows"
    sleep 0.7
}
# Six turns of about 37 s in all: two sections.
turns_taken() {
    turn mic sense_and_sensibility_01_austen_64kb-0870
    turn speaker sense_and_sensibility_01_austen_64kb-0920
    turn mic sense_and_sensibility_01_austen_64kb-0890
    [ -z "${1:-}" ] || shot "$1"
    turn speaker sense_and_sensibility_01_austen_64kb-0880
    turn mic sense_and_sensibility_01_austen_64kb-0930
    turn speaker sense_and_sensibility_01_austen_64kb-0870
}
sleep 1
turns_taken recording
ui press "push button" "Stop recording"
read -r call state < <(newest)
harness_wait 240 sh -c "'$app_parlevo' notes show $call --json | grep -q '\"state\": \"ready\"'" ||
    fail "the call was not processed: $(app_cli notes show "$call"; tail -20 "$app_log")"
folder="$notes/$call"

# At least nine words in ten carry the side that said them.
/usr/bin/python3 - "$folder/note.json" "$windows" <<'PY' || fail "the speakers are not told apart"
import json, sys
note = json.load(open(sys.argv[1]))
start = note["createdAt"]
windows = []
for line in open(sys.argv[2]):
    side, begin, end = line.split()
    windows.append(("you" if side == "mic" else "them", int(begin) - start, int(end) - start))
words = [w for s in note["sections"] for w in s["words"]]
turns = note["turns"]
right = total = 0
seen = set()
for w in words:
    middle = (w["startMs"] + w["endMs"]) / 2
    key = (w["text"], round(middle / 300))
    if key in seen:  # the overlap of two sections is heard twice
        continue
    seen.add(key)
    truth = [side for side, a, b in windows if a - 300 <= middle <= b + 300]
    said = [t["speaker"] for t in turns if t["startMs"] <= middle <= t["endMs"]]
    if not truth:
        continue
    total += 1
    right += bool(said) and said[0] == truth[0]
print("speakers: %d of %d words right" % (right, total))
sys.exit(0 if total >= 40 and right >= 0.9 * total else 1)
PY

# The saved audio lasts as long as the note.
/usr/bin/python3 - "$folder" <<'PY' || fail "audio.m4a does not match the note"
import json, os, subprocess, sys
folder = sys.argv[1]
note = json.load(open(os.path.join(folder, "note.json")))
seconds = float(subprocess.run(["ffprobe", "-v", "error", "-show_entries", "format=duration",
                                "-of", "csv=p=0", os.path.join(folder, "audio.m4a")],
                               capture_output=True, text=True, check=True).stdout)
print("audio: %.3f s for a note of %.3f s" % (seconds, note["durationMs"] / 1000))
sys.exit(0 if abs(seconds - note["durationMs"] / 1000) <= 0.1 else 1)
PY

# Subtitles that parse, in order, with both sides named.
app_cli notes export "$call" --format srt -o "$harness_dir/call.srt"
app_cli notes export "$call" --format vtt -o "$harness_dir/call.vtt"
/usr/bin/python3 - "$harness_dir/call.srt" "$harness_dir/call.vtt" <<'PY' || fail "the subtitles do not parse"
import re, sys
def ms(h, m, s, f):
    return ((int(h) * 60 + int(m)) * 60 + int(s)) * 1000 + int(f)
srt = open(sys.argv[1], encoding="utf-8").read().strip().split("\n\n")
last = -1
for number, block in enumerate(srt, 1):
    lines = block.split("\n")
    assert lines[0] == str(number), lines
    a, b = re.fullmatch(r"(\d+):(\d\d):(\d\d),(\d{3}) --> (\d+):(\d\d):(\d\d),(\d{3})", lines[1]).groups()[:4], \
        re.fullmatch(r"(\d+):(\d\d):(\d\d),(\d{3}) --> (\d+):(\d\d):(\d\d),(\d{3})", lines[1]).groups()[4:]
    assert last <= ms(*a) <= ms(*b) and len(lines) > 2, block
    last = ms(*a)
vtt = open(sys.argv[2], encoding="utf-8").read()
assert vtt.startswith("WEBVTT"), vtt[:20]
voices = set(re.findall(r"<v ([^>]+)>", vtt))
assert {"You", "Computer audio"} <= voices, voices
print("subtitles: %d cues, voices %s" % (len(srt), sorted(voices)))
PY

# --- The note's page: summary and a question, from the stand-in -------------------
check_summary="$(app_cli notes summary "$call")"
[ "$(head -n 1 <<<"$check_summary")" = "Sense and Sensibility" ] || fail "the summary is not the service's: $check_summary"
ui press "list item" "Sense and Sensibility" --contains || fail "the note is not listed by its title"
shows label "Two readers take turns with the opening of the novel."
shows label "Key points"
ui focus text "Ask about this note"
xdotool type --delay 20 "Where did the family live?"
ui press "push button" "Ask"
shows label "In Sussex. (0:02)"
[ "$(sent ask)" = 1 ] || fail "the question did not reach the service"
shot note
ui press "push button" "Back to Notes"
shows "push button" "Record call"

# --- Killed while processing: only what is missing is sent ------------------------
choose_model ""
control /_control/reset '{}' >/dev/null
control /_control/script '{"replies": [
    {"path": "notes", "action": "transcribe", "json": {"transcript": "first part", "words": [
        {"text": "first", "startMs": 1000, "endMs": 1400}, {"text": "part", "startMs": 1400, "endMs": 1800}]}},
    {"path": "notes", "action": "transcribe", "delaySec": 60, "json": {"transcript": "never", "words": []}}]}' >/dev/null
sleep 0.5
ui press "push button" "Record call"
shows "push button" "Stop recording"
turns_taken
ui press "push button" "Stop recording"
read -r killed state < <(newest)
for _ in $(seq 600); do
    [ "$(sent transcribe)" -ge 2 ] && break
    sleep 0.1
done
[ "$(sent transcribe)" -ge 2 ] || fail "the second call's sections were not sent: $(sent transcribe)"
kill -KILL "$app_pid"
harness_wait 10 sh -c "! [ -d /proc/$app_pid ] || grep -q '^State:.*Z' /proc/$app_pid/status"
read -r _ state < <(app_cli notes show "$killed" --json | /usr/bin/python3 -c 'import json,sys; n=json.load(sys.stdin); print(n["id"], n["state"])')
[ "$state" = finishing ] || fail "killed while processing, the note is $state"
control /_control/reset '{}' >/dev/null
control /_control/script '{"replies": [
    {"path": "notes", "action": "transcribe", "repeat": true, "json": {"transcript": "second part", "words": [
        {"text": "second", "startMs": 1000, "endMs": 1400}, {"text": "part", "startMs": 1400, "endMs": 1800}]}},
    {"path": "notes", "action": "summarize", "repeat": true, "json": {"summary": {"title": "Resumed"}}}]}' >/dev/null
app_start_on_bus || fail "the application did not start again"
harness_wait 60 sh -c "'$app_parlevo' notes show $killed --json | grep -q '\"state\": \"ready\"'" ||
    fail "the killed note was not finished after the restart: $(app_cli notes show "$killed"; tail -20 "$app_log")"
[ "$(sent transcribe)" = 1 ] || fail "after the restart $(sent transcribe) sections were sent, not the one left"

app_stop
echo "notes call: ok (screenshots in $output)"

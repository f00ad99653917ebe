#!/usr/bin/env bash
# "parlevo notes process", "summary" and "ask" on calls spoken by two
# espeak-ng voices, one per source, left as a stopped recording leaves them:
# first with the offline engine and nothing to summarise with, then signed in
# to the HTTPS stand-in, and last killed half-way and run again.
# Usage: notes_process.sh PARLEVO MAKE_TEST_NOTE FIXTURE STANDIN
set -euo pipefail
parlevo="$1" maker="$2" fixture="$3" standin="$4"
source "$(dirname "$0")/../harness/keyring.sh"
source "$(dirname "$0")/../harness/standin.sh"
harness_home
harness_bus
harness_keyring
standin_start "$standin"
notes="$XDG_DATA_HOME/Quendra/Notes"

failures=0
check() { # check DESCRIPTION EXPECTED ACTUAL
    if [ "$2" != "$3" ]; then
        echo "FAIL: $1"$'\n'"  expected: $2"$'\n'"  actual:   $3" >&2
        failures=$((failures + 1))
    fi
}
record() { "$maker" "$fixture" "$notes" --untranscribed; }
# How a stored note stands: STATE, sections done of all, turns.
standing() {
    /usr/bin/python3 - "$notes/$1/note.json" <<'PY'
import json, sys
n = json.load(open(sys.argv[1]))
done = sum(1 for s in n["sections"] if s["done"])
print(n["state"], "%d/%d" % (done, len(n["sections"])), "turns" if n["turns"] else "no-turns")
PY
}
sent() { # sent ACTION: how many requests of that notes action the stand-in saw
    control /_control/requests | /usr/bin/python3 -c '
import json, sys
print(sum(1 for r in json.load(sys.stdin)["requests"]
          if r["path"].endswith("/notes") and r["body"].get("action") == sys.argv[1]))' "$1"
}

# --- The offline engine, nothing to summarise with ---------------------------
offline="$(record)"
"$parlevo" notes process "$offline" >"$harness_dir/offline.txt" 2>"$harness_dir/offline.err" ||
    { cat "$harness_dir/offline.err"; echo "FAIL: offline processing"; exit 1; }
cat "$harness_dir/offline.txt"
check "the note is finished" "ready 2/2 turns" "$(standing "$offline")"
check "the note says what would summarise it" \
    "To get a summary, sign in to Parlevo or connect your Groq account in Settings." \
    "$(tail -n 1 "$harness_dir/offline.err")"
# The audio is one file as long as the note, beside the kept sections.
check "the audio is saved as one file of the note's length" "ok" "$(/usr/bin/python3 - "$notes/$offline" <<'PY'
import json, subprocess, sys, os
folder = sys.argv[1]
note = json.load(open(os.path.join(folder, "note.json")))
seconds = float(subprocess.run(["ffprobe", "-v", "error", "-show_entries", "format=duration", "-of",
                                "csv=p=0", os.path.join(folder, "audio.m4a")],
                               capture_output=True, text=True, check=True).stdout)
kept = os.path.exists(os.path.join(folder, "part-0.wav"))
ok = note.get("audioFile") == "audio.m4a" and abs(seconds - note["durationMs"] / 1000) <= 0.1 and kept
print("ok" if ok else "audio %.3f s for %d ms, file %s, sections kept %s"
      % (seconds, note["durationMs"], note.get("audioFile"), kept))
PY
)"
# Each turn is told by the voice that was speaking when it started.
check "turns carry the speaker of their source" "ok" "$(/usr/bin/python3 - "$fixture" "$notes/$offline/note.json" <<'PY'
import json, sys
utterances = json.load(open(sys.argv[1]))["utterances"]
note = json.load(open(sys.argv[2]))
def source_at(ms):
    starts = [u for u in utterances if u["startMs"] <= ms + 500]
    return starts[-1]["source"] if starts else utterances[0]["source"]
turns = note["turns"]
wrong = [t for t in turns
         if {"microphone": "you", "system": "them"}[source_at(t["startMs"])] != t["speaker"]]
words = sum(len(s["words"]) for s in note["sections"])
inside = all(s["startMs"] <= w["startMs"] <= w["endMs"] <= s["endMs"] + 50
             for s in note["sections"] for w in s["words"])
print("ok" if turns and len(wrong) <= 1 and words >= 40 and inside
      else "wrong %d of %d turns, %d words, inside %s" % (len(wrong), len(turns), words, inside))
PY
)"
check "no summary without a way to make one" "1" \
    "$("$parlevo" notes summary "$offline" >/dev/null 2>&1 || echo $?)"

# --- Signed in to the hosted service -------------------------------------------
code="pvb_$(printf 'C%.0s' $(seq 43))"
printf '%s' "$code" | secret-tool store --label="Parlevo access code" \
    service 'Quendra Personal Connections' account accessCode
transcribed='{"path": "notes", "action": "transcribe", "repeat": true, "json": {"transcript": "ship it on friday",
    "words": [{"text": "ship", "startMs": 400, "endMs": 700}, {"text": "it", "startMs": 700, "endMs": 800},
              {"text": "on", "startMs": 800, "endMs": 950}, {"text": "friday", "startMs": 950, "endMs": 1500}]}}'
control /_control/script "{\"replies\": [$transcribed,
    {\"path\": \"notes\", \"action\": \"summarize\", \"json\": {\"summary\": {\"title\": \"Shelves on Friday\",
        \"keyPoints\": [{\"text\": \"Ship on Friday\", \"atMs\": 1400}], \"actions\": [{\"text\": \"Tell the team\", \"atMs\": 900000}]}}},
    {\"path\": \"notes\", \"action\": \"ask\", \"json\": {\"answer\": {\"text\": \"On Friday.\", \"citations\": [{\"atMs\": 11000}]}}}]}" >/dev/null
hosted="$(record)"
"$parlevo" notes process "$hosted" >/dev/null 2>"$harness_dir/hosted.err" ||
    { cat "$harness_dir/hosted.err"; echo "FAIL: hosted processing"; exit 1; }
check "the hosted note is finished" "ready 2/2 turns" "$(standing "$hosted")"
check "each section sent once" "2" "$(sent transcribe)"
check "summarised once" "1" "$(sent summarize)"
summary="$("$parlevo" notes summary "$hosted")"
echo "$summary"
check "the summary's title names the note" "Shelves on Friday" "$(head -n 1 <<<"$summary")"
check "a key point with its moment" "- Ship on Friday [00:00:01]" "$(grep -F 'Ship on Friday' <<<"$summary")"
check "a moment past the end is left out" "- Tell the team" "$(grep -F 'Tell the team' <<<"$summary")"
check "an unchanged transcript is not summarised again" "1" "$(sent summarize)"
check "the answer with its moment" "On Friday. [00:00:11]" \
    "$("$parlevo" notes ask "${hosted:0:8}" "When do the shelves ship?")"
check "the question as asked" "When do the shelves ship?" "$(control /_control/requests | /usr/bin/python3 -c '
import json, sys
print([r["body"]["question"] for r in json.load(sys.stdin)["requests"] if r["body"].get("action") == "ask"][0])')"

# --- Killed half-way, run again -------------------------------------------------
control /_control/reset '{}' >/dev/null
control /_control/script '{"replies": [{"path": "notes", "action": "transcribe", "json": {"transcript": "first", "words": []}},
    {"path": "notes", "action": "transcribe", "delaySec": 60, "json": {"transcript": "never", "words": []}}]}' >/dev/null
killed="$(record)"
"$parlevo" notes process "$killed" >/dev/null 2>&1 &
processing=$!
harness_wait 60 sh -c "grep -q '\"done\": true' '$notes/$killed/note.json'" ||
    echo "FAIL: no section was transcribed before the kill" >&2
kill -KILL "$processing"
wait "$processing" 2>/dev/null || true
check "killed half-way, the note waits to be finished" "finishing 1/2 no-turns" "$(standing "$killed")"
control /_control/reset '{}' >/dev/null
control /_control/script "{\"replies\": [$transcribed, {\"path\": \"notes\", \"action\": \"summarize\",
    \"json\": {\"summary\": {\"title\": \"Again\"}}}]}" >/dev/null
"$parlevo" notes process "$killed" >/dev/null 2>"$harness_dir/killed.err" ||
    { cat "$harness_dir/killed.err"; failures=$((failures + 1)); }
check "run again, only the missing section is sent" "1" "$(sent transcribe)"
check "and the note is finished" "ready 2/2 turns" "$(standing "$killed")"

# --- Bad input -----------------------------------------------------------------
check "an unknown note" "1" "$("$parlevo" notes process 00000000 >/dev/null 2>&1 || echo $?)"
check "a question is needed" "2" "$("$parlevo" notes ask "$hosted" >/dev/null 2>&1 || echo $?)"

[ "$failures" -eq 0 ] || exit 1
echo "notes process: ok"

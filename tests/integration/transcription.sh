#!/usr/bin/env bash
# The offline engine end to end through "parlevo transcribe": the five
# LibriVox clips of pocketsphinx-testdata against their reference
# transcriptions, the plain and JSON outputs, a recording long enough to be
# cut into parts, and the English-only refusal.
# Usage: transcription.sh PARLEVO WER_BOUND
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
source "$here/../harness/common.sh"
parlevo="$1"
bound="$2"
clips=/usr/share/pocketsphinx/test/data/librivox
harness_home

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

# Word error rate of the raw transcripts over the five clips.
hypotheses="$harness_dir/hypotheses.txt"
: >"$hypotheses"
for clip in "$clips"/*.wav; do
    id="$(basename "$clip" .wav)"
    "$parlevo" transcribe "$clip" --model pocketsphinx-en-us --style exact --json \
        >"$harness_dir/$id.json" 2>"$harness_dir/$id.err" || fail "$id: $(cat "$harness_dir/$id.err")"
    seconds="$(soxi -D "$clip")"
    python3 - "$harness_dir/$id.json" "$id" "$seconds" >>"$hypotheses" <<'PY'
import json, sys
result = json.load(open(sys.argv[1]))
assert result["model"] == "pocketsphinx-en-us", result
assert result["fallbackUsed"] is False, result
# The offline engine tells each word's time: in order, inside the clip, and
# the words are those of the text.
words = result["segments"]
assert words, result
assert [w["text"] for w in words] == result["rawTranscript"].split(), result
assert all(0 <= a["startMs"] <= a["endMs"] <= b["startMs"] for a, b in zip(words, words[1:])), words
assert words[-1]["endMs"] <= float(sys.argv[3]) * 1000 + 50, words[-1]
print(sys.argv[2] + "\t" + result["rawTranscript"])
PY
done
read -r errors words rate < <(python3 "$here/wer.py" "$clips/transcription" "$hypotheses")
echo "word error rate: $errors errors in $words words ($rate); bound $bound"
python3 -c "import sys; sys.exit(0 if float('$rate') <= float('$bound') else 1)" ||
    fail "word error rate $rate is over $bound"

# The plain output is the finished text and nothing else.
text="$("$parlevo" transcribe "$clips/sense_and_sensibility_01_austen_64kb-0920.wav" \
    --model pocketsphinx-en-us --style clean 2>/dev/null)"
echo "finished: $text"
grep -qi "amiable woman" <<<"$text" || fail "unexpected text: $text"

# Other languages are refused in plain words, with the failure status.
if "$parlevo" transcribe "$clips/sense_and_sensibility_01_austen_64kb-0880.wav" \
    --model pocketsphinx-en-us --language fr >/dev/null 2>"$harness_dir/fr.err"; then
    fail "French was accepted"
fi
grep -q "English only" "$harness_dir/fr.err" || fail "no English-only sentence"

# About 99 seconds: two parts, progress on standard error, and no part cache
# left beside the user's file once it is done.
long="$harness_dir/long.wav"
sox "$clips"/*.wav "$clips"/*.wav "$clips"/*.wav "$clips"/*.wav "$long"
"$parlevo" transcribe "$long" --model pocketsphinx-en-us --style exact \
    >"$harness_dir/long.txt" 2>"$harness_dir/long.err" || fail "$(cat "$harness_dir/long.err")"
grep -q "Part 2 of 2 transcribed." "$harness_dir/long.err" || fail "no progress: $(cat "$harness_dir/long.err")"
[ ! -e "$long.progress.json" ] || fail "a part cache was left beside the recording"
grep -qi "young man" "$harness_dir/long.txt" || fail "long text: $(cat "$harness_dir/long.txt")"
# Asked again, the same text.
"$parlevo" transcribe "$long" --model pocketsphinx-en-us --style exact \
    >"$harness_dir/again.txt" 2>"$harness_dir/again.err"
cmp -s "$harness_dir/long.txt" "$harness_dir/again.txt" || fail "the cached text differs"
echo "transcription: all checks passed"

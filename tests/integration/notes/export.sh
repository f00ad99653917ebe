#!/usr/bin/env bash
# A call spoken by two espeak-ng voices goes through the section writer and
# the assembly; `parlevo notes export` must then give Markdown, subtitles that
# parse back into the transcript, a JSON record, and an M4A whose length
# (ffprobe) is the note's. Bad arguments, missing audio and a full or
# read-only disk each get their sentence, and nothing half written is left.
# Usage: export.sh PARLEVO MAKE_TEST_NOTE FIXTURE
set -euo pipefail
source "$(dirname "$0")/../../harness/smalldisk.sh"
smalldisk_enter "$@"
maker="$2" fixture="$3"
source "$(dirname "$0")/support.sh" "$1"
trap 'smalldisk_unmount_all; harness_cleanup' EXIT
command -v ffprobe >/dev/null || fail "ffprobe is missing; run scripts/setup"

id="$("$maker" "$fixture" "$notes")"
run assemble "$parlevo" notes assemble "$id"
expect_status 0 "assembling the call"
out="$harness_dir/out"
mkdir -p "$out"

for format in md srt vtt json; do
    run "export-$format" "$parlevo" notes export "${id:0:8}" --format "$format"
    expect_status 0 "exporting $format to standard output"
done
expect_text export-md.out "# Planning call"
expect_text export-md.out "- Source: Call · Zoom"
expect_text export-md.out "**You** (00:00:01): Hi everyone, I'm Maria from sales."
expect_text export-md.out "**Computer audio** (00:00:05): Thanks, Maria."

# The subtitles read back, cue by cue, into the transcript the command prints.
run transcript "$parlevo" notes transcript "$id"
expect_status 0 "printing the transcript"
python3 - "$harness_dir" <<'EOF' || fail "the subtitles or the record do not match the transcript"
import json, re, sys
folder = sys.argv[1]
turns = []
for line in open(f"{folder}/transcript.out", encoding="utf-8"):
    m = re.match(r"^\[(\d+):(\d\d):(\d\d)\] ([^:]*): (.*)$", line.rstrip("\n"))
    assert m, line
    turns.append((m.group(4), m.group(5)))

def time(text, sep):
    m = re.fullmatch(r"(\d{2,}):([0-5]\d):([0-5]\d)" + re.escape(sep) + r"(\d{3})", text)
    assert m, text
    h, mi, s, ms = map(int, m.groups())
    return ((h * 60 + mi) * 60 + s) * 1000 + ms

def cues(path, sep, vtt):
    blocks = [b for b in open(path, encoding="utf-8").read().split("\n\n") if b.strip()]
    if vtt:
        assert blocks.pop(0) == "WEBVTT"
    result = []
    for b in blocks:
        lines = b.split("\n")
        if "-->" not in lines[0]:
            lines.pop(0)
        start, end = (time(t, sep) for t in lines[0].split(" --> "))
        text = "\n".join(lines[1:])
        speaker = None
        if vtt:
            m = re.match(r"<v ([^>]*)>", text)
            if m:
                speaker, text = m.group(1), text[m.end():]
            assert "<" not in text
            text = text.replace("&lt;", "<").replace("&gt;", ">").replace("&amp;", "&")
        else:
            speaker, text = text.split(": ", 1)
        result.append((start, end, speaker, " ".join(text.split("\n"))))
    return result

for name, sep, vtt in (("srt", ",", False), ("vtt", ".", True)):
    found = cues(f"{folder}/export-{name}.out", sep, vtt)
    assert all(a[0] <= b[0] for a, b in zip(found, found[1:])), name + ": cues out of order"
    assert all(c[1] > c[0] for c in found), name + ": a cue ends before it starts"
    i = 0
    for speaker, text in turns:
        parts = []
        while " ".join(parts) != text:
            assert found[i][2] == speaker, (name, found[i], speaker)
            parts.append(found[i][3])
            i += 1
    assert i == len(found), name + ": cues left over"

record = json.load(open(f"{folder}/export-json.out", encoding="utf-8"))
assert [(t["name"], t["text"]) for t in record["turns"]] == turns
assert record["source"]["kind"] == "call" and record["createdAt"].endswith("Z")
assert {w["speaker"] for w in record["words"]} == {"you", "them"}
print("subtitles and record match", len(turns), "turns")
EOF

run to-file "$parlevo" notes export "$id" --format srt -o "$out/call.srt"
expect_status 0 "exporting SRT to a file"
cmp -s "$out/call.srt" "$harness_dir/export-srt.out" || fail "the file differs from standard output"

# Audio: by default a file named after the note in the current folder.
duration_ms="$("$parlevo" notes show "$id" --json | python3 -c 'import json,sys; print(json.load(sys.stdin)["durationMs"])')"
cd "$out"
run m4a "$parlevo" notes export "$id" --format m4a
cd - >/dev/null
expect_status 0 "exporting the audio"
expect_text m4a.out "Planning call.m4a"
probe="$(ffprobe -v error -show_entries format=duration:stream=codec_name,sample_rate,channels \
    -of default=noprint_wrappers=1 "$out/Planning call.m4a")"
echo "$probe"
grep -qx 'codec_name=aac' <<<"$probe" || fail "not AAC"
grep -qx 'sample_rate=16000' <<<"$probe" || fail "not 16 kHz"
grep -qx 'channels=1' <<<"$probe" || fail "not one channel"
python3 -c "import sys; d=float(sys.argv[1]); n=int(sys.argv[2])/1000; print(f'ffprobe {d:.3f} s, note {n:.3f} s'); sys.exit(abs(d-n) > 0.1)" \
    "$(grep '^duration=' <<<"$probe" | cut -d= -f2)" "$duration_ms" || fail "the audio's length is not the note's"
cd "$out"
run m4a-again "$parlevo" notes export "$id" --format m4a
cd - >/dev/null
expect_status 1 "exporting the audio over an earlier export"
expect_text m4a-again.err "already exists"
run m4a-named "$parlevo" notes export "$id" --format m4a -o "$out/Planning call.m4a"
expect_status 0 "replacing the audio with -o"
[ "$(ls -A "$out" | sort | tr '\n' ' ')" = "Planning call.m4a call.srt " ] || fail "stray files: $(ls -A "$out")"

# Bad arguments: one sentence, status 2.
for args in "--format" "--format mp3" "" "--format m4a -o -" "--format md -o"; do
    # shellcheck disable=SC2086
    run bad "$parlevo" notes export "$id" $args
    expect_status 2 "notes export $args"
    [ "$(wc -l <"$harness_dir/bad.err")" -eq 1 ] || fail "more than one line for: $args"
done
run help "$parlevo" notes export --help
expect_status 0 "the help"
expect_text help.out "notes export ID --format md|srt|vtt|json|m4a [-o FILE]"

# A full disk, one that fills during the write, and a read-only one.
smalldisk_mount "$harness_dir/full" 4096
smalldisk_fill "$harness_dir/full"
run full "$parlevo" notes export "$id" --format m4a -o "$harness_dir/full/call.m4a"
expect_status 1 "exporting to a full disk"
expect_text full.err "the disk is full"
smalldisk_mount "$harness_dir/small" 64
run small "$parlevo" notes export "$id" --format m4a -o "$harness_dir/small/call.m4a"
expect_status 1 "exporting to a disk that fills"
expect_text small.err "Could not save $harness_dir/small/call.m4a: the disk is full."
[ -z "$(ls -A "$harness_dir/small")" ] || fail "left behind: $(ls -A "$harness_dir/small")"
run small-text "$parlevo" notes export "$id" --format json -o "$harness_dir/full/call.json"
expect_status 1 "exporting text to a full disk"
expect_text small-text.err "the disk is full"
mkdir -p "$harness_dir/readonly"
mount -t tmpfs -o ro,size=64k tmpfs "$harness_dir/readonly"
smalldisk_mounts+=("$harness_dir/readonly")
run readonly "$parlevo" notes export "$id" --format m4a -o "$harness_dir/readonly/call.m4a"
expect_status 1 "exporting to a read-only disk"
expect_text readonly.err "the disk is read-only"

# Audio that is gone.
rm "$notes/$id/part-1.wav"
run missing "$parlevo" notes export "$id" --format m4a -o "$out/missing.m4a"
expect_status 1 "exporting audio with a section missing"
expect_text missing.err "part-1.wav"
[ ! -e "$out/missing.m4a" ] || fail "a file was written without its audio"
echo "ok"

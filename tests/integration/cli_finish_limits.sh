#!/usr/bin/env bash
# "parlevo finish" on text of any length: a 20,000-word dictation is finished
# in every style, the shapes that once crashed the pass or ran for minutes
# finish at the longest length, and anything longer is refused in one
# sentence with the failure status, without a crash.
# Usage: cli_finish_limits.sh PARLEVO FIXTURES
set -euo pipefail
parlevo="$1" fixtures="$2"
source "$(dirname "$0")/../harness/common.sh"
harness_home

failures=0
fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

# finish INPUT STYLE: runs the command; sets status, out and err.
finish() {
    set +e
    "$parlevo" finish --style "$2" <"$1" >"$harness_dir/out" 2>"$harness_dir/err"
    status=$?
    set -e
    out="$(cat "$harness_dir/out")" err="$(cat "$harness_dir/err")"
}

# The fixture's dictation repeated up to a number of words, or of bytes.
repeat_words() {
    python3 - "$fixtures/long-dictation.txt" "$1" <<'PY'
import sys
said = open(sys.argv[1]).read().split()
count = int(sys.argv[2])
print(" ".join((said * (count // len(said) + 1))[:count]))
PY
}
repeat_bytes() {
    python3 - "$fixtures/long-dictation.txt" "$1" <<'PY'
import sys
said = open(sys.argv[1]).read().replace("\n", " ")
size = int(sys.argv[2])
sys.stdout.write((said * (size // len(said) + 1))[:size])
PY
}

repeat_words 20000 >"$harness_dir/twenty-thousand.txt"
for style in exact clean polished excited casual prompt; do
    started=$SECONDS
    finish "$harness_dir/twenty-thousand.txt" "$style"
    echo "20,000 words, $style: status $status in $((SECONDS - started)) s"
    [ "$status" -eq 0 ] || fail "20,000 words in $style gave status $status: $err"
    words=$(wc -w <<<"$out")
    ((words > 15000)) || fail "20,000 words in $style came out as $words"
    if [ "$style" != exact ] && grep -qiw "um" <<<"$out"; then
        fail "fillers are left in $style"
    fi
done

# Longer than the pass takes: random bytes as base64, and dictation repeated.
head -c 3000000 /dev/urandom | base64 >"$harness_dir/random.txt"
repeat_bytes 3000000 >"$harness_dir/repeated.txt"
for input in random repeated; do
    for style in clean excited casual; do
        finish "$harness_dir/$input.txt" "$style"
        [ "$status" -eq 1 ] || fail "3 MB of $input text in $style gave status $status"
        [ "$(wc -l <<<"$err")" -eq 1 ] && grep -q "too long" <<<"$err" ||
            fail "3 MB of $input text in $style: $err"
        [ -z "$out" ] || fail "3 MB of $input text in $style printed text"
    done
done

# The refusal names the longest text; the shapes are finished at that length
# and refused with one character more.
longest="$(grep -o '[0-9][0-9,]*' <<<"$err" | tr -d ,)"
[ -n "$longest" ] || fail "the refusal names no length: $err"
shapes=$(python3 - "$fixtures/long-shapes.json" "$harness_dir" "${longest:-0}" <<'PY'
import json, sys
shapes = json.load(open(sys.argv[1]))["shapes"]
folder, longest = sys.argv[2], int(sys.argv[3])
for i, shape in enumerate(shapes):
    body = longest - len(shape["start"]) - len(shape["end"])
    unit = shape["unit"]
    with open("%s/shape-%d.txt" % (folder, i), "w") as f:
        f.write(shape["start"] + (unit * (body // len(unit) + 1))[:body] + shape["end"])
    with open("%s/shape-%d.name" % (folder, i), "w") as f:
        f.write(shape["name"])
print(len(shapes))
PY
)
for ((i = 0; i < shapes; i++)); do
    name="$(cat "$harness_dir/shape-$i.name")"
    started=$SECONDS
    finish "$harness_dir/shape-$i.txt" excited
    echo "$name: status $status in $((SECONDS - started)) s"
    # Finished, or found to be no speech; never a crash or a refusal.
    [ "$status" -eq 0 ] || { [ "$status" -eq 1 ] && [ "$err" = "No clear speech was detected." ]; } ||
        fail "$name gave status $status: $err"
    printf 'x' >>"$harness_dir/shape-$i.txt"
    finish "$harness_dir/shape-$i.txt" excited
    [ "$status" -eq 1 ] && grep -q "too long" <<<"$err" ||
        fail "$name and one more character gave status $status: $err"
done
exit "$failures"

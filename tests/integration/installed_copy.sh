#!/usr/bin/env bash
# An installed copy works on its own: installed with "cmake --install" into a
# temporary prefix, copied to another folder and run there with the source
# and build trees replaced by empty folders, it transcribes the LibriVox clips
# with the offline engine within the word error rate bound and finishes text
# with a style.
# Usage: installed_copy.sh BUILD_FOLDER SOURCE_FOLDER WER_BOUND
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
source "$here/../harness/common.sh"
build="$(realpath "$1")" source_tree="$(realpath "$2")" bound="$3"
clips=/usr/share/pocketsphinx/test/data/librivox
harness_home
# Our own copy: the source tree is hidden below.
cp "$here/wer.py" "$harness_dir/wer.py"

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

prefix="$harness_dir/prefix"
cmake --install "$build" --prefix "$prefix" >"$harness_dir/install.log" ||
    fail "install failed: $(cat "$harness_dir/install.log")"
for file in bin/parlevo libexec/parlevo/parlevo-sphinx-worker share/parlevo/dictation-intelligence.js \
    share/parlevo/dictation-prompts.js share/parlevo/qwen-worker.py; do
    [ -f "$prefix/$file" ] || fail "$file was not installed"
done
# Moved elsewhere, the copy must not depend on where it was installed either.
moved="$harness_dir/elsewhere/parlevo"
mkdir -p "$(dirname "$moved")"
cp -a "$prefix" "$moved"
rm -rf "$prefix"
parlevo="$moved/bin/parlevo"

# What the copy does, run with the trees hidden; results land in $harness_dir.
cat >"$harness_dir/inside.sh" <<EOF
set -u
for tree in "$build" "$source_tree"; do
    mount -t tmpfs -o size=1m,mode=0555 hidden "\$tree" || exit 97
done
for tree in "$build" "$source_tree"; do
    # A build folder inside the source tree is gone with it.
    [ ! -e "\$tree" ] || [ -z "\$(ls -A "\$tree")" ] || exit 98
done
for clip in "$clips"/*.wav; do
    id="\$(basename "\$clip" .wav)"
    "$parlevo" transcribe "\$clip" --model pocketsphinx-en-us --style exact --json \
        >"$harness_dir/\$id.json" 2>"$harness_dir/\$id.err" || exit 1
done
printf 'um so we we ship on friday' | "$parlevo" finish --style clean \
    >"$harness_dir/finished.txt" 2>"$harness_dir/finish.err" || exit 2
EOF

# Root inside a user namespace of our own may mount; real root needs none.
hidden=""
mkdir "$harness_dir/probe"
for options in "--mount" "--user --map-root-user --mount"; do
    # shellcheck disable=SC2086
    if unshare $options sh -c "mount -t tmpfs probe '$harness_dir/probe'" 2>/dev/null; then
        hidden="$options"
        break
    fi
done
[ -n "$hidden" ] || fail "no mount namespace to hide the source and build trees in"
started="$(date +%s%N)"
status=0
# shellcheck disable=SC2086
unshare $hidden bash "$harness_dir/inside.sh" || status=$?
elapsed_ms=$((($(date +%s%N) - started) / 1000000))
case "$status" in
0) ;;
97 | 98) fail "could not hide the source and build trees (status $status)" ;;
1) fail "the installed copy could not transcribe: $(cat "$harness_dir"/*.err)" ;;
*) fail "the installed copy could not finish text: $(cat "$harness_dir/finish.err")" ;;
esac

hypotheses="$harness_dir/hypotheses.txt"
for json in "$harness_dir"/*.json; do
    python3 - "$json" >>"$hypotheses" <<'PY'
import json, os, sys
result = json.load(open(sys.argv[1]))
assert result["model"] == "pocketsphinx-en-us", result
assert result["fallbackUsed"] is False, result
print(os.path.basename(sys.argv[1])[:-5] + "\t" + result["rawTranscript"])
PY
done
read -r errors words rate < <(python3 "$harness_dir/wer.py" "$clips/transcription" "$hypotheses")
echo "installed copy, trees hidden: $errors errors in $words words ($rate, bound $bound); ${elapsed_ms} ms"
python3 -c "import sys; sys.exit(0 if float('$rate') <= float('$bound') else 1)" ||
    fail "word error rate $rate is over $bound"
finished="$(cat "$harness_dir/finished.txt")"
[ "$finished" = "So we ship on Friday." ] || fail "finished text: $finished"
echo "installed copy: ok"

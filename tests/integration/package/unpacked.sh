#!/usr/bin/env bash
# The package unpacked into a scratch root runs from there: "parlevo
# --version" prints the package's version, the desktop entry and metadata
# pass their validators as installed under /usr, and the offline engine
# transcribes the LibriVox clips of pocketsphinx-testdata within the word
# error rate bound and finishes text, with the worker and scripts of the
# package.
# Usage: unpacked.sh BUILD_FOLDER WER_BOUND
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
source "$here/common.sh" "$1"
source "$here/../../harness/common.sh"
bound="$2"
clips=/usr/share/pocketsphinx/test/data/librivox
harness_home
package_built

root="$harness_dir/root"
dpkg-deb -x "$package_file" "$root"
parlevo="$root/usr/bin/parlevo"
[ "$("$parlevo" --version)" = "parlevo $(dpkg-deb -f "$package_file" Version)" ] ||
    fail "the program says $("$parlevo" --version), the package $(dpkg-deb -f "$package_file" Version)"
entry="$root/usr/share/applications/com.orvane.Parlevo.desktop"
desktop-file-validate "$entry" || fail "desktop-file-validate refused the package's entry"
grep -qx 'Exec=/usr/bin/parlevo' "$entry" || fail "the entry runs $(grep ^Exec= "$entry")"
appstreamcli validate --no-net "$root/usr/share/metainfo/com.orvane.Parlevo.metainfo.xml" ||
    fail "appstreamcli refused the package's metadata"
[ -x "$root/usr/libexec/parlevo/parlevo-sphinx-worker" ] || fail "no offline worker in the package"
echo "unpacked: $("$parlevo" --version), valid desktop entry and metadata"

hypotheses="$harness_dir/hypotheses.txt"
: >"$hypotheses"
for clip in "$clips"/*.wav; do
    id="$(basename "$clip" .wav)"
    "$parlevo" transcribe "$clip" --model pocketsphinx-en-us --style exact --json \
        >"$harness_dir/$id.json" 2>"$harness_dir/$id.err" || fail "$id: $(cat "$harness_dir/$id.err")"
    python3 - "$harness_dir/$id.json" "$id" >>"$hypotheses" <<'PY'
import json, sys
result = json.load(open(sys.argv[1]))
assert result["model"] == "pocketsphinx-en-us", result
assert result["fallbackUsed"] is False, result
print(sys.argv[2] + "\t" + result["rawTranscript"])
PY
done
read -r errors words rate < <(python3 "$here/../wer.py" "$clips/transcription" "$hypotheses")
echo "unpacked package: $errors errors in $words words ($rate, bound $bound)"
python3 -c "import sys; sys.exit(0 if float('$rate') <= float('$bound') else 1)" ||
    fail "word error rate $rate is over $bound"
finished="$(printf 'um so we we ship on friday' | "$parlevo" finish --style clean)"
[ "$finished" = "So we ship on Friday." ] || fail "finished text: $finished"
echo "unpacked: ok"

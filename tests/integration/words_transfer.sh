#!/usr/bin/env bash
# Importing and exporting the Words and snippets as a person does it from the
# command line: ten thousand rows, both formats into a fresh data folder,
# files with faults that must change nothing, two imports at once, and an
# export to a full disk. Word suggestions need dictations in the history,
# which no command makes without audio: they are covered by the unit tests,
# and here only as the commands answer on an empty history.
# Usage: words_transfer.sh PARLEVO
set -euo pipefail
source "$(dirname "$0")/../harness/smalldisk.sh"
smalldisk_enter "$@"
parlevo="$(readlink -f "$1")"
source "$(dirname "$0")/../harness/common.sh"
harness_home
trap 'smalldisk_unmount_all; harness_cleanup' EXIT
cd "$harness_dir"

fail() {
    echo "FAIL: $*"
    exit 1
}
step() { echo "$(date +%T.%N | cut -c1-12) == $*"; }
# A data folder of its own for what follows.
use_folder() { export XDG_CONFIG_HOME="$harness_dir/$1/config" XDG_DATA_HOME="$harness_dir/$1/data"; }
count() { "$parlevo" "$1" list --json | python3 -c 'import json,sys; print(len(json.load(sys.stdin)))'; }
# The stored records without their identifiers, which a CSV file does not carry.
without_ids() { python3 -c 'import json,sys; print(json.dumps([{k: v for k, v in e.items() if k != "id"} for e in json.load(sys.stdin)]))'; }
# Runs a command that must fail: status 1, one sentence matching $1 on stderr.
must_fail() {
    local pattern="$1" status=0
    shift
    timeout 60 "$parlevo" "$@" >out 2>err || status=$?
    [ "$status" -eq 1 ] || fail "status $status from $*: $(cat err)"
    grep -q -- "$pattern" err || fail "no “$pattern” from $*: $(cat err)"
    echo "   $*: $(cat err)"
}

python3 - <<'EOF'
import csv
with open("many.csv", "w", newline="", encoding="utf-8") as f:
    w = csv.writer(f)
    w.writerow(["spelling", "spoken forms"])
    for i in range(10000):
        w.writerow([f'Term {i}, "Ltd" – Zoë', f"term {i}\nterme numéro {i}"])
with open("snippets.csv", "w", newline="", encoding="utf-8") as f:
    w = csv.writer(f)
    w.writerow(["trigger", "expansion"])
    for i in range(50):
        w.writerow([f"sig {i}", f'Best, "Ana" {i}\nБерлин 🚀'])
for name, letter in (("a.csv", "A"), ("b.csv", "B")):
    with open(name, "w", newline="", encoding="utf-8") as f:
        w = csv.writer(f)
        w.writerow(["spelling", "spoken forms"])
        for i in range(2000):
            w.writerow([f"{letter}word{i}", ""])
EOF

step "ten thousand rows import whole"
use_folder first
"$parlevo" words add Existing --form "ex isting" >/dev/null
start=$(date +%s.%N)
"$parlevo" words import many.csv >out
echo "   $(cat out) ($(python3 -c "print(round($(date +%s.%N) - $start, 2))") s with the start of the program)"
grep -q "Imported 10000 words: 10000 new" out || fail "import said: $(cat out)"
[ "$(count words)" -eq 10001 ] || fail "$(count words) words listed after the import"
"$parlevo" snippets import snippets.csv >out
grep -q "Imported 50 snippets" out || fail "snippet import said: $(cat out)"

step "both formats carry the lists into a fresh data folder"
for list in words snippets; do
    "$parlevo" $list export $list.json >/dev/null
    "$parlevo" $list export $list-out.csv >/dev/null
    "$parlevo" $list export - --format csv >stdout.csv
    cmp -s stdout.csv $list-out.csv || fail "$list: standard output and the file differ"
    "$parlevo" $list export - >stdout.json
    cmp -s stdout.json $list.json || fail "$list: JSON on standard output and in the file differ"
    "$parlevo" $list list --json >$list-before.json
done
use_folder from-json
"$parlevo" words import words.json >/dev/null
"$parlevo" snippets import snippets.json >/dev/null
for list in words snippets; do
    "$parlevo" $list list --json | cmp -s - $list-before.json || fail "$list differ after the JSON round trip"
done
use_folder from-csv
"$parlevo" words import words-out.csv >/dev/null
"$parlevo" snippets import snippets-out.csv >/dev/null
for list in words snippets; do
    [ "$("$parlevo" $list list --json | without_ids)" = "$(without_ids <$list-before.json)" ] ||
        fail "$list differ after the CSV round trip"
done

step "a file with a fault changes nothing"
use_folder first
defaults="$XDG_CONFIG_HOME/Quendra/defaults.json"
before="$("$parlevo" words list --json)"
sum="$(sha256sum <"$defaults")"
{ cat many.csv; printf 'Caf\xe9,cafe\n'; } >latin1.csv
must_fail "latin1.csv: line 20002 is not UTF-8" words import latin1.csv
{ cat many.csv; printf 'Gamma,gamma,extra\n'; } >columns.csv
must_fail "columns.csv: line 20002 has 3 cells" words import columns.csv
printf '[{"spelling": "Alpha"},\n {"spelling": "Beta", "spokenForms": [1]}]' >forms.json
must_fail "forms.json: element 2" words import forms.json
printf '[{"spelling": "Alpha"},\n {"spelling": ' >broken.json
must_fail "broken.json: it is not valid JSON (line 2)" words import broken.json
must_fail "Choose a .csv or .json file" words import many.txt
must_fail "larger than Parlevo reads" words import "$(truncate -s 21M huge.csv && echo huge.csv)"
[ "$("$parlevo" words list --json)" = "$before" ] || fail "a refused import changed the Words"
[ "$(sha256sum <"$defaults")" = "$sum" ] || fail "a refused import rewrote the defaults file"

step "two imports at once both land"
use_folder parallel
"$parlevo" words import a.csv >a.out 2>&1 &
first=$!
"$parlevo" words import b.csv >b.out 2>&1 &
second=$!
wait "$first" || fail "the first import failed: $(cat a.out)"
wait "$second" || fail "the second import failed: $(cat b.out)"
[ "$(count words)" -eq 4000 ] || fail "$(count words) words kept of two imports of 2000"

step "an export to a full disk fails with a sentence and leaves no file"
use_folder first
smalldisk_mount "$harness_dir/full" 64
smalldisk_fill "$harness_dir/full"
must_fail "the disk is full" words export "$harness_dir/full/words.json"
must_fail "the disk is full" snippets export "$harness_dir/full/snippets.csv"
[ -z "$(find "$harness_dir/full" -name '*words*' -o -name '*snippets*')" ] ||
    fail "an export left $(ls -A "$harness_dir/full")"
status=0
"$parlevo" words export - >"$harness_dir/full/stdout.json" 2>err || status=$?
[ "$status" -eq 1 ] && grep -q "could not be written" err || fail "export to a full standard output: status $status, $(cat err)"
must_fail "Could not save /proc/words.json" words export /proc/words.json

step "suggestions, accept and dismiss from the command line"
use_folder suggestions
"$parlevo" words suggestions >out
grep -q "no word suggestions yet" out || fail "suggestions said: $(cat out)"
[ "$("$parlevo" words suggestions --json | tr -d '[:space:]')" = "[]" ] || fail "suggestions --json is not an empty array"
"$parlevo" words accept Quendrix >/dev/null
"$parlevo" words list | grep -qx Quendrix || fail "an accepted word is not in the Words"
"$parlevo" words dismiss Borovak >out
grep -q "will not be suggested again" out || fail "dismiss said: $(cat out)"
grep -q borovak "$XDG_CONFIG_HOME/Quendra/defaults.json" || fail "the dismissal was not stored"
echo "words_transfer: all passed"

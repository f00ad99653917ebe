# Sourced by the notes command tests: a private home, notes written as a
# record of an earlier version or a damaged disk would leave them, and checks
# of a command's status and sentence.
# Usage: source support.sh "$parlevo"

source "$(dirname "${BASH_SOURCE[0]}")/../../harness/common.sh"
harness_home
parlevo="$1"
# The copy a user runs: installed from the build tree when the test is given one.
if [ -n "${PARLEVO_BUILD:-}" ]; then
    cmake --install "$PARLEVO_BUILD" --prefix "$harness_dir/prefix" >/dev/null
    parlevo="$harness_dir/prefix/bin/parlevo"
fi
notes="$XDG_DATA_HOME/Quendra/Notes"
mkdir -p -m 0700 "$XDG_DATA_HOME/Quendra" "$notes"

new_id() { tr 'a-z' 'A-Z' </proc/sys/kernel/random/uuid; }

# Two transcribed words in one closed section: ready to be assembled.
transcribed='[{"index":0,"startMs":0,"endMs":5000,"closed":true,"done":true,
  "transcript":"Hello there.","words":[{"text":"Hello","startMs":100,"endMs":400,"section":0},
  {"text":"there.","startMs":450,"endMs":800,"section":0}]}]'

# write_note ID TITLE STATE SECTIONS [SOURCE]: the folder and its note.json.
write_note() {
    mkdir -p -m 0700 "$notes/$1"
    printf '{"id":"%s","title":"%s","createdAt":1714979289123,"state":"%s","source":"%s","sections":%s}\n' \
        "$1" "$2" "$3" "${5:-room}" "$4" >"$notes/$1/note.json"
}

# A section cut off by a crash: the header says no samples, a second follows.
write_cut_section() {
    { head -c 44 /dev/zero; head -c 32000 /dev/urandom; } >"$1"
}

# run NAME COMMAND...: runs a command with a time limit, keeping its status
# in $status and its output in $harness_dir/NAME.out and NAME.err.
run() {
    local name="$1"
    shift
    set +e
    timeout 30 "$@" >"$harness_dir/$name.out" 2>"$harness_dir/$name.err"
    status=$?
    set -e
    [ "$status" -ne 124 ] || fail "$name did not return within 30 seconds"
}

fail() {
    echo "FAILED: $*"
    for f in "$harness_dir"/*.out "$harness_dir"/*.err; do
        [ -s "$f" ] && { echo "--- $(basename "$f")"; cat "$f"; }
    done
    exit 1
}

expect_status() { [ "$status" -eq "$1" ] || fail "$2: status $status, expected $1"; }
# expect_text NAME.out|NAME.err TEXT
expect_text() { grep -qF -- "$2" "$harness_dir/$1" || fail "$1 lacks: $2"; }

revision_of() {
    "$parlevo" notes show "$1" --json | sed -n 's/^  "revision": \([0-9]*\),*$/\1/p'
}

file_mode() { stat -c %a "$1"; }

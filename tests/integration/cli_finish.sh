#!/usr/bin/env bash
# The real parlevo binary finishes piped text with the scripts of the build
# tree, and an installed copy reads the ones installed beside it.
set -euo pipefail
parlevo="$1" build="$2"
source "$(dirname "$0")/../harness/common.sh"
harness_home

check() { # expected, then the command's output
    [ "$1" = "$2" ] || { echo "expected: $1"; echo "got:      $2"; exit 1; }
}

check "So we ship on Friday." "$(printf 'um so we we ship on friday' | "$parlevo" finish --style clean)"
"$parlevo" words add Kubernetes --form "cube and eighties" >/dev/null
check "Deploy Kubernetes." "$(echo 'uh deploy cube and eighties' | "$parlevo" finish --style clean)"
check "Tuesday works." "$(echo 'Tell them Tuesday works' | "$parlevo" finish --style clean --reply-assist)"

set +e
echo "Thank you." | "$parlevo" finish 2>"$harness_dir/err" >/dev/null; status=$?
set -e
[ "$status" -eq 1 ] || { echo "silence gave status $status"; exit 1; }
grep -q "No clear speech was detected." "$harness_dir/err"

# Installed: the program finds its scripts in ../share/parlevo.
prefix="$harness_dir/prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
installed="$prefix/bin/parlevo"
share="$prefix/share/parlevo"
[ -f "$share/dictation-intelligence.js" ] && [ -f "$share/dictation-prompts.js" ]
check "Ship it." "$(echo 'um ship it' | "$installed" finish --style clean)"
echo 'function finishDictationText() { return "from the installed scripts"; }' \
    >>"$share/dictation-prompts.js"
check "from the installed scripts" "$(echo 'ship it' | "$installed" finish --style clean)"

rm "$share/dictation-prompts.js"
set +e
echo "ship it" | "$installed" finish 2>"$harness_dir/err" >/dev/null; status=$?
set -e
[ "$status" -eq 1 ] || { echo "a missing script gave status $status"; exit 1; }
grep -q "“dictation-prompts.js” is missing" "$harness_dir/err" || { cat "$harness_dir/err"; exit 1; }
echo "ok"

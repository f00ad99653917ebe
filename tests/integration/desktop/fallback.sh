#!/bin/bash
# A target that ignores Ctrl+V is written through the accessibility interface.
set -euo pipefail
parlevo="$1"
source "$(dirname "$0")/../../harness/desktop.sh"
desktop_start
desktop_target org.quendra.Stubborn --ignore-paste
out="$harness_dir/insert.log"

probe focus org.quendra.Stubborn single-line
text='fällback ✓ 東京'
"$parlevo" insert "$text" --qa-target-log >"$out" 2>&1 || fail "insert failed: $(cat "$out")"
grep -qx 'inserted with Accessibility fallback' "$out" || fail "no fallback: $(cat "$out")"
[ "$(probe text org.quendra.Stubborn single-line)" = "$text" ] ||
    fail "entry holds '$(probe text org.quendra.Stubborn single-line)'"

probe focus org.quendra.Stubborn multi-line
"$parlevo" insert "second line" >"$out" 2>&1 || fail "insert into the view failed"
[ "$(probe text org.quendra.Stubborn multi-line)" = "second line" ] || fail "view holds the wrong text"
echo "fallback: ok"

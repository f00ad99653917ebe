#!/usr/bin/env bash
# The real parlevo binary on a private data folder: words added on the command
# line are stored and listed; without a display it says so in one sentence.
set -euo pipefail
parlevo="$1"
home="$(mktemp -d)"
trap 'rm -rf "$home"' EXIT
export XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data"

"$parlevo" words add Kubernetes --form "cube and eighties" >/dev/null
list="$("$parlevo" words list --json)"
echo "$list" | grep -q '"spelling": "Kubernetes"' || { echo "missing entry: $list"; exit 1; }
echo "$list" | grep -q '"cube and eighties"' || { echo "missing spoken form: $list"; exit 1; }
grep -q personalDictionaryV2 "$XDG_CONFIG_HOME/Quendra/defaults.json"

set +e
"$parlevo" words frob 2>"$home/err"; status=$?
set -e
[ "$status" -eq 2 ] || { echo "bad arguments gave status $status"; exit 1; }
[ "$(wc -l <"$home/err")" -eq 1 ] || { cat "$home/err"; exit 1; }

set +e
env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM "$parlevo" 2>"$home/err"; status=$?
set -e
[ "$status" -eq 1 ] || { echo "no display gave status $status"; exit 1; }
grep -q "needs a graphical display" "$home/err" || { cat "$home/err"; exit 1; }
grep -q "parlevo --help" "$home/err"
echo "ok"

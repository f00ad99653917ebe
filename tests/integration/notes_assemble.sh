#!/usr/bin/env bash
# A call recorded from two espeak-ng voices, one per source, goes through the
# section writer; `parlevo notes assemble` must label each side's words and
# build the turns, and the name suggester must find both names.
set -euo pipefail
parlevo="$1" maker="$2" fixture="$3"
home="$(mktemp -d)"
trap 'rm -rf "$home"' EXIT
export XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data"

id="$("$maker" "$fixture" "$XDG_DATA_HOME/Quendra/Notes")"
ls "$XDG_DATA_HOME/Quendra/Notes/$id/part-1.wav" "$XDG_DATA_HOME/Quendra/Notes/$id/part-1.env" >/dev/null

"$parlevo" notes assemble "$id" >"$home/transcript"
cat "$home/transcript"
expect() { grep -qF -- "$1" "$home/transcript" || { echo "missing: $1"; exit 1; }; }
expect "You: Hi everyone, I'm Maria from sales."
expect "Computer audio: Thanks, Maria. I'm Duncan and I run the warehouse."
expect "You: We should ship the new shelves on Friday and review the numbers together."
expect "Computer audio: Friday works for us."
expect "Computer audio: Agreed. I will tell the team today. Over to you, Maria."
expect "You: Great, thank you Duncan. That is everything from my side."
[ "$(grep -c '^\[' "$home/transcript")" -eq 7 ] || { echo "expected 7 turns"; exit 1; }

"$parlevo" notes show "${id:0:8}" --json | grep -q '"turnsFinal": true'
"$parlevo" notes transcript "$id" | cmp - "$home/transcript"

names="$("$parlevo" notes names "$id" --json)"
echo "$names"
echo "$names" | grep -q '"name": "Maria"'
echo "$names" | grep -q '"name": "Duncan"'
echo "ok"

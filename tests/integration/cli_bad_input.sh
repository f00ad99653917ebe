#!/usr/bin/env bash
# Input a command cannot take ends in one sentence on standard error, nothing
# on standard output and a failure status, at once: files that are no
# recording (missing, a folder, a pipe, a device, empty, only a header,
# noise), arguments and standard input that are not UTF-8, and numbers of
# seconds no timer can hold. A recording cut short is transcribed as far as
# it goes.
# Usage: cli_bad_input.sh PARLEVO
set -euo pipefail
parlevo="$(readlink -f "$1")"
source "$(dirname "$0")/../harness/common.sh"
harness_home
clip=/usr/share/pocketsphinx/test/data/librivox/sense_and_sensibility_01_austen_64kb-0870.wav
cd "$harness_dir"

failures=0
fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

# refused STATUS DESCRIPTION ARGUMENTS...: one sentence, nothing printed and
# the status (1 failure, 2 usage), within the time a refusal takes (a pipe
# must not be waited on).
refused() {
    local expected="$1" what="$2" status=0
    shift 2
    timeout 30 "$parlevo" "$@" <"${stdin:-/dev/null}" >out 2>err || status=$?
    echo "$what: status $status: $(cat err)"
    [ "$status" -eq "$expected" ] || fail "$what: status $status, not $expected"
    [ "$(wc -l <err)" -eq 1 ] || fail "$what: $(wc -l <err) lines on standard error"
    [ ! -s out ] || fail "$what: printed $(head -c 200 out)"
}

mkdir folder.wav
mkfifo pipe.wav
: >empty.wav
head -c 44 "$clip" >header.wav
head -c 200000 /dev/urandom >noise.wav
head -c 200000 /dev/urandom >noise.mp3
for file in missing.wav folder.wav pipe.wav /dev/zero empty.wav header.wav noise.wav noise.mp3; do
    refused 1 "transcribe $file" transcribe "$file" --model pocketsphinx-en-us
    if [ -e "$file" ] && grep -q "There is no file" err; then
        fail "transcribe $file says there is none"
    fi
done

cp "$clip" $'caf\xe9.wav'
refused 2 "a file name that is not UTF-8" transcribe $'caf\xe9.wav' --model pocketsphinx-en-us
refused 2 "a style that is not UTF-8" finish --style $'\xff'
refused 2 "text that is not UTF-8" insert $'caf\xe9'

printf 'caf\xe9 au lait' >latin1.txt
stdin=latin1.txt refused 1 "standard input that is not UTF-8" finish
stdin=/dev/null refused 1 "empty standard input" finish
stdin=folder.wav refused 1 "a folder as standard input" finish

for seconds in nan inf -1 1e300; do
    refused 2 "record --seconds $seconds" record out.wav --seconds "$seconds"
    refused 2 "target --seconds $seconds" target --watch --seconds "$seconds"
    refused 2 "insert --delay $seconds" insert hello --delay "$seconds"
done
[ ! -e out.wav ] || fail "a refused recording left out.wav"

# The first three seconds of a clip whose header still claims all of it.
head -c $((44 + 3 * 32000)) "$clip" >cut.wav
status=0
timeout 120 "$parlevo" transcribe cut.wav --model pocketsphinx-en-us >out 2>err || status=$?
echo "a recording cut short: status $status: $(cat out err)"
[ "$status" -eq 0 ] && [ -s out ] || fail "a recording cut short: status $status: $(cat err)"
exit "$failures"

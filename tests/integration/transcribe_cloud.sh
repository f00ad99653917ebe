#!/usr/bin/env bash
# "parlevo transcribe" with the cloud models: the Parlevo model against the
# HTTPS stand-in with an access code in a real gnome-keyring on a private bus,
# and the Groq models with no account connected (nothing leaves loopback).
# Usage: transcribe_cloud.sh PARLEVO STANDIN
set -euo pipefail
parlevo="$1"
standin="$2"
source "$(dirname "$0")/../harness/keyring.sh"
source "$(dirname "$0")/../harness/standin.sh"
harness_home
harness_bus
harness_keyring
standin_start "$standin"
log="$harness_dir/parlevo.log"

failures=0
check() { # check DESCRIPTION EXPECTED ACTUAL
    if [ "$2" != "$3" ]; then
        echo "FAIL: $1"$'\n'"  expected: $2"$'\n'"  actual:   $3" >&2
        failures=$((failures + 1))
    fi
}

code="pvb_$(printf 'C%.0s' $(seq 43))"
printf '%s' "$code" | secret-tool store --label="Parlevo access code" \
    service 'Quendra Personal Connections' account accessCode

wav="$harness_dir/one-second.wav"
/usr/bin/python3 - "$wav" <<'PY'
import sys, wave
with wave.open(sys.argv[1], "wb") as out:
    out.setnchannels(1)
    out.setsampwidth(2)
    out.setframerate(16000)
    out.writeframes(bytes(range(256)) * 125)
PY

control /_control/script '{"replies": [{"path": "dictate", "json":
    {"transcript": "Hello from the service.", "rawTranscript": "hello from the service"}}]}' \
    >/dev/null
check "the service's text is printed" "Hello from the service." \
    "$("$parlevo" transcribe "$wav" --model parlevo --style clean 2>>"$log" || echo "exit $?")"
check "one dictation with the code, the WAV and the light cleanup" \
    "/api/dictate Bearer $code audio/wav light 32044" \
    "$(control /_control/requests | /usr/bin/python3 -c '
import base64, json, sys
seen = json.load(sys.stdin)["requests"]
for r in seen:
    b = r["body"]
    print(r["path"], r["headers"].get("authorization"), b["mediaType"], b["cleanupMode"],
          len(base64.b64decode(b["audioBase64"])))')"

# A failure of the service says nothing of History: the command line keeps no
# history entry, and the user's file stays where it is.
control /_control/script '{"replies": [{"path": "dictate", "status": 400, "json": {"error": "bad_audio"}},
    {"path": "dictate", "status": 503, "json": {"error": "unavailable"}}]}' >/dev/null
for failure in unreadable unavailable; do
    said="$("$parlevo" transcribe "$wav" --model parlevo 2>&1 || echo "exit $?")"
    check "the $failure service's sentence and status" "exit 1" "$(tail -n 1 <<<"$said")"
    check "one sentence for the $failure service" 2 "$(wc -l <<<"$said")"
    if grep -qi "history" <<<"$said"; then
        check "no History for the $failure service" "" "$said"
    fi
done

for model in whisper-large-v3 whisper-large-v3-turbo; do
    check "$model wants a connected account" \
        "Connect your Groq account in Settings, then retry."$'\n'"exit 1" \
        "$("$parlevo" transcribe "$wav" --model "$model" 2>&1 || echo "exit $?")"
done
exit "$failures"

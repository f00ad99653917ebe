#!/usr/bin/env bash
# The account commands of the command line against the HTTPS stand-in of the
# service and a real gnome-keyring on a private bus.
# Usage: account_cli.sh PARLEVO STANDIN
set -euo pipefail
parlevo="$1"
standin="$2"
source "$(dirname "$0")/../harness/keyring.sh"
source "$(dirname "$0")/../harness/standin.sh"
harness_home
harness_bus
harness_keyring
standin_start "$standin"
export QT_LOGGING_RULES="com.orvane.Parlevo.*=true"
log="$harness_dir/parlevo.log"

# A browser that only notes what it was asked to open.
mkdir -p "$harness_dir/bin"
cat >"$harness_dir/bin/xdg-open" <<SCRIPT
#!/bin/sh
echo "\$1" >>"$harness_dir/opened"
SCRIPT
chmod +x "$harness_dir/bin/xdg-open"
export PATH="$harness_dir/bin:$PATH"

failures=0
check() { # check DESCRIPTION EXPECTED ACTUAL
    if [ "$2" != "$3" ]; then
        echo "FAIL: $1"$'\n'"  expected: $2"$'\n'"  actual:   $3" >&2
        failures=$((failures + 1))
    fi
}
run() { "$parlevo" "$@" 2>>"$log"; }
status() { run account status --json; }

session="pvs_$(printf 'S%.0s' $(seq 43))"
code="pvb_$(printf 'C%.0s' $(seq 43))"

check "signed out at first" '{"status":"signedOut"}' "$(status)"

out="$("$parlevo" account code pvb_nope 2>&1 || echo "exit $?")"
check "a malformed code is refused" \
    "That doesn’t look like a Parlevo access code. Codes start with pvb_."$'\n'"exit 1" "$out"
check "a code is saved" "Signed in with an access code." "$(run account code "$code")"
check "the code is in force" '{"status":"accessCode"}' "$(status)"
check "the code is in the keyring" "$code" \
    "$(secret-tool lookup service 'Quendra Personal Connections' account accessCode)"

control /_control/script "$(cat <<JSON
{"replies": [
  {"path": "auth", "action": "desktop-start",
   "json": {"pollId": "poll-9", "authUrl": "https://127.0.0.1:$port/browser?p=9", "intervalSec": 1}},
  {"path": "auth", "action": "desktop-claim", "status": 202},
  {"path": "auth", "action": "desktop-claim", "status": 429, "headers": {"Retry-After": "1"}},
  {"path": "auth", "action": "desktop-claim",
   "json": {"session": "$session", "account": {"email": "ada@example.org"}}},
  {"path": "auth", "action": "signout", "json": {}}
]}
JSON
)" >/dev/null
out="$(run account signin)"
check "sign-in prints the page and ends signed in" \
    "Finish in your browser: https://127.0.0.1:$port/browser?p=9"$'\n'"Signed in to Parlevo as ada@example.org." \
    "$out"
check "the browser was asked to open the page" "https://127.0.0.1:$port/browser?p=9" \
    "$(cat "$harness_dir/opened")"
check "the browser session wins over the code" '{"status":"session"}' "$(status)"

check "sign-out" "Signed out of Parlevo." "$(run account signout)"
check "signed out afterwards" '{"status":"signedOut"}' "$(status)"
check "the keyring holds no sign-in" "" \
    "$(secret-tool lookup service 'Quendra Personal Connections' account session || true)"
revoked="$(control /_control/requests | /usr/bin/python3 -c '
import json, sys
for r in json.load(sys.stdin)["requests"]:
    if r["body"].get("action") == "signout":
        print(r["headers"].get("authorization"))')"
check "sign-out revoked the session with the service" "Bearer $session" "$revoked"

run account code "$code" >/dev/null
dbus-send --session --print-reply --dest=org.freedesktop.secrets /org/freedesktop/secrets \
    org.freedesktop.Secret.Service.Lock array:objpath:/org/freedesktop/secrets/collection/login \
    >/dev/null
check "a locked keyring reads as locked" '{"status":"locked"}' "$(status)"

if grep -E 'pv[sb]_[A-Za-z0-9_-]{8,}' "$log"; then
    echo "FAIL: a token reached the log" >&2
    failures=$((failures + 1))
fi
[ -s "$log" ] || { echo "FAIL: nothing was logged" >&2; failures=$((failures + 1)); }
exit "$failures"

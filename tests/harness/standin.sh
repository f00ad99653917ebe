# Sourced by the command-line tests of the hosted service: the HTTPS stand-in
# (tests/fixtures/hosted_standin.py) on loopback, with its throw-away CA
# trusted by the client, and the defaults pointing parlevo at it.
# Usage: after harness_home: standin_start STANDIN; then control ARGS... to
#        script its replies; $port and $work name it.

standin_start() {
    standin_script="$1"
    work="$harness_dir/standin"
    mkdir -p "$work"
    harness_spawn standin /usr/bin/python3 "$standin_script" "$work"
    harness_wait 10 test -f "$work/port" || { echo "stand-in did not start" >&2; return 1; }
    port="$(cat "$work/port")"
    mkdir -p "$XDG_CONFIG_HOME/Quendra"
    printf '{"serviceBaseURL": "s:https://127.0.0.1:%s/api/"}\n' "$port" \
        >"$XDG_CONFIG_HOME/Quendra/defaults.json"
    export SSL_CERT_FILE="$work/ca.pem"
}

control() { /usr/bin/python3 "$standin_script" "$work" --control "$@"; }

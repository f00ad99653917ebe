#!/usr/bin/env bash
# Runs a command against a throw-away gnome-keyring on a private session bus,
# with its login collection unlocked by a throw-away password.
# Usage: keyring.sh COMMAND [ARGS...], or source it and call harness_keyring
# after harness_home and harness_bus.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

harness_secrets_ready() {
    dbus-send --session --print-reply --dest=org.freedesktop.DBus /org/freedesktop/DBus \
        org.freedesktop.DBus.NameHasOwner string:org.freedesktop.secrets | grep -q 'boolean true'
}

# An empty password never creates the login collection; any other will do.
harness_keyring() {
    harness_spawn keyring sh -c \
        'printf %s keyring-test-password | exec gnome-keyring-daemon --foreground --unlock --components=secrets'
    harness_wait 10 harness_secrets_ready || {
        echo "keyring.sh: gnome-keyring did not start" >&2
        cat "$harness_dir/keyring.log" >&2
        return 1
    }
}

if [ "${BASH_SOURCE[0]}" = "$0" ]; then
    set -euo pipefail
    harness_home
    harness_bus
    harness_keyring
    "$@"
fi

# Sourced by the integration harnesses: a private home, a private session bus
# and a record of every process started, all stopped and removed on exit.
# Usage: source common.sh; harness_home; harness_bus; harness_spawn NAME cmd...;
# harness_accessibility for the accessibility bus and registry.

harness_pids=()
harness_dir=""

# The desktop harnesses' GTK target and their accessibility probe.
gtk_target="$(cd "$(dirname "${BASH_SOURCE[0]}")/../fixtures/desktop" && pwd)/gtk_target.py"
atspi_probe="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/atspi_probe.py"

# The python3 first on PATH may be a shim without the GObject bindings.
probe() { /usr/bin/python3 "$atspi_probe" "$@"; }

harness_cleanup() {
    local pid strays=()
    [ -n "$harness_dir" ] && mapfile -t strays < <(harness_strays)
    for ((i = ${#harness_pids[@]} - 1; i >= 0; i--)); do
        pid="${harness_pids[i]}"
        kill "$pid" 2>/dev/null || true
    done
    for pid in "${strays[@]}"; do
        kill "$pid" 2>/dev/null || true
    done
    for pid in "${harness_pids[@]}" "${strays[@]}"; do
        # Nobody reaps orphans in a container: wait for each child ourselves.
        for _ in $(seq 50); do
            [ -d "/proc/$pid" ] || break
            grep -q '^State:.*Z' "/proc/$pid/status" 2>/dev/null && break
            sleep 0.05
        done
        kill -9 "$pid" 2>/dev/null || true
    done
    # The document portal's file system, should its helper have missed the end.
    if [ -n "$harness_dir" ] && mountpoint -q "$harness_dir/run/doc" 2>/dev/null; then
        fusermount3 -u -z "$harness_dir/run/doc" 2>/dev/null || true
    fi
    [ -n "$harness_dir" ] && rm -rf "$harness_dir"
}

# The processes our session bus started on demand (portals, the document
# portal's file system, a keyring, a second registry) are nobody's children
# here; they are found by the private runtime folder they inherited.
harness_strays() {
    local environ pid
    for environ in $(grep -lzxF "XDG_RUNTIME_DIR=$harness_dir/run" /proc/[0-9]*/environ 2>/dev/null); do
        pid="${environ#/proc/}"
        pid="${pid%/environ}"
        [ "$pid" = "$$" ] || [ "$pid" = "$BASHPID" ] || echo "$pid"
    done
}

# A throw-away home with private XDG folders.
harness_home() {
    harness_dir="$(mktemp -d)"
    trap harness_cleanup EXIT
    export HOME="$harness_dir/home"
    export XDG_CONFIG_HOME="$harness_dir/config" XDG_DATA_HOME="$harness_dir/data"
    export XDG_RUNTIME_DIR="$harness_dir/run" XDG_CACHE_HOME="$harness_dir/cache"
    mkdir -p "$HOME" "$XDG_CONFIG_HOME" "$XDG_DATA_HOME" "$XDG_CACHE_HOME"
    mkdir -m 0700 -p "$XDG_RUNTIME_DIR"
    unset WAYLAND_DISPLAY
}

# Starts NAME as a child that is stopped at exit; its output goes to
# $harness_dir/NAME.log.
harness_spawn() {
    local name="$1"
    shift
    "$@" >"$harness_dir/$name.log" 2>&1 &
    harness_pids+=("$!")
}

# Waits up to SECONDS for a command to succeed.
harness_wait() {
    local seconds="$1"
    shift
    local deadline=$((SECONDS + seconds))
    until "$@" >/dev/null 2>&1; do
        ((SECONDS < deadline)) || return 1
        sleep 0.05
    done
}

# A private session bus for this run only. With --allow-anonymous it also lets
# in clients that cannot prove their user, such as the commands a compositor
# started in its own user namespace.
harness_bus() {
    local config=(--session) out
    if [ "${1:-}" = --allow-anonymous ]; then
        cat >"$harness_dir/bus.conf" <<'XML'
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <include>/usr/share/dbus-1/session.conf</include>
  <auth>EXTERNAL</auth>
  <auth>ANONYMOUS</auth>
  <allow_anonymous/>
</busconfig>
XML
        config=(--config-file="$harness_dir/bus.conf")
    fi
    out="$(dbus-daemon "${config[@]}" --fork --print-address=1 --print-pid=1 \
        --address="unix:path=$XDG_RUNTIME_DIR/bus")"
    export DBUS_SESSION_BUS_ADDRESS="$(sed -n 1p <<<"$out")"
    harness_pids+=("$(sed -n 2p <<<"$out")")
}

# The accessibility bus and its registry on the session bus, with
# accessibility turned on; a11y_address is left set to the bus's address.
harness_accessibility() {
    harness_spawn a11y-bus /usr/libexec/at-spi-bus-launcher --launch-immediately --a11y=1
    # Asking org.a11y.Bus itself before it has an owner would have the session
    # bus start a second launcher, one with accessibility off.
    harness_wait 10 sh -c 'dbus-send --session --print-reply --dest=org.freedesktop.DBus / \
        org.freedesktop.DBus.NameHasOwner string:org.a11y.Bus | grep -q "boolean true"' ||
        { echo "accessibility bus did not start" >&2; return 1; }
    a11y_address="$(dbus-send --session --print-reply=literal --dest=org.a11y.Bus \
        /org/a11y/bus org.a11y.Bus.GetAddress | tr -d ' ')"
    dbus-send --session --print-reply --dest=org.a11y.Bus /org/a11y/bus \
        org.freedesktop.DBus.Properties.Set string:org.a11y.Status string:IsEnabled \
        variant:boolean:true >/dev/null || { echo "accessibility could not be turned on" >&2; return 1; }
    local registry_up="dbus-send --bus='$a11y_address' --print-reply \
        --dest=org.freedesktop.DBus / org.freedesktop.DBus.GetNameOwner \
        string:org.a11y.atspi.Registry"
    # Seen once under heavy load: a registry that never took its name. A second
    # one does.
    local attempt
    for attempt in 1 2; do
        harness_spawn "registry-$attempt" /usr/libexec/at-spi2-registryd
        harness_wait 6 sh -c "$registry_up" && break
        echo "accessibility registry did not start (attempt $attempt):" >&2
        cat "$harness_dir/registry-$attempt.log" >&2
        [ "$attempt" = 2 ] && return 1
    done
    return 0
}

# Fails the test with a message.
fail() {
    echo "FAIL: $*" >&2
    exit 1
}

# Waits up to MS milliseconds for a command to succeed.
wait_ms() {
    local ms="$1"
    shift
    local deadline=$(($(date +%s%N) / 1000000 + ms))
    until "$@" >/dev/null 2>&1; do
        (($(date +%s%N) / 1000000 < deadline)) || return 1
        sleep 0.02
    done
}

# The number of lines of FILE matching PATTERN.
count_lines() {
    grep -c -- "$2" "$1" || true
}

# Succeeds when FILE has at least N lines matching PATTERN (for wait_ms).
has_lines() {
    [ "$(count_lines "$1" "$2")" -ge "$3" ]
}

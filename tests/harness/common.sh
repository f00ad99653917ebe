# Sourced by the integration harnesses: a private home, a private session bus
# and a record of every process started, all stopped and removed on exit.
# Usage: source common.sh; harness_home; harness_bus; harness_spawn NAME cmd...

harness_pids=()
harness_dir=""

harness_cleanup() {
    local pid
    for ((i = ${#harness_pids[@]} - 1; i >= 0; i--)); do
        pid="${harness_pids[i]}"
        kill "$pid" 2>/dev/null || true
    done
    for pid in "${harness_pids[@]}"; do
        # Nobody reaps orphans in a container: wait for each child ourselves.
        for _ in $(seq 50); do
            [ -d "/proc/$pid" ] || break
            grep -q '^State:.*Z' "/proc/$pid/status" 2>/dev/null && break
            sleep 0.05
        done
        kill -9 "$pid" 2>/dev/null || true
    done
    [ -n "$harness_dir" ] && rm -rf "$harness_dir"
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

# A private session bus for this run only.
harness_bus() {
    local out
    out="$(dbus-daemon --session --fork --print-address=1 --print-pid=1 \
        --address="unix:path=$XDG_RUNTIME_DIR/bus")"
    export DBUS_SESSION_BUS_ADDRESS="$(sed -n 1p <<<"$out")"
    harness_pids+=("$(sed -n 2p <<<"$out")")
}

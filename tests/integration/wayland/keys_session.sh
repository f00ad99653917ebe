# Sourced by the Wayland keyboard and clipboard tests: a headless sway in a
# user namespace (it refuses to run as root), the accessibility bus, GTK
# targets on Wayland and the wayland_probe driven line by line.
# Usage: source keys_session.sh; keys_session_start; keys_target ID;
#        keys_probe_start PROBE; ask N COMMAND; keys_probe_quit

source "$(dirname "${BASH_SOURCE[0]}")/../../harness/common.sh"

keys_tests_root="$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)"
probe() { /usr/bin/python3 "$keys_tests_root/harness/atspi_probe.py" "$@"; }

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

keys_session_start() {
    harness_home
    unset DISPLAY NO_AT_BRIDGE
    export GSETTINGS_BACKEND=memory GDK_BACKEND=wayland QT_QPA_PLATFORM=wayland
    harness_bus
    cat >"$harness_dir/sway.conf" <<'CONF'
xwayland disable
output HEADLESS-1 resolution 1280x800
CONF
    WLR_BACKENDS=headless WLR_LIBINPUT_NO_DEVICES=1 WLR_RENDERER=pixman \
        harness_spawn sway unshare --user --map-user=1000 --map-group=1000 \
        sway -c "$harness_dir/sway.conf"
    harness_wait 10 sh -c 'ls "$XDG_RUNTIME_DIR"/sway-ipc.*.sock' ||
        { cat "$harness_dir/sway.log" >&2; fail "sway did not start"; }
    SWAYSOCK="$(ls "$XDG_RUNTIME_DIR"/sway-ipc.*.sock)"
    WAYLAND_DISPLAY="$(cd "$XDG_RUNTIME_DIR" && ls wayland-* | grep -v '\.lock$' | head -1)"
    export SWAYSOCK WAYLAND_DISPLAY

    harness_spawn a11y-bus /usr/libexec/at-spi-bus-launcher --launch-immediately --a11y=1
    harness_wait 10 sh -c 'dbus-send --session --print-reply --dest=org.freedesktop.DBus / \
        org.freedesktop.DBus.NameHasOwner string:org.a11y.Bus | grep -q "boolean true"' ||
        fail "accessibility bus did not start"
    gdbus call --session --dest org.a11y.Bus --object-path /org/a11y/bus \
        --method org.freedesktop.DBus.Properties.Set org.a11y.Status IsEnabled \
        '<true>' >/dev/null

    # Headless sway has no keyboard, and a seat's first keyboard reaches a
    # client only after the client has bound it: like any desktop, the seat
    # has one before anything is pasted.
    harness_spawn keyboard wtype -s 3600000
    wait_ms 5000 sh -c 'swaymsg -t get_inputs | grep -q keyboard' || fail "no keyboard on the seat"
}

# Starts a GTK target on Wayland whose title is ID and waits until it is
# accessible; its process id is left in target_pid.
keys_target() {
    local id="$1"
    shift
    harness_spawn "target-$id" /usr/bin/python3 \
        "$keys_tests_root/fixtures/desktop/gtk_target.py" "$id" "$@"
    target_pid="${harness_pids[-1]}"
    probe wait "$id" || fail "target $id did not appear"
}

# The title of the window sway has focused.
focused_title() {
    swaymsg -t get_tree | /usr/bin/python3 -c '
import json, sys
def walk(node):
    if node.get("focused"):
        return node.get("name") or ""
    for child in node.get("nodes", []) + node.get("floating_nodes", []):
        found = walk(child)
        if found is not None:
            return found
print(walk(json.load(sys.stdin)) or "")'
}

# Succeeds when sway has focused the window titled $1.
has_focus() { [ "$(focused_title)" = "$1" ]; }

# Starts the wayland_probe reading commands from a pipe; its answers go to
# $probe_log, the keys its window receives to $keys_log.
keys_probe_start() {
    probe_log="$harness_dir/probe.log"
    keys_log="$harness_dir/keys.log"
    mkfifo "$harness_dir/probe.in"
    # Read-write: opening a pipe for writing alone waits for a reader.
    exec 3<>"$harness_dir/probe.in"
    # Made here: the background job opens them only when it gets to run.
    : >"$probe_log"
    : >"$keys_log"
    "$1" <&3 >>"$probe_log" 2>>"$keys_log" &
    probe_pid=$!
    harness_pids+=("$probe_pid")
}

# Ends the probe and fails unless it ended cleanly (destructors included).
keys_probe_quit() {
    printf 'quit\n' >&3
    local status=0
    wait "$probe_pid" || status=$?
    [ "$status" = 0 ] || fail "the probe ended with status $status: $(grep -v '^key ' "$keys_log")"
}

# Sends COMMAND to the probe and prints the N lines it answers.
ask() {
    local lines="$1"
    shift
    local before
    before="$(wc -l <"$probe_log")"
    printf '%s\n' "$*" >&3
    wait_ms 5000 sh -c "[ \$(wc -l <'$probe_log') -ge $((before + lines)) ]" ||
        fail "no answer to '$*': $(cat "$probe_log")"
    tail -n +"$((before + 1))" "$probe_log" | head -n "$lines"
}

# Sourced by the Wayland keyboard and clipboard tests: the Wayland harness's
# headless sway with GTK targets, and the wayland_probe driven line by line.
# Usage: source keys_session.sh; wayland_sway_start; wayland_target ID;
#        keys_probe_start PROBE; ask N COMMAND; keys_probe_quit

source "$(dirname "${BASH_SOURCE[0]}")/../../harness/wayland.sh"

# The title of the window sway has focused (a Qt window's active state is not
# always on the accessibility bus in time).
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

# Sourced by the portal tests after a harness: portal_probe (its path
# in $portal_probe) driven line by line through a pipe, and what kglobalaccel
# holds.
# Usage: probe_start NAME ARGS...; probe_send NAME LINE...; the lines it answers
# are in $harness_dir/NAME.log.

# Starts portal_probe ARGS as NAME, reading its commands from a pipe kept open.
probe_start() {
    local name="$1" fd
    shift
    mkfifo "$harness_dir/$name.in"
    # Opened for writing first: opening a pipe to read waits for a writer.
    exec {fd}<>"$harness_dir/$name.in"
    printf -v "probe_fd_$name" %s "$fd"
    # Not through harness_spawn: a job started in the background reads from
    # /dev/null unless its own command line redirects it.
    "$portal_probe" "$@" <"$harness_dir/$name.in" >"$harness_dir/$name.log" 2>&1 &
    harness_pids+=("$!")
    printf -v "probe_pid_$name" %s "$!"
}

# Sends each LINE to NAME in one write, so that they are read together.
probe_send() {
    local fd="probe_fd_$1"
    shift
    printf '%s\n' "$@" >&"${!fd}"
}

# Succeeds when NAME's portal session holds its shortcuts as they are now
# (for wait_ms).
probe_settled() {
    probe_send "$1" state
    sleep 0.1
    [ "$(grep '^state' "$harness_dir/$1.log" | tail -1)" = "state bound" ]
}

# Asks NAME to quit and waits until it has.
probe_quit() {
    local pid="probe_pid_$1"
    probe_send "$1" quit
    harness_wait 20 sh -c "! kill -0 ${!pid} 2>/dev/null" || fail "$1 did not quit"
}

# The Qt key code portal_probe computes for KEYSYM MODIFIERS, and the
# portal's trigger text.
qt_code() { "$portal_probe" names "$1" "$2" | cut -d' ' -f2; }
trigger() { "$portal_probe" names "$1" "$2" | cut -d' ' -f1; }

# The Qt key code kglobalaccel binds to shortcut NAME of GROUP ("0" for none,
# nothing for a shortcut it does not know).
bound_code() {
    dbus-send --session --print-reply=literal --dest=org.kde.kglobalaccel /kglobalaccel \
        org.kde.KGlobalAccel.shortcut "array:string:$1,$2,$1,-" |
        grep -o 'int32 -\?[0-9]*' | head -1 | cut -d' ' -f2
}

# Succeeds when shortcut NAME of GROUP is bound to the Qt key code CODE.
bound_is() { [ "$(bound_code "$1" "$2")" = "$3" ]; }

# Presses the shortcut NAME of GROUP the way running it from the desktop's shortcut settings does,
# without keys (so without a release).
invoke_shortcut() {
    local path
    path="$(dbus-send --session --print-reply=literal --dest=org.kde.kglobalaccel /kglobalaccel \
        org.kde.KGlobalAccel.getComponent "string:$1" | tr -d ' ')"
    dbus-send --session --print-reply --dest=org.kde.kglobalaccel "$path" \
        org.kde.kglobalaccel.Component.invokeShortcut "string:$2" >/dev/null
}

# Stops the KDE side of the portal the harness started, as a crash would.
stop_kde_portal() {
    local pid found=""
    for pid in "${harness_pids[@]}"; do
        [[ "$(tr '\0' ' ' 2>/dev/null <"/proc/$pid/cmdline")" == *xdg-desktop-portal-kde* ]] &&
            kill -0 "$pid" 2>/dev/null && found="$pid"
    done
    [ -n "$found" ] || { echo "the KDE portal's process was not found" >&2; return 1; }
    kill "$found"
    harness_wait 10 sh -c "! kill -0 $found 2>/dev/null" ||
        { echo "the KDE portal did not stop" >&2; return 1; }
}

start_kde_portal() {
    harness_spawn "portal-kde-$RANDOM" "$(ls /usr/lib/*/libexec/xdg-desktop-portal-kde | head -1)"
}

# Holds a key combination down for SECONDS, long enough for the keyboard to
# repeat it.
hold_keys() {
    /usr/bin/python3 "$(dirname "${BASH_SOURCE[0]}")/hold_keys.py" "$@"
}

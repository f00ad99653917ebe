# Sourced by the end-to-end tests after desktop.sh and sound.sh: the build
# installed into a temporary prefix and that installed application run on the
# harness's display, buses, sound server and private home, with LibriVox
# speech played into its microphone and the dictated text read back.
# Usage: desktop_start; sound_server; app_install BUILD; app_start (or
#        app_start_on_bus); app_wait_up
#        app_wait_shortcut; app_press_shortcut; app_play_clip CLIP; ...

app_harness="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"
app_clips=/usr/share/pocketsphinx/test/data/librivox
app_prefix=""
app_parlevo=""
app_pid=""
app_log=""
app_text=""
app_stop_pressed_ms=""

# Installs BUILD (a configured and built tree) into $harness_dir/prefix once
# per test and points app_parlevo at the installed program.
app_install() {
    [ -n "$app_prefix" ] && return 0
    local build="$1"
    app_prefix="$harness_dir/prefix"
    cmake --install "$build" --prefix "$app_prefix" >"$harness_dir/install.log" 2>&1 || {
        cat "$harness_dir/install.log" >&2
        app_prefix=""
        return 1
    }
    app_parlevo="$app_prefix/bin/parlevo"
}

# Runs the installed command line with the harness's environment (the same
# XDG folders and home as the application).
app_cli() { "$app_parlevo" "$@"; }

# Starts the installed application with --qa-hotkey-log and ARGS; its output
# goes to $app_log and its process id is left in app_pid. The private home and
# XDG folders, display, session bus and sound server are the harness's.
app_start() { app_launch --qa-hotkey-log "$@"; }

# Starts the installed application as a user's copy, without any --qa- switch
# (a test run keeps off the session bus), and waits up to SECONDS (default 30)
# until it answers "parlevo dictation status". Its shortcut is registered
# before it answers, but not logged: it is the stored one.
app_start_on_bus() {
    app_launch || return 1
    local deadline=$((SECONDS + ${1:-30}))
    until app_cli dictation status >/dev/null 2>&1; do
        app_running || { echo "parlevo ended: $(cat "$app_log")" >&2; return 1; }
        ((SECONDS < deadline)) || { echo "parlevo did not answer on the bus: $(cat "$app_log")" >&2; return 1; }
        sleep 0.1
    done
}

app_launch() {
    [ -n "$app_parlevo" ] || { echo "app_launch: app_install first" >&2; return 1; }
    [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -n "${DBUS_SESSION_BUS_ADDRESS:-}" ] &&
        [[ "$HOME" == "$harness_dir"/* ]] && [[ "$XDG_CONFIG_HOME" == "$harness_dir"/* ]] || {
        echo "app_launch: start the desktop harness first" >&2
        return 1
    }
    app_log="$harness_dir/app.log"
    harness_spawn app "$app_parlevo" "$@"
    app_pid="${harness_pids[-1]}"
}

app_running() { [ -d "/proc/$app_pid" ] && ! grep -q '^State:.*Z' "/proc/$app_pid/status"; }

# The application's main window is mapped.
app_window_shown() { xdotool search --onlyvisible --pid "$app_pid" --name '^Parlevo$'; }

# Waits up to SECONDS (default 30) until the application shows its window;
# fails with its log if it ends first.
app_wait_up() {
    local deadline=$((SECONDS + ${1:-30}))
    until app_window_shown >/dev/null 2>&1; do
        app_running || { echo "parlevo ended: $(cat "$app_log")" >&2; return 1; }
        ((SECONDS < deadline)) || { echo "parlevo showed no window: $(cat "$app_log")" >&2; return 1; }
        sleep 0.05
    done
}

# Waits up to SECONDS (default 30) for the dictation shortcut's registration
# and prints its name (such as "Alt+Space").
app_wait_shortcut() {
    local deadline=$((SECONDS + ${1:-30}))
    until grep -q '^qa registered shortcut=' "$app_log" 2>/dev/null; do
        app_running || { echo "parlevo ended: $(cat "$app_log")" >&2; return 1; }
        ((SECONDS < deadline)) || { echo "no shortcut registered: $(cat "$app_log")" >&2; return 1; }
        sleep 0.05
    done
    sed -n 's/^qa registered shortcut=//p' "$app_log" | head -1
}

# Presses SHORTCUT (a name as the application logs it, "Ctrl+Alt+Space") with
# xdotool, or through the Wayland compositor the harness started.
app_press_shortcut() {
    local keys
    keys="$(sed -E 's/Ctrl/ctrl/; s/Alt/alt/; s/Shift/shift/; s/Super/super/; s/Space$/space/;
        s/\+([A-Z])$/+\L\1/' <<<"$1")"
    if [ -n "${wayland_compositor:-}" ]; then
        wayland_press "$keys"
    else
        xdotool key "$keys"
    fi
}

# Succeeds while the application records from the microphone.
app_recording() {
    pactl list source-outputs | grep -q "application.process.id = \"$app_pid\""
}

app_not_recording() { ! app_recording; }

# Stops the application (SIGTERM, then SIGKILL after 10 s) and waits for it.
app_stop() {
    [ -n "$app_pid" ] || return 0
    kill "$app_pid" 2>/dev/null || true
    harness_wait 10 sh -c "! [ -d /proc/$app_pid ] || grep -q '^State:.*Z' /proc/$app_pid/status" ||
        kill -9 "$app_pid" 2>/dev/null || true
    wait "$app_pid" 2>/dev/null || true
    app_pid=""
}

# The path of the LibriVox clip ID (such as sense_and_sensibility_01_austen_64kb-0870);
# app_clip_ids lists all five.
app_clip() { echo "$app_clips/$1.wav"; }
app_clip_ids() { sed -n 's/.*(\(.*\))$/\1/p' "$app_clips/transcription"; }

# Plays the clips ID... one after another into the private microphone and
# returns once all of their speech has gone through: a second of silence
# follows them.
app_play_clip() {
    local played id clips=()
    played="$harness_dir/played-$(echo "$@" | md5sum | cut -c1-12).wav"
    for id in "$@"; do clips+=("$(app_clip "$id")"); done
    [ -f "$played" ] || sox "${clips[@]}" "$played" pad 0 1
    sound_play_mic "$played"
}

# One dictation into FIELD of the GTK target APP, which must have focus and be
# empty: SHORTCUT starts it, the clips ID... play into the microphone,
# SHORTCUT ends it; once the field holds text (waiting up to SECONDS) it is
# left in app_text, and the time of the second press (ms since the epoch) in
# app_stop_pressed_ms.
app_dictate() {
    local shortcut="$1" app="$2" field="$3" seconds="$4"
    shift 4
    app_press_shortcut "$shortcut"
    harness_wait 10 app_recording || {
        echo "the shortcut did not start a recording: $(cat "$app_log")" >&2
        return 1
    }
    app_play_clip "$@"
    app_stop_pressed_ms="$(date +%s%3N)"
    app_press_shortcut "$shortcut"
    harness_wait 10 app_not_recording || {
        echo "the second press did not end the recording" >&2
        return 1
    }
    app_text="$(app_wait_field_text "$app" "$field" "$seconds")" || {
        echo "no text reached the field: $(cat "$app_log")" >&2
        return 1
    }
}

# The resident memory of the application in kB.
app_rss_kb() { sed -n 's/^VmRSS:[[:space:]]*\([0-9]*\) kB/\1/p' "/proc/$app_pid/status"; }

# The user and system CPU time of the application, in clock ticks.
app_cpu_ticks() { awk '{ print $14 + $15 }' "/proc/$app_pid/stat"; }

# The text of FIELD of the GTK target APP, read over AT-SPI.
app_field_text() { probe text "$1" "$2"; }

# Waits up to SECONDS for FIELD of APP to hold text and prints it.
app_wait_field_text() {
    local app="$1" field="$2" deadline=$((SECONDS + $3)) text=""
    until text="$(probe text "$app" "$field" 2>/dev/null)" && [ -n "$text" ]; do
        ((SECONDS < deadline)) || return 1
        sleep 0.2
    done
    printf '%s\n' "$text"
}

# Prints "errors words rate" of TEXT against the references of the clips
# ID... read one after another.
app_wer() {
    local text="$1" reference="$harness_dir/reference.txt" hypotheses="$harness_dir/hypotheses.txt"
    shift
    /usr/bin/python3 - "$app_clips/transcription" "$@" >"$reference" <<'PY'
import re, sys
lines = {}
for line in open(sys.argv[1]):
    match = re.match(r"<s>(.*)</s> \((\S+)\)", line)
    if match:
        lines[match.group(2)] = match.group(1).strip()
print("<s> " + " ".join(lines[id] for id in sys.argv[2:]) + " </s> (played)")
PY
    printf 'played\t%s\n' "$text" >"$hypotheses"
    python3 "$app_harness/../integration/wer.py" "$reference" "$hypotheses"
}

# Succeeds when RATE is at most BOUND.
app_within() { python3 -c "import sys; sys.exit(0 if float('$1') <= float('$2') else 1)"; }

# Records with the installed "parlevo record" into OUT.wav while the clips
# ID... play into the microphone; prints the command's report ("...; speech
# was heard.").
app_record_clip() {
    local out="$1" err="$harness_dir/record.err"
    shift
    "$app_parlevo" record "$out" >"$harness_dir/record.out" 2>"$err" &
    local recorder=$!
    harness_wait 10 grep -q '^Recording to' "$err" || {
        kill "$recorder" 2>/dev/null
        echo "parlevo record did not start: $(cat "$err")" >&2
        return 1
    }
    app_play_clip "$@"
    # Ctrl+C is how a recording ends.
    kill -INT "$recorder"
    wait "$recorder" || { echo "parlevo record failed: $(cat "$err")" >&2; return 1; }
    cat "$harness_dir/record.out"
}

# The whole stage for one run: the desktop, the sound server, the installed
# application (started with ARGS) and a GTK target titled TARGET in front of it.
# Usage: app_stage BUILD TARGET [ARGS...]
app_stage() {
    local build="$1" target="$2"
    shift 2
    desktop_start >/dev/null
    sound_server
    app_install "$build"
    desktop_target "$target"
    app_start "$@"
    app_wait_up
    desktop_activate "$target"
}

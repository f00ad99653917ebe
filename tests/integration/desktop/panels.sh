#!/bin/bash
# The dictation's floating panels beside a real GTK field: the screen reader
# sees their words and buttons, none of them takes the keyboard focus (typing
# still lands in the field), a click on their buttons is reported without
# moving the focus, and the pill is gone the moment hideHud returns.
# Usage: panels.sh PANELS_PROBE OUTPUT_FOLDER (screenshots of each panel).
set -euo pipefail
panels_probe="$1"
output="$2"
source "$(dirname "$0")/../../harness/desktop.sh"
mkdir -p "$output"
rm -f "$output"/*.png
desktop_start
app=org.quendra.TargetOne
# Narrow fields leave room for the field microphone beside them.
desktop_target "$app" --narrow
gtk_pid="$target_pid"
gtk_window="$(xdotool search --name "^$app\$" | head -1)"
probe focus "$app" single-line

log="$harness_dir/panels.log"
mkfifo "$harness_dir/commands.fifo"
# Held open for writing, so the probe's reading end never sees an end of file.
exec 7<>"$harness_dir/commands.fifo"
# Not through harness_spawn: a background command's input would be /dev/null.
"$panels_probe" <"$harness_dir/commands.fifo" >"$log" 2>&1 &
harness_pids+=("$!")
panels_pid="${harness_pids[-1]}"
wait_ms 10000 grep -qx ready "$log" || fail "the probe did not start: $(cat "$log")"

# Sends a command and waits until the panels are drawn.
command() {
    local before
    before="$(count_lines "$log" "^done $*\$")"
    echo "$*" >&7
    wait_ms 10000 has_lines "$log" "^done $*\$" $((before + 1)) ||
        fail "no answer to '$*': $(cat "$log")"
}

# The window of a panel while it is mapped.
panel_window() {
    xdotool search --onlyvisible --name "^$1\$" | head -1
}
panel_shown() { [ -n "$(panel_window "$1")" ]; }

shown_text() { probe shown "$panels_pid"; }
# Waits until the panels show an element with this role and name.
expect_shown() {
    wait_ms 5000 sh -c "/usr/bin/python3 '$atspi_probe' shown $panels_pid | grep -qxF '$1	$2'" ||
        fail "no $1 '$2' in the panels; they show: $(shown_text | tr '\t\n' ':|')"
}

typed=""
field_holds() { [ "$(probe text "$app" single-line)" = "$1" ]; }
# The field still has the keyboard: the window manager kept it active, the
# accessibility layer says focused, and keys typed now land in it.
keeps_focus() {
    [ "$(xdotool getactivewindow)" = "$gtk_window" ] ||
        fail "after $1 the active window is $(xdotool getactivewindow getwindowname)"
    probe focused "$app" single-line || fail "after $1 the field lost focus"
    typed+="$2"
    xdotool type --delay 20 "$2"
    wait_ms 5000 field_holds "$typed" ||
        fail "after $1 typing did not reach the field; it holds '$(probe text "$app" single-line)'"
}

click_on() {
    local where
    where="$(probe centre "$panels_pid" "$1")" || fail "no $1 to click"
    # shellcheck disable=SC2086
    xdotool mousemove --sync $where click 1
    # Away again, so no tooltip covers the next screenshot.
    xdotool mousemove --sync 5 795
}

shot() {
    import -window "$(panel_window "$1")" "$output/$2.png" || fail "no screenshot of $1"
}

echo target >&7
wait_ms 10000 grep -q '^target ready' "$log" || fail "no target field: $(cat "$log")"

# Recording: the style, the shortcut, the destination, the clock, the meter
# and the cancel button, in the top right corner of the field's screen.
command hud recording
command meter 0.7 0:07
wait_ms 5000 panel_shown "Parlevo dictation" || fail "the pill did not show"
expect_shown label Clean
expect_shown label "Shortcut Ctrl+Alt+Space"
expect_shown label "$(grep '^target ready' "$log" | sed 's/^target ready /Inserts into /')"
expect_shown label "Elapsed 0:07"
expect_shown "push button" "Cancel dictation"
keeps_focus "showing the pill" a
eval "$(xdotool getwindowgeometry --shell "$(panel_window "Parlevo dictation")")"
((X + WIDTH <= 1280 && X + WIDTH > 1280 - 40 && Y < 60)) ||
    fail "the pill is not in the top right corner: ${WIDTH}x$HEIGHT at $X,$Y"
shot "Parlevo dictation" pill-recording
import -window root "$output/desktop-recording.png"

click_on "Cancel dictation"
wait_ms 5000 grep -qx 'cancel pressed' "$log" || fail "the cancel button was not reported"
keeps_focus "pressing cancel" b

command hud transcribing
expect_shown label Transcribing
expect_shown label "Part 2 of 5"
keeps_focus "the transcribing pill" c
shot "Parlevo dictation" pill-transcribing

command hud copied
expect_shown label "No text field was selected; the transcript is on the clipboard."
shot "Parlevo dictation" pill-copied
command hud failed
expect_shown label "The transcription service could not be reached."
keeps_focus "the failed pill" d
shot "Parlevo dictation" pill-failed

# Gone when hideHud returns: a paste follows at once.
echo hide-hud >&7
wait_ms 5000 grep -q '^hud hidden' "$log" || fail "hideHud did not return"
grep -qx 'hud hidden IsUnMapped' "$log" ||
    fail "the pill was still mapped when hideHud returned: $(grep '^hud hidden' "$log")"

command placement
wait_ms 5000 panel_shown "Parlevo placement" || fail "the placement prompt did not show"
expect_shown label "Click a text field to insert your transcript."
keeps_focus "the placement prompt" e
shot "Parlevo placement" placement
command hide-placement
wait_ms 5000 sh -c "! xdotool search --onlyvisible --name '^Parlevo placement\$'" ||
    fail "the placement prompt stayed"

command alert
wait_ms 5000 panel_shown "Parlevo alert" || fail "the alert did not show"
expect_shown label "Your last dictation was not transcribed"
expect_shown label "The recording is kept in History. Parlevo can try again and copy the text."
for button in "Open History" OK "Retry & copy"; do
    expect_shown "push button" "$button"
done
keeps_focus "the alert" f
shot "Parlevo alert" alert
click_on "Retry & copy"
wait_ms 5000 grep -qx 'alert action retryAndCopy 6c1f2a4e-8d3b-4f7a-9e21-5b0c7d9a3f10' "$log" ||
    fail "the alert's button was not reported: $(cat "$log")"
wait_ms 5000 sh -c "! xdotool search --onlyvisible --name '^Parlevo alert\$'" ||
    fail "the alert stayed after its button"
keeps_focus "pressing the alert's button" g

# The field microphone sits beside the field; a click starts a dictation into
# it while the field keeps the keyboard.
command mic
wait_ms 5000 panel_shown "Parlevo microphone" || fail "the field microphone did not show"
expect_shown "push button" "Dictate into this field"
read -r field_x field_y <<<"$(probe centre "$gtk_pid" single-line)"
read -r mic_x mic_y <<<"$(probe centre "$panels_pid" "Dictate into this field")"
((mic_x > field_x + 140 && mic_y > field_y - 30 && mic_y < field_y + 30)) ||
    fail "the microphone at $mic_x,$mic_y is not beside the field at $field_x,$field_y"
keeps_focus "the field microphone" h
shot "Parlevo microphone" microphone
import -window root "$output/desktop-microphone.png"
click_on "Dictate into this field"
wait_ms 5000 grep -qx "microphone pressed $gtk_pid" "$log" ||
    fail "the microphone press was not reported: $(cat "$log")"
keeps_focus "pressing the field microphone" i
command hide-mic
wait_ms 5000 sh -c "! xdotool search --onlyvisible --name '^Parlevo microphone\$'" ||
    fail "the field microphone stayed"

echo quit >&7
wait "$panels_pid" || fail "the probe failed: $(cat "$log")"

# Without the desktop's services the pill still shows, in the top right
# corner of the primary screen.
"$panels_probe" --bare <"$harness_dir/commands.fifo" >"$log" 2>&1 &
harness_pids+=("$!")
panels_pid="$!"
wait_ms 10000 grep -qx ready "$log" || fail "the bare probe did not start: $(cat "$log")"
command hud recording
wait_ms 5000 panel_shown "Parlevo dictation" || fail "the bare pill did not show"
expect_shown label "Choose a field after dictation"
keeps_focus "the bare pill" j
eval "$(xdotool getwindowgeometry --shell "$(panel_window "Parlevo dictation")")"
((X + WIDTH <= 1280 && X + WIDTH > 1280 - 40 && Y < 60)) ||
    fail "the bare pill is not in the top right corner: ${WIDTH}x$HEIGHT at $X,$Y"
echo quit >&7
wait "$panels_pid" || fail "the bare probe failed: $(cat "$log")"
"$panels_probe" --icons "$output" || fail "the status icons were not drawn"
echo "panels: ok (screenshots in $output)"

#!/usr/bin/env bash
# The application starts on a private X display, shows its window and tray
# item, and quits cleanly when asked by the test switch.
set -euo pipefail
parlevo="$1"
home="$(mktemp -d)"
trap 'rm -rf "$home"' EXIT
export XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" XDG_RUNTIME_DIR="$home/run"
mkdir -m 0700 -p "$XDG_RUNTIME_DIR"
export QT_QPA_PLATFORM=xcb QT_QUICK_BACKEND=software
unset WAYLAND_DISPLAY
xvfb-run -a -s "-screen 0 1280x800x24 -nolisten tcp" \
    dbus-run-session -- "$parlevo" --qa-quit-after-launch >"$home/out" 2>&1 || {
    cat "$home/out"; exit 1; }
grep -q "parlevo: launched" "$home/out" || { cat "$home/out"; exit 1; }
if grep -E "qrc:/ui/Main.qml:[0-9]+" "$home/out"; then exit 1; fi
echo "ok"

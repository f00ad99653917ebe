#!/usr/bin/env bash
# What "cmake --install" puts beside the program for the desktop: the desktop
# entry and the AppStream metadata pass their validators, the entry runs the
# installed program (also from a prefix with spaces and shell characters in
# it), every icon the entry, the metadata and the tray name is in the icon
# theme at the size its folder says, and the manual page reads without
# warnings and describes every command the program knows.
# Usage: installed_files.sh BUILD_FOLDER PANELS_PROBE
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
source "$here/../harness/common.sh"
build="$(realpath "$1")" panels_probe="$2"
harness_home

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

# The desktop parses Exec with GLib, as these do; the python3 first on PATH may
# be a shim without the GObject bindings.
exec_argv() {
    /usr/bin/python3 - "$1" <<'PY'
import sys
import gi
gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib
entry = Gio.DesktopAppInfo.new_from_filename(sys.argv[1])
if entry is None:
    sys.exit("GLib does not take " + sys.argv[1] + " (is its program there?)")
print("\n".join(GLib.shell_parse_argv(entry.get_commandline())[1]))
PY
}

for prefix in "$harness_dir/prefix" "$harness_dir/My Apps \$HOME \`x\`/prefix"; do
    cmake --install "$build" --prefix "$prefix" >"$harness_dir/install.log" 2>&1 ||
        fail "install failed: $(cat "$harness_dir/install.log")"
    entry="$prefix/share/applications/com.orvane.Parlevo.desktop"
    [ -f "$entry" ] || fail "no desktop entry in $prefix"
    # Listed like every installed file, so that uninstalling removes it.
    grep -qxF -e "-- Installing: $entry" -e "-- Up-to-date: $entry" "$harness_dir/install.log" ||
        fail "the desktop entry was not installed as the other files are"
    desktop-file-validate "$entry" || fail "desktop-file-validate refused $entry"
    [ "$(exec_argv "$entry")" = "$prefix/bin/parlevo" ] ||
        fail "the entry in $prefix runs $(exec_argv "$entry")"
done
echo "desktop entry: valid, runs the installed program"

# The rest from the plain prefix.
prefix="$harness_dir/prefix"
share="$prefix/share"
parlevo="$prefix/bin/parlevo"
version="$("$parlevo" --version)"
metainfo="$share/metainfo/com.orvane.Parlevo.metainfo.xml"
# --no-net: the screenshots' addresses are not fetched.
appstreamcli validate --no-net --explain "$metainfo" || fail "appstreamcli refused the metadata"
/usr/bin/python3 - "$metainfo" "$version" <<'PY' || fail "the metadata does not match the program"
import sys
import xml.etree.ElementTree as ElementTree
root = ElementTree.parse(sys.argv[1]).getroot()
assert root.findtext("launchable") == "com.orvane.Parlevo.desktop", root.findtext("launchable")
assert root.findtext("provides/binary") == "parlevo"
newest = root.find("releases/release")
assert sys.argv[2] == "parlevo " + newest.get("version"), (sys.argv[2], newest.get("version"))
assert root.findall("screenshots/screenshot/image"), "no screenshots"
PY
echo "metadata: valid, release $version"

# Icons: the entry's and each size's picture, square at its folder's size.
icon="$(sed -n 's/^Icon=//p' "$prefix/share/applications/com.orvane.Parlevo.desktop")"
[ -f "$share/icons/hicolor/scalable/apps/$icon.svg" ] || fail "no scalable icon $icon"
pictures=0
for picture in "$share"/icons/hicolor/*x*/apps/"$icon".png; do
    size="$(basename "$(dirname "$(dirname "$picture")")")"
    [ "$(identify -format '%wx%h' "$picture")" = "$size" ] ||
        fail "$picture is $(identify -format '%wx%h' "$picture")"
    pictures=$((pictures + 1))
done
((pictures >= 6)) || fail "only $pictures sizes of the icon"
# The tray's icons come from the theme once it is installed where the desktop
# looks (the system's hicolor theme gives the folders' layout), and are drawn
# without it. Qt reads icon themes on a display only.
tray_icons() {
    XDG_DATA_DIRS="$1:/usr/share" QT_QPA_PLATFORM=xcb xvfb-run -a -s "-nolisten tcp" \
        "$panels_probe" --icons "$harness_dir" 2>"$harness_dir/probe.err" ||
        fail "the icons could not be drawn: $(cat "$harness_dir/probe.err")"
}
tray_icons "$share" >"$harness_dir/themed.txt"
tray_icons "$harness_dir/nowhere" >"$harness_dir/drawn.txt"
while read -r state name; do
    [ -f "$share/icons/hicolor/symbolic/apps/$name.svg" ] || fail "no symbolic icon $name ($state)"
done <"$harness_dir/themed.txt"
(($(wc -l <"$harness_dir/themed.txt") == 4)) || fail "tray icons from the theme: $(cat "$harness_dir/themed.txt")"
[ ! -s "$harness_dir/drawn.txt" ] || fail "icons from a theme that is not there: $(cat "$harness_dir/drawn.txt")"
echo "icons: $pictures sizes, the scalable drawing, 4 tray icons from the theme"

# The manual page: no warnings from the formatter, and every command of the
# program's own help in it.
manual="$share/man/man1/parlevo.1.gz"
[ -f "$manual" ] || fail "no manual page"
warnings="$(LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z "$manual" 2>&1 >/dev/null)"
[ -z "$warnings" ] || fail "the manual page has warnings: $warnings"
LC_ALL=C.UTF-8 MANWIDTH=1000 man -l "$manual" >"$harness_dir/manual.txt" 2>/dev/null
"$parlevo" --help >"$harness_dir/help.txt"
sed -n 's/^  parlevo \([a-z][a-z]*\) .*/\1/p' "$harness_dir/help.txt" | sort -u >"$harness_dir/groups.txt"
: >"$harness_dir/usages.txt"
while read -r group; do
    "$parlevo" "$group" --help >"$harness_dir/group.txt"
    sed -n -e 's/^  parlevo //p' -e 's/^Usage: parlevo \(.* .*\)/\1/p' "$harness_dir/group.txt" |
        grep -v '^[a-z]* COMMAND$' >>"$harness_dir/usages.txt"
done <"$harness_dir/groups.txt"
/usr/bin/python3 - "$harness_dir/manual.txt" "$harness_dir/usages.txt" <<'PY' || fail "the manual page misses commands"
import re, sys
def plain(text):
    text = text.replace("\u2010", "-").replace("\u2212", "-").replace("\u2026", "...")
    return re.sub(r"\s+", " ", text)
manual = plain(open(sys.argv[1], encoding="utf-8").read())
usages = [plain(line).strip() for line in open(sys.argv[2], encoding="utf-8") if line.strip()]
missing = [u for u in usages if "parlevo " + u not in manual]
print(f"manual page: {len(usages) - len(missing)} of {len(usages)} commands")
for usage in missing:
    print("  not in the manual page: parlevo " + usage)
sys.exit(1 if missing or len(usages) < 30 else 0)
PY
echo "installed files: ok"

#!/usr/bin/env bash
# scripts/uninstall takes away exactly what scripts/install put into a prefix:
# the user's own files in the same folders (the program folder, the menu's,
# the icon theme's, Parlevo's data folder) stay, and so does everything else;
# a file an earlier installation put there and a newer one no longer has goes
# too. Without an installation it says so.
# Usage: uninstall.sh BUILD_FOLDER SOURCE_FOLDER
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
source "$here/../harness/common.sh"
build="$(realpath "$1")" scripts="$(realpath "$2")/scripts"
harness_home

fail() {
    echo "FAIL: $*" >&2
    exit 1
}
listing() { (cd "$prefix" && find . -mindepth 1 | sort); }

prefix="$harness_dir/home/.local"
for mine in bin/my-tool share/applications/my-editor.desktop \
    share/icons/hicolor/48x48/apps/my-editor.png share/man/man1/my-tool.1.gz \
    share/parlevo/my-notes.txt; do
    mkdir -p "$(dirname "$prefix/$mine")"
    echo "$mine" >"$prefix/$mine"
done
# The desktop's own cache of the menu's folder, which installing and
# uninstalling bring up to date.
printf '[MIME Cache]\n' >"$prefix/share/applications/mimeinfo.cache"
before="$(listing)"

"$scripts/install" "$build" "$prefix" >"$harness_dir/install.log" 2>&1 ||
    fail "install failed: $(cat "$harness_dir/install.log")"
kept="$prefix/share/parlevo/install_manifest.txt"
[ -f "$kept" ] || fail "no list of the installed files was kept"
installed=$(wc -l <"$kept")
((installed > 20)) || fail "only $installed files listed"
while IFS= read -r file; do
    [ -f "$file" ] || fail "$file is listed but not installed"
done <"$kept"
# Staged on the way, the installation still names its real place.
grep -qx "Exec=$prefix/bin/parlevo" "$prefix/share/applications/com.orvane.Parlevo.desktop" ||
    fail "the menu entry runs $(grep ^Exec= "$prefix/share/applications/com.orvane.Parlevo.desktop")"
"$prefix/bin/parlevo" --version >/dev/null || fail "the installed program does not run"
# As if an earlier version had installed a file this one does not have.
echo old >"$prefix/share/parlevo/retired.js"
echo "$prefix/share/parlevo/retired.js" >>"$kept"
# Installing again keeps what was listed.
"$scripts/install" "$build" "$prefix" >>"$harness_dir/install.log" 2>&1 ||
    fail "a second install failed: $(cat "$harness_dir/install.log")"
grep -qxF "$prefix/share/parlevo/retired.js" "$kept" || fail "a second install forgot a listed file"

"$scripts/uninstall" "$prefix" >"$harness_dir/uninstall.log" 2>&1 ||
    fail "uninstall failed: $(cat "$harness_dir/uninstall.log")"
cat "$harness_dir/uninstall.log"
after="$(listing)"
# Shared folders the installation made may stay, empty; nothing else may.
left="$(comm -13 <(echo "$before") <(echo "$after"))"
while IFS= read -r path; do
    [ -z "$path" ] || [ -d "$prefix/$path" ] || fail "uninstall left $path"
    case "$path" in
    */parlevo | */parlevo/*) fail "uninstall left Parlevo's folder $path" ;;
    esac
done <<<"$left"
gone="$(comm -23 <(echo "$before") <(echo "$after"))"
[ -z "$gone" ] || fail "uninstall removed what was not Parlevo's: $gone"
for mine in bin/my-tool share/applications/my-editor.desktop share/parlevo/my-notes.txt; do
    [ "$(cat "$prefix/$mine")" = "$mine" ] || fail "$mine was changed"
done
echo "uninstall: $installed files installed and removed; the user's 5 files and the menu cache kept"

if "$scripts/uninstall" "$prefix" >"$harness_dir/again.log" 2>&1; then
    fail "uninstalling twice succeeded"
fi
grep -q "not installed" "$harness_dir/again.log" || fail "no sentence: $(cat "$harness_dir/again.log")"
echo "uninstall: ok"

#!/usr/bin/env bash
# The package holds every file "cmake --install" installs, under /usr, and
# nothing else; its control fields name it, its maintainer, section and
# description, and its dependencies: the libraries found by dpkg-shlibdeps and
# what the program loads without linking (packaging/run-time-packages).
# Usage: contents.sh BUILD_FOLDER SOURCE_FOLDER
set -euo pipefail
source "$(dirname "$0")/common.sh" "$1"
source "$(dirname "$0")/../../harness/common.sh"
source_tree="$(realpath "$2")"
harness_home
package_built

# Into a fresh prefix, so that every file in it is one the installation put there.
scratch="$harness_dir/scratch/prefix"
cmake --install "$package_build" --prefix "$scratch" >"$harness_dir/install.log" 2>&1 ||
    fail "install failed: $(cat "$harness_dir/install.log")"
(cd "$scratch" && find . -type f -o -type l) | sed 's|^\.|/usr|' | sort >"$harness_dir/installed.txt"
dpkg-deb -c "$package_file" | awk '$1 !~ /^d/ { print $6 }' | sed 's|^\./|/|' | sort \
    >"$harness_dir/packaged.txt"
if ! diff "$harness_dir/installed.txt" "$harness_dir/packaged.txt" >"$harness_dir/diff.txt"; then
    fail "installed (<) and packaged (>) files differ: $(cat "$harness_dir/diff.txt")"
fi
echo "contents: the $(wc -l <"$harness_dir/installed.txt") installed files, and no other"

field() { dpkg-deb -f "$package_file" "$1"; }
[ "$(field Package)" = parlevo ] || fail "Package: $(field Package)"
[ "$(field Version)" = "$package_version" ] || fail "Version: $(field Version)"
[ "$(field Architecture)" = "$(dpkg --print-architecture)" ] || fail "Architecture: $(field Architecture)"
[ -n "$(field Maintainer)" ] && [ -n "$(field Section)" ] || fail "no maintainer or section"
(($(field Description | wc -l) > 3)) || fail "no long description: $(field Description)"
depends="$(field Depends | tr -d ' ' | tr ',' '\n' | sed 's/(.*//')"
# Found by dpkg-shlibdeps from the program's and the worker's libraries.
for library in libqt6core6 libqt6quick6 libpocketsphinx3 libc6; do
    grep -qx "$library" <<<"$depends" || fail "Depends lacks $library: $(field Depends)"
done
while read -r package; do
    grep -qx "$package" <<<"$depends" || fail "Depends lacks $package: $(field Depends)"
done < <(grep -E '^[a-z0-9]' "$source_tree/packaging/run-time-packages")
echo "control: $(field Package) $(field Version) $(field Architecture), section $(field Section)"
echo "Depends: $(field Depends)"
echo "Recommends: $(field Recommends)"

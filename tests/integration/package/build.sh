#!/usr/bin/env bash
# Builds the Debian package of BUILD_FOLDER with CPack into
# BUILD_FOLDER/test-output/package, as docs/packaging.md does for a release;
# the other package tests read it there.
# Usage: build.sh BUILD_FOLDER
set -euo pipefail
source "$(dirname "$0")/common.sh" "$1"
rm -rf "$package_dir"
mkdir -p "$package_dir"
started="$(date +%s)"
cpack --config "$package_build/CPackConfig.cmake" -B "$package_dir" >"$package_dir/cpack.log" 2>&1 ||
    fail "cpack failed: $(cat "$package_dir/cpack.log")"
package_built
ls "$package_dir"/*.deb
echo "package: $(basename "$package_file"), $(du -k "$package_file" | cut -f1) kB in $(($(date +%s) - started)) s"

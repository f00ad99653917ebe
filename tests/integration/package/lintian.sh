#!/usr/bin/env bash
# Lintian finds no error in the package; its warnings are printed.
# Usage: lintian.sh BUILD_FOLDER
set -euo pipefail
source "$(dirname "$0")/common.sh" "$1"
package_built
report="$package_dir/lintian.txt"
# Lintian fails on errors only (its --fail-on default); 2 is lintian itself failing.
status=0
lintian --tag-display-limit 0 --display-info "$package_file" >"$report" 2>&1 || status=$?
cat "$report"
case "$status" in
0) ;;
1) fail "lintian reports errors: $(grep '^E: ' "$report")" ;;
*) fail "lintian did not run (status $status)" ;;
esac
grep -q '^E: ' "$report" && fail "lintian reports errors"
echo "lintian: no errors, $(grep -c '^W: ' "$report" || true) warnings, $(grep -c '^I: ' "$report" || true) notes"

# Sourced by the package tests: where the package built from BUILD_FOLDER is
# (package_build.sh makes it), and its name as Debian spells it.
# Usage: source common.sh BUILD_FOLDER

package_build="$(realpath "$1")"
package_dir="$package_build/test-output/package"
package_version="$("$package_build/src/app/parlevo" --version | sed 's/^parlevo //')"
package_file="$package_dir/parlevo_${package_version}_$(dpkg --print-architecture).deb"

fail() {
    echo "FAIL: $*" >&2
    exit 1
}

package_built() {
    [ -f "$package_file" ] || fail "no $package_file: $(ls "$package_dir" 2>&1)"
}

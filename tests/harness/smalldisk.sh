# Sourced by fault tests: puts a folder on a small file system of its own, in
# a private mount namespace, so that a test can fill the disk without touching
# the machine's. Root runs `unshare -m`; anyone else gets a user namespace.
# Usage, at the top of a test script, before anything else runs:
#   source smalldisk.sh; smalldisk_enter "$@"      # re-runs the script inside
#   smalldisk_mount DIR KILOBYTES                   # a tmpfs of that size on DIR
#   smalldisk_fill DIR                              # leaves no free byte on it

smalldisk_enter() {
    [ -n "${SMALLDISK_INSIDE:-}" ] && return 0
    export SMALLDISK_INSIDE=1
    local script
    script="$(readlink -f "$0")"
    if [ "$(id -u)" -eq 0 ]; then
        exec unshare -m --propagation private "$script" "$@"
    fi
    exec unshare -r -m --propagation private "$script" "$@"
}

smalldisk_mount() {
    mkdir -p "$1"
    mount -t tmpfs -o "size=${2}k,mode=0700" tmpfs "$1"
}

smalldisk_fill() {
    # Big blocks first, then single bytes, so that not even a small write fits.
    dd if=/dev/zero of="$1/.filler" bs=4k 2>/dev/null || true
    dd if=/dev/zero of="$1/.filler-tail" bs=1 2>/dev/null || true
    local i=0
    # A builtin, not touch: thousands of processes would take minutes.
    while { : >"$1/.filler-$i"; } 2>/dev/null; do i=$((i + 1)); [ $i -gt 10000 ] && break; done
}

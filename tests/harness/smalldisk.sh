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

smalldisk_mounts=()

smalldisk_mount() {
    mkdir -p "$1"
    mount -t tmpfs -o "size=${2}k,mode=0700" tmpfs "$1"
    smalldisk_mounts+=("$1")
}

# Blocks run out, files can still be created: the usual full disk, where the
# create succeeds and the write fails.
smalldisk_fill() {
    dd if=/dev/zero of="$1/.filler" bs=4k 2>/dev/null || true
    dd if=/dev/zero of="$1/.filler-tail" bs=1 2>/dev/null || true
}

# For the exit trap: the namespace ends with the script, but its files are
# removed first and a read-only mount would refuse that.
smalldisk_unmount_all() {
    local dir
    for dir in "${smalldisk_mounts[@]}"; do umount "$dir" 2>/dev/null || true; done
}

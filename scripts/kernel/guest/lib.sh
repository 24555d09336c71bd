# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# What guest tests share. They are run by busybox's shell as root, in a machine of their own.

# The shell prefers applets of its own to programs in the path.
ip() { /sbin/ip "$@"; }
tc() { /sbin/tc "$@"; }

# Any of these in the kernel log is a fault of ours until proved otherwise. The modules' own level
# tags look like **WARNING** and are no match.
kernel_faults='WARNING: |BUG: |BUG at |Oops|INFO: |general protection|Unable to handle'
kernel_faults="$kernel_faults|KASAN|UBSAN|ODEBUG|lockdep|kmemleak: [0-9]|[Ll]eaking|corruption"
kernel_faults="$kernel_faults|refcount_t|while atomic|page allocation failure|usercopy: "
kernel_faults="$kernel_faults|unregister_netdevice|soft lockup|Kernel panic|circular locking"

kernel_log_is_clean() {
    ! grep -qE "$kernel_faults" "$1"
}

# The reports with what follows each, or the log's end when there is none.
kernel_log_faults() {
    grep -E -A 40 "$kernel_faults" "$1" || tail -n 40 "$1"
}

fail() {
    echo "FAILED: $*"
    exit 1
}

# expect WHAT WANTED GOT
expect() {
    [ "$2" = "$3" ] || fail "$1: expected '$2', got '$3'"
}

# With module parameters.
load_softonu() {
    insmod /modules/gpon_softonu.ko "$@" || fail "gpon_softonu.ko does not load"
}

load_gpon_flow() {
    insmod /modules/gpon_flow.ko || fail "gpon_flow.ko does not load"
    if [ ! -c /dev/gpon_flow ]; then
        mknod -m 0600 /dev/gpon_flow c 184 0
    fi
}

load_both() {
    load_softonu unis=2
    load_gpon_flow
}

unload_both() {
    rmmod gpon_flow || fail "gpon_flow does not unload"
    rmmod gpon_softonu || fail "gpon_softonu does not unload"
}

# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The kernel's detectors of faults: deliberate faults, services that fail, leaks.

# shellcheck source=scripts/kernel/guest/kernel_log.sh
. /tests/kernel_log.sh

# fires FAULT PATTERN: causes a deliberate fault; its report must be in the log, and the check of the
# log must find it.
fires() {
    # A report of a hundred lines takes a second on the serial line.
    dmesg -n 1
    dmesg -c >/dev/null
    insmod /modules/gpon_detect.ko fault="$1" || fail "the fault $1 cannot be made"
    rmmod gpon_detect
    dmesg -c >/tmp/report
    grep -qE "$2" /tmp/report || fail "no report of $1: $(tail -n 40 /tmp/report)"
    ! kernel_log_is_clean /tmp/report || fail "the check of the log does not see $1"
    fired=$((${fired:-0} + 1))
}

# detects OPTION FAULT PATTERN: the same, if the kernel has the option.
detects() {
    if kernel_has "$1"; then
        fires "$2" "$3"
    else
        left_out "$2, this kernel has no $1"
    fi
}

# The kernel's services that can be made to fail.
fault_kinds() {
    for kind in failslab fail_page_alloc fail_usercopy; do
        if [ -d /sys/kernel/debug/$kind ]; then
            echo $kind
        else
            left_out "failures of $kind, which this kernel does not have" >&2
        fi
    done
}

# 1 until a report about any lock turns them off.
lock_checks() {
    awk '$1 == "debug_locks:" { print $2 }' /proc/lockdep_stats
}

# Unreferenced blocks, after two scans: a scan skips blocks that are new or have just changed.
scan_for_leaks() {
    sleep 6
    for scan in 1 2; do
        echo scan >/sys/kernel/debug/kmemleak || fail "no scan number $scan for leaks"
        sleep 1
    done
    cat /sys/kernel/debug/kmemleak
}

# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Permissions of the interfaces: only root may use the device and the proc entry. A user who could read
# the entry could fill the kernel log, because each read prints a line.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

as_nobody() {
    /bin/as_user 65534 "$@"
}

lines_of_reads() {
    dmesg | grep -c 'GPON FLOW SWITCH DISABLE'
}

load_both
expect "modes" "600 600" "$(stat -c %a /dev/gpon_flow /proc/gpon_flow/debug | xargs)"
as_nobody /bin/busybox sh -c ': <>/dev/gpon_flow' && fail "every user may open the device"
as_nobody /bin/busybox sh -c 'echo help >/proc/gpon_flow/debug' && fail "every user may write"
as_nobody /bin/busybox cat /proc/gpon_flow/debug && fail "every user may read"
expect "lines of refused reads" 0 "$(lines_of_reads)"
expect "text for root" "" "$(cat /proc/gpon_flow/debug)"
expect "lines of a read by root" 1 "$(lines_of_reads)"
echo "show en_flag" >/proc/gpon_flow/debug || fail "root may not write"
unload_both

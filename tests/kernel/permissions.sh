# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Permissions of the interfaces: only root may use the device, everybody may read the proc entry,
# only root may write it.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

as_nobody() {
    /bin/as_user 65534 "$@"
}

load_both
expect "modes" "600 444" "$(stat -c %a /dev/gpon_flow /proc/gpon_flow/debug | xargs)"
as_nobody /bin/busybox sh -c ': <>/dev/gpon_flow' && fail "anybody may open the device"
as_nobody /bin/busybox sh -c 'echo help >/proc/gpon_flow/debug' && fail "anybody may write"
expect "text for the reader" "" "$(as_nobody /bin/busybox cat /proc/gpon_flow/debug)"
dmesg | grep -q 'GPON FLOW SWITCH DISABLE' || fail "reading does not show the switch"
unload_both

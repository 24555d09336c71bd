# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Fifty times in and out: each load brings the device and the proc entry, each unload takes them
# away, and nothing of one life shows in the next.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

doors_are() {
    grep -c ' gpon_flow$' /proc/devices
    find /proc/gpon_flow -name debug 2>/dev/null | wc -l
}

load_softonu unis=2
cycle=0
while [ $cycle -lt 50 ]; do
    load_gpon_flow
    expect "doors while loaded" "1 1" "$(doors_are | xargs)"
    echo "show en_flag" >/proc/gpon_flow/debug || fail "the proc entry takes no command"
    rmmod gpon_flow || fail "cycle $cycle: no unload"
    expect "doors after unload" "0 0" "$(doors_are | xargs)"
    cycle=$((cycle + 1))
done
rmmod gpon_softonu || fail "gpon_softonu does not unload"

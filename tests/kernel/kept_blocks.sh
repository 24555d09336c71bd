# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The blocks of memory that each processor keeps for the next packet: zero when they are reused, only of
# the small sizes, with one holder each although softirqs interrupt tasks, and none left at unload.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

balance=/sys/module/gpon_balance/parameters

load_softonu unis=2
insmod /modules/gpon_balance.ko || fail "the kernel has no events of its allocator"
load_gpon_flow
expect "blocks of a load" 1 "$(($(cat $balance/live) > 0))"
insmod /modules/gpon_blocks.ko || fail "$(dmesg | grep gpon_blocks: | tail -n 1)"
echo "@@ $(cat /sys/module/gpon_blocks/parameters/interrupts) softirqs beside a task," \
    "$(cat $balance/taken) allocations"
rmmod gpon_blocks
rmmod gpon_flow || fail "gpon_flow does not unload"
expect "blocks left at unload" 0 "$(cat $balance/at_exit)"
rmmod gpon_balance
rmmod gpon_softonu || fail "gpon_softonu does not unload"

# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# An unload with thousands of deferred frees: the module waits for all of them, because their code is in
# the module.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

balance=/sys/module/gpon_balance/parameters
instances=4000

load_softonu unis=2
insmod /modules/gpon_balance.ko || fail "the kernel has no events of its allocator"
for round in 1 2 3; do
    load_gpon_flow
    many_instances $instances || fail "no instances"
    held=$(cat $balance/live)
    [ "$held" -ge $instances ] || fail "$instances instances are $held blocks"
    unload_gpon_flow
    expect "round $round: blocks that outlive the module" 0 "$(cat $balance/at_exit)"
done
echo "@@ three unloads with $held blocks each"
rmmod gpon_balance
unload_softonu

# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# An unload with thousands of deferred frees: the module waits for all of them, because their code is in
# the module.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

balance=/sys/module/gpon_balance/parameters
instances=4000

# A grace period that is not expedited waits in the queue of its processor, behind the deferred frees that
# were requested there. Even a module that waits for no free would then seldom be too early.
normal=$(cat /sys/kernel/rcu_normal)
echo 0 >/sys/kernel/rcu_normal || fail "the kernel has no expedited grace periods"
echo 1 >/sys/kernel/rcu_expedited
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
echo 0 >/sys/kernel/rcu_expedited
echo "$normal" >/sys/kernel/rcu_normal

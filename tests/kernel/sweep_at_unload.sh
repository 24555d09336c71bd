# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# An unload while the aging timer sweeps: the timer expires ten times a second here, and each sweep begins
# late. The unload waits for the sweep, which arms the timer again, and leaves no timer in freed memory.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

delay=/sys/module/gpon_delay/parameters

# Reads without starting a program, which may take longer than a sweep.
sweep_is_late() {
    read -r entered <$delay/entered
    read -r delayed <$delay/delayed
    [ "$entered" -gt "$delayed" ]
}

wait_for_a_late_sweep() {
    polls=0
    until sweep_is_late; do
        polls=$((polls + 1))
        [ $polls -lt 1000000 ] || fail "no sweep began: $entered entered"
    done
}

load_softonu unis=2
insmod /modules/gpon_hasten.ko period=30000 instead=25 || fail "no early timer"
for round in 1 2 3 4 5; do
    load_gpon_flow
    insmod /modules/gpon_delay.ko function=gpon_hash_aging_timer_func ms=400 || fail "no delay"
    wait_for_a_late_sweep
    unload_gpon_flow
    read -r delayed <$delay/delayed
    [ "$delayed" -ge "$entered" ] || fail "the unload of round $round did not wait for the sweep"
    # A timer that was left expires.
    sleep 1
    rmmod gpon_delay
done
echo "@@ $round unloads during a sweep"
rmmod gpon_hasten
unload_softonu

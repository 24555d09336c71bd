# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Packets against commands, flushes, operators and the aging timer, which expires ten times a second
# here, on two processors; and then an unload.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/counters.sh
. /tests/counters.sh

load_softonu unis=2
insmod /modules/gpon_hasten.ko period=30000 instead=25
load_gpon_flow
seconds=${contention_seconds:-8}
contention everything "$seconds" || fail "a wrong result, or no path"
counters_to /tmp/before
contention judged "$seconds" || fail "a result of another time, or no path"
counters_to /tmp/after

# The results are of interest only if frames replayed, left their outcome and used it.
for name in walks_done replays outcomes_remembered remembered_up_ani; do
    times=$(grown_by $name)
    echo "@@ $name: $times while the port ids changed"
    [ "$times" -gt 0 ] || fail "no $name"
done
echo "@@ the aging timer expired $(cat /sys/module/gpon_hasten/parameters/hastened) times early"
[ "$(cat /sys/module/gpon_hasten/parameters/hastened)" -gt 50 ] || fail "the timer was not hastened"
unload_gpon_flow
rmmod gpon_hasten
unload_softonu

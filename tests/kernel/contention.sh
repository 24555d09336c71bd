# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Packets against commands, flushes, operators and the aging timer, which expires ten times a second
# here, on two processors; and then an unload.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/observing.sh
. /tests/observing.sh

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
    times=$(($(value_in $name /tmp/after) - $(value_in $name /tmp/before)))
    echo "@@ $name: $times while the port ids changed"
    [ "$times" -gt 0 ] || fail "no $name"
done
echo "@@ the aging timer expired $(cat /sys/module/gpon_hasten/parameters/hastened) times early"
[ "$(cat /sys/module/gpon_hasten/parameters/hastened)" -gt 50 ] || fail "the timer was not hastened"
rmmod gpon_flow || fail "gpon_flow does not unload"
rmmod gpon_hasten
rmmod gpon_softonu || fail "gpon_softonu does not unload"

# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Packets against commands, flushes, operators and the aging timer, which expires ten times a second
# here, on two processors; and then an unload.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

load_softonu unis=2
insmod /modules/gpon_hasten.ko period=30000 instead=25
load_gpon_flow
contention "${contention_seconds:-15}" || fail "a wrong result, or no path"
echo "@@ the aging timer expired $(cat /sys/module/gpon_hasten/parameters/hastened) times early"
[ "$(cat /sys/module/gpon_hasten/parameters/hastened)" -gt 50 ] || fail "the timer was not hastened"
rmmod gpon_flow || fail "gpon_flow does not unload"
rmmod gpon_hasten
rmmod gpon_softonu || fail "gpon_softonu does not unload"

# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A provisioned line with first and known frames, commands and flushes holds no memory after unload.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh

balance=/sys/module/gpon_balance/parameters

# Each round: frames that walk, replay and use an outcome, frames that a filter drops, a flush.
frames() {
    for _ in $(seq 100); do
        echo "$passing"
        echo "$passing"
        echo "$passing"
        echo "$dropped"
        echo 'proc write "clean flow_rule 0 0"'
    done
}

load_softonu unis=2
insmod /modules/gpon_balance.ko || fail "the kernel has no events of its allocator"
load_gpon_flow
provision_line
held=$(cat $balance/settled)
[ "$held" -gt 0 ] || fail "the line is no block"
frames >/tmp/frames.scn
before=$(cat $balance/taken)
obey /tmp/frames.scn
expect "blocks that the frames left" "$held" "$(cat $balance/settled)"
taken=$(($(cat $balance/taken) - before))
[ "$taken" -ge 300 ] || fail "the frames took only $taken blocks"
unload_gpon_flow
expect "blocks left at unload" 0 "$(cat $balance/at_exit)"
echo "@@ $held blocks of the line, $taken allocations by 400 frames"
rmmod gpon_balance
unload_softonu

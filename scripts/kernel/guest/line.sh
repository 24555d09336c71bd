# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The line of tests/kernel/traffic/provision.scn, its frames and its rules.

# A frame that passes, and one that a filter drops.
# shellcheck disable=SC2034 # for the tests
passing="hook kind=up_uni port=1 frame=02000000000102000000770108004500000000000000000000000000000000"
# shellcheck disable=SC2034
dropped="hook kind=up_ani frame=020000000001020000007701810001f408004500"

provision_line() {
    obey /tests/traffic/provision.scn
}

forget_rules() {
    echo "clean flow_rule 0 0" >/proc/gpon_flow/debug
}

# COUNT LINE: as many calls of the hook.
calls() {
    yes "$2" | head -n "$1" >/tmp/calls.scn
    obey /tmp/calls.scn
}

# FIRST LAST: a first frame of each of these flows.
first_frames() {
    awk -v first="$1" -v last="$2" 'BEGIN {
        for (i = first; i <= last; i++)
            printf "hook kind=down_uni port=1 frame=0200000000010200%08x080045%036d\n", i, 0
    }'
}

# Commands that make most counters count. There are more flows than the largest table has places: it
# grows, then sweeps unused rules. Some flows come again, so they replay, find their outcome, or no
# place for it.
counted_commands() {
    cat /tests/traffic/provision.scn /tests/traffic/counted.scn
    first_frames 1 700
    first_frames 1 700
    first_frames 100 300
    first_frames 1 1800
    first_frames 1500 1800
    for bucket in 1 2 3 4 5 6 7 8; do echo "debug clean flow_rule $bucket 0"; done
    # The port keeps the link to its filter that is gone, so the step fails.
    echo 'proc write "clean raw_data 84 b"'
    echo 'hook kind=up_ani frame=0200000000010200000077018100006408004500000000000000000000000000'
    echo 'clean'
    echo 'hook kind=up_uni port=1 frame=0200000000010200000077010800450000'
    echo 'hook kind=up_ani frame=0200000000010200000077010800450000'
}

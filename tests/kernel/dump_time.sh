# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Time and lines of a dump of the rule table and of a trace filter, without and with a console that
# prints every message. Both run with bottom halves disabled.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

# CONSOLE-LEVEL FLOWS
measure() {
    dmesg -c >/dev/null
    dmesg -n "$1"
    echo "@@ console level $1"
    dump_time "$2" || fail "no measurement at console level $1"
    dmesg -n 1
    dmesg >/tmp/said
    # Full buckets keep no further rule.
    rules=$(grep -c 'Trace:CLASS(INST)' /tmp/said)
    [ "$rules" -ge $(($2 / 3)) ] || fail "the dump lists $rules rules of $2 flows"
    frame=$(sed -n '/set trace src mac/,/set trace disable/p' /tmp/said | wc -l)
    [ "$frame" -gt 40 ] || fail "twenty traced frames print $frame lines"
    echo "@@ $(wc -l </tmp/said) lines, $rules rules, $((frame / 20)) lines for each traced frame"
}

load_both
measure 1 1000
measure 8 100
unload_both

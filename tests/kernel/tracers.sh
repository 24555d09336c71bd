# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# trace-cmd and perf with known frames: they print the named fields of the trace events and filter by
# them. perf has 30 MB with its libraries, so only a guest of GPON_GUEST_TRACERS has it.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh
# shellcheck source=scripts/kernel/guest/tracing.sh
. /tests/tracing.sh

drop="direction=up_ani dst=02:00:00:00:00:01 src=02:00:00:00:77:01 tags=1 outer_tag=0x810001f4 inner_tag=0x00000000 reason=filtered gem_port=0"

# Three frames that a filter drops, and one that walks, one that replays its rule and two that are
# remembered.
known_frames() {
    {
        yes "$dropped" | head -n 3
        yes "$passing" | head -n 4
    } >/tmp/known.scn
}

# WANTED PATTERN: so many lines of the recorded events.
recorded() {
    expect "$tracer: lines with $2" "$1" "$(grep -cE "$2" /tmp/report)"
}

# What both print: the texts come from the formats of the events.
same_events() {
    recorded 3 "gpon_drop: .*$drop\$"
    recorded 4 "gpon_walk_start: .*direction="
    recorded 1 "gpon_walk_end: .*direction=up_uni .*reason=passed gem_port=0\$"
    recorded 3 "gpon_walk_end: .*reason=filtered"
    recorded 1 "gpon_rule_learn: .*src=02:00:00:00:77:01 .*result=added\$"
    recorded 1 "gpon_rule_hit: .*remembered=0 gem_port=0\$"
    recorded 2 "gpon_rule_hit: .*remembered=1 gem_port=0\$"
    recorded 2 "gpon_replay_step: .*depth=[12] class_id=[0-9]+ inst_id=0x[0-9a-f]{4} status=(continues|reaches_egress) decision=none\$"
    recorded 6 "gpon_walk_step: .*class_id=47 .*status=ends_branch decision=filter_drops\$"
}

with_trace_cmd() {
    tracer=trace-cmd
    trace-cmd record -e gpon_flow -o /tmp/trace.dat gponflow run --backend=device /tmp/known.scn \
        >/tmp/printed 2>&1 || fail "trace-cmd record: $(cat /tmp/printed)"
    trace-cmd report -i /tmp/trace.dat >/tmp/report 2>/tmp/errors ||
        fail "trace-cmd report: $(cat /tmp/errors)"
    same_events
    trace-cmd record -e gpon_flow:gpon_rule_hit -f 'remembered == 1' -o /tmp/trace.dat \
        gponflow run --backend=device /tmp/known.scn >/tmp/printed 2>&1 ||
        fail "trace-cmd record -f: $(cat /tmp/printed)"
    trace-cmd report -i /tmp/trace.dat >/tmp/report 2>/tmp/errors
    recorded 4 "gpon_rule_hit: .*remembered=1 gem_port=0\$"
    recorded 4 ": *gpon_"
    forget_rules
}

with_perf() {
    tracer=perf
    perf record -q -a -e 'gpon_flow:*' -o /tmp/perf.data gponflow run --backend=device \
        /tmp/known.scn >/tmp/printed 2>&1 || fail "perf record: $(cat /tmp/printed)"
    perf script -i /tmp/perf.data -F event,trace >/tmp/report 2>/tmp/errors ||
        fail "perf script: $(cat /tmp/errors)"
    same_events
    # In a file of its own: perf writes a line in parts, and lines of the program would be between them.
    perf trace -a -e gpon_flow:gpon_drop -o /tmp/report gponflow run --backend=device \
        /tmp/known.scn >/tmp/printed 2>&1 || fail "perf trace: $(cat /tmp/printed)"
    recorded 3 'gpon_flow:gpon_drop\(.*direction: 1, .*reason: 2'
    perf record -q -a -e gpon_flow:gpon_rule_hit --filter 'remembered == 1' -o /tmp/perf.data \
        gponflow run --backend=device /tmp/known.scn >/tmp/printed 2>&1 ||
        fail "perf record --filter: $(cat /tmp/printed)"
    perf script -i /tmp/perf.data -F event,trace >/tmp/report 2>/tmp/errors
    recorded 4 "gpon_rule_hit: .*remembered=1 "
    echo "@@ perf ran"
}

load_both
if ! has_trace_events; then
    left_out "trace-cmd and perf, this kernel has no trace events"
    unload_both
    exit 0
fi
provision_line
known_frames
if command -v trace-cmd >/dev/null; then
    with_trace_cmd
else
    left_out "trace-cmd, which this guest does not have"
fi
if command -v perf >/dev/null; then
    with_perf
else
    left_out "perf, which this guest does not have"
fi
unload_both

# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# How long a dump of the rules holds the lock of the rule table: by netlink, a few rules at a time, and
# in the kernel log, all of them. The guest's clock counts instructions, so the figures are those of
# instructions. An interrupt while the lock is held adds its own, so the shortest of several dumps counts.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh
# shellcheck source=scripts/kernel/guest/tracing.sh
. /tests/tracing.sh

# Sixteen rules, or 128 empty buckets.
limit=10000

# FUNCTION: its calls since the last one, as instructions, to /tmp/calls. A microsecond has a thousand.
durations_of() {
    sed -n "s/^[^|]* \([0-9.]*\) us .*$1.*/\1/p" $tracing/trace | awk '{ printf "%d\n", $1 * 1000 }' >/tmp/calls
    [ -s /tmp/calls ] || fail "no call of $1: $(tail -n 20 $tracing/trace)"
    echo >$tracing/trace
}

trace_function() {
    echo "$1" >$tracing/set_ftrace_filter || fail "$1 cannot be traced"
    echo function_graph >$tracing/current_tracer || fail "no function_graph"
    echo >$tracing/trace
}

longest() {
    sort -n /tmp/calls | tail -n 1
}

# Repeats the dump by netlink, at most five times, until no interrupt lengthens a call.
dump_by_netlink() {
    for _ in 1 2 3 4 5; do
        netlink_reader rules >/tmp/rules || fail "no rules: $(cat /tmp/rules)"
        durations_of gpon_observe_rules
        [ "$(longest)" -ge $limit ] || return 0
    done
}

kernel_has FUNCTION_GRAPH_TRACER || {
    left_out "the time under the lock, this kernel has no CONFIG_FUNCTION_GRAPH_TRACER"
    exit 0
}
load_both
provision_line
first_frames 1 1000 >/tmp/flood.scn
obey /tmp/flood.scn
trace_function gpon_observe_rules
dump_by_netlink
rules=$(grep -c "^rule " /tmp/rules)
echo "@@ $rules rules by netlink: the lock is held $(wc -l </tmp/calls) times, for at most $(longest) instructions"
[ "$rules" -gt 400 ] || fail "few rules"
if kernel_has KASAN || kernel_has KCSAN; then
    left_out "the limit of $limit instructions, this kernel adds its own to each memory access"
else
    [ "$(longest)" -lt $limit ] || fail "the lock is held for more than $limit instructions"
fi
trace_function gpon_hash_dump_all_safe
echo "show flow_rule" >/proc/gpon_flow/debug
durations_of gpon_hash_dump_all_safe
echo "@@ the same in the kernel log: once, for $(longest) instructions"
echo nop >$tracing/current_tracer
echo >$tracing/set_ftrace_filter
unload_both

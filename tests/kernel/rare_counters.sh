# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Counters of lost races and of missing memory, which known traffic does not reach: a walk whose steps are
# learnt late, and a function of the kernel that fails once. The sums of the counters hold. The events of a
# replaced and of a lost rule occur.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/events.sh
. /tests/events.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh

value_of() {
    netlink_reader counters | sed -n "s/^$1 //p"
}

# COUNTER: of late_learning.
by_a_race() {
    forget_rules
    insmod /modules/gpon_delay.ko function=gpon_hash_add_node_safe ms=2000 ||
        fail "no late learning"
    late_learning "${1#rules_}" >/tmp/printed || fail "late_learning: $(cat /tmp/printed)"
    late=$(cat /sys/module/gpon_delay/parameters/delayed)
    rmmod gpon_delay
    expect "$1, of $late late walks" 1 "$(value_of "$1")"
}

# The function that gives a block whose size the compiler does not know.
allocator() {
    for function in __kmalloc_noprof __kmalloc; do
        ! grep -q " $function\$" /proc/kallsyms || { echo $function; return; }
    done
}

# NTH VLAN: a frame of another flow, in whose call the nth request for memory fails.
frame_without_memory() {
    insmod /modules/gpon_fault.ko function="$allocator" result=0 program=hook_call nth="$1" ||
        fail "$allocator cannot be made to fail"
    hook_call kind=2 vid="$2" >/tmp/printed 2>&1 || :
    rmmod gpon_fault
}

# Sets first to the number of the first request of the rule table in a call.
first_request_of_a_rule() {
    first=1
    while frame_without_memory $first $((1000 + first)) && [ "$(value_of rules_no_memory)" = 0 ]; do
        first=$((first + 1))
        [ $first -lt 60 ] || fail "no request of the rule table in $first"
    done
    expect "allocation_failures of a rule without memory" 1 \
        $(($(value_of allocation_failures) - failures))
}

# One frame at a time: the next one makes the table grow.
fill_to_the_threshold() {
    forget_rules
    vlan=1
    until netlink_reader state | grep -qE " rules=48 .*threshold=48 "; do
        hook_call kind=2 vid=$vlan >/tmp/printed || fail "no frame: $(cat /tmp/printed)"
        vlan=$((vlan + 1))
        [ $vlan -lt 900 ] || fail "the table does not fill: $(netlink_reader state)"
    done
}

# Frames whose DSCP selects the GEM port.
provision_mapper() {
    obey - <<-END
	clean
	me create MAC_BRIDGE_SERVICE_PROFILE 1
	me create GEM_PORT_CTP 1 portID=1025 direction=3
	me create GEM_PORT_CTP 2 portID=1026 direction=3
	me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1
	me create GEM_INTERWORK_TP 0x12 gemCTPInstID=2
	me create 802_1P_MAPPER 1 tpPointer=0xffff pbit_GemIWTP=0x11,0x12,0x12,0x12,0x12,0x12,0x12,0x12 unmark_frame_opt=0 dscp2pbitMap=000800000000000000000000000000000000000000000000
	me create MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=3 tpPointer=1
	hook kind=switch param=1
	END
}

# The second walk replaces the steps of the first one. Either processor may be late.
replaced_rule() {
    provision_mapper
    [ "$listener" = 0 ] || take_events
    by_a_race rules_relearnt
    flow="dst=02:00:00:00:00:01 src=02:00:00:00:77:01 direction=1 used=1 hits=0"
    before="step=0x2d/0x1 step=0x2f/0x1001 step=0x82/0x1"
    replaced="step=0x10a/0x11 step=0x10c/0x1"
    second="step=0x10a/0x12 step=0x10c/0x2"
    if netlink_reader rules | grep -q " $replaced\$"; then
        second=$replaced
        replaced="step=0x10a/0x12 step=0x10c/0x2"
    fi
    [ "$listener" = 0 ] || expect_events "a replaced rule" \
        "learnt $flow $before $replaced" "relearnt $flow $before $second"
    netlink_reader rules | grep -q " $second\$" || fail "not the steps of the second walk"
}

# The event has the rule that the larger table does not have.
lost_rule() {
    take_events
    expect "events of a growth without memory for a rule" "gone grown learnt" \
        "$(sed 's/ .*//' /tmp/new | sort | tr '\n' ' ' | sed 's/ $//')"
    grep -qx "grown buckets=128" /tmp/new || fail "not the buckets: $(cat /tmp/new)"
    tag=$(sed -n 's/^gone dst=ff:ff:ff:ff:ff:ff src=02:00:00:00:00:01 direction=8 used=. hits=0 .*\(tag=0x8100[^ ]*\) end=4$/\1/p' /tmp/new)
    [ -n "$tag" ] || fail "no lost rule: $(cat /tmp/new)"
    ! netlink_reader rules | grep -E "$tag( |\$)" || fail "the lost rule is in the table"
}

sums_hold() {
    expect "sum of the results of walks" "$(value_of walks_done)" \
        $(($(value_of rules_learnt) + $(value_of rules_relearnt) + $(value_of rules_bucket_taken) + $(value_of rules_outdated) + $(value_of rules_no_memory) + $(value_of rules_unchanged)))
    expect "sum of the walks" "$(value_of walks)" \
        $(($(value_of walks_done) + $(value_of walks_no_path) + $(value_of walks_filtered) + $(value_of walks_step_failed)))
}

load_both
provision_line
by_a_race rules_outdated
by_a_race rules_unchanged
listener=0
if has_events; then follow_events; fi
allocator=$(allocator)
[ -n "$allocator" ] || fail "no function gives memory"
failures=$(value_of allocation_failures)
first_request_of_a_rule
fill_to_the_threshold
frame_without_memory $first 1100
expect table_growths_failed 1 "$(value_of table_growths_failed)"
[ "$listener" = 0 ] || take_events
expect "rules after a growth without memory" 48 "$(netlink_reader state | sed 's/.* rules=\([0-9]*\) .*/\1/')"
frame_without_memory $((first + 1)) 1101
expect "growths after a failed one" 1 "$(value_of table_growths)"
expect rules_lost_by_growth 1 "$(value_of rules_lost_by_growth)"
[ "$listener" = 0 ] || lost_rule
expect allocation_failures $((failures + 3)) "$(value_of allocation_failures)"
replaced_rule
sums_hold
unload_both

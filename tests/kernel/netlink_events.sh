# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Each event of the netlink family by itself: its type, its fields and its cause. The test rare_counters
# reaches those of lost races and of missing memory. A listener that missed an event in a quiet time learns
# that at the unload.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/events.sh
. /tests/events.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh

addresses="dst=02:00:00:00:00:01 src=02:00:00:00:77:01 direction=2"
steps="step=0xb/0x101 step=0x2f/0x1"

# The bucket of the flow is not known.
delete_in_each_bucket() {
    awk 'BEGIN { for (i = 1; i < 64; i++) print "debug clean flow_rule", i, 0 }' >/tmp/buckets.scn
    obey /tmp/buckets.scn
}

events_of_rules() {
    calls 1 "$passing"
    expect_events "a first frame" "learnt $addresses used=1 hits=0 $steps"
    calls 3 "$passing"
    calls 2 "$dropped"
    expect_events "frames of a known flow and dropped frames"
    forget_rules
    expect_events "a flush" "gone $addresses used=1 hits=3 gem=0 $steps end=2"
    calls 2 "$passing"
    delete_in_each_bucket
    expect_events "a deletion" "learnt $addresses used=1 hits=0 $steps" "gone $addresses used=1 hits=1 gem=0 $steps end=3"
    calls 1 "hook kind=up_ani frame=02000000000102000000770288a8012c8100001e080045000000000000000000"
    take_events
    grep -qxE "learnt .* src=02:00:00:00:77:02 direction=1 .* tag=0x88a8/0x12c tag=0x8100/0x1e step=.*" /tmp/new ||
        fail "no tags of a learnt rule: $(cat /tmp/new)"
    forget_rules
    take_events
}

# COMMAND LINE...: these events, and no other, of a command of the OMCI stack.
expect_of_command() {
    command=$1
    shift
    calls 1 "$command"
    expect_events "$command" "$@"
}

events_of_instances() {
    expect_of_command "me create GEM_PORT_CTP 0x55 portID=1100 direction=3" \
        "changed class=268 id=0x55 change=1"
    expect_of_command "me create GEM_INTERWORK_TP 0x55 gemCTPInstID=0x55" \
        "changed class=266 id=0x55 change=1" "changed class=268 id=0x55 change=3"
    expect_of_command "me set GEM_PORT_CTP 0x55 portID=1101" "changed class=268 id=0x55 change=2"
    expect_of_command "me delete GEM_INTERWORK_TP 0x55" \
        "changed class=268 id=0x55 change=3" "changed class=266 id=0x55 change=4"
    expect_of_command "me delete GEM_PORT_CTP 0x55" "changed class=268 id=0x55 change=4"
    expect_of_command "me create TRAFFIC_DESCRIPTOR 0x77 cir=1 pir=1 cbs=1 pbs=1" \
        "changed class=280 id=0x77 change=1"
    echo "clean raw_data 280 77" >/proc/gpon_flow/debug
    expect_events "an operator's deletion" "changed class=280 id=0x77 change=4"
}

# The first rule above the threshold of 48. Some flows have the same bucket and are not learnt.
events_of_growth() {
    first_frames 1 110 >/tmp/flood.scn
    obey /tmp/flood.scn
    take_events
    expect "events of a growth" "grown buckets=128" "$(grep -v "^learnt " /tmp/new)"
    expect "rules learnt before the growth" 48 "$(sed '/^grown/,$d' /tmp/new | wc -l)"
    expect "learnt rules" "$(netlink_reader rules | grep -c "^rule ")" "$(grep -c "^learnt " /tmp/new)"
}

# The sending of an event is late, so the state is read between its number and its arrival.
number_of_the_last_event() {
    # A command deletes the rules that are left, with an event for each.
    echo "clean flow_rule 0 0" >/proc/gpon_flow/debug
    # In kernels that have the first function, the second one calls it.
    insmod /modules/gpon_delay.ko function=netlink_broadcast_filtered ms=50 2>/dev/null ||
        insmod /modules/gpon_delay.ko function=netlink_broadcast ms=50 || fail "no delay"
    state_during_events >/tmp/printed || fail "$(cat /tmp/printed)"
    delayed=$(cat /sys/module/gpon_delay/parameters/delayed)
    rmmod gpon_delay
    [ "$delayed" -ge 20 ] || fail "only $delayed events were sent late"
}

unload_and_stop_listening() {
    unload_both
    stop_listener
}

# A sweep every 25 jiffies.
events_of_aging() {
    insmod /modules/gpon_hasten.ko period=30000 instead=25 || fail "the timer cannot be hastened"
    load_both
    provision_line
    follow_events
    calls 1 "$passing"
    wait_for /tmp/events "^gone " $listener
    expect_events "aging" "learnt $addresses used=1 hits=0 $steps" "gone $addresses used=0 hits=0 $steps end=1"
    unload_and_stop_listening
    rmmod gpon_hasten
}

# TITLE: unloads within a quiet time that lasts a minute.
unload_in_a_quiet_time() {
    insmod /modules/gpon_hasten.ko period=$((hz / 10)) instead=$((hz * 60)) ||
        fail "the quiet time cannot be made longer"
    load_both
    provision_line
    quiet_unload "$1" >/tmp/printed || fail "quiet_unload $1: $(cat /tmp/printed)"
    expect "quiet times" 1 "$(cat /sys/module/gpon_hasten/parameters/hastened)"
    rmmod gpon_softonu
    rmmod gpon_hasten
}

load_both
provision_line
if ! has_events; then
    unload_both
    exit 0
fi
follow_events
events_of_rules
events_of_instances
events_of_growth
number_of_the_last_event
unload_and_stop_listening
events_of_aging
hz=$(sed -n 's/^CONFIG_HZ=//p' /tests/config)
unload_in_a_quiet_time missed
unload_in_a_quiet_time nothing

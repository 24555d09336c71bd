# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The netlink family: traffic of known composition gives exactly these counters, rules and events;
# a flood from two processors, dumps of entities that change, readers that stop, refused requests, unload
# with a listener.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/counters.sh
. /tests/counters.sh
# shellcheck source=scripts/kernel/guest/events.sh
. /tests/events.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh

rule="dst=02:00:00:00:00:01 src=02:00:00:00:77:01 direction=2"

# The counters that changed between two files, NAME=DIFFERENCE.
changes() {
    awk 'NR == FNR { old[$1] = $2 ; next }
         $2 != old[$1] { printf "%s%s=%d", between, $1, $2 - old[$1] ; between = " " }
         END { print "" }' "$1" "$2"
}

known_traffic() {
    counters_to /tmp/before
    calls 5 "$passing"
    counters_to /tmp/after
    expect "five frames of a flow" \
        "calls_up_uni=5 frames_passed=5 remembered_up_uni=3 replays=1 walks=1 walks_done=1 rules_learnt=1 outcomes_remembered=1" \
        "$(changes /tmp/before /tmp/after)"
    calls 3 "$dropped"
    counters_to /tmp/last
    expect "three frames that a filter drops" \
        "calls_up_ani=3 frames_failed=3 walks=3 walks_filtered=3" \
        "$(changes /tmp/after /tmp/last)"
    netlink_reader rules >/tmp/rules || fail "no rules: $(cat /tmp/rules)"
    expect "rules" 1 "$(grep -c "^rule " /tmp/rules)"
    grep -qF "$rule used=1 hits=4 " /tmp/rules || fail "not the rule of the flow: $(cat /tmp/rules)"
    gponflow stat --json >/tmp/stat || fail "no gponflow stat: $(cat /tmp/stat)"
    counters_to /tmp/last
    expect_counters /tmp/last /tmp/stat
    gponflow show rules --json >/tmp/shown || fail "no gponflow show: $(cat /tmp/shown)"
    grep -q '"hits": 4,' /tmp/shown || fail "not the hits of the rule: $(cat /tmp/shown)"
    netlink_reader state >/tmp/state || fail "no state"
    expect "state" "state engine=1 rules=1 buckets=64 threshold=48 event=0" "$(cat /tmp/state)"
}

known_store() {
    netlink_reader instances >/tmp/instances || fail "no instances: $(cat /tmp/instances)"
    gponflow show me --json --class GEM_PORT_CTP >/tmp/ctps || fail "no dump to compare"
    expect "GEM ports" "$(grep -c '"portID"' /tmp/ctps)" "$(grep -c " class=268 " /tmp/instances)"
    grep -q "^instance class=268 id=0x[0-9a-f]* GEM_PORT_CTP raw=[0-9a-f]\{40\} links266=0x" \
        /tmp/instances || fail "no GEM port with its link: $(cat /tmp/instances)"
}

# A listener of another network namespace gets nothing. Events are numbered, though nobody gets them.
foreign_listener() {
    mkfifo /tmp/foreign
    netlink_reader foreign </tmp/foreign >/tmp/elsewhere &
    foreign=$!
    exec 5>/tmp/foreign
    wait_for /tmp/elsewhere listening $foreign
    if grep -q not /tmp/elsewhere; then
        left_out "a listener of another network namespace, which this kernel refuses"
        exec 5>&-
        return
    fi
    first=$(last_event)
    counters_to /tmp/before
    obey /tmp/flood.scn
    forget_rules
    counters_to /tmp/after
    expect "events for a foreign listener" \
        "$(grown_by rules_learnt rules_aged rules_flushed rules_lost_by_growth table_growths)" \
        $(($(last_event) - first))
    exec 5>&-
    wait $foreign || fail "the foreign listener: $(cat /tmp/elsewhere)"
    calls 5 "$passing"
}

known_events() {
    follow_events
    start_monitor
    calls 1 "hook kind=up_uni port=1 frame=02000000000102000000770208004500000000000000000000000000000000"
    forget_rules
    calls 1 "me create TRAFFIC_DESCRIPTOR 0x77 cir=1 pir=1 cbs=1 pbs=1 colourMode=0 ingressColourMode=0 egressColourMode=0 meterType=0"
    await_last_event
    expect "learnt rules" 1 "$(grep -c "^learnt .*src=02:00:00:00:77:02" /tmp/events)"
    expect "flushed rules" 2 "$(grep -c "^gone .* end=2 event=" /tmp/events)"
    grep -qF "gone $rule used=1 hits=4 " /tmp/events || fail "not its hits: $(cat /tmp/events)"
    grep -q "^changed class=280 id=0x77 change=1 event=[0-9]*$" /tmp/events ||
        fail "no created instance: $(cat /tmp/events)"
    wait_for /tmp/monitor "^created " $monitor
    kill -INT "$monitor"
    wait "$monitor" || fail "monitor: $(cat /tmp/monitor.errors)"
    expect "learnt rules that monitor printed" 1 "$(grep -c "^learnt " /tmp/monitor)"
    expect "flushed rules that monitor printed" 2 "$(grep -c "^flushed " /tmp/monitor)"
    grep -qx "created  TRAFFIC_DESCRIPTOR 0x0077" /tmp/monitor ||
        fail "monitor printed no created instance: $(cat /tmp/monitor)"
    # The events before its start are not those that it missed.
    ! grep -q "^missing " /tmp/monitor || fail "monitor missed changes: $(cat /tmp/monitor)"
    stop_listener
}

begin_stopped_listener() {
    mkfifo /tmp/stop
    netlink_reader stopped </tmp/stop >/tmp/stopped &
    stopped=$!
    exec 4>/tmp/stop
    wait_for /tmp/stopped listening $stopped
}

# NAME: of the listener that stopped reading.
value_of() {
    sed -n "s/^\(.* \)\{0,1\}$1=//p" /tmp/stopped
}

# It reads at last, and gets one more event. The rules are gone before, so that their events do not fill
# its buffer again. A time without events ends the quiet time after an event that reached nobody.
end_stopped_listener() {
    forget_rules
    exec 4>&-
    sleep 1
    calls 1 "me create TRAFFIC_DESCRIPTOR 0x78 cir=1 pir=1 cbs=1 pbs=1"
    wait "$stopped" || fail "the listener: $(cat /tmp/stopped)"
    [ "$(value_of missing)" -gt 0 ] || fail "the listener missed nothing: $(cat /tmp/stopped)"
    [ "$(value_of overruns)" -gt 0 ] || fail "the listener counts no loss: $(cat /tmp/stopped)"
    counters_to /tmp/after
    numbers=$(($(value_of last) - $(value_of since)))
    expect "received and missing events" $numbers $(($(value_of received) + $(value_of missing)))
    # One event is that of the instance.
    expect "changes of rules and the table" $((numbers - 1)) \
        "$(grown_by rules_learnt rules_aged rules_flushed rules_lost_by_growth table_growths)"
    expect "number of the last event" "$(value_of last)" \
        "$(last_event)"
}

# Reads one kind of records again and again until the flood has ended.
read_until_flooded() {
    while [ ! -e /tmp/flooded ]; do
        netlink_reader "$1" >>"/tmp/seen.$1" || echo "$1" >/tmp/seen.failed
        : >"/tmp/begun.$1"
    done
}

# FRAMES FLOWS: parallel_flood on both processors, under readers of the rules, the instances and the counters.
flood_under_readers() {
    rm -f /tmp/flooded /tmp/seen.* /tmp/begun.*
    counters_to /tmp/before
    readers=
    for reader in rules instances counters; do
        read_until_flooded $reader &
        readers="$readers $!"
    done
    # A reader that has read once begins again at once.
    for reader in rules instances counters; do
        until [ -e /tmp/begun.$reader ]; do sleep 0.1; done
    done
    parallel_flood "$@" >/tmp/sent || fail "no flood: $(cat /tmp/sent)"
    : >/tmp/flooded
    for reader in $readers; do wait "$reader"; done
    [ ! -e /tmp/seen.failed ] || fail "a reader of $(cat /tmp/seen.failed) failed"
    counters_to /tmp/after
    for processor in 0 1; do
        grep -qx "processor $processor: $(($1 + $2)) frames" /tmp/sent ||
            fail "not a flood of two processors: $(cat /tmp/sent)"
    done
    counters_never_decrease
    sent=$((($1 + $2) * 2))
    expect "changed counters of calls" "calls_down_uni=$sent" \
        "$(changes /tmp/before /tmp/after | tr ' ' '\n' | grep ^calls)"
    expect "passed frames" $sent "$(grown_by frames_passed)"
}

counters_never_decrease() {
    reads=$(grep -c "^walks " /tmp/seen.counters)
    [ "$reads" -gt 1 ] || fail "the counters were read $reads times"
    awk '$2 < last[$1] { print $1, "was", last[$1] ", is", $2 ; exit 1 } { last[$1] = $2 }' \
        /tmp/seen.counters >/tmp/decreased || fail "a counter decreases: $(cat /tmp/decreased)"
}

# Both processors count the uses of one rule. Its first two frames walk and replay.
known_flow_with_three_readers() {
    calls 2 "hook kind=down_uni port=1 frame=02000000000102000000000008004500000000000000000000000000000000000000"
    flood_under_readers 1500 0
    expect "frames of a known flow" 3000 "$(grown_by remembered_down_uni replays)"
    expect "walks of a known flow" 0 "$(grown_by walks)"
    expect "uses of its rule" 3001 \
        "$(netlink_reader rules | sed -n '/src=02:00:00:00:00:00 /s/.* hits=\([0-9]*\) .*/\1/p')"
}

# The events of the listener are in order and reach to the last one. The kernel reports each loss before the
# events that follow it, so each gap has a report of its own before it.
events_are_in_order() {
    await_last_event
    awk -v last="$event_before" '
        /^lost/ { reports++ }
        sub(/.* event=/, "") {
            if ($1 <= last || ($1 > last + 1 && reports-- < 1)) wrong = 1
            last = $1
        }
        END { exit wrong }' /tmp/events || fail "events are missing: $(cat /tmp/events)"
}

# Beside the readers, a listener, and a second one that is stopped.
flood_of_rules_with_three_readers() {
    forget_rules
    [ "$listener" = 0 ] || { follow_events; begin_stopped_listener; }
    # As many flows as the largest table has buckets.
    flood_under_readers 0 450
    expect "walks" 900 "$(grown_by walks)"
    expect "walks that passed" 900 "$(grown_by walks_done)"
    expect "learnt and not kept" 900 "$(grown_by rules_learnt rules_bucket_taken)"
    expect "rules in the table" \
        $(($(grown_by rules_learnt) - $(grown_by rules_aged rules_lost_by_growth))) \
        "$(netlink_reader rules | grep -c '^rule ')"
    [ "$listener" = 0 ] || { end_stopped_listener; events_are_in_order; }
}

# Each dump is closed after every number of its buffers.
cut_dumps() {
    obey /tmp/flood.scn
    netlink_reader cut >/tmp/cut || fail "cut dumps: $(cat /tmp/cut)"
    [ "$(sed -n 's/^3: \([0-9]*\) buffers/\1/p' /tmp/cut)" -gt 2 ] ||
        fail "the dump of rules has too few buffers: $(cat /tmp/cut)"
}

# hold FILE: begins a dump that fills the buffer of its reader; prints to FILE what it gets.
hold() {
    [ -e /tmp/hold ] || mkfifo /tmp/hold
    netlink_reader hold </tmp/hold >"$1" &
    holder=$!
    exec 3>/tmp/hold
    wait_for "$1" holding $holder
}

release() {
    exec 3>&-
    wait "$holder"
}

# Nothing is left to copy after the flush, so only the end of the dump can carry the mark.
flush_in_a_dump() {
    netlink_reader rules >/tmp/whole
    grep -q interrupted /tmp/whole && fail "interrupted by nothing"
    hold /tmp/halves
    forget_rules
    release || fail "no end of the dump: $(cat /tmp/halves)"
    grep -q interrupted /tmp/halves || fail "a dump of deleted rules is whole: $(wc -l </tmp/halves) of $(wc -l </tmp/whole) lines"
    expect "marks of the end" interrupted "$(tail -n 1 /tmp/halves)"
}

# A rule with two tags and four steps.
known_tags_and_steps() {
    calls 1 "hook kind=up_ani frame=02000000000102000000770288a8012c8100001e080045000000000000000000"
    netlink_reader rules >/tmp/rules || fail "no rules: $(cat /tmp/rules)"
    expect "the tags and steps of a rule" \
        "tag=0x88a8/0x12c tag=0x8100/0x1e step=0x2d/0x1 step=0x2f/0xc step=0x10a/0x2 step=0x10c/0x2" \
        "$(sed -n '/src=02:00:00:00:77:02 /s/.* idle=[0-9]* *\(.*\)/\1/p' /tmp/rules)"
}

refusals() {
    netlink_reader hostile >/tmp/printed || fail "hostile: $(cat /tmp/printed)"
    netlink_reader unprivileged >/tmp/printed || fail "unprivileged: $(cat /tmp/printed)"
    expect "refused requests" $((listener ? 3 : 2)) "$(grep -c "not permitted" /tmp/printed)"
}

# A dump that nobody reads keeps the module; a listener does not.
unload() {
    obey /tmp/flood.scn
    hold /tmp/holding
    [ "$listener" = 0 ] || kill -0 $listener || fail "the listener has ended: $(tail -n 5 /tmp/events)"
    rmmod gpon_flow 2>/dev/null && fail "unloaded under an open dump"
    release
    rmmod gpon_flow || fail "gpon_flow does not unload under a listener"
    netlink_reader state >/dev/null && fail "still loaded"
    [ "$listener" = 0 ] || stop_listener
}

load_both
provision_line
known_traffic
known_store
listener=0
first_frames 1 900 >/tmp/flood.scn
if has_events; then
    foreign_listener
    known_events
fi
known_flow_with_three_readers
flood_of_rules_with_three_readers
instance_dumps || fail "dumps of instances that change"
cut_dumps
flush_in_a_dump
known_tags_and_steps
refusals
unload
unload_softonu

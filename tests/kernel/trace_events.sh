# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The trace events: traffic of known composition gives exactly these events, as many as netlink and
# gponflow count; events that nobody traces do not occur; unload while all are traced.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/counters.sh
. /tests/counters.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh
# shellcheck source=scripts/kernel/guest/tracing.sh
. /tests/tracing.sh

# FILE: what netlink counts; gponflow prints the same numbers.
same_counters_to() {
    counters_to "$1"
    gponflow stat --json >/tmp/stat || fail "no gponflow stat: $(cat /tmp/stat)"
    expect_counters "$1" /tmp/stat
}

# traced PATTERN: the number of such events. A line is "COMM-PID [CPU] FLAGS TIME: EVENT: FIELDS".
traced() {
    grep -v '^#' /tmp/trace | grep -cE ": gpon_$1" || :
}

# Events without packet and addresses, each text with its number: a flood has few different ones.
gather_events() {
    grep -v '^#' /tmp/trace | sed 's/.*: gpon_/: gpon_/ ; s/skbaddr=[^ ]* // ; s/ dst=.* inner_tag=[^ ]*//' |
        awk '{ n[$0]++ } END { for (text in n) print n[text], text }' >/tmp/gathered
}

# PATTERN: as traced, for texts without packet and addresses.
gathered() {
    grep -E ": gpon_$1" /tmp/gathered | awk '{ n += $1 } END { print n + 0 }'
}

begin_counting() {
    same_counters_to /tmp/before
    begin_tracing
}

end_counting() {
    end_tracing
    same_counters_to /tmp/after
    gather_events
}

# same TITLE EVENTS COUNTER...: the events and the counters have the same number.
same() {
    title=$1
    pattern=$2
    shift 2
    expect "$title" "$(grown_by "$@")" "$(gathered "$pattern")"
}

# DIRECTION: the frames of a direction begin with a walk or hit a rule.
frames_begin() {
    same "frames $1" "(walk_start|rule_hit): direction=$1( |$)" "calls_$1"
    same "remembered outcomes $1" "rule_hit: direction=$1 remembered=1 " "remembered_$1"
}

# COUNTER PATTERN: commands for an entity that succeed and fail.
commands_end() {
    same "$1 done" "command: kind=$2 .* result=0 " "$1_done"
    same "$1 failed" "command: kind=$2 .* result=-[0-9]+ " "$1_failed"
}

# Without frames that find the engine off, which are not traced unless they are dropped.
everything_is_the_same() {
    for direction in up_uni up_ani down_uni down_ani; do frames_begin $direction; done
    same "walks" "walk_start: " walks
    same "walks that passed" "walk_end: .* reason=passed " walks_done
    for reason in no_path filtered step_failed too_deep; do
        same "walks $reason" "walk_end: .* reason=$reason " walks_$reason
    done
    same "replays" "rule_hit: .* remembered=0 " replays
    same "added rules" "rule_learn: .* result=added" rules_learnt
    same "replaced rules" "rule_learn: .* result=replaced" rules_relearnt
    for result in bucket_taken outdated no_memory unchanged; do
        same "walks not learnt, $result" "rule_learn: .* result=$result" rules_$result
    done
    same "drops" "drop: " frames_failed calls_no_packet calls_unknown
    same "frames without queue" "drop: .* reason=no_queue " queue_failures
    same "calls without packet" "drop: .* reason=no_packet " calls_no_packet
    same "calls of an unknown kind" "drop: .* reason=unknown_kind " calls_unknown
    commands_end me_create "me msg_type=4"
    commands_end me_delete "me msg_type=6"
    commands_end me_set "me msg_type=8"
    commands_end config config
    same "entities of unknown commands" "command: kind=me msg_type=([^468]|[0-9]{2,}) " me_unknown
    same "flushes by commands" "command: kind=me " flushes_by_command
    same "clean commands" "command: kind=clean " clean_commands
    same "commands of the device" "command: kind=device " device_commands
    same "commands of an operator" "command: kind=operator " operator_commands
    same "refused commands" "command: kind=refused " commands_refused
    same "sweeps" "sweep: " sweeps
    expect "aged rules" "$(grown_by rules_aged)" \
        "$(sed -n 's/ : gpon_sweep: .* aged=\([0-9]*\) .*/ \1/p' /tmp/gathered | awk '{ n += $1 * $2 } END { print n + 0 }')"
    same "passed frames" "(walk_end: .* reason=passed|rule_hit:) " frames_passed queue_failures
}

known_traffic() {
    begin_counting
    calls 5 "$passing"
    calls 3 "$dropped"
    hook_call packet=0 >/tmp/printed || fail "no call without packet"
    calls 1 "me create TRAFFIC_DESCRIPTOR 0x77 cir=1 pir=1 cbs=1 pbs=1 colourMode=0 ingressColourMode=0 egressColourMode=0 meterType=0"
    echo "show  enable" >/proc/gpon_flow/debug
    end_counting
    everything_is_the_same
    expect "walks" 4 "$(traced "walk_start: ")"
    expect "filtered frames" 3 "$(traced "drop: .* direction=up_ani dst=02:00:00:00:00:01 src=02:00:00:00:77:01 tags=1 outer_tag=0x810001f4 inner_tag=0x00000000 reason=filtered gem_port=0")"
    expect "calls without packet" 1 "$(traced "drop: .* reason=no_packet ")"
    expect "replays" 1 "$(traced "rule_hit: .* src=02:00:00:00:77:01 .* remembered=0 ")"
    expect "remembered" 3 "$(traced "rule_hit: .* remembered=1 ")"
    # The rule of this flow has steps; one without them is replayed without such an event.
    same "first steps of replays" "replay_step: .* depth=1 " replays
    expect "steps of the replay" 2 "$(traced "replay_step: .* direction=up_uni .* decision=none")"
    expect "dropping filters" 6 "$(traced "walk_step: .* class_id=47 .* status=ends_branch decision=filter_drops")"
    expect "steps that reach the egress" 1 "$(traced "walk_step: .* direction=up_uni depth=2 class_id=47 .* status=reaches_egress")"
    expect "the operator's command" 1 "$(traced 'command: kind=operator .* result=13 text="show enable"')"
    expect "the created instance" 1 "$(traced 'command: kind=me msg_type=4 class_id=280 inst_id=0x0077 .* result=0 text=""')"
}

flood() {
    first_frames 1 900 >/tmp/flood.scn
    begin_counting
    obey /tmp/flood.scn
    end_counting
    everything_is_the_same
    expect "walks" 900 "$(traced "walk_start: ")"
}

# The frames with the engine off are left out.
counted_line() {
    counted_commands | awk '/param=0/ { off = 1 } !off { print } /param=1/ { off = 0 }' >/tmp/counted.scn
    begin_counting
    obey /tmp/counted.scn
    end_counting
    everything_is_the_same
    expect "calls of an unknown kind" 2 "$(traced "drop: .* direction=none .* reason=unknown_kind ")"
    [ "$(grown_by rules_aged)" -gt 0 ] || fail "no rule aged"
}

# One event alone, then none.
single_events() {
    echo >$tracing/trace
    echo 1 >$events/gpon_drop/enable
    calls 2 "$dropped"
    echo 0 >$events/gpon_drop/enable
    calls 2 "$dropped"
    cat $tracing/trace >/tmp/trace
    expect "drops" 2 "$(traced "drop: ")"
    expect "events of any kind" 2 "$(traced "")"
}

unload_while_tracing() {
    echo 1 >$events/enable
    calls 1 "$passing"
    rmmod gpon_flow || fail "gpon_flow does not unload while it is traced"
    [ ! -e $events ] || fail "events without a module"
    load_gpon_flow
    begin_counting
    hook_call packet=0 >/tmp/printed || fail "no call without packet"
    end_counting
    same "drops after the second load" "drop: " calls_no_packet
    expect "drops after the second load" 1 "$(traced "drop: ")"
    unload_both
}

load_both
if ! has_trace_events; then
    [ ! -d $tracing/events ] || fail "no events of gpon_flow in a kernel with trace events"
    echo "@@ this kernel has no trace events"
    exit 0
fi
record_no_names
provision_line
known_traffic
flood
counted_line
single_events
unload_while_tracing

# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash disable=SC2034
#
# Functions of the guest tests that read the counters and events of the module while it runs. After lib.sh.

# The station whose frames are traced.
mac=02:00:00:00:77:01

# FILE: all counters.
counters_to() {
    netlink_reader counters >"$1" || fail "no counters: $(cat "$1")"
}

# COUNTER FILE: its value.
value_in() {
    sed -n "s/^$1 //p" "$2"
}

# NAME...: the sum of the differences of these counters between /tmp/before and /tmp/after.
grown_by() {
    echo "$@" | awk 'FNR == NR { for (i = 1; i <= NF; i++) wanted[$i] = 1 ; next }
        wanted[$1] { sum += FILENAME == "/tmp/after" ? $2 : -$2 }
        END { print sum + 0 }' - /tmp/before /tmp/after
}

# NAME ARGUMENT...: traces the frames of the station, with the output in /tmp/NAME and
# /tmp/NAME.errors.
start_trace() {
    name=$1
    shift
    rm -f "/tmp/$name.errors"
    gponflow trace "src_mac=$mac" "$@" >"/tmp/$name" 2>"/tmp/$name.errors" &
    tracer=$!
    wait_for "/tmp/$name.errors" tracing $tracer
}

start_monitor() {
    rm -f /tmp/monitor.errors
    gponflow monitor >/tmp/monitor 2>/tmp/monitor.errors &
    monitor=$!
    wait_for /tmp/monitor.errors monitoring $monitor
}

# Whether the kernel can restrict a multicast group, which the events need. All kernels since 5.12 can.
has_events() {
    ! kernel_since 5 12 && netlink_reader unprivileged | grep -qx "events: no group" || return 0
    left_out "events, this kernel cannot restrict a multicast group"
    return 1
}

# The number of the last event.
last_event() {
    netlink_reader state | sed 's/.*event=//'
}

# Lets a listener write all events to /tmp/events.
follow_events() {
    # A former listener has left its own.
    : >/tmp/events
    netlink_reader events >/tmp/events &
    listener=$!
    wait_for /tmp/events listening $listener
    events_seen=1
    event_before=$(last_event)
}

# Until the listener has the last event; it must still run.
await_last_event() {
    wanted_event=$(last_event)
    tries=0
    until [ "$(sed -n 's/.* event=//p' /tmp/events | tail -n 1)" = "$wanted_event" ] ||
        [ "$wanted_event" = "$event_before" ]; do
        tries=$((tries + 1))
        [ $tries -lt 100 ] || fail "event $wanted_event is missing: $(tail -n 5 /tmp/events)"
        sleep 0.1
    done
    kill -0 "$listener" || fail "the listener has ended: $(tail -n 5 /tmp/events)"
}

# Writes the events since the last call to /tmp/new, without their numbers and idle times, when the
# listener has all of them. No number is missing.
take_events() {
    await_last_event
    tail -n +$((events_seen + 1)) /tmp/events >/tmp/taken
    events_seen=$((events_seen + $(wc -l </tmp/taken)))
    expect "numbers of the events" "$(seq -s " " $((event_before + 1)) "$wanted_event")" \
        "$(sed 's/.* event=//' /tmp/taken | tr '\n' ' ' | sed 's/ $//')"
    event_before=$wanted_event
    sed 's/ idle=[0-9]*//; s/ event=[0-9]*$//' /tmp/taken >/tmp/new
}

# TITLE LINE...: these events, and no other, since the last call.
expect_events() {
    title=$1
    shift
    take_events
    expect "events of $title" "$(printf '%s\n' "$@")" "$(cat /tmp/new)"
}

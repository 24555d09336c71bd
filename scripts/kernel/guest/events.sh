# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The events of the netlink family: a listener, and gponflow monitor.

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

stop_listener() {
    kill "$listener"
    wait "$listener" || :
}

has_wanted_event() {
    [ "$(sed -n 's/.* event=//p' /tmp/events | tail -n 1)" = "$wanted_event" ]
}

# Until the listener has the last event; it must still run.
await_last_event() {
    wanted_event=$(last_event)
    [ "$wanted_event" = "$event_before" ] || soon has_wanted_event ||
        fail "event $wanted_event is missing: $(tail -n 5 /tmp/events)"
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

start_monitor() {
    rm -f /tmp/monitor.errors
    gponflow monitor >/tmp/monitor 2>/tmp/monitor.errors &
    monitor=$!
    wait_for /tmp/monitor.errors monitoring $monitor
}

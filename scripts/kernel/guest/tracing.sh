# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash disable=SC2034
#
# The trace events of the module, and gponflow trace.

tracing=/sys/kernel/tracing
events=$tracing/events/gpon_flow
# The station whose frames are traced.
mac=02:00:00:00:77:01

has_trace_events() {
    [ -d $events ]
}

# All trace events until end_tracing.
begin_tracing() {
    echo >$tracing/trace
    echo 1 >$events/enable || fail "the events cannot be enabled"
}

# Writes the events to /tmp/trace.
end_tracing() {
    echo 0 >$events/enable
    cat $tracing/trace >/tmp/trace
    grep -q "entries-in-buffer/entries-written: \([0-9]*\)/\1 " /tmp/trace ||
        fail "events are lost: $(head -n 4 /tmp/trace)"
}

# WHAT: no trace of the tool has left its buffer.
no_buffer_is_left() {
    left=$(find $tracing/instances -maxdepth 1 -name 'gponflow-*')
    [ -z "$left" ] || fail "a trace buffer remains $1: $left"
}

# The kernel patches its scheduler to record the names of processes with trace events. An emulated
# processor may stop at an instruction that is half patched.
record_no_names() {
    echo norecord-cmd >$tracing/trace_options
}

# NAME ARGUMENT...: traces the frames of the station, with the output in /tmp/NAME and
# /tmp/NAME.errors.
start_trace() {
    local name=$1
    shift
    rm -f "/tmp/$name.errors"
    gponflow trace "src_mac=$mac" "$@" >"/tmp/$name" 2>"/tmp/$name.errors" &
    tracer=$!
    wait_for "/tmp/$name.errors" tracing $tracer
}

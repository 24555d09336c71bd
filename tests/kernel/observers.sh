# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# gponflow trace, monitor, stat and watch while the module is unloaded or loaded again, trace buffers
# beside those of other processes, and changes that are queued when a signal ends monitor.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/events.sh
. /tests/events.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh
# shellcheck source=scripts/kernel/guest/tracing.sh
. /tests/tracing.sh

has_ended() {
    ! kill -0 "$1" 2>/dev/null
}

# PROCESS NAME [STATUS]: it ends soon, without an error or with this status.
ends() {
    soon has_ended "$1" || fail "$2 does not end"
    status=0
    wait "$1" || status=$?
    expect "status of $2" "${3:-0}" "$status"
}

# A trace leaves the scheduler as it is: the kernel patches it to record the names of processes.
names_of_processes_are_off() {
    echo record-cmd >$tracing/trace_options
    start_trace trace
    ! grep -x record-cmd $tracing/instances/gponflow-*/trace_options || fail "the names are recorded"
    kill -INT $tracer
    ends $tracer "trace without a frame"
    record_no_names
}

# PROCESS: stops it, until it runs no longer.
stop_process() {
    kill -STOP "$1"
    soon grep -q '^State:[[:space:]]*T' "/proc/$1/status" ||
        fail "process $1 does not stop: $(grep State "/proc/$1/status")"
}

frames_of() {
    grep -c '^frame ' "/tmp/$1" || :
}

load_again() {
    load_gpon_flow
    provision_line
}

# COMMAND...: unloads the module with it, under a trace that has printed a frame.
trace_ends_at() {
    start_trace trace
    calls 1 "$passing"
    wait_for /tmp/trace '^passes' $tracer
    "$@" || fail "gpon_flow does not unload under gponflow trace"
    ends $tracer "trace at $*"
    grep -q "the module was unloaded" /tmp/trace.errors || fail "no message: $(cat /tmp/trace.errors)"
    expect "traced frames at $*" 1 "$(frames_of trace)"
    no_buffer_is_left "after $*"
}

load_twice() {
    rmmod gpon_flow && load_gpon_flow
}

# The trace finds no module when it continues.
unload_while_it_is_stopped() {
    stop_process "$tracer"
    rmmod gpon_flow && kill -CONT "$tracer"
}

trace_at_unload() {
    trace_ends_at rmmod gpon_flow
    load_again
    trace_ends_at unload_while_it_is_stopped
    load_again
    # The second module has the events of the first one, with other numbers.
    trace_ends_at load_twice
    provision_line
    start_trace trace --count 1
    calls 1 "$passing"
    ends $tracer "trace of the second module"
}

# It leaves its filter, and its buffer with enabled events.
killed_trace_before_unload() {
    start_trace trace
    kill -KILL $tracer
    wait $tracer || :
    calls 1 "$passing"
    rmmod gpon_flow || fail "gpon_flow does not unload with the buffer of a killed trace"
    load_again
    start_trace trace --count 1
    calls 1 "$passing"
    ends $tracer "trace after a killed one and an unload"
    no_buffer_is_left "of a trace that was killed before an unload"
}

monitor_ends_at() {
    start_monitor
    calls 1 "$passing"
    wait_for /tmp/monitor '^learnt' $monitor
    "$@" || fail "gpon_flow does not unload under gponflow monitor"
    ends $monitor "monitor at $*"
    grep -q "the module was unloaded" /tmp/monitor.errors ||
        fail "no message: $(cat /tmp/monitor.errors)"
}

monitor_at_unload() {
    monitor_ends_at rmmod gpon_flow
    load_again
    monitor_ends_at load_twice
    provision_line
}

# It is stopped while the changes and the signal come.
monitor_at_a_signal() {
    start_monitor
    stop_process $monitor
    calls 1 "me create TRAFFIC_DESCRIPTOR 0x77 cir=1 pir=1 cbs=1 pbs=1"
    kill -TERM $monitor
    kill -CONT $monitor
    ends $monitor "monitor at a signal"
    grep -qx "created  TRAFFIC_DESCRIPTOR 0x0077" /tmp/monitor ||
        fail "no change that came before the signal: $(cat /tmp/monitor)"
}

# The kernel drops the changes, and its own message of the unload, for a full socket.
monitor_at_an_unload_after_a_flood() {
    start_monitor
    stop_process $monitor
    calls 1 "me create TRAFFIC_DESCRIPTOR 0x77 cir=1 pir=1 cbs=1 pbs=1"
    awk 'BEGIN {
        for (i = 0; i < 20000; i++)
            printf "me set TRAFFIC_DESCRIPTOR 0x77 cir=%d\n", i
    }' >/tmp/flood.scn
    obey /tmp/flood.scn
    rmmod gpon_flow || fail "gpon_flow does not unload under a stopped monitor"
    kill -CONT $monitor
    ends $monitor "monitor with a full socket"
    # More than it reads at a time.
    [ "$(grep -c '^set ' /tmp/monitor)" -gt 1000 ] || fail "the queued changes are missing"
    grep -q "the kernel dropped changes" /tmp/monitor.errors || fail "no loss: $(cat /tmp/monitor.errors)"
    grep -q "the module was unloaded" /tmp/monitor.errors ||
        fail "no message: $(cat /tmp/monitor.errors)"
    load_again
}

# More events wait than trace reads at a time.
trace_of_waiting_events() {
    start_trace trace --count 3 --buffer 8192
    stop_process $tracer
    calls 1600 "$passing"
    kill -CONT $tracer
    ends $tracer "trace of waiting events"
    expect "traced frames of many" 3 "$(frames_of trace)"
    ! grep -q "the kernel dropped" /tmp/trace.errors || fail "losses: $(cat /tmp/trace.errors)"
    no_buffer_is_left "of a trace with unread events"
}

# How often the reader has printed since the start.
prints() {
    grep -cE ' buckets, engine | rules?$' /tmp/reader
}

# NUMBER: whether the reader has printed so often. Until then it must run.
has_printed() {
    [ "$(prints)" -lt "$1" ] || return 0
    kill -0 $reader 2>/dev/null || fail "the reader has ended: $(cat /tmp/reader)"
    return 1
}

wait_for_prints() {
    soon has_printed "$1" || fail "the reader prints too little: $(cat /tmp/reader)"
}

start_reader() {
    # Otherwise it may not be there yet, or be that of the reader before.
    : >/tmp/reader
    "$@" --interval 1 >/tmp/reader 2>&1 &
    reader=$!
    wait_for_prints 1
}

# TITLE: unloads the module while the reader is stopped. A dump that it has open keeps the module.
unload_under_stopped_reader() {
    unloads=0
    until stop_process $reader && rmmod gpon_flow 2>/dev/null; do
        kill -CONT $reader
        unloads=$((unloads + 1))
        [ $unloads -lt 50 ] || fail "gpon_flow does not unload under $1"
        sleep 0.1
    done
}

# COMMAND...: prints the state of the module each second; it continues with the next module. It would end
# if it read between the two.
reader_continues() {
    start_reader "$@"
    unload_under_stopped_reader "$*"
    load_gpon_flow
    printed=$(prints)
    kill -CONT $reader
    wait_for_prints $((printed + 2))
    kill -TERM $reader
    ends $reader "$* over a reload"
    grep -q "loaded again" /tmp/reader || fail "$* does not note the reload: $(cat /tmp/reader)"
    start_reader "$@"
    unload_under_stopped_reader "$*"
    kill -CONT $reader
    ends $reader "$* at an unload" 3
    grep -q "the module is not loaded" /tmp/reader || fail "no reason: $(cat /tmp/reader)"
    load_again
}

# Of a killed process whose number another process has now: 1 always lives.
buffer_of_a_used_number() {
    mkdir $tracing/instances/gponflow-1
    start_trace trace --count 1
    [ ! -e $tracing/instances/gponflow-1 ] || fail "the buffer of a killed process remains"
    calls 1 "$passing"
    ends $tracer "trace after a killed one"
    no_buffer_is_left "of a killed process"
}

# COMMAND...: ends at once, because another process traces frames.
is_refused() {
    status=0
    "$@" >/tmp/refused 2>&1 || status=$?
    expect "status of a second trace" 3 "$status"
    grep -q "another gponflow traces frames" /tmp/refused || fail "no reason: $(cat /tmp/refused)"
}

# The module has one filter: a second trace would change the frames of the first, and end its filter. It
# leaves the buffer of the first, also where it does not see its process.
second_trace() {
    start_trace first --count 2
    calls 1 "$passing"
    is_refused gponflow trace outer_vlan=101
    # shellcheck disable=SC2086 # words
    is_refused gponflow explain --backend=device ${dropped#hook }
    if unshare -p -f true 2>/dev/null; then
        is_refused unshare -p -f gponflow trace "src_mac=$mac" --count 1
    else
        left_out "a trace in a PID namespace, this guest has none"
    fi
    calls 1 "$passing"
    ends $tracer "the first trace"
    expect "frames of the first trace" 2 "$(frames_of first)"
    no_buffer_is_left "of a second trace"
}

# The names of its buffers differ, because its process ids are others.
trace_in_a_pid_namespace() {
    if ! unshare -p -f true 2>/dev/null; then
        left_out "a trace in a PID namespace, this guest has none"
        return
    fi
    : >/tmp/inner.errors
    unshare -p -f gponflow trace "src_mac=$mac" --count 1 >/tmp/inner 2>/tmp/inner.errors &
    inner=$!
    wait_for /tmp/inner.errors tracing $inner
    calls 1 "$passing"
    ends $inner "a trace in a PID namespace"
    expect "frames of a trace in a PID namespace" 1 "$(frames_of inner)"
    no_buffer_is_left "of a trace in a PID namespace"
}

# The text of a decision has the new value, and a line says so.
entities_that_change() {
    start_trace trace --count 1
    stop_process $tracer
    calls 1 "$dropped"
    calls 1 "me set VLAN_TAG_FILTER_DATA 11 forwardOperation=0x10"
    kill -CONT $tracer
    ends $tracer "trace while an entity changes"
    grep -q "^Managed entities changed" /tmp/trace || fail "no note: $(cat /tmp/trace)"
    start_trace trace --count 1
    calls 1 "$dropped"
    ends $tracer "trace without a change"
    ! grep -q "^Managed entities changed" /tmp/trace || fail "a note without a change"
}

load_both
provision_line
if has_trace_events; then
    buffer_of_a_used_number
    second_trace
    trace_in_a_pid_namespace
    entities_that_change
    names_of_processes_are_off
    trace_of_waiting_events
    trace_at_unload
    killed_trace_before_unload
else
    left_out "trace: this kernel has no trace events"
fi
reader_continues gponflow stat
reader_continues gponflow watch
if has_events; then
    monitor_at_a_signal
    monitor_at_unload
    monitor_at_an_unload_after_a_flood
fi
unload_both

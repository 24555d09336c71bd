# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The tool with a module in a kernel: it shows, sets and cleans, traces the paths of frames from the
# trace events, and reports the state of the module.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/counters.sh
. /tests/counters.sh
# shellcheck source=scripts/kernel/guest/kernel_log.sh
. /tests/kernel_log.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh
# shellcheck source=scripts/kernel/guest/tracing.sh
. /tests/tracing.sh

# Of another station: no filter of this test selects it.
foreign="hook kind=up_uni port=1 frame=0200000000010200000077ee0800450000"

# A line of the tool's output.
says() {
    grep -qF -- "$2" /tmp/output || {
        cat /tmp/output
        fail "$1: there is no '$2'"
    }
}

tool() {
    gponflow "$@" >/tmp/output 2>&1
}

# SCHEMA COMMAND FILE: for the host, in the file whose lines init prints.
keep_json() {
    {
        echo "@@ json-begin $1 $2"
        sed 's/^/@@ json /' "$3"
        echo "@@ json-end"
    } >>/tmp/documents
}

# SCHEMA STATUS ARGUMENT...: keeps the output of a command with --json, which the host validates.
# Errors are documents on standard error.
prints_json() {
    schema=$1
    wanted=$2
    shift 2
    status=0
    gponflow "$@" --json >/tmp/output 2>/tmp/errors || status=$?
    expect "status of gponflow $*" "$wanted" "$status"
    [ "$wanted" = 0 ] || mv /tmp/errors /tmp/output
    keep_json "$schema" "$*" /tmp/output
}

one_frame() {
    calls 1 "$1"
}

nothing_is_loaded() {
    status=0
    tool show rules || status=$?
    expect "status without a module" 3 "$status"
    says "show rules without a module" "the module is not loaded"
    tool show status --json || fail "no status without a module"
    says "status without a module" '"loaded": false'
    prints_json gponflow-status-1 0 show status
    prints_json gponflow-message-1 3 show rules
    prints_json gponflow-message-1 3 set enable on
    prints_json gponflow-message-1 3 report --live
}

shown() {
    tool show status || fail "show status"
    says "show status" "loaded"
    tool show me --json --class GEM_PORT_CTP || fail "show me"
    says "show me" '"portID": 1025'
    one_frame "$passing"
    tool show rules || fail "show rules"
    says "show rules" "$mac"
    tool show rules --json || fail "show rules --json"
    says "show rules --json" '"class": "PPTP_ETHERNET_UNI"'
}

changed() {
    tool clean rules || fail "clean rules"
    says "clean rules" "> clean flow_rule 0 0"
    says "the module's lines" "del All Flow Rule Data:"
    tool show rules || fail "show rules after clean"
    says "rules after clean" "0 rules in"
    tool set enable off || fail "set enable"
    tool show status || fail "show status"
    says "engine after set enable off" "disabled"
    tool set enable on || fail "set enable"
    tool show status || fail "show status"
    says "engine after set enable on" "enabled"
}

# Kernels without trace events can neither explain nor trace.
without_events() {
    status=0
    # shellcheck disable=SC2086 # words
    tool explain --backend=device ${passing#hook } || status=$?
    expect "status of explain without trace events" 3 "$status"
    says "explain without trace events" "trace events"
    status=0
    tool trace "src_mac=$mac" --count 1 || status=$?
    expect "status of trace without trace events" 3 "$status"
    says "trace without trace events" "trace events"
}

# No buffer of this tool is left, and no event is enabled in the kernel's own buffer.
tracing_is_off() {
    no_buffer_is_left "$1"
    expect "events of the kernel's own buffer $1" 0 "$(cat $tracing/events/gpon_flow/enable)"
}

explained() {
    # shellcheck disable=SC2086 # words
    tool explain --backend=device ${passing#hook } || fail "explain"
    says "explain" "PPTP_ETHERNET_UNI 0x0101"
    says "explain" "passes into the bridge"
    # shellcheck disable=SC2086 # words
    tool explain --backend=device ${passing#hook } || fail "explain of a replay"
    says "explain of a replay" "PPTP_ETHERNET_UNI 0x0101"
    says "explain of a replay" "its rule was replayed"
    # shellcheck disable=SC2086 # words
    tool explain --backend=device ${dropped#hook } || fail "explain of a drop"
    says "explain of a drop" "dropped"
}

# Its clock is behind that of the events.
explained_in_a_time_namespace() {
    status=0
    # shellcheck disable=SC2086 # words
    in_time_namespace -2 gponflow explain --backend=device ${passing#hook } >/tmp/output 2>&1 || status=$?
    if [ "$status" = 77 ]; then
        left_out "explain in a time namespace, this kernel has none"
        return
    fi
    expect "status of explain whose clock is 2 s behind" 0 "$status"
    says "explain whose clock is 2 s behind" "passes into the bridge"
}

# The filter is off when frames of its address say nothing.
filter_is_off() {
    dmesg -c >/dev/null
    one_frame "$passing"
    ! dmesg | grep -q 'gpon_flow_list_get_related_id' || fail "the filter is in force $1"
}

traced() {
    gponflow clean rules >/dev/null || fail "clean rules"
    start_trace output --count 3
    one_frame "$passing"
    one_frame "$passing"
    one_frame "$dropped"
    wait $tracer || fail "trace: $(cat /tmp/output.errors)"
    says "trace" "frame 1, upstream, from the UNI to the bridge"
    says "trace" "its rule was replayed"
    says "trace" "frame 3, upstream, from the bridge to the ANI"
    says "trace" "dropped"
    says "trace" "x a port on the UNI side"
    filter_is_off "after its count"
    tracing_is_off "after its count"
}

# documents PATTERN: the number of lines of the trace with it.
documents() {
    grep -cE "$1" /tmp/output || :
}

# Each hook call of the station is one document, no more and no less.
traced_exactly() {
    gponflow clean rules >/dev/null || fail "clean rules"
    start_trace output --json
    {
        yes "$passing" | head -n 5
        yes "$foreign" | head -n 4
        yes "$dropped" | head -n 3
    } >/tmp/known.scn
    obey /tmp/known.scn
    sleep 1
    kill -INT $tracer
    wait $tracer || fail "trace: $(cat /tmp/output.errors)"
    expect "traced frames" 8 "$(wc -l </tmp/output)"
    expect "passed frames" 5 "$(documents '"outcome":"passed"')"
    expect "replays" 4 "$(documents '"replayed":true')"
    expect "replays with all their steps" 4 \
        "$(documents '"replayed":true.*"PPTP_ETHERNET_UNI".*"MAC_BRIDGE_PORT_CON_DATA"')"
    expect "dropped frames" 3 "$(documents '"outcome":"dropped".*VLAN filter drops')"
    expect "documents without losses" 8 "$(documents '"lost_events":0[,}]')"
    expect "incomplete frames" 0 "$(documents '"incomplete"')"
    grep -q "8 frames; the filter is off" /tmp/output.errors || fail "summary: $(cat /tmp/output.errors)"
    ! grep -q "dropped" /tmp/output.errors || fail "losses without a reason: $(cat /tmp/output.errors)"
}

# The tool does not read while it is stopped, so its small buffer overflows.
traced_with_losses() {
    start_trace output --json --buffer 8
    kill -STOP $tracer
    yes "$dropped" | head -n 150 >/tmp/flood.scn
    obey /tmp/flood.scn
    kill -CONT $tracer
    sleep 1
    one_frame "$passing"
    sleep 1
    kill -INT $tracer
    wait $tracer || fail "trace: $(cat /tmp/output.errors)"
    grep -qE "the kernel dropped [1-9][0-9]* trace events" /tmp/output.errors ||
        fail "losses are not reported: $(cat /tmp/output.errors)"
    [ "$(documents '"lost_events":[1-9]')" -gt 0 ] || fail "no document has lost events"
    [ "$(wc -l </tmp/output)" -lt 151 ] || fail "a buffer of 8 KiB has all frames"
    [ "$(documents '"lost_events":[1-9].*"outcome"|"outcome".*"lost_events":[1-9]')" -gt 0 ] ||
        fail "no frame after the loss"
    tracing_is_off "after losses"
}

# A killed trace leaves its buffer and its filter; the next one removes the buffer.
traced_after_kill() {
    start_trace output
    kill -KILL $tracer
    wait $tracer || :
    [ -n "$(find $tracing/instances -maxdepth 1 -name 'gponflow-*')" ] || fail "no buffer to remove"
    start_trace output --count 1
    one_frame "$passing"
    wait $tracer || fail "trace after a killed one: $(cat /tmp/output.errors)"
    tracing_is_off "after a killed trace"
    filter_is_off "after a killed trace"
}

# The flow of the station has as many frames as were sent since the rules were deleted.
reported() {
    gponflow clean rules >/dev/null || fail "clean rules"
    calls 5 "$passing"
    calls 3 "$dropped"
    counters_to /tmp/all
    grep -E "^(calls|frames|walks|remembered|replays)" /tmp/all >/tmp/counters
    gponflow report --live --json >/tmp/report || fail "report --live: $(cat /tmp/report)"
    expect_counters /tmp/counters /tmp/report
    expect "flows of the report" 1 "$(grep -c '"octets"' /tmp/report)"
    sed -n '/"flows": \[/,/"octets"/p' /tmp/report >/tmp/flow
    grep -q "\"source\": \"$mac\"" /tmp/flow || fail "the flow has another source"
    grep -q '"frames": 5,' /tmp/flow || fail "the flow has other frames: $(cat /tmp/flow)"
    sed -n '/"flows": \[/,/"flows_left_out"/p' /tmp/report | grep -q '"quick": 4,' ||
        fail "the flow has other hits"
    gponflow report --live -o /tmp/page.html || fail "no page"
    grep -q "$mac" /tmp/page.html || fail "the page has no flow"
    grep -q '<th scope="row">walks_filtered</th>' /tmp/page.html || fail "the page has no counters"
}

# The rows of watch are "AGE HITS HITS/s DIRECTION SOURCE ...". The age of a rule that is older than watch
# begins with ">".
# CONDITION: whether a row of the station, or of another one, meets it.
has_row() {
    awk -v mac="$mac" "\$4 == \"UP_UNI\" && $1 { found = 1 } END { exit !found }" /tmp/output
}

has_updates() {
    [ "$(grep -cE ' rules?$' /tmp/output)" -ge "$1" ]
}

# The first frame of a flow is no hit.
# shellcheck disable=SC2016 # conditions of awk
watched() {
    gponflow clean rules >/dev/null || fail "clean rules"
    calls 5 "$passing"
    tool watch --once || fail "watch --once"
    expect "titles of watch" "AGE (s) HITS HITS/s DIRECTION SOURCE DESTINATION VLAN PATH" \
        "$(head -n 1 /tmp/output | xargs)"
    has_row '$1 ~ /^>[0-9]+$/ && $2 == 4 && $3 == "0.0" && $5 == mac' ||
        fail "watch does not show four hits: $(cat /tmp/output)"
    # Not a terminal: printed until a signal comes. The output of the command before does not count.
    : >/tmp/output
    gponflow watch --interval 1 >/tmp/output 2>&1 &
    watcher=$!
    soon has_updates 1 || fail "watch prints nothing"
    calls 7 "$passing"
    calls 2 "$foreign"
    soon has_updates 5 || fail "watch looks once"
    kill -TERM $watcher
    wait $watcher || fail "watch: $(cat /tmp/output)"
    has_row '$1 ~ /^>[0-9]+$/ && $2 == 11 && $3 == "0.0" && $5 == mac' ||
        fail "watch does not show eleven hits: $(cat /tmp/output)"
    has_row '$2 > 4 && $3 ~ /^[0-9]+[.][0-9]$/ && $3 > 0 && $5 == mac' ||
        fail "watch does not show a rate: $(cat /tmp/output)"
    has_row '$1 ~ /^[1-9][0-9]*$/ && $2 == 1 && $5 != mac' ||
        fail "watch does not show a young rule: $(cat /tmp/output)"
}

# No reading writes to the kernel log, although the module logs all that it can.
read_without_log() {
    echo "set debug_level f" >/proc/gpon_flow/debug
    one_frame "$passing"
    dmesg -c | module_lines | grep -q . || fail "the module logs nothing at its highest debug level"
    for command in "show status" "show rules" "show rules --json" "show me" "show me --json" stat \
        "stat --json" "stat --openmetrics" "watch --once" "watch --once --json" "report --live" \
        "report --live --json"; do
        # shellcheck disable=SC2086 # words
        tool $command || fail "$command: $(cat /tmp/output)"
        dmesg -c | module_lines >/tmp/printed
        expect "lines in the kernel log after $command" "" "$(cat /tmp/printed)"
    done
    echo "show enable" >/proc/gpon_flow/debug
    dmesg -c | module_lines | grep -q . || fail "a command that logs is not seen"
    echo "set debug_level 0" >/proc/gpon_flow/debug
}

in_json() {
    gponflow clean rules >/dev/null || fail "clean rules"
    prints_json gponflow-rules-1 0 show rules
    one_frame "$passing"
    prints_json gponflow-rules-1 0 show rules
    prints_json gponflow-instances-1 0 show me
    prints_json gponflow-instances-1 0 show me --class GEM_PORT_CTP --instance 0xfffe
    prints_json gponflow-status-1 0 show status
    prints_json gponflow-counters-1 0 stat
    prints_json gponflow-watch-1 0 watch --once
    prints_json gponflow-commands-1 0 set enable on
    prints_json gponflow-commands-1 0 clean rules
    prints_json gponflow-report-1 0 report --live
    if has_trace_events; then
        # shellcheck disable=SC2086 # words
        prints_json gponflow-explain-1 0 explain --backend=device ${passing#hook }
        # shellcheck disable=SC2086 # words
        prints_json gponflow-explain-1 0 explain --backend=device ${dropped#hook }
    fi
    prints_json gponflow-message-1 2 explain --backend=device kind=up_ani frame=0
    echo "$passing" >/tmp/frame.scn
    prints_json gponflow-run-1 0 run --backend=device /tmp/frame.scn
}

# Status 1 until monitor has printed a change.
rules_change() {
    [ ! -s /tmp/changes ] || return 0
    gponflow clean rules >/dev/null
    one_frame "$passing"
    return 1
}

# Commands that follow the module print a document a line.
followed_in_json() {
    gponflow clean rules >/dev/null || fail "clean rules"
    rm -f /tmp/changes
    gponflow monitor --json --count 1 >/tmp/changes 2>/tmp/notes &
    follower=$!
    if has_trace_events; then
        start_trace output --count 1 --json
        one_frame "$passing"
        wait $tracer || fail "trace --json: $(cat /tmp/output.errors)"
        keep_json gponflow-trace-1 "trace --json" /tmp/output
    fi
    soon rules_change || fail "monitor --json prints nothing"
    wait $follower || fail "monitor --json: $(cat /tmp/notes)"
    keep_json gponflow-change-1 "monitor --json" /tmp/changes
}

stopped() {
    for signal in INT TERM; do
        start_trace output
        kill -$signal $tracer
        status=0
        wait $tracer || status=$?
        expect "status after $signal" 0 "$status"
        filter_is_off "after $signal"
        tracing_is_off "after $signal"
    done
}

# Without a frame or a change no document is printed, and standard error has documents only.
stopped_in_json() {
    start_trace output --json
    kill -INT $tracer
    wait $tracer || fail "trace --json: $(cat /tmp/output.errors)"
    expect "trace --json that is stopped at once" "" "$(cat /tmp/output)"
    keep_json gponflow-message-1 "trace --json, stopped" /tmp/output.errors
    rm -f /tmp/notes
    gponflow monitor --json >/tmp/changes 2>/tmp/notes &
    follower=$!
    wait_for /tmp/notes monitoring $follower
    kill -INT $follower
    wait $follower || fail "monitor --json: $(cat /tmp/notes)"
    expect "monitor --json that is stopped at once" "" "$(cat /tmp/changes)"
    keep_json gponflow-message-1 "monitor --json, stopped" /tmp/notes
}

load_softonu unis=2
nothing_is_loaded
load_gpon_flow
provision_line
gponflow set enable on >/dev/null || fail "set enable on"
shown
changed
if has_trace_events; then
    explained
    explained_in_a_time_namespace
    traced
    traced_exactly
    traced_with_losses
    traced_after_kill
    stopped
    stopped_in_json
else
    left_out "explain and trace: this kernel has no trace events"
    without_events
fi
watched
read_without_log
reported
in_json
followed_in_json
unload_both

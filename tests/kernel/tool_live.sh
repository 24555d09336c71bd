# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The tool with a module in a kernel: it shows, sets and cleans, and traces the paths of frames from
# the kernel log.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

provision=/tests/traffic/provision.scn
mac=02:00:00:00:77:01
passing="kind=up_uni port=1 frame=0200000000010200000077010800450000"
dropped="kind=up_ani frame=020000000001020000007701810001f408004500"

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
    printf 'hook %s\n' "$1" | gponflow run --backend=device - >/dev/null || fail "no hook call"
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
    says "the module's answer" "del All Flow Rule Data:"
    tool show rules || fail "show rules after clean"
    says "rules after clean" "0 rules in"
    tool set enable off || fail "set enable"
    tool show status || fail "show status"
    says "engine after set enable off" "disabled"
    tool set enable on || fail "set enable"
    tool show status || fail "show status"
    says "engine after set enable on" "enabled"
}

explained() {
    # shellcheck disable=SC2086 # words
    tool explain --backend=device $passing || fail "explain"
    says "explain" "PPTP_ETHERNET_UNI 0x0101"
    says "explain" "passes into the bridge"
    # shellcheck disable=SC2086 # words
    tool explain --backend=device $passing || fail "explain of a replay"
    says "explain of a replay" "PPTP_ETHERNET_UNI 0x0101"
    says "explain of a replay" "its rule was replayed"
    # shellcheck disable=SC2086 # words
    tool explain --backend=device $dropped || fail "explain of a drop"
    says "explain of a drop" "dropped"
}

# The filter is off when frames of its address say nothing.
filter_is_off() {
    dmesg -c >/dev/null
    one_frame "$passing"
    ! dmesg | grep -q 'gpon_flow_list_get_related_id' || fail "the filter is in force $1"
}

# Starts gponflow trace and waits until the filter is set.
start_trace() {
    rm -f /tmp/errors
    gponflow trace "src_mac=$mac" "$@" >/tmp/output 2>/tmp/errors &
    tracer=$!
    tries=0
    until grep -q tracing /tmp/errors 2>/dev/null; do
        tries=$((tries + 1))
        [ $tries -lt 100 ] || fail "trace does not begin: $(cat /tmp/errors)"
        sleep 0.2
    done
}

traced() {
    gponflow clean rules >/dev/null || fail "clean rules"
    start_trace --count 3
    one_frame "$passing"
    one_frame "$passing"
    one_frame "$dropped"
    wait $tracer || fail "trace: $(cat /tmp/errors)"
    says "trace" "frame 1, upstream, from the UNI to the bridge"
    says "trace" "its rule was replayed"
    says "trace" "frame 3, upstream, from the bridge to the ANI"
    says "trace" "dropped"
    says "trace" "x a port on the UNI side"
    filter_is_off "after its count"
}

watched() {
    one_frame "$passing"
    tool watch --once || fail "watch --once"
    says "watch" "$mac"
    # Not a terminal: printed until a signal comes.
    gponflow watch --interval 1 >/tmp/output 2>&1 &
    watcher=$!
    sleep 4
    kill -TERM $watcher
    wait $watcher || fail "watch: $(cat /tmp/output)"
    [ "$(grep -cE ' rules?$' /tmp/output)" -ge 2 ] || fail "watch looks once"
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
    # shellcheck disable=SC2086 # words
    prints_json gponflow-explain-1 0 explain --backend=device $passing
    # shellcheck disable=SC2086 # words
    prints_json gponflow-explain-1 0 explain --backend=device $dropped
    prints_json gponflow-message-1 2 explain --backend=device kind=up_ani frame=0
    printf 'hook %s\n' "$passing" >/tmp/frame.scn
    prints_json gponflow-run-1 0 run --backend=device /tmp/frame.scn
}

# Commands that follow the module print a document a line.
followed_in_json() {
    gponflow clean rules >/dev/null || fail "clean rules"
    gponflow monitor --json --count 1 >/tmp/changes 2>/tmp/notes &
    follower=$!
    start_trace --count 1 --json
    one_frame "$passing"
    wait $tracer || fail "trace --json: $(cat /tmp/errors)"
    keep_json gponflow-trace-1 "trace --json" /tmp/output
    tries=0
    until [ -s /tmp/changes ]; do
        tries=$((tries + 1))
        [ $tries -lt 100 ] || fail "monitor --json prints nothing"
        gponflow clean rules >/dev/null
        one_frame "$passing"
        sleep 0.2
    done
    wait $follower || fail "monitor --json: $(cat /tmp/notes)"
    keep_json gponflow-change-1 "monitor --json" /tmp/changes
}

stopped() {
    for signal in INT TERM; do
        start_trace
        kill -$signal $tracer
        status=0
        wait $tracer || status=$?
        expect "status after $signal" 0 "$status"
        filter_is_off "after $signal"
    done
}

load_softonu unis=2
nothing_is_loaded
load_gpon_flow
grep -v '^load' $provision | gponflow run --backend=device - >/tmp/output 2>&1 ||
    { cat /tmp/output; fail "no provisioning"; }
gponflow set enable on >/dev/null || fail "set enable on"
shown
changed
explained
traced
watched
stopped
in_json
followed_in_json
unload_both

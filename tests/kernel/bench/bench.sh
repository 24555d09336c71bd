# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Cost of an upstream frame of a subscriber, for each of the compared line setups. Prints
# "@@ bench CASE FLOWS MEDIAN MEAN", instructions per frame, "@@ rules FLOWS COUNT", the rules that
# gpon_flow stores of two per flow, and "@@ calls FLOWS REMEMBERED REPLAYED WALKED", the paths of its
# calls. Meant for a guest whose clock counts instructions; "repeats", "frames", "cases" and "counts"
# (the numbers of flows) are words of its command line.
# shellcheck source=tests/kernel/bench/devices.sh
. /tests/bench/devices.sh

repeats=${repeats:-2}
bridges=10
cases=${cases:-bridge,veth_bridge,vlan_filtering,flower,openvswitch,own_mapping,gpon_flow}
frames=${frames:-1600}
per_round=16
flow_counts=$(echo "${counts:-1,8,64,256,768,4096}" | tr , ' ')
debug=/proc/gpon_flow/debug

# Frames that came out at the far end.
arrived() {
    for device in $(cd /sys/class/net && echo gem* sub2); do
        cat "/sys/class/net/$device/statistics/rx_packets"
    done 2>/dev/null | awk '{n += $1} END {print n}'
}

# CASE FLOWS [FILE TEXT]: all frames have to arrive, or something else was measured.
measure() {
    case=$1
    flows=$2
    shift 2
    # Until the devices' carrier is known everywhere.
    sleep 2
    before=$(arrived)
    rounds=$((frames / per_round))
    cost=$(frame_source sub1 "$network" "$flows" $rounds $per_round "$@") ||
        fail "no frames for $case"
    expect "frames of $case" $((rounds * per_round + flows)) $(($(arrived) - before))
    echo "@@ bench $case $flows $cost"
}

# CASE: eight flows over several bridges. The kernel seeds the hash of each bridge's addresses with
# a random number, and where addresses collide, a frame costs more. The least figure has no
# collision.
measure_eight() {
    for _ in $(seq $bridges); do
        measure "$1" 8
        ip link del br0
        bridge_up
    done
}

# CASE DEVICES FLOWS: with eight flows and with each of these numbers.
bridge_alone() {
    "$2"
    bridge_up
    measure_eight "$1"
    for number in $3; do
        measure "$1" "$number"
    done
    devices_down
}

vlan_filtering() {
    plain_up
    bridge_up vlan_filtering 1
    filter_vlans
    measure vlan_filtering 8
    devices_down
}

flower() {
    plain_up
    bridge_up
    flower_up "$network" "$1"
    measure flower "$1"
    expect "frames that hit a rule" $((frames + $1)) "$(flower_hits)"
    devices_down
}

openvswitch() {
    plain_up
    openvswitch_up "$network" "$1"
    measure openvswitch "$1"
    expect "frames that hit a flow" $((frames + $1)) "$(openvswitch_hits)"
    openvswitch_down
    devices_down
}

# The platform's own table of GEM ports, in the place of gpon_flow.
own_mapping() {
    onu_up
    bridge_up
    measure own_mapping 8
    devices_down
}

rules_held() {
    dmesg -c >/dev/null
    echo "show flow_rule" >$debug
    dmesg | sed -n 's/.*total_num = \([0-9]*\).*/\1/p'
}

# Sums of the module's counters: calls that used a remembered outcome, that replayed, that walked.
paths_taken() {
    gponflow stat | awk '
        $1 ~ /^remembered_/ { remembered += $2 }
        $1 == "replays" { replayed = $2 }
        $1 == "walks" { walked = $2 }
        END { print remembered + 0, replayed + 0, walked + 0 }'
}

# FLOWS: the paths of two calls for one more frame of each flow, which comes in its turn.
count_paths() {
    before=$(paths_taken)
    frame_source sub1 "$network" "$1" 1 1 >/dev/null || fail "no frames to count"
    echo "$before $(paths_taken)" |
        awk -v flows="$1" '{ print "@@ calls", flows, $4 - $1, $5 - $2, $6 - $3 }'
}

forget_rules() {
    echo "clean flow_rule 0 0" >$debug
}

# Two rules can have the same bucket of the table. The second is then not stored, and its frames
# always walk.
# The quick path is measured with flows that are all kept.
find_flows_that_are_kept() {
    # Or the first ones are lost where no carrier is known yet.
    sleep 2
    for network in $(seq 255); do
        forget_rules
        frame_source sub1 "$network" 8 1 1 >/dev/null
        [ "$(rules_held)" != 16 ] || return 0
    done
    fail "no eight flows have sixteen places in the table"
}

# The table has its largest size, at which few of sixteen flows collide. It keeps it when it is
# cleaned.
grow_table() {
    frame_source sub1 "$network" 768 1 1 >/dev/null || fail "no frames to fill the table"
    forget_rules
}

gpon_flow_up() {
    onu_up
    load_gpon_flow
    gponflow run --backend=device /tests/bench/provision.scn >/tmp/provision.txt ||
        { cat /tmp/provision.txt; fail "the scenario was not obeyed"; }
    bridge_up
}

gpon_flow() {
    gpon_flow_up
    find_flows_that_are_kept
    measure_eight gpon_flow_quick
    # Here the table holds what it holds: frames whose rule found no place are part of the figure.
    for number in $flow_counts; do
        forget_rules
        measure gpon_flow_mix "$number"
        echo "@@ rules $number $(rules_held)"
        count_paths "$number"
    done
    grow_table
    measure gpon_flow_first $per_round $debug "clean flow_rule 0 0"
    echo "set enable 0" >$debug
    devices_down
}

# CASE: eight flows on the quick path, and first frames, which walk.
measure_traced() {
    measure "$1-quick" 8
    measure "$1-first" $per_round $debug "clean flow_rule 0 0"
}

# What the trace events cost, without a reader: none enabled, each alone, all, and as counts by a
# field that the kernel keeps (a trigger). The bridge stays, so the differences are those of the events.
trace_events() {
    gpon_flow_up
    find_flows_that_are_kept
    mount -t tracefs tracefs /sys/kernel/tracing 2>/dev/null || :
    events=/sys/kernel/tracing/events/gpon_flow
    [ -d $events ] || fail "no trace events"
    measure_traced none
    for event in "$events"/gpon_*; do
        echo 1 >"$event/enable"
        measure_traced "${event##*/}"
        echo 0 >"$event/enable"
    done
    echo 1 >$events/enable
    measure_traced all
    echo 0 >$events/enable
    for event in rule_hit walk_end; do
        echo 'hist:keys=direction' >$events/gpon_$event/trigger || fail "no trigger of $event"
        measure_traced "hist-gpon_$event"
        echo '!hist:keys=direction' >$events/gpon_$event/trigger
    done
    echo "set enable 0" >$debug
    devices_down
}

setup() {
    sysctl -qw net.ipv6.conf.all.disable_ipv6=1 net.ipv6.conf.default.disable_ipv6=1
    for module in bridge veth sch_ingress cls_flower act_skbedit crc32c_generic openvswitch; do
        modprobe $module || fail "there is no $module"
    done
}

measure_case() {
    case $1 in
    bridge) bridge_alone bridge plain_up "16 $flow_counts" ;;
    veth_bridge) bridge_alone veth_bridge veth_up "" ;;
    flower | openvswitch)
        for number in $flow_counts; do
            "$1" "$number"
        done
        ;;
    vlan_filtering | own_mapping | gpon_flow | trace_events) "$1" ;;
    *) fail "there is no case '$1'" ;;
    esac
}

setup
for _ in $(seq "$repeats"); do
    for name in $(echo "$cases" | tr , ' '); do
        network=1
        measure_case "$name"
    done
done

# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A subscriber's line in each of the compared setups: the same devices, the same frames. Sourced by
# bench.sh.
#
#     frame_source -> sub1 -- uni1 -- what is measured -- ani0 -- gem1025 to gem1032
#                                                    or -- uni2 -- sub2
#
# In a setup that chooses no GEM port, frames cannot leave through ani0. They leave through a second
# UNI then, which costs the same per frame. Frames that arrive have no receiver and are dropped.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

proc=/proc/gpon_softonu
gems=1025,1026,1027,1028,1029,1030,1031,1032
far_end=02:00:00:00:ff:01

all_up() {
    for device in "$@"; do
        ip link set "$device" up
    done
}

# The soft ONU's devices. No hook is registered.
plain_up() {
    load_softonu unis=2
    echo "default off" >$proc/hooks
    all_up sub1 uni1 uni2 sub2
    uplink=uni2
}

# The same with the platform's own hook, which lets everything out through the first GEM port.
onu_up() {
    load_softonu unis=1 gem_ports=$gems
    all_up sub1 uni1 ani0
    for gem in $(echo $gems | tr , ' '); do
        ip link set "gem$gem" up
    done
    uplink=ani0
}

veth_up() {
    ip link add sub1 type veth peer name uni1
    ip link add uni2 type veth peer name sub2
    all_up sub1 uni1 uni2 sub2
    uplink=uni2
}

devices_down() {
    ip link del br0 2>/dev/null
    ip link del sub1 2>/dev/null
    ip link del sub2 2>/dev/null
    for module in gpon_flow gpon_softonu; do
        [ ! -d /sys/module/$module ] || rmmod $module || fail "$module does not unload"
    done
}

# OPTION...: the far end's address is known, so that nothing is flooded.
bridge_up() {
    ip link add br0 type bridge forward_delay 0 mcast_snooping 0 ageing_time 360000 "$@"
    ip link set uni1 master br0
    ip link set "$uplink" master br0
    ip link set br0 up
    bridge fdb add $far_end dev "$uplink" master static
}

filter_vlans() {
    for port in uni1 $uplink; do
        bridge vlan add dev "$port" vid 100-107
    done
    for vid in $(seq 100 107); do
        bridge fdb add $far_end dev "$uplink" master static vlan "$vid"
    done
}

# NETWORK FLOW: the flow's source address.
source_of() {
    printf '02:00:00:%02x:%02x:%02x' "$1" $(($2 >> 8)) $(($2 & 255))
}

# NETWORK RULES: what tc reads. All rules have one mask, the case that flower is best at.
flower_rules() {
    n=0
    while [ $n -lt "$2" ]; do
        echo "filter add dev uni1 ingress prio 1 protocol 802.1Q flower dst_mac $far_end" \
            "src_mac $(source_of "$1" $n) vlan_id $((100 + n % 8)) vlan_prio 0" \
            "action skbedit mark $((1025 + n % 8)) priority 1 pass"
        n=$((n + 1))
    done
}

flower_up() {
    tc qdisc add dev uni1 clsact
    flower_rules "$1" "$2" >/tmp/rules
    tc -batch /tmp/rules || fail "tc refuses a rule"
}

# Frames that the rules have seen.
flower_hits() {
    tc -s filter show dev uni1 ingress | awk '$1 == "Sent" && $3 == "bytes" {n += $4} END {print n}'
}

# NETWORK FLOWS: what ovs-dpctl reads. UNI 1 is port 1 of the datapath, the uplink is port 2.
openvswitch_flows() {
    n=0
    while [ $n -lt "$2" ]; do
        echo "in_port(1),eth(src=$(source_of "$1" $n),dst=$far_end),eth_type(0x8100)," \
            "vlan(vid=$((100 + n % 8)),pcp=0),encap(eth_type(0x0800),ipv4(frag=no))" \
            "set(skb_mark($((1025 + n % 8)))),set(skb_priority(1)),2" | sed 's/, /,/'
        n=$((n + 1))
    done
}

openvswitch_up() {
    ovs-dpctl add-dp line || fail "there is no Open vSwitch datapath"
    for device in uni1 $uplink; do
        ovs-dpctl add-if line "$device" || fail "the datapath does not take $device"
    done
    openvswitch_flows "$1" "$2" >/tmp/flows
    ovs-dpctl add-flows line /tmp/flows || fail "the datapath takes no flows"
}

openvswitch_hits() {
    ovs-dpctl show line | sed -n 's/.*lookups: hit:\([0-9]*\).*/\1/p'
}

openvswitch_down() {
    ovs-dpctl del-dp line
}

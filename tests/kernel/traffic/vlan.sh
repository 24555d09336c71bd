# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Tagged services: VLAN 100 on one GEM port, VLAN 200 and a stacked pair (0x88a8 tag 300, 0x8100
# tag 30) on the other, full-size frames included.
# shellcheck source=tests/kernel/traffic/topology.sh
. /tests/traffic/topology.sh

# NAMESPACE DEVICE TAG ADDRESS
vlan() {
    in_ns "$1" ip link add link "$2" name "$2.$3" type vlan id "$3"
    in_ns "$1" ip link set "$2.$3" up
    in_ns "$1" ip addr add "$4" dev "$2.$3"
}

# NAMESPACE DEVICE OUTER INNER ADDRESS
qinq() {
    in_ns "$1" ip link add link "$2" name "$2.$3" type vlan protocol 802.1ad id "$3"
    in_ns "$1" ip link set "$2.$3" up
    vlan "$1" "$2.$3" "$4" "$5"
}

# SERVICE ADDRESS RIGHT-DEVICE OTHER-DEVICE CLIENT-DEVICE: all answered, on the right GEM port only.
service_uses() {
    right=$(counter "$3" rx_frames)
    other=$(counter "$4" rx_frames)
    for size in 0 56 1400 1472 1473; do
        in_ns client1 ping -c 1 -W 5 -s $size "$2" >/dev/null ||
            fail "$1: no answer to $size bytes"
    done
    expect_at_least "$1: frames on $3" $((right + 6)) "$(counter "$3" rx_frames)"
    expect "$1: frames on $4" "$other" "$(counter "$4" rx_frames)"
    # Who answered is asked again whether he is still there, seconds later.
    in_ns client1 ip link set "$5" down
}

onu_up
modprobe 8021q
vlan client1 sub1 100 10.1.0.11/24
vlan server1 gem1025 100 10.1.0.1/24
vlan client1 sub1 200 10.2.0.11/24
vlan server2 gem1026 200 10.2.0.1/24
qinq client1 sub1 300 30 10.3.0.11/24
qinq server2 gem1026 300 30 10.3.0.1/24
service_uses "VLAN 100" 10.1.0.1 gem1025 gem1026 sub1.100
service_uses "VLAN 200" 10.2.0.1 gem1026 gem1025 sub1.200
service_uses "stacked tags" 10.3.0.1 gem1026 gem1025 sub1.300.30

# A tag that no service carries goes nowhere.
vlan client1 sub1 777 10.7.0.11/24
dropped=$(counter ani0 tx_drop_hook)
in_ns client1 ping -c 1 -W 1 10.7.0.1 >/dev/null && fail "VLAN 777 got through"
expect_at_least "frames without service" $((dropped + 1)) "$(counter ani0 tx_drop_hook)"
onu_down

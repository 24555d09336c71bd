# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# An ONU with two subscribers and the far side of its fibre, each in a network namespace of its
# own. Sourced by the traffic tests, which talk through real programs only.
#
#     client1: sub1 -- uni1 --+               +-- gem1025 :server1
#                             +-- br0, ani0 --+-- gem1026 :server2
#     client2: sub2 -- uni2 --+               +-- gem4000 :server1 (multicast, downstream only)
#
# Untagged frames and VLAN 100 belong to GEM port 1025, VLAN 200 and the outer tag 300 to 1026.
# The variable "onu" of the kernel's command line selects what chooses the GEM port: "gpon_flow" (as
# provision_gpon_flow sets it up) or "alone", the platform's own mapping table.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/line.sh
. /tests/line.sh

onu=${onu:-gpon_flow}
proc=/proc/gpon_softonu

provision_alone() {
    cat >$proc/mapping <<-END || fail "the mapping table was refused"
	clear
	add vid=untagged gem=1025
	add vid=100 gem=1025
	add vid=200 gem=1026
	add vid=300 gem=1026
	table
	END
}

provision() {
    case $onu in
    alone) provision_alone ;;
    # With OMCI: a scenario creates the managed entities and switches the engine on.
    gpon_flow) provision_line ;;
    *) fail "there is no onu=$onu" ;;
    esac
}

# NAMESPACE COMMAND...
in_ns() {
    ip netns exec "$@"
}

# Silence of an idle network, so that a test can count its own frames.
quiet() {
    in_ns "$1" sysctl -qw net.ipv6.conf.all.disable_ipv6=1 net.ipv6.conf.default.disable_ipv6=1
}

# NAMESPACE DEVICE
place() {
    ip netns list | grep -qw "$1" || {
        ip netns add "$1"
        in_ns "$1" ip link set lo up
        quiet "$1"
    }
    ip link set "$2" netns "$1"
    in_ns "$1" ip link set "$2" up
}

# No spanning tree, no snooping: the bridge forwards at once and hides nothing.
bridge_up() {
    modprobe bridge
    ip link add br0 type bridge forward_delay 0 mcast_snooping 0
    for port in uni1 uni2 ani0; do
        ip link set $port master br0
        ip link set $port up
    done
    ip link set br0 up
}

# A port forwards once the kernel has processed its carrier, up to a second later.
wait_for_forwarding() {
    for port in uni1 uni2 ani0; do
        soon grep -qx 3 /sys/class/net/$port/brport/state || fail "$port does not forward"
    done
}

delete_namespaces() {
    for ns in client1 client2 server1 server2; do ip netns del $ns; done
}

# Remains of an earlier test that failed.
clear_away() {
    ip link del br0 2>/dev/null
    delete_namespaces 2>/dev/null
}

onu_up() {
    clear_away
    sysctl -qw net.ipv6.conf.all.disable_ipv6=1 net.ipv6.conf.default.disable_ipv6=1
    load_softonu unis=2 gem_ports=1025,1026 multicast_gem_ports=4000
    if [ "$onu" = gpon_flow ]; then
        load_gpon_flow
    fi
    place client1 sub1
    place client2 sub2
    place server1 gem1025
    place server2 gem1026
    place server1 gem4000
    bridge_up
    provision
    wait_for_forwarding
}

# Addresses of the plain, untagged network.
plain_network() {
    in_ns client1 ip addr add 10.0.0.11/24 dev sub1
    in_ns client2 ip addr add 10.0.0.12/24 dev sub2
    in_ns server1 ip addr add 10.0.0.1/24 dev gem1025
}

# Removes modules and namespaces while frames are in transit: the modules must handle this.
onu_down() {
    ip link del br0
    if [ "$onu" = gpon_flow ]; then
        unload_gpon_flow
    fi
    delete_namespaces
    unload_softonu
}

# DEVICE COUNTER: its value now.
counter() {
    awk -v device="$1" -v name="$2" '$1 == device && $2 == name {print $3}' $proc/counters
}

# NAME LEAST VALUE
expect_at_least() {
    [ "$3" -ge "$2" ] || fail "$1: expected at least $2, got $3"
}

# Run by itself: the ONU comes, and goes without a trace.
if [ "${0##*/}" = topology.sh ]; then
    onu_up
    for device in uni1 uni2 ani0; do
        expect "carrier of $device" 1 "$(cat /sys/class/net/$device/carrier)"
        expect "bridge of $device" br0 "$(basename "$(readlink /sys/class/net/$device/master)")"
    done
    onu_down
    for device in uni1 sub1 ani0 gem1025 gem4000; do
        [ ! -e /sys/class/net/$device ] || fail "$device stays"
    done
    [ ! -e $proc ] || fail "$proc stays"
fi

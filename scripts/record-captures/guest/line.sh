# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
# The line: namespaces, links, service VLANs.
#
#   home1 --- uni1 +-----+
#                  | onu | ani --- edge --- net
#   home2 --- uni2 +-----+
#
# home1: home gateway on UNI 1; home2: phone and set-top box on UNI 2; onu: bridge that passes
# every frame unchanged; edge: the operator's edge router; net: servers behind it. Only addresses
# reserved for documentation are used (MAC 00:00:5e:00:53:xx).

mac=00:00:5e:00:53

in_ns() {
    space=$1
    shift
    ip netns exec "$space" "$@"
}

add_space() {
    ip netns add "$1"
    ip -n "$1" link set lo up
    # Reversed paths are normal here: each service has a path of its own to the same servers.
    in_ns "$1" sysctl -qw net.ipv4.conf.all.rp_filter=0 net.ipv4.conf.default.rp_filter=0
}

# Frames must look as on a wire: whole checksums, no segment larger than the MTU.
as_on_wire() {
    in_ns "$1" ethtool -K "$2" tx off tso off gso off gro off txvlan off rxvlan off \
        tx-vlan-stag-hw-insert off rx-vlan-stag-hw-parse off > /dev/null
}

# link SPACE DEVICE MAC_END SPACE DEVICE MAC_END
link() {
    ip link add "$2" netns "$1" address "$mac:$3" type veth \
        peer name "$5" netns "$4" address "$mac:$6"
    as_on_wire "$1" "$2"
    as_on_wire "$4" "$5"
}

# vlan SPACE PARENT ID PROTOCOL MAC_END IPV6(0|1) SOCKET_PRIORITY:PCP...
vlan() {
    space=$1 parent=$2 id=$3 protocol=$4 end=$5 ipv6=$6
    shift 6
    ip -n "$space" link add link "$parent" name "$parent.$id" address "$mac:$end" \
        type vlan protocol "$protocol" id "$id" egress-qos-map "$@"
    in_ns "$space" sh -c \
        "echo $((1 - ipv6)) > /proc/sys/net/ipv6/conf/$parent.$id/disable_ipv6"
}

# The kernel derives a socket's priority from the IPv4 TOS: 0 best effort, 2 bulk (DSCP 10, 34),
# 4 interactive bulk (DSCP 46), 6 interactive (TOS 0x10), 7 control (group membership).
# uni1_vlans SPACE INTERNET_MAC PPPOE_MAC BUSINESS_MAC
uni1_vlans() {
    vlan "$1" eth0 100 802.1Q "$2" 1 0:0 2:1 6:3 4:5
    vlan "$1" eth0 200 802.1Q "$3" 0 0:0 2:1 6:3 4:5
    vlan "$1" eth0 500 802.1ad "$4" 0 0:0 2:2 4:4
    vlan "$1" eth0.500 10 802.1Q "$4" 1 0:1 2:3 4:6
    # A frame with two tags must fit the links, which leave room for one.
    ip -n "$1" link set eth0.500.10 mtu 1496
}

# uni2_vlans SPACE VOICE_MAC TELEVISION_MAC
uni2_vlans() {
    vlan "$1" eth0 300 802.1Q "$2" 0 0:5 2:5 4:6 6:6 7:6
    vlan "$1" eth0 400 802.1Q "$3" 1 0:4 1:4 2:4 3:4 4:4 5:4 6:4 7:4
}

build_onu() {
    ip -n onu link add line type bridge vlan_filtering 0 mcast_snooping 0 stp_state 0
    in_ns onu sysctl -qw net.ipv6.conf.all.disable_ipv6=1 net.ipv6.conf.default.disable_ipv6=1
    for port in uni1 uni2 ani; do
        ip -n onu link set "$port" master line
        ip -n onu link set "$port" up
    done
    ip -n onu link set line up
}

# The edge's television side is a bridge, because a bridge contains the group membership querier.
build_querier() {
    ip -n edge link add tv address "$mac:01" type bridge mcast_snooping 1 mcast_querier 0 \
        mcast_igmp_version 3 mcast_mld_version 2 mcast_query_use_ifaddr 1 \
        mcast_query_interval 400 mcast_query_response_interval 100 \
        mcast_startup_query_interval 200
    ip -n edge link set eth0.400 master tv
}

build_line() {
    for space in home1 home2 onu edge net; do
        add_space "$space"
    done
    link home1 eth0 10 onu uni1 f1
    link home2 eth0 20 onu uni2 f2
    link edge eth0 01 onu ani f3
    link edge core 02 net eth0 80
    build_onu
    in_ns home2 sysctl -qw net.ipv6.conf.eth0.disable_ipv6=1
    uni1_vlans home1 11 12 15
    uni2_vlans home2 23 24
    uni1_vlans edge 01 01 01
    uni2_vlans edge 01 01
    build_querier
}

address() {
    case $3 in
    *:*) ip -n "$1" address add "$3" dev "$2" nodad ;;
    *) ip -n "$1" address add "$3" dev "$2" ;;
    esac
}

raise_edge() {
    in_ns edge sysctl -qw net.ipv4.ip_forward=1 net.ipv6.conf.all.forwarding=1
    for device in eth0 core eth0.100 eth0.200 eth0.300 eth0.400 eth0.500 eth0.500.10 tv; do
        ip -n edge link set "$device" up
    done
    address edge eth0 192.0.2.1/27
    address edge eth0.100 192.0.2.33/27
    address edge eth0.300 192.0.2.97/27
    address edge tv 192.0.2.129/27
    address edge eth0.500.10 192.0.2.161/27
    address edge core 198.51.100.1/24
    address edge eth0 2001:db8:0:1::1/64
    address edge eth0.100 2001:db8:0:100::1/64
    address edge eth0.500.10 2001:db8:0:500::1/64
    address edge tv 2001:db8:0:400::1/64
    address edge core 2001:db8:ffff::1/64
    ip -n edge route add 233.252.0.0/24 dev tv
    ip -n edge -6 route add ff05::db8:0:0/96 dev tv table local metric 1
}

raise_net() {
    ip -n net link set eth0 up
    for host in 60 80 81 82 83; do
        address net eth0 "198.51.100.$host/24"
        address net eth0 "2001:db8:ffff::$host/64"
    done
    ip -n net route add default via 198.51.100.1
    ip -n net -6 route add default via 2001:db8:ffff::1
    # A reply carries the DSCP of its request, so both directions have every class.
    in_ns net sysctl -qw net.ipv4.tcp_reflect_tos=1
}

raise_line() {
    raise_edge
    raise_net
    ip -n home1 link set eth0 up
    ip -n home2 link set eth0 up
}

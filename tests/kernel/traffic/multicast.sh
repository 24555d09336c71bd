# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A subscriber joins a group; its membership report leaves on the unicast GEM port, the group's
# packets come down on the multicast one, and the replies go up again. No subscriber can send on the
# multicast GEM port from below.
# shellcheck source=tests/kernel/traffic/topology.sh
. /tests/traffic/topology.sh

group=239.1.1.1
other_group=239.1.1.2

join() {
    in_ns client1 ip addr add $group/32 dev sub1 autojoin
    in_ns client1 sysctl -qw net.ipv4.icmp_echo_ignore_broadcasts=0
}

groups_joined() {
    in_ns client1 grep -c 010101EF /proc/net/igmp
}

stream() {
    in_ns server1 ip route add 239.0.0.0/8 dev gem4000 src 10.0.0.1
    in_ns server1 ping -c 5 -W 2 $group
}

# NAME DEVICE COUNTER: a subscriber sends to a group. COUNTER of DEVICE counts the frames, and
# none leaves on the multicast GEM port.
tries() {
    before=$(counter "$2" "$3")
    in_ns client1 ping -c 2 -W 1 $other_group >/dev/null && fail "$1: an answer from nobody"
    expect_at_least "$1: $3 of $2" $((before + 2)) "$(counter "$2" "$3")"
    expect "$1: frames up on the multicast GEM port" 0 "$(counter gem4000 rx_frames)"
}

onu_up
plain_network
for device in all gem1025 gem4000; do
    in_ns server1 sysctl -qw net.ipv4.conf.$device.rp_filter=0
done
upstream=$(counter gem1025 rx_frames)
join
expect "groups of the subscriber" 1 "$(groups_joined)"
sleep 1
expect_at_least "membership reports upstream" $((upstream + 1)) "$(counter gem1025 rx_frames)"

stream >/tmp/stream.txt || { cat /tmp/stream.txt; fail "nobody answers the group"; }
answers=$(grep -c 'bytes from 10.0.0.11' /tmp/stream.txt)
expect_at_least "answers to the group" 5 "$answers"
expect_at_least "frames down on the multicast GEM port" 5 "$(counter gem4000 tx_frames)"
expect "frames up on the multicast GEM port" 0 "$(counter gem4000 rx_frames)"
expect "frames dropped by the hook downstream" 0 "$(counter ani0 rx_drop_hook)"

in_ns client1 ip route add $other_group/32 dev sub1
tries upstream-port gem1025 rx_frames
# Nor when the multicast GEM port is all that the bridge has.
printf 'me delete MAC_BRIDGE_PORT_CON_DATA %d\nexpect ret=0\n' 11 12 >/tmp/alone.scn
obey /tmp/alone.scn
tries multicast-port-alone ani0 tx_drop_hook
# Nor when the platform itself chooses it.
printf 'clear\nadd gem=4000\n' >$proc/mapping
echo "engine off" >$proc/hooks
tries platform-choice ani0 tx_drop_gem_downstream_only
onu_down

# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The worked example of an OMCI stack in C: each call has the result that the example states, and
# its service carries VLAN 100 of UNI 1 on GEM port 1025 and nothing else.
# shellcheck source=tests/kernel/traffic/topology.sh
. /tests/traffic/topology.sh

provision() {
    omci_calls >/tmp/omci_calls.txt || { cat /tmp/omci_calls.txt; fail "an answer is not the right one"; }
    expect "refused calls" 3 "$(grep -c ': refused$' /tmp/omci_calls.txt)"
    expect "calls that were done" 8 "$(grep -c ': done$' /tmp/omci_calls.txt)"
    expect "calls in all" 11 "$(wc -l </tmp/omci_calls.txt)"
}

# VLAN: the frames that one unanswered ping brings to the GEM ports 1025 and 1026.
frames_of() {
    first=$(counter gem1025 rx_frames)
    second=$(counter gem1026 rx_frames)
    in_ns client1 ip link add link sub1 name "sub1.$1" type vlan id "$1"
    in_ns client1 ip link set "sub1.$1" up
    in_ns client1 ip addr add "10.$1.0.11/24" dev "sub1.$1"
    in_ns client1 ping -c 1 -W 1 "10.$1.0.1" >/dev/null && fail "an answer from nobody"
    # Otherwise another request for the address would be sent while another VLAN's frames are counted.
    in_ns client1 ip link del "sub1.$1"
    echo "$(($(counter gem1025 rx_frames) - first)) $(($(counter gem1026 rx_frames) - second))"
}

[ "$onu" = gpon_flow ] || exit 0
onu_up
modprobe 8021q
carried=$(frames_of 100)
[ "${carried% *}" -ge 1 ] || fail "VLAN 100 does not reach GEM port 1025"
expect "VLAN 100 on GEM port 1026" 0 "${carried#* }"
expect "VLAN 200, which the filter held before it was set" "0 0" "$(frames_of 200)"
onu_down

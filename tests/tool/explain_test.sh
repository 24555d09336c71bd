#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: explain_test.sh GPONFLOW
#
# The path of one frame: its description in arguments, and the texts about its end.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"

line=$root/scenarios/subscriber-line.scn
whole=$root/captures/upstream-uni2.pcap
printf 'platform queue=0\nproc read\nexpect ret=absent\n' >held.scn
printf 'echo on\nunload\necho never\n' >refused.scn

# One question from the UNI to the GEM port, and back.
expect_status 0 explain "$line" --uni 2 --vlan 300 --prio 6
grep -q '^The frame passes from UNI 2 through bridge 2 to GEM port 1050 ' out ||
    complain 'explain does not follow a frame to its GEM port'
expect_status 0 explain "$line" --gem 4094 --vlan 400p4 --dst 01:00:5e:00:00:01
grep -q '^The frame passes from GEM port 4094 into bridge 3' out ||
    complain 'explain does not follow a frame from its GEM port'
expect_status 0 explain "$line" --uni 1 --vlan 7
grep -q 'VLAN_TAG_FILTER_DATA 0x1001 of bridge 1 .* passes only VLAN 100, VLAN 200; the frame has VLAN 7' \
    out || complain 'explain does not name the filter at fault'
cat >same.scn <<'SCENARIO'
load
hook kind=switch param=1
me create MAC_BRIDGE_SERVICE_PROFILE 1
me create MAC_BRIDGE_PORT_CON_DATA 0x0101 bridgeID=1 tpType=1 tpPointer=0x0101
me create MAC_BRIDGE_PORT_CON_DATA 0x0102 bridgeID=1 tpType=11 tpPointer=0x0201
SCENARIO
other='VIRTUAL_ETHERNET_INTERFACE_POINT 0x0201'
expect_status 0 explain same.scn --uni 1
grep -q "^$other has the number of PPTP_ETHERNET_UNI 0x0101, which the module takes" out ||
    complain 'explain does not name the other UNI with the number'
grep -q '^  PPTP_ETHERNET_UNI 0x0101' out || complain 'the module takes another UNI'
echo 'me delete PPTP_ETHERNET_UNI 0x0101' >>same.scn
expect_status 0 explain same.scn --uni 1
grep -q "^  $other" out || complain 'explain does not take the other UNI'
grep -q 'has the number of' out && complain 'explain names a UNI that is not there'
expect_status 2 explain "$line" --uni 9
grep -q 'UNI 9 does not exist: the UNIs of the line are 1 ' err || complain 'an unknown UNI is not named'
expect_status 2 explain "$line" --gem 7
grep -q 'no GEM_PORT_CTP has the GEM port 7' err || complain 'an unknown GEM port is not named'
expect_status 2 explain "$line" --pcap "$whole"
grep -q 'add --uni' err || complain 'explain does not ask for --uni'
for words in '--uni 16' '--vlan 4096' '--vlan 1p8' '--prio 8' '--uni 1 --prio 1' '--dscp 64' \
    '--uni 1 --gem 1025' '--uni 1 --src 02' '--uni 1 --vlan 1 --pcap x' '--uni 1 kind=up_ani' \
    '--uni 1 --inner 5' '--uni 1 --ethertype 5'; do
    # shellcheck disable=SC2086 # words
    expect_status 2 explain "$line" $words
    [ -s err ] || complain "explain $words: not a word about what is wrong"
done

expect_status 2 explain
expect_status 2 explain held.scn
expect_status 2 explain "$line" kind=up_ani
expect_status 2 explain "$line" kind=up_ani frame=0
for number in -1 0 184 x; do
    expect_status 2 explain "$line" kind=up_ani --pcap "$root/captures/upstream-uni1.pcap" \
        --frame "$number"
    [ -s err ] || complain "frame $number of 183: not a word about it"
done
expect_status 3 explain refused.scn kind=up_ani frame=00
expect_status 0 explain "$line" kind=up_ani frame=0200000000010200000001028100006508004500
grep -q '^dropped$' out || complain 'explain does not report a drop'

exit "$failed"

#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: graph_test.sh GPONFLOW
#
# Drawings of a line, and the path of a frame in them.
set -eu
# shellcheck source=tests/tool/proof.sh
. "$(dirname "$0")/proof.sh"

line=$root/scenarios/subscriber-line.scn

# Drawings: DOT by itself, pictures by graphviz where it is there.
expect_bold() { # NODE ARGUMENT...
    local node=$1
    shift
    expect_status 0 graph "$line" "$@"
    grep -q "^  \"$node\" .*penwidth" out || complain "gponflow graph $*: $node is not bold"
}
expect_bold 'GEM_PORT_CTP 0x0001' --highlight kind=up_ani,frame=0200000000010200000001018100006408004500
expect_err ''
expect_bold 'GEM_PORT_CTP 0x0006' --highlight kind=up_ani \
    --pcap "$root/captures/upstream-uni2.pcap" --frame 1
expect_bold 'MAC_BRIDGE_PORT_CON_DATA 0x1001' \
    --highlight kind=up_ani,frame=0200000000010200000001018100006508004500
expect_err 'gponflow: the frame is dropped: its path is highlighted up to the drop'
expect_status 2 graph "$line" --pcap "$root/captures/upstream-uni2.pcap"
expect_status 2 graph "$line" --highlight kind=up_ani --pcap missing.pcap
expect_bold 'GEM_PORT_CTP 0x0005' --uni 2 --vlan 300 --prio 6
grep -q '^  "PPTP_ETHERNET_UNI 0x0102" .*penwidth' out || complain 'graph --uni does not begin at the UNI'
expect_bold 'MULTICAST_GEM_INTERWORK_TP 0x0061' --gem 4094 --vlan 400p4 --dst 01:00:5e:00:00:01
expect_bold 'GEM_PORT_CTP 0x0006' --uni 2 --pcap "$root/captures/upstream-uni2.pcap" --frame 1
expect_bold 'MAC_BRIDGE_PORT_CON_DATA 0x1001' --uni 1 --vlan 7
expect_err 'gponflow: the frame is dropped: its path is highlighted up to the drop'
expect_status 2 graph "$line" --uni 9
expect_status 2 graph "$line" --uni 1 --highlight kind=up_ani
expect_err 'gponflow: --highlight and --uni, --gem and the fields of a frame exclude each other
Run with --help for more information.'
# VLAN 666 is discarded at the UNI.
{
    cat "$line"
    printf 'tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101 rows=default\n'
    printf 'tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000814d0000c00f0000000f0000\n'
} >discarding.scn
expect_status 0 graph discarding.scn --uni 1 --vlan 666
expect_err 'gponflow: a tagging operation discards the frame: its path is highlighted up to the drop'
for node in 'VLAN_TAG_EXTEND_OPERATE 0x0001' 'PPTP_ETHERNET_UNI 0x0101'; do
    grep -q "^  \"$node\" .*penwidth" out || complain "graph of a discarded frame: $node is not bold"
done
printf 'me create GEM_INTERWORK_TP 0x11 gemCTPInstID=7\n' >dangling.scn
expect_status 0 graph dangling.scn
grep -q 'color=red' out || complain 'graph draws what is missing in another colour'
expect_status 2 graph dangling.scn -o picture.bmp
expect_status 2 graph dangling.scn -o missing/picture.dot
if command -v dot >/dev/null; then
    expect_status 0 graph dangling.scn -o picture.svg
    grep -q '<svg' picture.svg || complain 'the SVG is none'
    expect_status 0 graph dangling.scn -o picture.png
    [ "$(head -c 4 picture.png | tail -c 3)" = PNG ] || complain 'the PNG is none'
fi
status=0
PATH=/nowhere "$tool" graph dangling.scn -o never.svg >out 2>err </dev/null || status=$?
[ "$status" = 2 ] || complain "graph without graphviz: exit status $status"
grep -q 'install graphviz' err || complain 'graph does not say that graphviz is missing'

exit "$failed"

#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-only
# Splits the taps by service and kind of address into the capture files.
# usage: split.sh TAPS OUT
#
# The direction needs no filter: each tap holds only what its interface received.
set -eu

taps=$1
out=$2
stacked='ether[12:2] = 0x88a8'
group='ether[0] & 1 = 1'

take() {
    tcpdump -q -r "$taps/$1" -w "$out/$2" "$3" 2> /dev/null
}

rm -rf "$out"
mkdir -p "$out"
take uni1.pcap upstream-uni1.pcap "not ($stacked)"
take uni1.pcap upstream-qinq.pcap "$stacked"
take uni2.pcap upstream-uni2.pcap ''
take ani.pcap downstream-unicast.pcap "not ($stacked) and not ($group)"
take ani.pcap downstream-multicast.pcap "not ($stacked) and $group"
take ani.pcap downstream-qinq.pcap "$stacked"

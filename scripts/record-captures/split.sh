#!/bin/sh
# SPDX-License-Identifier: GPL-2.0-only
# Splits the taps by service and kind of address into the capture files.
# usage: split.sh TAPS OUT
#
# The direction needs no filter: each file contains only frames that its interface received.
set -eu

taps=$1
out=$2
stacked='ether[12:2] = 0x88a8'
group='ether[0] & 1 = 1'

take() {
    # Through standard input and output: started by root, tcpdump drops its access to the folders.
    tcpdump -r - -w - "$3" < "$taps/$1" > "$out/$2" 2> "$out/log" || {
        cat "$out/log" >&2
        exit 1
    }
    rm "$out/log"
}

rm -rf "$out"
mkdir -p "$out"
take uni1.pcap upstream-uni1.pcap "not ($stacked)"
take uni1.pcap upstream-qinq.pcap "$stacked"
take uni2.pcap upstream-uni2.pcap ''
take ani.pcap downstream-unicast.pcap "not ($stacked) and not ($group)"
take ani.pcap downstream-multicast.pcap "not ($stacked) and $group"
take ani.pcap downstream-qinq.pcap "$stacked"

# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# A demonstration of the module: an ONU on a stock kernel, one ping, and the resulting state of the
# module.
# shellcheck source=tests/kernel/traffic/topology.sh
. /tests/traffic/topology.sh

say() {
    echo
    echo "== $*"
}

# Writes a command to the proc file and prints the module's output from the kernel log.
ask() {
    echo "   # echo $* >/proc/gpon_flow/debug"
    dmesg -c >/dev/null
    echo "$*" >/proc/gpon_flow/debug
    dmesg | sed 's/^\[ *[0-9.]*\] /   /'
}

count() {
    echo "   frames received on GEM port $1: $(counter "gem$1" rx_frames)"
}

say "an ONU with two subscribers on $(uname -srm)"
onu_up >/dev/null
plain_network
grep '^gpon_' /proc/modules | sed 's/ 0x.*//; s/^/   /'

say "the managed entities that the OMCI stack has set up"
ask show raw_data 268

say "subscriber 1 pings the server behind GEM port 1025"
count 1025
count 1026
in_ns client1 ping -c 3 10.0.0.1 | sed 's/^/   /'
count 1025
count 1026

say "the rules that the module has learnt from it"
ask show flow_rule

say "and away again"
onu_down
echo "   $(grep -c '^gpon_' /proc/modules) of our modules left"

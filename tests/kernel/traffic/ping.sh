# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Echo requests of every size where frames are padded and where the MTU ends, of some between, and
# beyond in fragments; all on the untagged service's GEM port, none on the other.
# shellcheck source=tests/kernel/traffic/topology.sh
. /tests/traffic/topology.sh

# NAMESPACE ADDRESS BYTES
ping_once() {
    in_ns "$1" ping -c 1 -W 5 -s "$3" "$2" >/dev/null || fail "$1 gets no answer to $3 bytes"
}

onu_up
plain_network
answered=0
for size in $(seq 0 64) $(seq 113 49 1435) $(seq 1460 1484) 2952 2953 8000; do
    ping_once client1 10.0.0.1 "$size"
    answered=$((answered + 1))
done
ping_once client2 10.0.0.1 1472
ping_once server1 10.0.0.11 1472
ping_once client1 10.0.0.12 64
expect_at_least "frames on GEM port 1025" $answered "$(counter gem1025 rx_frames)"
expect "frames on GEM port 1026" 0 "$(counter gem1026 rx_frames)"
expect "frames dropped by the hook upstream" 0 "$(counter ani0 tx_drop_hook)"
expect "frames dropped by the hook downstream" 0 "$(counter ani0 rx_drop_hook)"
in_ns client1 ping -c 1 -W 1 10.0.0.77 >/dev/null && fail "an answer from an address of nobody"
ip link set ani0 down
expect "counters by ethtool" "$(grep '^ani0 ' $proc/counters)" \
    "$(ethtool -S ani0 | sed -n 's/^ *\(.*\): \(.*\)/ani0 \1 \2/p')"
echo "@@ $answered sizes answered, $(counter gem1025 rx_frames) frames on GEM port 1025"
onu_down

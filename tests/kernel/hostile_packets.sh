# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# Packets in every shape that a kernel uses, whole and cut at any length, through a provisioned
# engine, a trace filter and the module's own tracing.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

load_both
hostile_packets quiet || fail "a wrong result, or not every path was taken"
hostile_packets loud || fail "a wrong result while each step is traced"
dmesg | grep -q '\[gpon_pkt_general_flow_func\].*: Enter' || fail "no step was traced"
echo "set trace disable" >/proc/gpon_flow/debug || fail "the module no longer responds"
unload_both

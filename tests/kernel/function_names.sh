# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The module's functions have their own names in the kernel's symbol table and can be traced.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

load_both
grep '\[gpon_flow\]' /proc/kallsyms >/tmp/symbols
grep '\[gpon_flow\]' /sys/kernel/tracing/available_filter_functions >/tmp/traceable
for name in gpon_flow_api_dispatch gpon_flow_ioctl gpon_flow_dispatch_omci_cmd \
    gpon_pkt_general_flow_func gpon_hash_get_rule_safe gpon_dbg_parsing_cmd; do
    grep -qw "$name" /tmp/symbols || fail "$name is not in the symbol table"
    grep -qw "$name" /tmp/traceable || fail "$name cannot be traced"
done
cd /sys/kernel/tracing || fail "no tracing here"
echo gpon_dbg_parsing_cmd >set_ftrace_filter
echo function >current_tracer
echo "show en_flag" >/proc/gpon_flow/debug
grep -q gpon_dbg_parsing_cmd trace || fail "a traced function leaves no trace"
echo nop >current_tracer
echo >set_ftrace_filter
unload_both

#!/bin/bash
# SPDX-License-Identifier: GPL-2.0-only
#
# usage: check-module.sh ARCH GPON_FLOW.KO [KERNEL-BUILD-FOLDER]
#
# Checks the module: its size, the stack depth of a packet, the instructions that count a frame, the symbols
# that other code sees, the function names in stack traces, and the absence of static constructors, which a
# kernel does not run.
set -euo pipefail
# shellcheck source=scripts/complain.sh
. "$(dirname "$0")/../complain.sh"
# shellcheck source=scripts/sections.sh
. "$(dirname "$0")/../sections.sh"
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=scripts/kernel/common.sh
. scripts/kernel/common.sh

[ $# -ge 2 ] || fail "an architecture and a module are needed"
arch=$1
module=$2
kernel=${3:-$(kernel_headers "$arch")}
prefix=$(cross_prefix "$arch")
text_limit=73728
stack_limit=4096
# Four for each of what a use of a remembered outcome counts: the call, the passed frame, the outcome, the
# use of the rule, and its time.
count_limit=20

# Operators trace these functions and find them in stack traces, so they must not be inlined.
named_functions=(gpon_flow_api_dispatch gpon_pkt_general_flow_func gpon_flow_ioctl
    gpon_flow_dispatch_omci_cmd gpon_dbg_parsing_cmd gpon_flow_me_general_update
    gpon_hash_add_node_safe gpon_hash_get_rule_safe gpon_flow_is_trace_skb
    gpon_core_init_module gpon_core_cleanup_module)

has_sanitizer() {
    grep -q '^CONFIG_K[AC]SAN=y' "$kernel/include/config/auto.conf" 2>/dev/null
}

# Checks of array indices and shifts, which Debian's development suite has in its kernels.
has_bounds_checks() {
    grep -q '^CONFIG_UBSAN=y' "$kernel/include/config/auto.conf" 2>/dev/null
}

# Kernels in which each traced function must be aligned.
has_aligned_functions() {
    grep -q '^CONFIG_DYNAMIC_FTRACE_WITH_CALL_OPS=y' "$kernel/include/config/auto.conf" 2>/dev/null
}

# Of them, those for which the module is compiled for speed as a whole: gcc before 14 aligns no function
# that it compiles for size.
is_compiled_for_speed() {
    has_aligned_functions &&
        ! grep -q '^CONFIG_CC_HAS_MIN_FUNCTION_ALIGNMENT=y' "$kernel/include/config/auto.conf"
}

is_preemptible() {
    grep -q '^CONFIG_PREEMPTION=y' "$kernel/include/config/auto.conf" 2>/dev/null
}

# OBJECT
text_of() {
    "${prefix}size" -A "$1" | awk '$1 ~ /^\.(text|init\.text|exit\.text)/ {n += $2} END {print n + 0}'
}

# Sanitizers and checks enlarge the text; the limit is for kernels of an ONU. Kernels for little memory
# have no trace events, so these do not count.
check_text() {
    local stripped=$module.stripped events=${module%/*}/src/platform/linux/tracepoints.o bytes
    "${prefix}strip" --strip-debug -o "$stripped" "$module"
    bytes=$(text_of "$stripped")
    rm -f "$stripped"
    echo "$arch: $bytes bytes of text, $(text_of "$events") of them for trace events"
    bytes=$((bytes - $(text_of "$events")))
    [ "$bytes" -gt 0 ] || complain "$arch: no text was found"
    if [ "$arch" != arm64 ] || has_sanitizer || has_bounds_checks || is_compiled_for_speed; then
        return
    fi
    if [ "$bytes" -gt "$text_limit" ]; then
        complain "$arch: $bytes bytes of text are more than $text_limit"
    fi
}

# Such a kernel stops if the entry of a traced function is at no multiple of 8.
check_traced_functions() {
    local value addend number=0
    has_aligned_functions || return 0
    while read -r value addend; do
        number=$((number + 1))
        if (((16#$value + 16#$addend) % 8)); then
            complain "$arch: a traced function is not aligned, at $addend"
            return
        fi
    done < <("${prefix}readelf" -rW "$module" |
        awk '/^Relocation section/ {inside = /patchable_function_entries/}
            inside && $3 ~ /^R_/ {print $4, $7}')
    [ "$number" -gt 0 ] || complain "$arch: no function can be traced"
}

# Newer kernels add symbols of their own: the padding before a function, its table of allocations,
# and the jump to the readers of a trace event.
check_globals() {
    local found kernels='(__pfx_)?(init|cleanup)_module|__this_module|__(start|stop)_alloc_tags|__SCT__tp_func_gpon_\w+'
    found=$("${prefix}nm" --defined-only -g "$module" | awk '{print $3}' |
        grep -vxE "$kernels" || true)
    [ -z "$found" ] || complain "$arch: unexpected global symbols: ${found//$'\n'/ }"
}

check_names() {
    local name names
    names=$("${prefix}nm" --defined-only "$module" | awk '$2 ~ /^[tT]$/ {print $3}')
    for name in "${named_functions[@]}"; do
        grep -qx "$name" <<<"$names" || complain "$arch: there is no function $name in the module"
    done
}

# Sanitizers change the size of stack frames.
check_stack() {
    local graphs
    if has_sanitizer; then
        return
    fi
    mapfile -t graphs < <(find "${module%/*}" -name '*.ci')
    if [ ${#graphs[@]} = 0 ]; then
        complain "$arch: the build wrote no call graphs"
        return
    fi
    python3 scripts/kernel/stack-depth.py "$stack_limit" "${graphs[@]}" |
        sed "s/^/$arch: /" || complain "$arch: too much stack"
}

# Code without branches, except the repetition of an addition that another processor disturbs: it runs as
# many instructions as it has. A preemptible kernel on arm64 also counts the preemption of each access.
check_counting() {
    local object=${module%/*}/src/platform/linux/counters.o number
    number=$("${prefix}objdump" -d --no-show-raw-insn --disassemble=gpon_os_count_use "$object" |
        grep -P '^ +[0-9a-f]+:\t' | grep -vcP '\t(nop|int3|xchg +%ax,%ax)' || true)
    echo "$arch: $number instructions count a use of a remembered outcome"
    [ "$number" -gt 0 ] || complain "$arch: there is no gpon_os_count_use in $object"
    if has_sanitizer || { [ "$arch" = arm64 ] && is_preemptible; }; then
        return
    fi
    if [ "$number" -gt "$count_limit" ]; then
        complain "$arch: $number instructions to count a use are more than $count_limit"
    fi
}

check_text
check_stack
check_counting
check_globals
check_traced_functions
check_names
# Sanitizers add constructors, and kernels with sanitizers run them.
if ! has_sanitizer; then
    OBJDUMP=${prefix}objdump check_constructors "$module"
fi
exit "$failed"

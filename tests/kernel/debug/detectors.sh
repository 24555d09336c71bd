# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The detectors of this kernel work: each reports a deliberate fault. Where the compiler is
# involved, the fault is in C++ code that is compiled like the core.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/detectors.sh
. /tests/detectors.sh

leak_is_found() {
    insmod /modules/gpon_detect.ko fault=leak || fail "nothing can be leaked"
    scan_for_leaks >/tmp/leaks
    grep -q 'gpon_detect' /tmp/leaks || fail "a leak is not found: $(cat /tmp/leaks)"
    rmmod gpon_detect
    dmesg -c >/tmp/report
    grep -q 'kmemleak: .* new suspected memory leaks' /tmp/report || fail "the log knows no leak"
    ! kernel_log_is_clean /tmp/report || fail "the check of the log does not see a leak"
    echo clear >/sys/kernel/debug/kmemleak
    fired=$((fired + 1))
}

# Allocations of a load fail one after the other, among them the one of the module.
allocation_fails() {
    echo N >/sys/kernel/debug/failslab/ignore-gfp-wait
    # A line each, no stack.
    for kind in $(fault_kinds); do
        echo 1 >/sys/kernel/debug/"$kind"/verbose
    done
    failing_calls load /modules/gpon_detect.ko gpon_detect || fail "loads do not fail as they should"
    dmesg -c >/tmp/report
    grep -q 'gpon_detect: no memory' /tmp/report || fail "no allocation of the module failed"
    grep -q 'name failslab' /tmp/report || fail "the log does not tell of a failure"
    fired=$((fired + 1))
}

# OPTION: the option, or before 5.11 the one that contains it.
ubsan_option() {
    if kernel_since 5 11; then echo "$1"; else echo UBSAN; fi
}

# Before 5.6 UBSAN does not say what kind of fault it is.
ubsan='UBSAN: (%s|Undefined behaviour) in .*gpon_detect_core.cpp'
detects KASAN write_behind_block \
    'BUG: KASAN: slab-out-of-bounds in gpon_detect_write_behind_block'
detects KASAN use_after_free 'BUG: KASAN: (slab-)?use-after-free in gpon_detect_use_after_free'
detects KASAN_STACK write_behind_stack \
    'BUG: KASAN: stack-out-of-bounds in gpon_detect_write_behind_stack'
# shellcheck disable=SC2059 # the format has one place for the kind
detects "$(ubsan_option UBSAN_SHIFT)" shift "$(printf "$ubsan" shift-out-of-bounds)"
# shellcheck disable=SC2059
detects "$(ubsan_option UBSAN_BOUNDS)" index "$(printf "$ubsan" array-index-out-of-bounds)"
detects DEBUG_LIST list_deleted_twice 'list_del corruption'
detects DEBUG_OBJECTS_TIMERS free_active_timer 'ODEBUG: free active .*timer_list'
detects DEBUG_OBJECTS_RCU_HEAD free_twice 'ODEBUG: activate active .*rcu_head'
detects DEBUG_ATOMIC_SLEEP mutex_under_lock \
    'BUG: sleeping function called from invalid context'
if kernel_has DEBUG_KMEMLEAK; then
    leak_is_found
else
    left_out "leaks, this kernel has no DEBUG_KMEMLEAK"
fi
if kernel_has FAILSLAB; then
    allocation_fails
else
    left_out "failing allocations, this kernel has no FAILSLAB"
fi
echo "@@ $fired detectors fired"

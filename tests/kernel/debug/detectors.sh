# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The detectors of this kernel work: each reports a deliberate fault. Where the compiler is
# involved, the fault is in C++ code that is compiled like the core.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

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
    for kind in failslab fail_page_alloc fail_usercopy; do
        echo 1 >/sys/kernel/debug/$kind/verbose
    done
    failing_calls load /modules/gpon_detect.ko gpon_detect || fail "loads do not fail as they should"
    dmesg -c >/tmp/report
    grep -q 'gpon_detect: no memory' /tmp/report || fail "no allocation of the module failed"
    grep -q 'name failslab' /tmp/report || fail "the log does not tell of a failure"
    fired=$((fired + 1))
}

fires write_behind_block 'BUG: KASAN: slab-out-of-bounds in gpon_detect_write_behind_block'
fires use_after_free 'BUG: KASAN: (slab-)?use-after-free in gpon_detect_use_after_free'
fires write_behind_stack 'BUG: KASAN: stack-out-of-bounds in gpon_detect_write_behind_stack'
fires shift 'UBSAN: shift-out-of-bounds in .*gpon_detect_core.cpp'
fires index 'UBSAN: array-index-out-of-bounds in .*gpon_detect_core.cpp'
fires list_deleted_twice 'list_del corruption'
fires free_active_timer 'ODEBUG: free active .*timer_list'
fires free_twice 'ODEBUG: activate active .*rcu_head'
fires mutex_under_lock 'BUG: sleeping function called from invalid context'
leak_is_found
allocation_fails
echo "@@ $fired detectors fired"

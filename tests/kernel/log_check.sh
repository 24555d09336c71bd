# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The check of the kernel log works: it detects each kind of kernel report, and takes none of the
# module's own lines for one.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh

reports() {
    cat <<-'END'
	WARNING: CPU: 0 PID: 71 at fs/proc/generic.c:718 remove_proc_entry+0x1a8/0x1c0
	WARNING: possible circular locking dependency detected
	WARNING: suspicious RCU usage
	BUG: unable to handle page fault for address: ffffc900003dbd80
	BUG: KASAN: use-after-free in gpon_hash_get_rule_safe+0x40/0x90 [gpon_flow]
	BUG: sleeping function called from invalid context at mm/slab.h:274
	BUG: scheduling while atomic: insmod/71/0x00000002
	kernel BUG at lib/list_debug.c:59!
	Oops: 0011 [#1] PREEMPT SMP NOPTI
	Unable to handle kernel paging request at virtual address dead000000000122
	Internal error: BRK handler: 00000000f20003e8 [#1] SMP
	invalid opcode: 0000 [#1] PREEMPT SMP NOPTI
	divide error: 0000 [#1] PREEMPT SMP NOPTI
	CFI failure at rcu_do_batch+0x1a4/0x5b8 (target: gpon_flow_free_inst+0x0/0x40 [gpon_flow])
	general protection fault, probably for non-canonical address 0xdead000000000100: 0000
	INFO: task rmmod:99 blocked for more than 120 seconds.
	rcu: INFO: rcu_preempt detected stalls on CPUs/tasks:
	watchdog: BUG: soft lockup - CPU#1 stuck for 26s! [insmod:71]
	UBSAN: shift-out-of-bounds in core/hook.cpp:12:3
	BUG kmalloc-128 (Tainted: G           OE     ): Poison overwritten
	ODEBUG: free active (active state 0) object type: timer_list hint: 0xffff8000012c1234
	kmemleak: 2 new suspected memory leaks (see /sys/kernel/debug/kmemleak)
	remove_proc_entry: removing non-empty directory '/proc/gpon_flow', leaking at least 'debug'
	list_del corruption. prev->next should be ffff0000, but was dead000000000100
	insmod: page allocation failure: order:5, mode:0xdc0(GFP_KERNEL|__GFP_ZERO)
	usercopy: Kernel memory overwrite attempt detected to SLUB object (offset 0, size 64)!
	unregister_netdevice: waiting for uni1 to become free. Usage count = 2
	END
}

own_lines() {
    cat <<-'END'
	**WARNING**[gpon_pkt_next_forward][81] the classId(47),related_id.instExist=0
	***ERROR***[gpon_flow_list_delete_inst][130] Delete inst Success
	unknown api_data->api_type: 5
	gpon_flow: loading out-of-tree module taints kernel.
	END
}

reports | while read -r line; do
    echo "$line" >/tmp/one
    ! kernel_log_is_clean /tmp/one || fail "not seen: $line"
done || exit 1
own_lines >/tmp/own
kernel_log_is_clean /tmp/own || fail "taken for a report: $(kernel_log_faults /tmp/own)"

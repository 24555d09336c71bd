# SPDX-License-Identifier: GPL-2.0-only
# shellcheck shell=dash
#
# The check of the kernel log works: it detects each kind of kernel report, and does not
# report the module's own lines.
# shellcheck source=scripts/kernel/guest/lib.sh
. /tests/lib.sh
# shellcheck source=scripts/kernel/guest/kernel_log.sh
. /tests/kernel_log.sh

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
	do_init_module: 'gpon_softonu'->init suspiciously returned 1, it should follow 0/-E convention
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

# CALLER: a report of the RCU check as 5.4 prints it, and a line after it.
rcu_report() {
    cat <<-END
	[    2.345678] =============================
	[    2.345679] WARNING: suspicious RCU usage
	[    2.345680] 5.4.286 #1 Tainted: G           O
	[    2.345681] -----------------------------
	[    2.345682] kernel/kprobes.c:329 RCU-list traversed in non-reader section!!
	[    2.345683]
	[    2.345684] stack backtrace:
	[    2.345685] CPU: 0 PID: 66 Comm: insmod Tainted: G           O      5.4.286 #1
	[    2.345686] Call trace:
	[    2.345687]  dump_backtrace+0x0/0x1e8
	[    2.345688]  lockdep_rcu_suspicious+0xcc/0x110
	[    2.345689]  $1+0x218/0x2a8
	[    2.345690]  notifier_call_chain+0x5c/0xb0
	[    2.345691] $2
	END
}

# FUNCTION LINE: a warning of the kernel in this function, and the line after it.
warning() {
	cat <<-END
	[    3.345678] WARNING: CPU: 1 PID: 1082 at kernel/trace/trace_events.c:2556 $1+0x2d0/0x4a0
	[    3.345679] Modules linked in: gpon_flow(O+) gpon_softonu(O)
	[    3.345680] RIP: 0010:$1+0x2d0/0x4a0
	[    3.345681] Call Trace:
	[    3.345682]  <TASK>
	[    3.345683]  event_create_dir+0x34d/0x1060
	[    3.345684]  </TASK>
	[    3.345685] $2
	END
}

# REPORT FUNCTION: the kernel's own report in this function is not counted, the line after it is kept.
is_known() {
    "$1" "$2" "gpon_softonu: uni1 is up" >/tmp/known
    kernel_log_is_clean /tmp/known || fail "counted: $1 in $2"
    own_reports /tmp/known | grep -q 'uni1 is up' || fail "a line after $1 in $2 is lost"
    "$1" "$2" "WARNING: another" >/tmp/known
    ! kernel_log_is_clean /tmp/known || fail "not seen after $1 in $2: WARNING"
}

is_counted() {
    "$1" "$2" "gpon_softonu: uni1 is up" >/tmp/unknown
    ! kernel_log_is_clean /tmp/unknown || fail "not seen: $1 in $2"
}

is_known rcu_report kprobes_module_callback
is_known warning event_define_fields
is_known warning event_define_fields.part.0
is_counted warning event_create_dir
is_counted rcu_report another_function

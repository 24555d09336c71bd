// SPDX-License-Identifier: GPL-2.0-only
/*
 * Makes one kernel function late: "insmod gpon_delay.ko function=remove_proc_subtree ms=20" waits before each
 * call, so that other processors run between the caller's earlier steps and the function.
 */
#include <linux/delay.h>
#include <linux/kprobes.h>
#include <linux/module.h>

static char *function = "";
module_param(function, charp, 0444);
MODULE_PARM_DESC(function, "kernel function that begins late");

static unsigned int ms = 20;
module_param(ms, uint, 0444);
MODULE_PARM_DESC(ms, "milliseconds by which it begins late");

static int entered;
module_param(entered, int, 0444);
MODULE_PARM_DESC(entered, "read: number of calls that began to wait");

static int delayed;
module_param(delayed, int, 0444);
MODULE_PARM_DESC(delayed, "read: number of calls that were late");

static int at_entry(struct kprobe *probe, struct pt_regs *regs)
{
	entered++;
	mdelay(ms);
	delayed++;
	return 0;
}

static struct kprobe probe = {
	.pre_handler = at_entry,
};

static int __init gpon_delay_init(void)
{
	probe.symbol_name = function;
	return register_kprobe(&probe);
}
module_init(gpon_delay_init);

static void __exit gpon_delay_exit(void)
{
	unregister_kprobe(&probe);
}
module_exit(gpon_delay_exit);

MODULE_DESCRIPTION("Late kernel functions for the tests of gpon_flow");
MODULE_AUTHOR("gpon_flow developers");
MODULE_LICENSE("GPL");

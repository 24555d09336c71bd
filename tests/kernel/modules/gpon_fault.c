// SPDX-License-Identifier: GPL-2.0-only
/*
 * Makes one kernel function fail for one program, in kernels without fault injection: a probe at
 * the function's entry returns in its place. "insmod gpon_fault.ko function=proc_mkdir result=0
 * program=load_module nth=2" returns a null pointer to that program's second call.
 */
#include <linux/kprobes.h>
#include <linux/module.h>
#include <linux/ptrace.h>
#include <linux/sched.h>
#include <linux/string.h>

static char *function = "";
module_param(function, charp, 0444);
MODULE_PARM_DESC(function, "kernel function that fails");

static long result;
module_param(result, long, 0444);
MODULE_PARM_DESC(result, "return value: a negative errno, or 0 for a null pointer");

static char *program = "load_module";
module_param(program, charp, 0444);
MODULE_PARM_DESC(program, "name of the program whose calls fail");

static int nth = 1;
module_param(nth, int, 0444);
MODULE_PARM_DESC(nth, "which call fails; earlier and later ones go through");

static int fired;
module_param(fired, int, 0444);
MODULE_PARM_DESC(fired, "read: number of calls that failed");

static atomic_t calls = ATOMIC_INIT(0);

/* Runs in place of the function: its caller's return address is where a callee expects it. */
static noinline notrace long return_result(void)
{
	return result;
}

static int at_entry(struct kprobe *probe, struct pt_regs *regs)
{
	if (strcmp(current->comm, program) != 0 || atomic_inc_return(&calls) != nth)
		return 0;
	fired++;
	instruction_pointer_set(regs, (unsigned long)return_result);
	return 1;
}

static struct kprobe probe = {
	.pre_handler = at_entry,
};

static int __init gpon_fault_init(void)
{
	probe.symbol_name = function;
	return register_kprobe(&probe);
}
module_init(gpon_fault_init);

static void __exit gpon_fault_exit(void)
{
	unregister_kprobe(&probe);
}
module_exit(gpon_fault_exit);

MODULE_DESCRIPTION("Failing kernel functions for the tests of gpon_flow");
MODULE_AUTHOR("gpon_flow developers");
MODULE_LICENSE("GPL");

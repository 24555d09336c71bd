// SPDX-License-Identifier: GPL-2.0-only
/*
 * Makes a timer of gpon_flow expire early or late: if it is armed for "period" jiffies from now, or up to
 * a second less, it expires after "instead" jiffies. "insmod gpon_hasten.ko period=30000
 * instead=25" lets a test see the aging of rules hundreds of times in a minute, on the kernel's own
 * clock and timers.
 */
#include <linux/jiffies.h>
#include <linux/kprobes.h>
#include <linux/module.h>
#include <linux/ptrace.h>
#include <linux/string.h>
#include <linux/timer.h>

static unsigned long period = 30000;
module_param(period, ulong, 0444);
MODULE_PARM_DESC(period, "jiffies until expiry that are shortened");

static unsigned long instead = 25;
module_param(instead, ulong, 0444);
MODULE_PARM_DESC(instead, "jiffies until expiry instead");

static atomic_t count = ATOMIC_INIT(0);
static int hastened;
module_param(hastened, int, 0444);
MODULE_PARM_DESC(hastened, "read: how often a timer was shortened");

static struct timer_list *first_argument(struct pt_regs *regs)
{
#ifdef CONFIG_X86
	return (struct timer_list *)regs->di;
#else
	return (struct timer_list *)regs->regs[0];
#endif
}

static unsigned long *second_argument(struct pt_regs *regs)
{
#ifdef CONFIG_X86
	return &regs->si;
#else
	return (unsigned long *)&regs->regs[1];
#endif
}

/* A function of a module is printed with the name of the module. */
static bool is_of_gpon_flow(const struct timer_list *timer)
{
	char text[64];

	snprintf(text, sizeof(text), "%ps", timer->function);
	return strstr(text, "[gpon_flow]");
}

static int at_entry(struct kprobe *probe, struct pt_regs *regs)
{
	unsigned long *expires = second_argument(regs);
	const unsigned long wanted = *expires - jiffies;

	/* Ticks may have passed on the way here, many where the processor is an emulated one. */
	if (wanted <= period && wanted + HZ > period && is_of_gpon_flow(first_argument(regs))) {
		*expires = jiffies + instead;
		WRITE_ONCE(hastened, atomic_inc_return(&count));
	}
	return 0;
}

static struct kprobe probe = {
	.symbol_name = "mod_timer",
	.pre_handler = at_entry,
};

static int __init gpon_hasten_init(void)
{
	return register_kprobe(&probe);
}
module_init(gpon_hasten_init);

static void __exit gpon_hasten_exit(void)
{
	unregister_kprobe(&probe);
}
module_exit(gpon_hasten_exit);

MODULE_DESCRIPTION("Timers that expire early, for the tests of gpon_flow");
MODULE_AUTHOR("gpon_flow developers");
MODULE_LICENSE("GPL");

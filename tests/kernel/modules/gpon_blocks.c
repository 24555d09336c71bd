// SPDX-License-Identifier: GPL-2.0-only
/*
 * Calls the memory functions of the loaded gpon_flow.ko as its packets do, in a task and in a softirq that
 * interrupts it on the same processor. Loads only if every check passes: -EPROTO otherwise, and a line in
 * the kernel log says which check failed.
 */
#include <linux/hrtimer.h>
#include <linux/kprobes.h>
#include <linux/module.h>
#include <linux/slab.h>
#include <linux/string.h>
#include <linux/version.h>

#include "../../../src/platform/linux/kept_blocks.h"
#include "gpon_balance.h"

#define LARGEST_KEPT (KEEPS_BLOCKS ? 1 << SHIFT_MAX : 0)
#define LARGEST_CHECKED (4 << SHIFT_MAX)
#define HELD SLOTS

#if LINUX_VERSION_CODE < KERNEL_VERSION(5, 7, 0)
#define migrate_disable() preempt_disable()
#define migrate_enable() preempt_enable()
#endif
#if LINUX_VERSION_CODE < KERNEL_VERSION(6, 13, 0)
#define hrtimer_setup_on_stack(timer, expired, clock, mode) \
	do { \
		hrtimer_init_on_stack(timer, clock, mode); \
		(timer)->function = expired; \
	} while (0)
#endif

static unsigned int interrupts = 10000;
module_param(interrupts, uint, 0444);
MODULE_PARM_DESC(interrupts, "softirqs that interrupt the task");

static unsigned int period_ns = 100000;
module_param(period_ns, uint, 0444);
MODULE_PARM_DESC(period_ns, "nanoseconds between two softirqs");

static unsigned int seconds = 60;
module_param(seconds, uint, 0444);
MODULE_PARM_DESC(seconds, "time limit of the race");

static unsigned int softirqs;

static void *(*kzalloc_of_module)(size_t bytes, unsigned int flags);
static void (*kfree_of_module)(const void *block);

/* A probe finds the address of a symbol that the module does not export. */
static void *address_of(const char *name)
{
	struct kprobe probe = { .symbol_name = name };
	void *address;

	if (register_kprobe(&probe))
		return NULL;
	address = (void *)probe.addr;
	unregister_kprobe(&probe);
	return address;
}

static int failed(const char *check, size_t bytes)
{
	pr_err("gpon_blocks: a block of %zu bytes %s\n", bytes, check);
	return -EPROTO;
}

static int check_zero(size_t bytes)
{
	unsigned char *block = kzalloc_of_module(bytes, 0);

	if (!block)
		return failed("is not there", bytes);
	if (memchr_inv(block, 0, bytes))
		return failed("is not zero", bytes);
	memset(block, 0xa5, bytes);
	kfree_of_module(block);
	return 0;
}

/* On one processor: the number of blocks that stay with the module shows which sizes it keeps. */
static int check_kept(size_t bytes)
{
	void *blocks[SLOTS + 1];
	unsigned int i;
	int before, kept;

	for (i = 0; i <= SLOTS; i++)
		blocks[i] = kzalloc_of_module(bytes, 0);
	before = gpon_balance_live();
	for (i = 0; i <= SLOTS; i++)
		kfree_of_module(blocks[i]);
	kept = SLOTS + 1 - (before - gpon_balance_live());
	if (kept != (bytes <= LARGEST_KEPT ? SLOTS : 0))
		return failed("is kept otherwise", bytes);
	return 0;
}

static int check_sizes(void)
{
	size_t bytes;
	int ret = 0;

	local_bh_disable();
	for (bytes = 1; !ret && bytes <= LARGEST_CHECKED; bytes++) {
		ret = check_zero(bytes);
		if (!ret)
			ret = check_zero(bytes);
		if (!ret)
			ret = check_kept(bytes);
	}
	local_bh_enable();
	return ret;
}

/* Each holder marks its blocks: a block with two holders has the mark of only one. */
struct holder {
	u64 *block[HELD];
	u64 mark;
	bool wrong;
};

static void take_and_give(struct holder *holder)
{
	unsigned int i;

	for (i = 0; i < HELD; i++) {
		holder->block[i] = kzalloc_of_module(1 << SHIFT_MAX, 0);
		if (holder->block[i])
			WRITE_ONCE(*holder->block[i], holder->mark + i);
	}
	for (i = 0; i < HELD; i++) {
		if (!holder->block[i])
			continue;
		if (READ_ONCE(*holder->block[i]) != holder->mark + i)
			WRITE_ONCE(holder->wrong, true);
		kfree_of_module(holder->block[i]);
	}
}

static struct holder task = { .mark = 0x1000 }, softirq = { .mark = 0x2000 };

static enum hrtimer_restart interrupt(struct hrtimer *timer)
{
	take_and_give(&softirq);
	WRITE_ONCE(softirqs, softirqs + 1);
	hrtimer_forward_now(timer, ns_to_ktime(period_ns));
	return HRTIMER_RESTART;
}

static int check_race(void)
{
	struct hrtimer timer;
	unsigned long end = jiffies + seconds * HZ;

	/* The timer runs on the processor that starts it. */
	migrate_disable();
	hrtimer_setup_on_stack(&timer, interrupt, CLOCK_MONOTONIC, HRTIMER_MODE_REL_PINNED_SOFT);
	hrtimer_start(&timer, ns_to_ktime(period_ns), HRTIMER_MODE_REL_PINNED_SOFT);
	while (READ_ONCE(softirqs) < interrupts && time_before(jiffies, end) && !task.wrong &&
	       !READ_ONCE(softirq.wrong)) {
		take_and_give(&task);
		/* A softirq that comes too often becomes a task. */
		cond_resched();
	}
	hrtimer_cancel(&timer);
	destroy_hrtimer_on_stack(&timer);
	migrate_enable();
	if (task.wrong || softirq.wrong)
		return failed("has two holders", 1 << SHIFT_MAX);
	if (softirqs >= interrupts)
		return 0;
	pr_err("gpon_blocks: only %u softirqs in %u seconds\n", softirqs, seconds);
	return -EPROTO;
}

static int __init gpon_blocks_init(void)
{
	int ret;

	kzalloc_of_module = address_of("gpon_os_kzalloc");
	kfree_of_module = address_of("gpon_os_kfree");
	if (!kzalloc_of_module || !kfree_of_module)
		return -ENOENT;
	ret = check_sizes();
	return ret ? ret : check_race();
}
module_init(gpon_blocks_init);

static void __exit gpon_blocks_exit(void)
{
}
module_exit(gpon_blocks_exit);

MODULE_DESCRIPTION("Calls of gpon_flow's memory functions, for its tests");
MODULE_AUTHOR("gpon_flow developers");
MODULE_LICENSE("GPL");

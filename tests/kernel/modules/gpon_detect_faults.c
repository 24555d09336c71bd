// SPDX-License-Identifier: GPL-2.0-only
/*
 * Deliberate faults, one for each detector of a debug kernel: "insmod gpon_detect.ko fault=NAME". The
 * machine continues after each of them; the caller searches the kernel log for the report.
 */
#include <linux/delay.h>
#include <linux/kthread.h>
#include <linux/list.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/rculist.h>
#include <linux/rcupdate.h>
#include <linux/slab.h>
#include <linux/spinlock.h>
#include <linux/string.h>
#include <linux/timer.h>

#include "gpon_detect.h"

/* Kernels since 5.12. */
#if __has_include(<linux/kfence.h>)
#include <linux/kfence.h>
#else
#define is_kfence_address(block) false
#endif

static char *fault = "allocate";
module_param(fault, charp, 0444);
MODULE_PARM_DESC(fault, "name of the fault; \"allocate\" is none, it only asks for memory");

/* The build hides what is not said to be seen, and the kernel looks for these two by name. */
__visible __attribute__((visibility("default"))) int init_module(void);
__visible __attribute__((visibility("default"))) void cleanup_module(void);

void *gpon_detect_alloc(unsigned long bytes)
{
	return kzalloc(bytes, GFP_KERNEL | __GFP_NOFAIL);
}

void gpon_detect_free(void *block)
{
	kfree(block);
}

noinline unsigned long *gpon_detect_hide(unsigned long *word)
{
	OPTIMIZER_HIDE_VAR(word);
	return word;
}

static DEFINE_SPINLOCK(lock_a);
static DEFINE_SPINLOCK(lock_b);

static void lock_order(void)
{
	spin_lock_bh(&lock_a);
	spin_lock(&lock_b);
	spin_unlock(&lock_b);
	spin_unlock_bh(&lock_a);
	spin_lock_bh(&lock_b);
	spin_lock(&lock_a);
	spin_unlock(&lock_a);
	spin_unlock_bh(&lock_b);
}

static DEFINE_RAW_SPINLOCK(raw_lock);

static void spinlock_under_raw_lock(void)
{
	raw_spin_lock(&raw_lock);
	spin_lock(&lock_a);
	spin_unlock(&lock_a);
	raw_spin_unlock(&raw_lock);
}

static DEFINE_MUTEX(mutex);

/* Nothing sleeps in fact: the mutex is free. */
static void mutex_under_lock(void)
{
	spin_lock_bh(&lock_a);
	mutex_lock(&mutex);
	mutex_unlock(&mutex);
	spin_unlock_bh(&lock_a);
}

static void sleep_in_read_section(void)
{
	rcu_read_lock();
	might_sleep();
	rcu_read_unlock();
}

/* A sampled block has a page of its own, which is not mapped after the block is freed. */
static void use_guarded_after_free(void)
{
	const unsigned long end = jiffies + 20 * HZ;
	unsigned long *block;

	while (time_before(jiffies, end)) {
		block = gpon_detect_alloc(64);
		gpon_detect_free(block);
		if (is_kfence_address(block)) {
			*gpon_detect_hide(block) = 1;
			return;
		}
		cond_resched();
	}
}

struct item {
	struct list_head link;
	struct rcu_head head;
	struct timer_list timer;
	int number;
};

static LIST_HEAD(items);
static struct item __rcu *published;
static int seen;

static void list_outside_read_section(void)
{
	struct item *item;

	list_for_each_entry_rcu(item, &items, link)
		seen += item->number;
}

static void pointer_outside_read_section(void)
{
	seen += rcu_dereference(published) != NULL;
}

static void list_deleted_twice(void)
{
	struct item *item = gpon_detect_alloc(sizeof(*item));

	list_add(&item->link, &items);
	list_del(&item->link);
	list_del(&item->link);
	kfree(item);
}

static void expired(struct timer_list *timer)
{
}

/* The report comes first, and takes the timer down. */
static void free_active_timer(void)
{
	struct item *item = gpon_detect_alloc(sizeof(*item));

	timer_setup(&item->timer, expired, 0);
	mod_timer(&item->timer, jiffies + 100 * HZ);
	kfree(item);
}

static void not_called(struct rcu_head *head)
{
}

/* Not on a stack: a head that is queued twice is never released. */
static struct rcu_head twice;

static void free_twice(void)
{
	call_rcu(&twice, not_called);
	call_rcu(&twice, not_called);
	rcu_barrier();
}

static void leak(void)
{
	int i;

	for (i = 0; i < 10; i++)
		gpon_detect_alloc(777);
}

static unsigned long contended;

static int adder(void *unused)
{
	while (!kthread_should_stop()) {
		gpon_detect_add(&contended, 1000);
		cond_resched();
	}
	return 0;
}

static void race(void)
{
	struct task_struct *tasks[2];
	int i;

	for (i = 0; i < 2; i++)
		tasks[i] = kthread_run(adder, NULL, "gpon_detect/%d", i);
	msleep(3000);
	for (i = 0; i < 2; i++)
		if (!IS_ERR(tasks[i]))
			kthread_stop(tasks[i]);
}

/*
 * A load makes more allocations of its own at one time than at another, so that the one that is
 * made to fail may jump over a single allocation here; it does not jump over this many.
 */
#define ALLOCATIONS 64

static int allocation_failed;

static void allocate(void)
{
	int i;

	for (i = 0; i < ALLOCATIONS && !allocation_failed; i++) {
		void *block = kmalloc(99, GFP_ATOMIC);

		allocation_failed = !block;
		if (!block)
			pr_info("gpon_detect: no memory\n");
		kfree(block);
	}
}

static const struct {
	const char *name;
	void (*make)(void);
} faults[] = {
	{ "write_behind_block", gpon_detect_write_behind_block },
	{ "use_after_free", gpon_detect_use_after_free },
	{ "write_behind_stack", gpon_detect_write_behind_stack },
	{ "shift", gpon_detect_shift },
	{ "index", gpon_detect_index },
	{ "lock_order", lock_order },
	{ "spinlock_under_raw_lock", spinlock_under_raw_lock },
	{ "mutex_under_lock", mutex_under_lock },
	{ "sleep_in_read_section", sleep_in_read_section },
	{ "list_outside_read_section", list_outside_read_section },
	{ "pointer_outside_read_section", pointer_outside_read_section },
	{ "list_deleted_twice", list_deleted_twice },
	{ "free_active_timer", free_active_timer },
	{ "free_twice", free_twice },
	{ "leak", leak },
	{ "use_guarded_after_free", use_guarded_after_free },
	{ "race", race },
	{ "allocate", allocate },
};

static int __init gpon_detect_init(void)
{
	int i;

	for (i = 0; i < ARRAY_SIZE(faults); i++) {
		if (strcmp(fault, faults[i].name) == 0) {
			faults[i].make();
			return allocation_failed ? -ENOMEM : 0;
		}
	}
	return -EINVAL;
}
module_init(gpon_detect_init);

static void __exit gpon_detect_exit(void)
{
}
module_exit(gpon_detect_exit);

MODULE_DESCRIPTION("Faults on purpose, for the tests of gpon_flow");
MODULE_AUTHOR("gpon_flow developers");
MODULE_LICENSE("GPL");

// SPDX-License-Identifier: GPL-2.0-only
/*
 * Counts the blocks of memory that the code of gpon_flow.ko holds, with the kernel's own trace events of
 * its allocator. Loaded before gpon_flow:
 *
 *   live     blocks that are allocated now
 *   settled  the same, after the frees that were deferred until now
 *   taken    allocations since this module was loaded
 *   at_exit  blocks that were still allocated when the last unload had run gpon_flow's own code
 *
 * A block counts as gpon_flow's if the code of gpon_flow called the allocator for it.
 */
#include <linux/atomic.h>
#include <linux/err.h>
#include <linux/module.h>
#include <linux/notifier.h>
#include <linux/rcupdate.h>
#include <linux/slab.h>
#include <linux/string.h>
#include <linux/tracepoint.h>
#include <linux/version.h>

static struct module *watched;
static atomic_t live = ATOMIC_INIT(0);
static atomic_t taken = ATOMIC_INIT(0);
static int at_exit = -1;
module_param(at_exit, int, 0444);
MODULE_PARM_DESC(at_exit, "read: blocks that the last unload left behind, -1: no unload yet");

static int get_counter(char *text, const struct kernel_param *param)
{
	return sprintf(text, "%d\n", atomic_read((atomic_t *)param->arg));
}

/* The core frees with call_rcu(). How long that takes depends on the load of the machine. */
static int get_settled(char *text, const struct kernel_param *param)
{
	rcu_barrier();
	return get_counter(text, param);
}

static const struct kernel_param_ops counter_ops = { .get = get_counter };
static const struct kernel_param_ops settled_ops = { .get = get_settled };
module_param_cb(live, &counter_ops, &live, 0444);
MODULE_PARM_DESC(live, "read: blocks that are allocated");
module_param_cb(settled, &settled_ops, &live, 0444);
MODULE_PARM_DESC(settled, "read: blocks that are allocated when no free is deferred");
module_param_cb(taken, &counter_ops, &taken, 0444);
MODULE_PARM_DESC(taken, "read: number of allocations");

static bool is_watched(unsigned long call_site)
{
	struct module *module = READ_ONCE(watched);

	return module && within_module(call_site, module);
}

/*
 * In these kernels the event of a block of more than two pages names __kmalloc() as the caller, unless
 * the compiler made its call a jump, as on x86_64. The free names the module.
 */
#if defined(CONFIG_ARM64) && LINUX_VERSION_CODE < KERNEL_VERSION(6, 1, 0)
static bool has_caller(const void *block)
{
	return ksize(block) <= KMALLOC_MAX_CACHE_SIZE;
}
#else
static bool has_caller(const void *block)
{
	return true;
}
#endif

/* The events have further arguments, which differ between kernels. */
static void on_alloc(void *unused, unsigned long call_site, const void *block)
{
	if (block && is_watched(call_site) && has_caller(block)) {
		atomic_inc(&live);
		atomic_inc(&taken);
	}
}

static void on_free(void *unused, unsigned long call_site, const void *block)
{
	if (block && is_watched(call_site) && has_caller(block))
		atomic_dec(&live);
}

static struct {
	const char *name;
	void *probe;
	struct tracepoint *event;
} events[] = {
	{ "kmalloc", on_alloc },
	{ "kfree", on_free },
};

static int on_module(struct notifier_block *block, unsigned long state, void *data)
{
	struct module *module = data;

	if (strcmp(module->name, "gpon_flow") != 0)
		return NOTIFY_DONE;
	if (state == MODULE_STATE_COMING) {
		atomic_set(&live, 0);
		WRITE_ONCE(watched, module);
	} else if (state == MODULE_STATE_GOING) {
		/* The module's exit function has returned. */
		at_exit = atomic_read(&live);
		WRITE_ONCE(watched, NULL);
		tracepoint_synchronize_unregister();
	}
	return NOTIFY_DONE;
}

static struct notifier_block notifier = { .notifier_call = on_module };

static void find_event(struct tracepoint *event, void *unused)
{
	unsigned int i;

	for (i = 0; i < ARRAY_SIZE(events); i++)
		if (!strcmp(event->name, events[i].name))
			events[i].event = event;
}

static void disconnect(unsigned int count)
{
	while (count-- > 0)
		tracepoint_probe_unregister(events[count].event, events[count].probe, NULL);
	tracepoint_synchronize_unregister();
}

static int connect(void)
{
	unsigned int i;
	int ret;

	for_each_kernel_tracepoint(find_event, NULL);
	for (i = 0; i < ARRAY_SIZE(events); i++) {
		ret = events[i].event ?
			tracepoint_probe_register(events[i].event, events[i].probe, NULL) : -ENOENT;
		if (ret) {
			disconnect(i);
			return ret;
		}
	}
	return 0;
}

static int __init gpon_balance_init(void)
{
	int ret = connect();

	if (ret)
		return ret;
	ret = register_module_notifier(&notifier);
	if (ret)
		disconnect(ARRAY_SIZE(events));
	return ret;
}
module_init(gpon_balance_init);

static void __exit gpon_balance_exit(void)
{
	unregister_module_notifier(&notifier);
	disconnect(ARRAY_SIZE(events));
}
module_exit(gpon_balance_exit);

MODULE_DESCRIPTION("Memory balance of gpon_flow, for its tests");
MODULE_AUTHOR("gpon_flow developers");
MODULE_LICENSE("GPL");

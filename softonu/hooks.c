// SPDX-License-Identifier: GPL-2.0-only
/*
 * The hook framework. Calls walk the chain under RCU on any CPU; registration changes it under a
 * mutex and waits for the calls that still see the old chain, so that the caller may free the
 * record or unload its code.
 *
 * With PREEMPT_RT a call can be preempted, and the spinlocks that it takes sleep. The read section
 * permits both, and synchronize_rcu() waits for a preempted call as well. The section is therefore
 * the only protection of a call: disabled bottom halves do not keep a processor to themselves there.
 */
#include <linux/bottom_half.h>
#include <linux/build_bug.h>
#include <linux/export.h>
#include <linux/mutex.h>
#include <linux/rculist.h>

#include "softonu.h"

/* A registration record; its link words hold the list node while it is registered. */
struct hook_record {
	union {
		struct list_head node;
		struct vorn_hook_ops ops;
	};
};

static LIST_HEAD(hook_chain);
static DEFINE_MUTEX(hook_mutex);

static struct hook_record *to_record(struct vorn_hook_ops *ops)
{
	BUILD_BUG_ON(offsetof(struct vorn_hook_ops, link) != 0);
	BUILD_BUG_ON(sizeof(ops->link) < sizeof(struct list_head));
	return container_of(ops, struct hook_record, ops);
}

static bool is_registered(const struct hook_record *wanted)
{
	struct hook_record *record;

	lockdep_assert_held(&hook_mutex);
	list_for_each_entry(record, &hook_chain, node)
		if (record == wanted)
			return true;
	return false;
}

static bool goes_before(const struct vorn_hook_ops *a, const struct vorn_hook_ops *b)
{
	if (a->hook_id != b->hook_id)
		return a->hook_id < b->hook_id;
	return a->priority < b->priority;
}

/* Equal records keep the order of their registration. */
static void insert_in_order(struct hook_record *fresh)
{
	struct hook_record *record;

	list_for_each_entry(record, &hook_chain, node)
		if (goes_before(&fresh->ops, &record->ops))
			break;
	list_add_tail_rcu(&fresh->node, &record->node);
}

int vorn_register_hook(struct vorn_hook_ops *ops)
{
	int ret = -EEXIST;

	if (!ops || !ops->name || !ops->hook)
		return -EINVAL;
	mutex_lock(&hook_mutex);
	if (!is_registered(to_record(ops))) {
		insert_in_order(to_record(ops));
		ret = 0;
	}
	mutex_unlock(&hook_mutex);
	return ret;
}
EXPORT_SYMBOL_GPL(vorn_register_hook);

int vorn_unregister_hook(struct vorn_hook_ops *ops)
{
	int ret = -ENOENT;

	if (!ops)
		return -EINVAL;
	mutex_lock(&hook_mutex);
	if (is_registered(to_record(ops))) {
		list_del_rcu(&to_record(ops)->node);
		synchronize_rcu();
		memset(ops->link, 0, sizeof(ops->link));
		ret = 0;
	}
	mutex_unlock(&hook_mutex);
	return ret;
}
EXPORT_SYMBOL_GPL(vorn_unregister_hook);

unsigned int softonu_call_hooks(struct api_data *data, const struct vorn_hook_ops *except,
				int *ret)
{
	struct hook_record *record;
	unsigned int called = 0;

	*ret = 0;
	data->api_result = 0;
	rcu_read_lock();
	list_for_each_entry_rcu(record, &hook_chain, node) {
		if (&record->ops == except || !READ_ONCE(record->ops.enable))
			continue;
		*ret = record->ops.hook(data);
		called++;
		if (data->api_result)
			break;
	}
	rcu_read_unlock();
	return called;
}

/* The platform's own GEM port choice, until a module unregisters it. */
static int default_mapping(struct api_data *data)
{
	int (*mapping)(struct sk_buff *skb) = READ_ONCE(gpon_mapping_hook);

	data->api_result = 0;
	if (data->api_type == GPON_API_UP_ANI && data->skb && mapping)
		data->api_result = mapping(data->skb) == -1 ? 1 : 0;
	return GPON_HOOK_RETURN;
}

struct vorn_hook_ops gpon_flow_mapping_hook_ops = {
	.name = "gpon_flow_mapping",
	.enable = 1,
	.hook = default_mapping,
	.hook_id = 59,
	.priority = 0,
};
EXPORT_SYMBOL_GPL(gpon_flow_mapping_hook_ops);

int softonu_default_hook(bool on)
{
	return on ? vorn_register_hook(&gpon_flow_mapping_hook_ops)
		  : vorn_unregister_hook(&gpon_flow_mapping_hook_ops);
}

void softonu_show_hooks(struct seq_file *out)
{
	struct hook_record *record;

	mutex_lock(&hook_mutex);
	list_for_each_entry(record, &hook_chain, node)
		seq_printf(out, "id %d priority %d enable %u %s\n", record->ops.hook_id,
			   record->ops.priority, record->ops.enable, record->ops.name);
	mutex_unlock(&hook_mutex);
}

void softonu_switch_engine(bool on)
{
	struct api_data data = { .api_type = GPON_API_SWITCH, .api_param = on };
	int ret;

	local_bh_disable();
	softonu_call_hooks(&data, NULL, &ret);
	local_bh_enable();
}

// SPDX-License-Identifier: GPL-2.0-only
/*
 * The platform's two mapping functions, packet to GEM port and packet to priority queue. Each is
 * called through an exported pointer, which may be null. It returns a fixed value, or looks the
 * packet up in a table of rules; the first match wins. A change publishes a new copy of the whole
 * state, so a call sees either the old or the new state.
 *
 * The look-up takes no lock but the RCU read section, and the mutex is for process context, so
 * nothing here differs with PREEMPT_RT.
 */
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include <linux/export.h>
#include <linux/if_vlan.h>
#include <linux/mutex.h>
#include <linux/rcupdate.h>
#include <linux/slab.h>

#include "map_rules.h"
#include "softonu.h"

struct map_state {
	struct rcu_head rcu;
	struct softonu_mapping mapping;
	struct softonu_rules rules;
};

static int map_gem(struct sk_buff *skb);
static int map_queue(struct sk_buff *skb);

int (*gpon_mapping_hook)(struct sk_buff *skb);
EXPORT_SYMBOL_GPL(gpon_mapping_hook);
int (*gpon_queue_mapping_hook)(struct sk_buff *skb);
EXPORT_SYMBOL_GPL(gpon_queue_mapping_hook);

static struct {
	struct map_state __rcu *state;
	int (**pointer)(struct sk_buff *skb);
	int (*function)(struct sk_buff *skb);
} maps[SOFTONU_MAPS] = {
	[SOFTONU_MAP_GEM] = { .pointer = &gpon_mapping_hook, .function = map_gem },
	[SOFTONU_MAP_QUEUE] = { .pointer = &gpon_queue_mapping_hook, .function = map_queue },
};
static DEFINE_MUTEX(maps_mutex);
static bool report;

/* Returns 0 with the table's value, -1 if no rule matches, or the fixed result without a value. */
static int look_up(enum softonu_map which, const struct sk_buff *skb, int *value)
{
	const struct map_state *state;
	int result;

	*value = -1;
	rcu_read_lock();
	state = rcu_dereference(maps[which].state);
	result = state->mapping.result;
	if (state->mapping.mode != SOFTONU_MAPPING_RESULT) {
		*value = softonu_rules_find(&state->rules, skb);
		result = *value < 0 ? -1 : 0;
	}
	rcu_read_unlock();
	return result;
}

static int map_gem(struct sk_buff *skb)
{
	int gem;
	int result = look_up(SOFTONU_MAP_GEM, skb, &gem);

	if (gem >= 0)
		softonu_packet(skb)->fields.gemport_id = gem;
	if (READ_ONCE(report))
		pr_info("@ gpon_mapping_hook = %d\n", result);
	return result;
}

static int map_queue(struct sk_buff *skb)
{
	int queue;
	int result = look_up(SOFTONU_MAP_QUEUE, skb, &queue);

	if (queue >= 0)
		softonu_packet(skb)->queue = queue;
	if (READ_ONCE(report))
		pr_info("@ gpon_queue_mapping_hook gem=%u = %d\n",
			softonu_packet(skb)->fields.gemport_id, result);
	return result;
}

static struct map_state *current_state(enum softonu_map which)
{
	return rcu_dereference_protected(maps[which].state, lockdep_is_held(&maps_mutex));
}

/* The function remains callable while its state is replaced. */
static void publish(enum softonu_map which, struct map_state *fresh)
{
	struct map_state *old = current_state(which);
	bool none = fresh->mapping.mode == SOFTONU_MAPPING_NONE;

	rcu_assign_pointer(maps[which].state, fresh);
	WRITE_ONCE(*maps[which].pointer, none ? NULL : maps[which].function);
	if (old)
		kfree_rcu(old, rcu);
}

static struct map_state *copy_state(enum softonu_map which)
{
	return kmemdup(current_state(which), sizeof(struct map_state), GFP_KERNEL);
}

int softonu_map_set(enum softonu_map which, const struct softonu_mapping *mapping)
{
	struct map_state *fresh;
	int ret = -ENOMEM;

	if (mapping->mode > SOFTONU_MAPPING_TABLE ||
	    (mapping->mode != SOFTONU_MAPPING_RESULT && mapping->result))
		return -EINVAL;
	mutex_lock(&maps_mutex);
	fresh = copy_state(which);
	if (fresh) {
		fresh->mapping = *mapping;
		publish(which, fresh);
		ret = 0;
	}
	mutex_unlock(&maps_mutex);
	return ret;
}

void softonu_map_get(enum softonu_map which, struct softonu_mapping *mapping)
{
	mutex_lock(&maps_mutex);
	*mapping = current_state(which)->mapping;
	mutex_unlock(&maps_mutex);
}

static void set_mode(struct map_state *state, u32 mode, int result)
{
	state->mapping.mode = mode;
	state->mapping.result = result;
}

static int apply_command(enum softonu_map which, struct map_state *state, char *line)
{
	char *word = strsep(&line, " \t");
	int result;

	if (!strcmp(word, "none") && !line)
		set_mode(state, SOFTONU_MAPPING_NONE, 0);
	else if (!strcmp(word, "table") && !line)
		set_mode(state, SOFTONU_MAPPING_TABLE, 0);
	else if (!strcmp(word, "clear") && !line)
		state->rules.count = 0;
	else if (!strcmp(word, "add") && line)
		return softonu_rules_add(&state->rules, which, line);
	else if (!strcmp(word, "result") && line && !kstrtoint(line, 0, &result))
		set_mode(state, SOFTONU_MAPPING_RESULT, result);
	else
		return -EINVAL;
	return 0;
}

int softonu_map_command(enum softonu_map which, char *line)
{
	struct map_state *fresh;
	int ret = -ENOMEM;

	mutex_lock(&maps_mutex);
	fresh = copy_state(which);
	if (fresh)
		ret = apply_command(which, fresh, line);
	if (ret)
		kfree(fresh);
	else
		publish(which, fresh);
	mutex_unlock(&maps_mutex);
	return ret;
}

void softonu_show_map(enum softonu_map which, struct seq_file *out)
{
	const struct map_state *state;

	mutex_lock(&maps_mutex);
	state = current_state(which);
	if (state->mapping.mode == SOFTONU_MAPPING_NONE)
		seq_puts(out, "none\n");
	else if (state->mapping.mode == SOFTONU_MAPPING_RESULT)
		seq_printf(out, "result %d\n", state->mapping.result);
	else
		seq_puts(out, "table\n");
	softonu_rules_show(&state->rules, which, out);
	mutex_unlock(&maps_mutex);
}

static int init_map(enum softonu_map which, int value)
{
	struct map_state *state = kzalloc(sizeof(*state), GFP_KERNEL);

	if (!state)
		return -ENOMEM;
	state->mapping.mode = SOFTONU_MAPPING_TABLE;
	if (value >= 0)
		softonu_rules_add_any(&state->rules, value);
	mutex_lock(&maps_mutex);
	publish(which, state);
	mutex_unlock(&maps_mutex);
	return 0;
}

int softonu_maps_init(int first_gem)
{
	int ret = init_map(SOFTONU_MAP_GEM, first_gem);

	if (!ret)
		ret = init_map(SOFTONU_MAP_QUEUE, 0);
	if (ret)
		softonu_maps_exit();
	return ret;
}

/* No caller of the functions is left. */
void softonu_maps_exit(void)
{
	unsigned int i;

	for (i = 0; i < SOFTONU_MAPS; i++) {
		kfree(rcu_dereference_protected(maps[i].state, true));
		RCU_INIT_POINTER(maps[i].state, NULL);
	}
}

void softonu_set_report(bool on)
{
	WRITE_ONCE(report, on);
}

bool softonu_report(void)
{
	return READ_ONCE(report);
}

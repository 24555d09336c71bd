// SPDX-License-Identifier: GPL-2.0-only
/*
 * The counters: a record for each CPU. Each count is one operation that neither a softirq nor another
 * task on the CPU can interrupt, with PREEMPT_RT too: no count is lost in any context. A task that
 * moves to another CPU between two counts writes the second one there.
 */
#include <linux/cpumask.h>
#include <linux/errno.h>
#include <linux/jiffies.h>
#include <linux/percpu.h>

#include "glue.h"

static struct gpon_cpu_counters __percpu *counters;
/* Those of counters: their address is read once a frame. */
static struct gpon_place_use __percpu *places;

/* Not traced: the cost is a large part of what a counted frame costs. */
notrace void gpon_os_count_use(unsigned long place)
{
	struct gpon_place_use __percpu *use = places + place;

	this_cpu_inc(use->hits);
	this_cpu_write(use->last, jiffies);
}

void gpon_os_count_many(enum gpon_counter counter, unsigned long amount)
{
	this_cpu_add(counters->count[counter], amount);
}

const struct gpon_cpu_counters *gpon_os_next_cpu_counters(int *cpu)
{
	*cpu = cpumask_next(*cpu, cpu_possible_mask);
	return *cpu < (int)nr_cpu_ids ? per_cpu_ptr(counters, *cpu) : NULL;
}

int gpon_glue_make_counters(void)
{
	counters = alloc_percpu(struct gpon_cpu_counters);
	if (!counters)
		return -ENOMEM;
	places = counters->place;
	return 0;
}

void gpon_glue_drop_counters(void)
{
	free_percpu(counters);
	counters = NULL;
}

/* SPDX-License-Identifier: GPL-2.0-only */
/* Start and end of the rule table, and its aging. A platform calls the end as well: module_entry.h
 * declares gpon_hash_exit. */
#ifndef GPON_HASH_AGING_H
#define GPON_HASH_AGING_H

#include "../platform/api/module_entry.h"
#include "rule_table.h"

/* Period of the sweep in jiffies; a tick count that does not scale with HZ. */
constexpr unsigned long GPON_HASH_AGING_PERIOD = 30000;

extern "C" {

/* Process context, at module load: allocates 64 buckets and arms the timer. Without memory it
 * returns -1 and does not arm the timer. The module loads all the same: without buckets no rule is
 * stored, and every frame is walked. */
i32 gpon_hash_init(void);

/* Sweeps once and arms the timer again. Softirq. */
void gpon_hash_aging_timer_func(timer_list* timer);

/* Deletes every rule that was not used since the last sweep and clears the mark of the others. */
void gpon_hash_delete_aging_node(void) GPON_REQUIRES(gpon_hash_lock);
}

#endif

// SPDX-License-Identifier: GPL-2.0-only
/*
 * RCU: read sections of the packet path, deferred frees of the command path.
 *
 * With PREEMPT_RT a read section can be preempted and may wait for a sleeping spinlock; a grace
 * period waits for it all the same. Callbacks run in softirq threads and only free memory.
 */
#include <linux/build_bug.h>
#include <linux/lockdep.h>
#include <linux/rcupdate.h>

#include "glue.h"

/* The core embeds a head that it declares itself in the records that it frees later. */
static_assert(sizeof(struct rcu_head) == 2 * sizeof(void *));
static_assert(offsetof(struct rcu_head, next) == 0);
static_assert(offsetof(struct rcu_head, func) == sizeof(void *));

void gpon_os_rcu_read_lock(void) __acquires(RCU)
{
	rcu_read_lock();
}

void gpon_os_rcu_read_unlock(void) __releases(RCU)
{
	rcu_read_unlock();
}

void gpon_os_call_rcu(struct rcu_head *head, void (*free_it)(struct rcu_head *))
{
	call_rcu(head, free_it);
}

void gpon_os_rcu_barrier(void)
{
	rcu_barrier();
}

void gpon_os_check_list_access(void)
{
#ifdef CONFIG_PROVE_RCU
	RCU_LOCKDEP_WARN(!rcu_read_lock_held() &&
				 !lockdep_is_held(&gpon_os_gpon_flow_control_mutex),
			 "gpon_flow: instance list used without read section or control mutex");
#endif
}

void gpon_os_check_list_change(void)
{
	lockdep_assert_held(&gpon_os_gpon_flow_control_mutex);
}

void gpon_glue_wait_for_rcu(void)
{
	synchronize_rcu();
	/* The code of a callback is in this module. */
	rcu_barrier();
}

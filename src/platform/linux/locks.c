// SPDX-License-Identifier: GPL-2.0-only
/* The two locks of the module. Each has its own lock class and name, so that a report of the lock
 * checker names the right one. */
#include <linux/lockdep.h>
#include <linux/mutex.h>
#include <linux/spinlock.h>

#include "glue.h"

DEFINE_SPINLOCK(gpon_os_gpon_hash_lock);
DEFINE_MUTEX(gpon_os_gpon_flow_control_mutex);

static struct lock_class_key gpon_hash_lock_class;

void gpon_os_spin_lock_init(struct spinlock *lock)
{
	spin_lock_init(lock);
	lockdep_set_class_and_name(lock, &gpon_hash_lock_class, "gpon_hash_lock");
}

void gpon_os_spin_lock_bh(struct spinlock *lock) __acquires(lock)
{
	spin_lock_bh(lock);
}

void gpon_os_spin_unlock_bh(struct spinlock *lock) __releases(lock)
{
	spin_unlock_bh(lock);
}

void gpon_os_mutex_lock(struct mutex *lock)
{
	mutex_lock(lock);
}

void gpon_os_mutex_unlock(struct mutex *lock)
{
	mutex_unlock(lock);
}

// SPDX-License-Identifier: GPL-2.0-only
/*
 * The two locks of the core. Each has its own lock class and name, so that a report of the lock
 * checker names the right one. The lock of the netlink events (netlink_events.c) is the third one of
 * the module. The three are taken in this order:
 *
 *     gpon_flow_control_mutex    commands, dumps of instances
 *       gpon_hash_lock           rules; a command takes it for its flush, a frame without the mutex
 *         event_lock             number and sending of an event; then only locks of the kernel
 *
 * With PREEMPT_RT a spinlock sleeps, and bottom halves are threads that can be preempted. All three
 * locks hold there, because no caller is in a context that must not sleep: packets come from softirqs
 * and from process context with bottom halves disabled, never from a hard interrupt, and neither the
 * module nor the platform takes a raw spinlock or disables interrupts or preemption around a call.
 * netconsole over a port would disable interrupts; the ports refuse it.
 * The timer's callback runs in a softirq thread. Code under the rule table's lock may be preempted
 * there, but is not moved to another processor. Data of the lock is touched only under it, except
 * for the generation and the remembered outcomes: their readers never wait for a writer, so a
 * preempted writer does not stop them. Bottom halves stay disabled under the lock, so that a softirq
 * does not wait for the task that it interrupted. The control mutex is taken in process context
 * only.
 */
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

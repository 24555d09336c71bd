// SPDX-License-Identifier: GPL-2.0-only
/* Compiled for size: its speed matters little. */
/*
 * The events of the netlink family, for the listeners of its multicast group.
 *
 * Events are sent from where they happen, also under the lock of the rule table, and never wait: a
 * listener whose buffer is full loses them and reads ENOBUFS. The number in each event shows the gap.
 * Without a listener an event costs one test.
 *
 * The kernel counts a socket of any network namespace as a listener, and a user without rights can
 * have such a socket in a namespace of his own. So an event that reaches nobody begins a quiet time:
 * until its end, events are only counted. Then listeners of this namespace, for example one whose
 * buffer was full, read ENOBUFS if they missed an event.
 *
 * Numbers are sent in their order, so event_lock is held from the number to the end of the sending.
 * It is the innermost lock of the module (locks.c).
 *
 * With PREEMPT_RT the lock sleeps, and who holds it can be preempted. Disabled bottom halves are a read
 * section of RCU there too, so synchronize_rcu() waits for a sender that is preempted. The timer's
 * callback runs in a softirq thread.
 */
#include <linux/jiffies.h>
#include <linux/spinlock.h>
#include <linux/timer.h>

#include "../api/observe.h"
#include "compat.h"
#include "glue.h"
#include "netlink_glue.h"
#include "netlink_records.h"

#ifdef GPON_GROUP_NEEDS_ADMIN

#define QUIET_TIME (HZ / 10)

static DEFINE_SPINLOCK(event_lock);
static bool open_to_listeners;

/* Under event_lock. quiet is also read without it, for a first test. */
static u32 event_number;
static bool quiet;
static bool missed;

static void end_quiet(struct timer_list *timer);
static DEFINE_TIMER(quiet_timer, end_quiet);

static void report_loss(void)
{
	genl_set_err(&gpon_glue_family, &init_net, 0, 0, -ENOBUFS);
}

static void begin_quiet(void)
{
	WRITE_ONCE(quiet, true);
	missed = false;
	mod_timer(&quiet_timer, jiffies + QUIET_TIME);
}

static void end_quiet(struct timer_list *timer)
{
	spin_lock_bh(&event_lock);
	if (quiet && missed)
		report_loss();
	WRITE_ONCE(quiet, false);
	spin_unlock_bh(&event_lock);
}

void gpon_glue_open_events(void)
{
	WRITE_ONCE(open_to_listeners, true);
}

/*
 * Frames and commands are still handled. None sends an event or begins a quiet time afterwards,
 * because send_numbered() tests the switch with bottom halves disabled. Listeners that missed an event
 * in a quiet time read ENOBUFS now, while the family has its group.
 */
void gpon_glue_close_events(void)
{
	WRITE_ONCE(open_to_listeners, false);
	synchronize_rcu();
	gpon_timer_delete_sync(&quiet_timer);
	end_quiet(&quiet_timer);
}

u32 gpon_glue_last_event(void)
{
	u32 number;

	spin_lock_bh(&event_lock);
	number = event_number;
	spin_unlock_bh(&event_lock);
	return number;
}

int gpon_os_wants_events(void)
{
	return READ_ONCE(open_to_listeners) && genl_has_listeners(&gpon_glue_family, &init_net, 0);
}

/* Takes the next number, also for an event that is not sent. */
static u32 next_number(void)
{
	return ++event_number;
}

int gpon_os_misses_event(void)
{
	bool misses;

	if (!READ_ONCE(quiet))
		return 0;
	spin_lock_bh(&event_lock);
	misses = quiet;
	if (misses) {
		next_number();
		missed = true;
	}
	spin_unlock_bh(&event_lock);
	return misses;
}

struct numbered_event {
	const struct gpon_event *event;
	u32 number;
};

static int put_event(struct sk_buff *msg, const void *record)
{
	const struct numbered_event *numbered = record;
	const struct gpon_event *event = numbered->event;

	switch (event->kind) {
	case GPON_EVENT_RULE_LEARNT:
	case GPON_EVENT_RULE_RELEARNT:
		return gpon_glue_put_rule(msg, &event->rule) ||
		       gpon_glue_put_u32(msg, GPON_FLOW_NL_RULE_EVENT, numbered->number);
	case GPON_EVENT_RULE_GONE:
		return gpon_glue_put_rule(msg, &event->rule) ||
		       gpon_glue_put_u32(msg, GPON_FLOW_NL_RULE_END, event->cause) ||
		       gpon_glue_put_u32(msg, GPON_FLOW_NL_RULE_EVENT, numbered->number);
	case GPON_EVENT_INSTANCE_CHANGED:
		return gpon_glue_put_u16(msg, GPON_FLOW_NL_INSTANCE_CLASS, event->class_id) ||
		       gpon_glue_put_u16(msg, GPON_FLOW_NL_INSTANCE_ID, event->inst_id) ||
		       gpon_glue_put_u32(msg, GPON_FLOW_NL_INSTANCE_CHANGE, event->cause) ||
		       gpon_glue_put_u32(msg, GPON_FLOW_NL_INSTANCE_EVENT, numbered->number);
	case GPON_EVENT_TABLE_GROWN:
		return gpon_glue_put_u32(msg, GPON_FLOW_NL_STATE_BUCKETS, event->buckets) ||
		       gpon_glue_put_u32(msg, GPON_FLOW_NL_STATE_EVENT, numbered->number);
	}
	return -EINVAL;
}

static void send_numbered(u8 command, const struct numbered_event *numbered)
{
	struct sk_buff *msg;

	if (!READ_ONCE(open_to_listeners))
		return;
	if (quiet) {
		missed = true;
		return;
	}
	msg = gpon_glue_new_message(0, 0, command, put_event, numbered);
	if (!msg)
		report_loss();
	else if (genlmsg_multicast(&gpon_glue_family, msg, 0, 0, GFP_ATOMIC) == -ESRCH)
		begin_quiet();
}

void gpon_os_send_event(const struct gpon_event *event)
{
	static const u8 commands[] = {
		[GPON_EVENT_RULE_LEARNT] = GPON_FLOW_NL_CMD_RULE_LEARNT,
		[GPON_EVENT_RULE_RELEARNT] = GPON_FLOW_NL_CMD_RULE_RELEARNT,
		[GPON_EVENT_RULE_GONE] = GPON_FLOW_NL_CMD_RULE_GONE,
		[GPON_EVENT_INSTANCE_CHANGED] = GPON_FLOW_NL_CMD_INSTANCE_CHANGED,
		[GPON_EVENT_TABLE_GROWN] = GPON_FLOW_NL_CMD_TABLE_GROWN,
	};
	struct numbered_event numbered = { .event = event };

	spin_lock_bh(&event_lock);
	numbered.number = next_number();
	send_numbered(commands[event->kind], &numbered);
	spin_unlock_bh(&event_lock);
}

#else

void gpon_glue_open_events(void)
{
}

void gpon_glue_close_events(void)
{
}

u32 gpon_glue_last_event(void)
{
	return 0;
}

int gpon_os_wants_events(void)
{
	return 0;
}

int gpon_os_misses_event(void)
{
	return 0;
}

void gpon_os_send_event(const struct gpon_event *event)
{
}

#endif

// SPDX-License-Identifier: GPL-2.0-only
/* Compiled for size: its speed matters little. */
/* Jiffies and the timer. A flag records whether the timer is set up: a failed load leaves it
 * running, and stopping a timer that was never set up is an error. */
#include <linux/jiffies.h>
#include <linux/timer.h>

#include "compat.h"
#include "glue.h"

struct timer_list gpon_os_gpon_hash_timer;

static bool timer_is_set_up;

unsigned long gpon_os_get_jiffies_64(void)
{
	return (unsigned long)get_jiffies_64();
}

void gpon_os_timer_setup(struct timer_list *timer, void (*expired)(struct timer_list *),
			 unsigned int flags)
{
	timer_setup(timer, expired, flags);
	timer_is_set_up = true;
}

int gpon_os_mod_timer(struct timer_list *timer, unsigned long expires)
{
	return mod_timer(timer, expires);
}

int gpon_os_del_timer_sync(struct timer_list *timer)
{
	return timer_is_set_up ? gpon_timer_delete_sync(timer) : 0;
}

void gpon_glue_drop_timer(void)
{
	gpon_os_del_timer_sync(&gpon_os_gpon_hash_timer);
}

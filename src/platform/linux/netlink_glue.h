/* SPDX-License-Identifier: GPL-2.0-only */
/* What the two halves of the netlink family share: requests (netlink.c), events (netlink_events.c). */
#ifndef GPON_LINUX_NETLINK_GLUE_H
#define GPON_LINUX_NETLINK_GLUE_H

#include <net/genetlink.h>

#include "../api/netlink.h"

extern struct genl_family gpon_glue_family;

/* Writes the attributes of a record; returns 0, or not 0 if they do not fit. */
typedef int (*gpon_fill_message)(struct sk_buff *msg, const void *record);

/* Ends a message, or removes it if it failed. Returns 0 or -EMSGSIZE. */
int gpon_glue_end_message(struct sk_buff *msg, void *header, int failed);

/* The message of one record for a port; null without memory. Any context but a hard interrupt. */
struct sk_buff *gpon_glue_new_message(u32 port, u32 sequence, u8 command, gpon_fill_message fill,
				      const void *record);

/* Events are sent from open to close, while the family is registered. Process context. */
void gpon_glue_open_events(void);
void gpon_glue_close_events(void);

/*
 * The number of the last event. Waits while an event is sent, so the sockets of all listeners already
 * have the events up to this number, or lost them. Any context but a hard interrupt; takes event_lock.
 */
u32 gpon_glue_last_event(void);

#endif

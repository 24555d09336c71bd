/* SPDX-License-Identifier: GPL-2.0-only */
/* The records that the netlink family sends, as attributes. */
#ifndef GPON_LINUX_NETLINK_RECORDS_H
#define GPON_LINUX_NETLINK_RECORDS_H

#include <linux/skbuff.h>
#include <linux/types.h>

#include "../api/observe.h"

struct gpon_counter_value {
	const struct gpon_counter_text *text;
	u64 value;
};

struct gpon_numbered_state {
	struct gpon_seen_state state;
	u32 event; /* number of the last event before the state was read */
};

/*
 * Write the attributes of a record: gpon_counter_value, gpon_seen_rule, gpon_seen_instance,
 * gpon_numbered_state. Return 0, or not 0 if they do not fit.
 */
int gpon_glue_put_counter(struct sk_buff *msg, const void *record);
int gpon_glue_put_rule(struct sk_buff *msg, const void *record);
int gpon_glue_put_instance(struct sk_buff *msg, const void *record);
int gpon_glue_put_state(struct sk_buff *msg, const void *record);

/* Write one attribute, with the same results. */
int gpon_glue_put_u32(struct sk_buff *msg, int attribute, u32 value);
int gpon_glue_put_u16(struct sk_buff *msg, int attribute, u16 value);

#endif

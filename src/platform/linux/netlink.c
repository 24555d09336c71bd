// SPDX-License-Identifier: GPL-2.0-only
/* Compiled for size: its speed matters little. */
/*
 * The generic netlink family (uapi/gpon_flow_netlink.h) and its requests. netlink_events.c sends the
 * events, netlink_records.c writes the attributes of both.
 *
 * A dump copies a few records at a time out of the core and then fills messages without a lock, so
 * a slow reader stops nobody. The position of a dump is in the callback's args. While a dump is
 * open, the kernel keeps the module loaded.
 *
 * Requests need CAP_NET_ADMIN in the initial user namespace, because rules contain the addresses of
 * subscribers; the proc entry is for root only, too. A kernel that cannot restrict a multicast group
 * gets none.
 */
#include <linux/slab.h>
#include <net/genetlink.h>

#include "../api/netlink.h"
#include "../api/observe.h"
#include "compat.h"
#include "glue.h"
#include "netlink_glue.h"
#include "netlink_records.h"

int gpon_glue_end_message(struct sk_buff *msg, void *header, int failed)
{
	if (failed) {
		genlmsg_cancel(msg, header);
		return -EMSGSIZE;
	}
	genlmsg_end(msg, header);
	return 0;
}

/*
 * Each copy out of the core has its revision, also one without a record: the kernel marks the next
 * message of the dump, or its end, if it differs from that of the message before. A dump is
 * compared with its first copy until it has a message.
 */
static void set_revision(struct netlink_callback *cb, u64 revision)
{
	/* 0 stands for "no dump before" in the kernel's check. */
	cb->seq = (u32)revision ? (u32)revision : 1;
	if (!cb->prev_seq)
		cb->prev_seq = cb->seq;
}

/* Adds one record to the buffer of a dump. A record that does not fit is sent in the next buffer. */
static int dump_record(struct sk_buff *msg, struct netlink_callback *cb, u8 command,
		       gpon_fill_message fill, const void *record)
{
	void *header = genlmsg_put(msg, NETLINK_CB(cb->skb).portid, cb->nlh->nlmsg_seq,
				   &gpon_glue_family, NLM_F_MULTI, command);
	int failed;

	if (!header)
		return -EMSGSIZE;
	failed = fill(msg, record);
	/* The check marks a change once. A message that does not fit would take the mark with it. */
	if (!failed && cb->seq)
		genl_dump_check_consistent(cb, header);
	return gpon_glue_end_message(msg, header, failed);
}

/*
 * Bytes of the largest single message, a rule with four tags and ten steps: about 400. Much more would
 * be copied to a smaller block for each listener.
 */
#define MESSAGE_BYTES 512

/* The message of one record; null without memory. */
struct sk_buff *gpon_glue_new_message(u32 port, u32 sequence, u8 command, gpon_fill_message fill,
				      const void *record)
{
	struct sk_buff *msg = genlmsg_new(MESSAGE_BYTES, GFP_ATOMIC);
	void *header;

	if (!msg)
		return NULL;
	header = genlmsg_put(msg, port, sequence, &gpon_glue_family, 0, command);
	if (header && !gpon_glue_end_message(msg, header, fill(msg, record)))
		return msg;
	nlmsg_free(msg);
	return NULL;
}

/* What a dump has copied is in a block of its own. */
static void *start_dump(struct netlink_callback *cb, size_t bytes)
{
	void *block = kzalloc(bytes, GFP_KERNEL);

	cb->args[0] = (long)block;
	return block;
}

static int end_dump(struct netlink_callback *cb)
{
	kfree((const void *)cb->args[0]);
	return 0;
}

/* Read once for the whole dump: a later message must not have later counts. */
struct counter_batch {
	unsigned int sent;
	u64 value[GPON_COUNTERS];
};

static int start_counters(struct netlink_callback *cb)
{
	struct counter_batch *batch = start_dump(cb, sizeof(*batch));

	if (!batch)
		return -ENOMEM;
	gpon_counters_read(batch->value);
	return 0;
}

static int dump_counters(struct sk_buff *msg, struct netlink_callback *cb)
{
	struct counter_batch *batch = (struct counter_batch *)cb->args[0];

	for (; batch->sent < GPON_COUNTERS; batch->sent++) {
		struct gpon_counter_value counter = { &gpon_counter_texts[batch->sent],
						      batch->value[batch->sent] };

		if (dump_record(msg, cb, GPON_FLOW_NL_CMD_GET_COUNTERS, gpon_glue_put_counter, &counter))
			break;
	}
	return msg->len;
}

/*
 * The rules that a dump has copied and not yet sent. A rule that does not fit into a buffer is sent
 * in the next one, with the contents that it had when it was copied.
 */
struct rule_batch {
	unsigned int bucket; /* position in the table */
	unsigned int count;
	unsigned int sent;
	struct gpon_seen_rule rule[16];
};

static int start_rules(struct netlink_callback *cb)
{
	return start_dump(cb, sizeof(struct rule_batch)) ? 0 : -ENOMEM;
}

static int dump_rules(struct sk_buff *msg, struct netlink_callback *cb)
{
	struct rule_batch *batch = (struct rule_batch *)cb->args[0];
	u64 revision;

	for (;;) {
		for (; batch->sent < batch->count; batch->sent++)
			if (dump_record(msg, cb, GPON_FLOW_NL_CMD_GET_RULES, gpon_glue_put_rule,
					&batch->rule[batch->sent]))
				return msg->len;
		if (batch->bucket == GPON_SEEN_ALL)
			return msg->len;
		batch->sent = 0;
		batch->count = gpon_observe_rules(&batch->bucket, batch->rule,
						  ARRAY_SIZE(batch->rule), &revision);
		set_revision(cb, revision);
	}
}

/* The instance that a dump has copied and not yet sent. */
struct instance_batch {
	unsigned int class_row; /* position in the store */
	unsigned int position;
	bool waits;
	struct gpon_seen_instance instance;
};

static int start_instances(struct netlink_callback *cb)
{
	return start_dump(cb, sizeof(struct instance_batch)) ? 0 : -ENOMEM;
}

static int dump_instances(struct sk_buff *msg, struct netlink_callback *cb)
{
	struct instance_batch *batch = (struct instance_batch *)cb->args[0];
	u64 revision;

	for (;; batch->waits = false) {
		if (!batch->waits) {
			batch->waits = gpon_observe_instance(&batch->class_row, &batch->position,
							     &batch->instance, &revision);
			set_revision(cb, revision);
		}
		if (!batch->waits || dump_record(msg, cb, GPON_FLOW_NL_CMD_GET_INSTANCES,
						 gpon_glue_put_instance, &batch->instance))
			return msg->len;
	}
}

/* The number first: the state has every event up to it, and perhaps later ones. */
static int get_state(struct sk_buff *request, struct genl_info *info)
{
	struct gpon_numbered_state seen = { .event = gpon_glue_last_event() };
	struct sk_buff *msg;

	gpon_observe_state(&seen.state);
	msg = gpon_glue_new_message(info->snd_portid, info->snd_seq, GPON_FLOW_NL_CMD_GET_STATE,
				    gpon_glue_put_state, &seen);
	return msg ? genlmsg_reply(msg, info) : -ENOMEM;
}

/* No request has an attribute: the kernel refuses any. */
static const struct nla_policy no_attributes[2];

#define DUMP(command, name) { \
		.cmd = GPON_FLOW_NL_CMD_GET_ ## command, \
		.flags = GENL_ADMIN_PERM, \
		.start = start_ ## name, \
		.dumpit = dump_ ## name, \
		.done = end_dump, \
	}

static const struct genl_ops operations[] = {
	{ .cmd = GPON_FLOW_NL_CMD_GET_STATE, .flags = GENL_ADMIN_PERM, .doit = get_state },
	DUMP(COUNTERS, counters),
	DUMP(RULES, rules),
	DUMP(INSTANCES, instances),
};

#ifdef GPON_GROUP_NEEDS_ADMIN
static const struct genl_multicast_group groups[] = {
	{ .name = GPON_FLOW_NL_EVENTS, .flags = GPON_GROUP_NEEDS_ADMIN },
};
#endif

struct genl_family gpon_glue_family = {
	.name = GPON_FLOW_NL_FAMILY,
	.version = GPON_FLOW_NL_VERSION,
	.maxattr = ARRAY_SIZE(no_attributes) - 1,
	.policy = no_attributes,
	.module = THIS_MODULE,
	.ops = operations,
	.n_ops = ARRAY_SIZE(operations),
	/*
	 * A dump waits for the control mutex, which a command holds while it prints or reads user
	 * memory. The mutex of all families is not held meanwhile.
	 */
	.parallel_ops = true,
#ifdef GPON_GROUP_NEEDS_ADMIN
	.mcgrps = groups,
	.n_mcgrps = ARRAY_SIZE(groups),
#endif
};

static bool registered;

void gpon_glue_open_netlink(void)
{
	registered = !genl_register_family(&gpon_glue_family);
	if (registered)
		gpon_glue_open_events();
	else
		/* The module works without its readers. */
		pr_warn("gpon_flow: no netlink family, programs cannot read the state\n");
}

void gpon_glue_drop_netlink(void)
{
	if (!registered)
		return;
	/* First, so that no event has the id of a family that is gone. */
	gpon_glue_close_events();
	genl_unregister_family(&gpon_glue_family);
	registered = false;
}

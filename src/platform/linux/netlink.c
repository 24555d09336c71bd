// SPDX-License-Identifier: GPL-2.0-only
/*
 * The generic netlink family (uapi/gpon_flow_netlink.h): dumps for readers, events for listeners.
 *
 * A dump copies a few records at a time out of the core and then fills messages without a lock, so
 * a slow reader stops nobody. The position of a dump is in the callback's args. While a dump is
 * open, the kernel keeps the module loaded.
 *
 * Events are sent from where they happen, also under the lock of the rule table, and never wait: a
 * listener whose buffer is full loses them and gets ENOBUFS. The number in each event shows the gap.
 * Without a listener an event costs one test.
 *
 * Requests need CAP_NET_ADMIN in the initial user namespace, because rules contain the addresses of
 * subscribers; the proc entry is for root only, too. A kernel that cannot restrict a multicast group
 * gets none.
 */
#include <linux/atomic.h>
#include <linux/etherdevice.h>
#include <linux/jiffies.h>
#include <linux/slab.h>
#include <net/genetlink.h>

#include "../api/netlink.h"
#include "../api/observe.h"
#include "compat.h"
#include "glue.h"

static struct genl_family family;
static atomic_t event_number = ATOMIC_INIT(0);

/* Writes the attributes of a record; 0, or not 0 if they do not fit. */
typedef int (*fill_message)(struct sk_buff *msg, const void *record);

/* A field of a record whose bytes are the value of an attribute. */
struct field {
	u16 offset;
	u8 bytes;
	u8 attribute;
};

#define FIELD(type, member, number) \
	{ offsetof(struct type, member), sizeof_field(struct type, member), number }
#define PUT_FIELDS(msg, record, fields) put_fields(msg, record, fields, ARRAY_SIZE(fields))

/* Before a 64-bit value, wherever one occurs. */
#define PAD 1
static_assert(GPON_FLOW_NL_STATE_PAD == PAD);
static_assert(GPON_FLOW_NL_COUNTER_PAD == PAD);
static_assert(GPON_FLOW_NL_RULE_PAD == PAD);

static int put_fields(struct sk_buff *msg, const void *record, const struct field *field,
		      unsigned int count)
{
	int ret = 0;

	for (; count && !ret; count--, field++)
		if (field->bytes == sizeof(u64))
			ret = nla_put_64bit(msg, field->attribute, field->bytes,
					    record + field->offset, PAD);
		else
			ret = nla_put(msg, field->attribute, field->bytes, record + field->offset);
	return ret;
}

static noinline int put_u32(struct sk_buff *msg, int attribute, u32 value)
{
	return nla_put(msg, attribute, sizeof(value), &value);
}

static noinline int put_u16(struct sk_buff *msg, int attribute, u16 value)
{
	return nla_put(msg, attribute, sizeof(value), &value);
}

/* The first two attributes of a nest. */
static int put_pair(struct sk_buff *msg, int nest_attribute, u16 first, u16 second)
{
	struct nlattr *nest = nla_nest_start(msg, nest_attribute);

	if (!nest || put_u16(msg, 1, first) || put_u16(msg, 2, second))
		return -EMSGSIZE;
	nla_nest_end(msg, nest);
	return 0;
}

static_assert(GPON_FLOW_NL_TAG_TPID == 1 && GPON_FLOW_NL_TAG_TCI == 2);
static_assert(GPON_FLOW_NL_STEP_CLASS == 1 && GPON_FLOW_NL_STEP_INSTANCE == 2);

static int end_message(struct sk_buff *msg, void *header, int failed)
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
 * message of the dump, or its end, if it differs from that of the copy before.
 */
static void set_revision(struct netlink_callback *cb, u64 revision)
{
	/* 0 stands for "no dump before" in the kernel's check. */
	cb->seq = (u32)revision ? (u32)revision : 1;
}

/* Adds one record to the buffer of a dump. A record that does not fit is sent in the next buffer. */
static int dump_record(struct sk_buff *msg, struct netlink_callback *cb, u8 command,
		       fill_message fill, const void *record)
{
	void *header = genlmsg_put(msg, NETLINK_CB(cb->skb).portid, cb->nlh->nlmsg_seq, &family,
				   NLM_F_MULTI, command);

	if (!header)
		return -EMSGSIZE;
	if (cb->seq)
		genl_dump_check_consistent(cb, header);
	return end_message(msg, header, fill(msg, record));
}

/*
 * Bytes of the largest single message, a rule with four tags and ten steps: about 400. Much more would
 * be copied to a smaller block for each listener.
 */
#define MESSAGE_BYTES 512

/* The message of one record; null without memory. */
static struct sk_buff *new_message(u32 port, u32 sequence, u8 command, fill_message fill,
				   const void *record)
{
	struct sk_buff *msg = genlmsg_new(MESSAGE_BYTES, GFP_ATOMIC);
	void *header;

	if (!msg)
		return NULL;
	header = genlmsg_put(msg, port, sequence, &family, 0, command);
	if (header && !end_message(msg, header, fill(msg, record)))
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

struct counter {
	const struct gpon_counter_text *text;
	u64 value;
};

static int put_counter(struct sk_buff *msg, const void *record)
{
	const struct counter *counter = record;

	return nla_put_string(msg, GPON_FLOW_NL_COUNTER_NAME, counter->text->name) ||
	       nla_put_string(msg, GPON_FLOW_NL_COUNTER_MEANING, counter->text->meaning) ||
	       nla_put_64bit(msg, GPON_FLOW_NL_COUNTER_VALUE, sizeof(u64), &counter->value, PAD);
}

/* One snapshot for the whole dump, so that its sums hold. */
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
		struct counter counter = { &gpon_counter_texts[batch->sent],
					   batch->value[batch->sent] };

		if (dump_record(msg, cb, GPON_FLOW_NL_CMD_GET_COUNTERS, put_counter, &counter))
			break;
	}
	return msg->len;
}

static int put_rule(struct sk_buff *msg, const void *record)
{
	static const struct field fields[] = {
		FIELD(gpon_seen_rule, dst_mac, GPON_FLOW_NL_RULE_DST_MAC),
		FIELD(gpon_seen_rule, src_mac, GPON_FLOW_NL_RULE_SRC_MAC),
		FIELD(gpon_seen_rule, direction, GPON_FLOW_NL_RULE_DIRECTION),
		FIELD(gpon_seen_rule, used, GPON_FLOW_NL_RULE_USED),
		FIELD(gpon_seen_rule, hits, GPON_FLOW_NL_RULE_HITS),
	};
	const struct gpon_seen_rule *rule = record;
	u64 idle = jiffies_to_msecs(rule->idle);
	unsigned int i;

	if (PUT_FIELDS(msg, rule, fields) ||
	    nla_put_64bit(msg, GPON_FLOW_NL_RULE_IDLE_MS, sizeof(idle), &idle, PAD))
		return -EMSGSIZE;
	if (rule->remembered && put_u16(msg, GPON_FLOW_NL_RULE_GEM_PORT, rule->gemport_id))
		return -EMSGSIZE;
	for (i = 0; i < rule->tags; i++)
		if (put_pair(msg, GPON_FLOW_NL_RULE_TAG, rule->tpid[i], rule->tci[i]))
			return -EMSGSIZE;
	for (i = 0; i < rule->steps; i++)
		if (put_pair(msg, GPON_FLOW_NL_RULE_STEP, rule->class_id[i], rule->inst_id[i]))
			return -EMSGSIZE;
	return 0;
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
			if (dump_record(msg, cb, GPON_FLOW_NL_CMD_GET_RULES, put_rule,
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

static int put_links(struct sk_buff *msg, u16 class_id, const unsigned short *ids,
		     unsigned int count)
{
	struct nlattr *nest = nla_nest_start(msg, GPON_FLOW_NL_INSTANCE_LINKS);

	if (!nest || put_u16(msg, GPON_FLOW_NL_LINKS_CLASS, class_id) ||
	    nla_put(msg, GPON_FLOW_NL_LINKS_IDS, count * sizeof(*ids), ids))
		return -EMSGSIZE;
	nla_nest_end(msg, nest);
	return 0;
}

static int put_instance(struct sk_buff *msg, const void *record)
{
	static const struct field fields[] = {
		FIELD(gpon_seen_instance, class_id, GPON_FLOW_NL_INSTANCE_CLASS),
		FIELD(gpon_seen_instance, inst_id, GPON_FLOW_NL_INSTANCE_ID),
	};
	const struct gpon_seen_instance *instance = record;
	const unsigned short *ids = instance->id;
	unsigned int i;

	if (PUT_FIELDS(msg, instance, fields) ||
	    nla_put_string(msg, GPON_FLOW_NL_INSTANCE_CLASS_NAME, instance->class_name) ||
	    nla_put(msg, GPON_FLOW_NL_INSTANCE_RAW, instance->raw_bytes, instance->raw))
		return -EMSGSIZE;
	for (i = 0; i < instance->rows; ids += instance->row_ids[i++])
		if (put_links(msg, instance->row_class[i], ids, instance->row_ids[i]))
			return -EMSGSIZE;
	return 0;
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
						 put_instance, &batch->instance))
			return msg->len;
	}
}

static int put_state(struct sk_buff *msg, const void *record)
{
	static const struct field fields[] = {
		FIELD(gpon_seen_state, revision, GPON_FLOW_NL_STATE_REVISION),
		FIELD(gpon_seen_state, engine, GPON_FLOW_NL_STATE_ENGINE),
		FIELD(gpon_seen_state, log_level, GPON_FLOW_NL_STATE_LOG_LEVEL),
		FIELD(gpon_seen_state, trace_mask, GPON_FLOW_NL_STATE_TRACE_MASK),
		FIELD(gpon_seen_state, rules, GPON_FLOW_NL_STATE_RULES),
		FIELD(gpon_seen_state, buckets, GPON_FLOW_NL_STATE_BUCKETS),
		FIELD(gpon_seen_state, threshold, GPON_FLOW_NL_STATE_THRESHOLD),
	};

	return PUT_FIELDS(msg, record, fields) ||
	       put_u32(msg, GPON_FLOW_NL_STATE_EVENT, atomic_read(&event_number));
}

static int get_state(struct sk_buff *request, struct genl_info *info)
{
	struct gpon_seen_state state;
	struct sk_buff *msg;

	gpon_observe_state(&state);
	msg = new_message(info->snd_portid, info->snd_seq, GPON_FLOW_NL_CMD_GET_STATE, put_state,
			  &state);
	return msg ? genlmsg_reply(msg, info) : -ENOMEM;
}

/* No request has an attribute: the kernel refuses any. */
static const struct nla_policy no_attributes[2];

#define DUMP(what, name) { \
		.cmd = GPON_FLOW_NL_CMD_GET_ ## what, \
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

static struct genl_family family = {
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

static bool open_to_readers;

void gpon_glue_open_netlink(void)
{
	/* The module works without its readers. */
	WRITE_ONCE(open_to_readers, !genl_register_family(&family));
	if (!open_to_readers)
		pr_warn("gpon_flow: no netlink family, programs cannot read the state\n");
}

void gpon_glue_drop_netlink(void)
{
	if (!open_to_readers)
		return;
	/*
	 * Frames and commands are still handled. None sends an event with the id of a family that is gone,
	 * because send_numbered() tests this with bottom halves disabled.
	 */
	WRITE_ONCE(open_to_readers, false);
	synchronize_rcu();
	genl_unregister_family(&family);
}

#ifdef GPON_GROUP_NEEDS_ADMIN

int gpon_os_wants_events(void)
{
	return READ_ONCE(open_to_readers) && genl_has_listeners(&family, &init_net, 0);
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
		return put_rule(msg, &event->rule) ||
		       put_u32(msg, GPON_FLOW_NL_RULE_EVENT, numbered->number);
	case GPON_EVENT_RULE_GONE:
		return put_rule(msg, &event->rule) ||
		       put_u32(msg, GPON_FLOW_NL_RULE_END, event->cause) ||
		       put_u32(msg, GPON_FLOW_NL_RULE_EVENT, numbered->number);
	case GPON_EVENT_INSTANCE_CHANGED:
		return put_u16(msg, GPON_FLOW_NL_INSTANCE_CLASS, event->class_id) ||
		       put_u16(msg, GPON_FLOW_NL_INSTANCE_ID, event->inst_id) ||
		       put_u32(msg, GPON_FLOW_NL_INSTANCE_CHANGE, event->cause) ||
		       put_u32(msg, GPON_FLOW_NL_INSTANCE_EVENT, numbered->number);
	case GPON_EVENT_TABLE_GROWN:
		return put_u32(msg, GPON_FLOW_NL_STATE_BUCKETS, event->buckets) ||
		       put_u32(msg, GPON_FLOW_NL_STATE_EVENT, numbered->number);
	}
	return -EINVAL;
}

/* Numbers are sent in their order: rules change under the table's lock, instances do not. */
static DEFINE_SPINLOCK(event_lock);
/*
 * Jiffies until which no message is made: a socket of another network namespace counts as a listener
 * and gets nothing. A listener of this namespace, for example one whose buffer was full, reads ENOBUFS
 * for the events that it misses.
 */
static unsigned long quiet_until;

static void send_numbered(u8 command, const struct numbered_event *numbered)
{
	struct sk_buff *msg;

	if (!READ_ONCE(open_to_readers))
		return;
	if (quiet_until && time_before(jiffies, quiet_until)) {
		genl_set_err(&family, &init_net, 0, 0, -ENOBUFS);
		return;
	}
	msg = new_message(0, 0, command, put_event, numbered);
	if (!msg)
		return;
	quiet_until = 0;
	if (genlmsg_multicast(&family, msg, 0, 0, GFP_ATOMIC) == -ESRCH)
		quiet_until = (jiffies + HZ / 10) | 1;
}

/* The number counts events that could not be sent, too. */
void gpon_os_send_event(const struct gpon_event *event)
{
	static const u8 commands[] = {
		[GPON_EVENT_RULE_LEARNT] = GPON_FLOW_NL_CMD_RULE_LEARNT,
		[GPON_EVENT_RULE_GONE] = GPON_FLOW_NL_CMD_RULE_GONE,
		[GPON_EVENT_INSTANCE_CHANGED] = GPON_FLOW_NL_CMD_INSTANCE_CHANGED,
		[GPON_EVENT_TABLE_GROWN] = GPON_FLOW_NL_CMD_TABLE_GROWN,
	};
	struct numbered_event numbered = { .event = event };

	spin_lock_bh(&event_lock);
	numbered.number = atomic_inc_return(&event_number);
	send_numbered(commands[event->kind], &numbered);
	spin_unlock_bh(&event_lock);
}

#else

int gpon_os_wants_events(void)
{
	return 0;
}

void gpon_os_send_event(const struct gpon_event *event)
{
}

#endif

// SPDX-License-Identifier: GPL-2.0-only
/* Compiled for size: its speed matters little. */
/*
 * The attributes of the netlink family's records (uapi/gpon_flow_netlink.h). Each function writes a
 * record of the core into a message; the messages are those of netlink.c and netlink_events.c.
 */
#include <linux/jiffies.h>
#include <net/genetlink.h>

#include "../api/netlink.h"
#include "netlink_records.h"

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

int gpon_glue_put_u32(struct sk_buff *msg, int attribute, u32 value)
{
	return nla_put(msg, attribute, sizeof(value), &value);
}

int gpon_glue_put_u16(struct sk_buff *msg, int attribute, u16 value)
{
	return nla_put(msg, attribute, sizeof(value), &value);
}

/* The first two attributes of a nest. */
static int put_pair(struct sk_buff *msg, int nest_attribute, u16 first, u16 second)
{
	struct nlattr *nest = nla_nest_start(msg, nest_attribute);

	if (!nest || gpon_glue_put_u16(msg, 1, first) || gpon_glue_put_u16(msg, 2, second))
		return -EMSGSIZE;
	nla_nest_end(msg, nest);
	return 0;
}

static_assert(GPON_FLOW_NL_TAG_TPID == 1 && GPON_FLOW_NL_TAG_TCI == 2);
static_assert(GPON_FLOW_NL_STEP_CLASS == 1 && GPON_FLOW_NL_STEP_INSTANCE == 2);

int gpon_glue_put_counter(struct sk_buff *msg, const void *record)
{
	const struct gpon_counter_value *counter = record;

	return nla_put_string(msg, GPON_FLOW_NL_COUNTER_NAME, counter->text->name) ||
	       nla_put_string(msg, GPON_FLOW_NL_COUNTER_MEANING, counter->text->meaning) ||
	       nla_put_64bit(msg, GPON_FLOW_NL_COUNTER_VALUE, sizeof(u64), &counter->value, PAD);
}

int gpon_glue_put_rule(struct sk_buff *msg, const void *record)
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
	if (rule->remembered && gpon_glue_put_u16(msg, GPON_FLOW_NL_RULE_GEM_PORT, rule->gemport_id))
		return -EMSGSIZE;
	for (i = 0; i < rule->tags; i++)
		if (put_pair(msg, GPON_FLOW_NL_RULE_TAG, rule->tpid[i], rule->tci[i]))
			return -EMSGSIZE;
	for (i = 0; i < rule->steps; i++)
		if (put_pair(msg, GPON_FLOW_NL_RULE_STEP, rule->class_id[i], rule->inst_id[i]))
			return -EMSGSIZE;
	return 0;
}

static int put_links(struct sk_buff *msg, u16 class_id, const unsigned short *ids,
		     unsigned int count)
{
	struct nlattr *nest = nla_nest_start(msg, GPON_FLOW_NL_INSTANCE_LINKS);

	if (!nest || gpon_glue_put_u16(msg, GPON_FLOW_NL_LINKS_CLASS, class_id) ||
	    nla_put(msg, GPON_FLOW_NL_LINKS_IDS, count * sizeof(*ids), ids))
		return -EMSGSIZE;
	nla_nest_end(msg, nest);
	return 0;
}

int gpon_glue_put_instance(struct sk_buff *msg, const void *record)
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

int gpon_glue_put_state(struct sk_buff *msg, const void *record)
{
	static const struct field fields[] = {
		FIELD(gpon_seen_state, revision, GPON_FLOW_NL_STATE_REVISION),
		FIELD(gpon_seen_state, engine, GPON_FLOW_NL_STATE_ENGINE),
		FIELD(gpon_seen_state, log_level, GPON_FLOW_NL_STATE_LOG_LEVEL),
		FIELD(gpon_seen_state, trace_mask, GPON_FLOW_NL_STATE_TRACE_MASK),
		FIELD(gpon_seen_state, rules, GPON_FLOW_NL_STATE_RULES),
		FIELD(gpon_seen_state, buckets, GPON_FLOW_NL_STATE_BUCKETS),
		FIELD(gpon_seen_state, threshold, GPON_FLOW_NL_STATE_THRESHOLD),
		FIELD(gpon_seen_state, store, GPON_FLOW_NL_STATE_STORE),
	};

	const struct gpon_numbered_state *numbered = record;

	return PUT_FIELDS(msg, &numbered->state, fields) ||
	       gpon_glue_put_u32(msg, GPON_FLOW_NL_STATE_EVENT, numbered->event);
}

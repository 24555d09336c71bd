/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The trace events gpon_flow:*, for tracefs, perf, trace-cmd and bpftrace. docs/observability.md
 * describes each field. tracepoints.c creates them; the core knows only ../api/tracepoint.h.
 *
 * Numbers of enumerations are stored as numbers; a reader of the event's format gets their names.
 */
#undef TRACE_SYSTEM
#define TRACE_SYSTEM gpon_flow

#if !defined(GPON_LINUX_GPON_FLOW_TRACE_H) || defined(TRACE_HEADER_MULTI_READ)
#define GPON_LINUX_GPON_FLOW_TRACE_H

#include <linux/if_ether.h>
#include <linux/tracepoint.h>

#include "../api/tracepoint.h"
#include "compat.h"

/* Called when the first reader of an event comes and when the last one goes. */
#define GPON_SWITCH(name) \
	int gpon_##name##_on(void); \
	void gpon_##name##_off(void)
GPON_SWITCH(walk_start);
GPON_SWITCH(walk_step);
GPON_SWITCH(walk_end);
GPON_SWITCH(replay_step);
GPON_SWITCH(rule_hit);
GPON_SWITCH(rule_learn);
GPON_SWITCH(drop);
GPON_SWITCH(command);
GPON_SWITCH(sweep);
#undef GPON_SWITCH

TRACE_DEFINE_ENUM(GPON_END_PASSED);
TRACE_DEFINE_ENUM(GPON_END_NO_PATH);
TRACE_DEFINE_ENUM(GPON_END_FILTERED);
TRACE_DEFINE_ENUM(GPON_END_STEP_FAILED);
TRACE_DEFINE_ENUM(GPON_END_TOO_DEEP);
TRACE_DEFINE_ENUM(GPON_END_NO_QUEUE);
TRACE_DEFINE_ENUM(GPON_END_NO_MAPPING);
TRACE_DEFINE_ENUM(GPON_END_UNREADABLE);
TRACE_DEFINE_ENUM(GPON_END_NO_PACKET);
TRACE_DEFINE_ENUM(GPON_END_UNKNOWN_KIND);
TRACE_DEFINE_ENUM(GPON_STEP_FAILED);
TRACE_DEFINE_ENUM(GPON_STEP_ENDS_BRANCH);
TRACE_DEFINE_ENUM(GPON_STEP_CONTINUES);
TRACE_DEFINE_ENUM(GPON_STEP_REACHES_EGRESS);
TRACE_DEFINE_ENUM(GPON_STEP_TOO_DEEP);
TRACE_DEFINE_ENUM(GPON_DECISION_NONE);
TRACE_DEFINE_ENUM(GPON_DECISION_FILTER_PASSES);
TRACE_DEFINE_ENUM(GPON_DECISION_FILTER_DROPS);
TRACE_DEFINE_ENUM(GPON_DECISION_FILTER_MISPLACED);
TRACE_DEFINE_ENUM(GPON_DECISION_MAPPER_SELECTS);
TRACE_DEFINE_ENUM(GPON_DECISION_MAPPER_REFUSES);
TRACE_DEFINE_ENUM(GPON_DECISION_OTHER_SIDE);
TRACE_DEFINE_ENUM(GPON_DECISION_UNREADABLE);
TRACE_DEFINE_ENUM(GPON_LEARN_ADDED);
TRACE_DEFINE_ENUM(GPON_LEARN_REPLACED);
TRACE_DEFINE_ENUM(GPON_LEARN_BUCKET_TAKEN);
TRACE_DEFINE_ENUM(GPON_LEARN_OUTDATED);
TRACE_DEFINE_ENUM(GPON_LEARN_NO_MEMORY);
TRACE_DEFINE_ENUM(GPON_LEARN_UNCHANGED);
TRACE_DEFINE_ENUM(GPON_COMMAND_ME);
TRACE_DEFINE_ENUM(GPON_COMMAND_CONFIG);
TRACE_DEFINE_ENUM(GPON_COMMAND_CLEAN);
TRACE_DEFINE_ENUM(GPON_COMMAND_DEVICE);
TRACE_DEFINE_ENUM(GPON_COMMAND_OPERATOR);
TRACE_DEFINE_ENUM(GPON_COMMAND_REFUSED);

#define GPON_SHOW_DIRECTION(value) \
	__print_symbolic(value, \
			 { 0, "none" }, \
			 { 1, "up_ani" }, \
			 { 2, "up_uni" }, \
			 { 4, "down_ani" }, \
			 { 8, "down_uni" })

#define GPON_SHOW_END(value) \
	__print_symbolic(value, \
			 { GPON_END_PASSED, "passed" }, \
			 { GPON_END_NO_PATH, "no_path" }, \
			 { GPON_END_FILTERED, "filtered" }, \
			 { GPON_END_STEP_FAILED, "step_failed" }, \
			 { GPON_END_TOO_DEEP, "too_deep" }, \
			 { GPON_END_NO_QUEUE, "no_queue" }, \
			 { GPON_END_NO_MAPPING, "no_mapping" }, \
			 { GPON_END_UNREADABLE, "unreadable" }, \
			 { GPON_END_NO_PACKET, "no_packet" }, \
			 { GPON_END_UNKNOWN_KIND, "unknown_kind" })

#define GPON_SHOW_STEP(value) \
	__print_symbolic(value, \
			 { GPON_STEP_FAILED, "failed" }, \
			 { GPON_STEP_ENDS_BRANCH, "ends_branch" }, \
			 { GPON_STEP_CONTINUES, "continues" }, \
			 { GPON_STEP_REACHES_EGRESS, "reaches_egress" }, \
			 { GPON_STEP_TOO_DEEP, "too_deep" })

#define GPON_SHOW_DECISION(value) \
	__print_symbolic(value, \
			 { GPON_DECISION_NONE, "none" }, \
			 { GPON_DECISION_FILTER_PASSES, "filter_passes" }, \
			 { GPON_DECISION_FILTER_DROPS, "filter_drops" }, \
			 { GPON_DECISION_FILTER_MISPLACED, "filter_misplaced" }, \
			 { GPON_DECISION_MAPPER_SELECTS, "mapper_selects" }, \
			 { GPON_DECISION_MAPPER_REFUSES, "mapper_refuses" }, \
			 { GPON_DECISION_OTHER_SIDE, "other_side" }, \
			 { GPON_DECISION_UNREADABLE, "unreadable" })

#define GPON_SHOW_LEARN(value) \
	__print_symbolic(value, \
			 { GPON_LEARN_ADDED, "added" }, \
			 { GPON_LEARN_REPLACED, "replaced" }, \
			 { GPON_LEARN_BUCKET_TAKEN, "bucket_taken" }, \
			 { GPON_LEARN_OUTDATED, "outdated" }, \
			 { GPON_LEARN_NO_MEMORY, "no_memory" }, \
			 { GPON_LEARN_UNCHANGED, "unchanged" })

#define GPON_SHOW_COMMAND(value) \
	__print_symbolic(value, \
			 { GPON_COMMAND_ME, "me" }, \
			 { GPON_COMMAND_CONFIG, "config" }, \
			 { GPON_COMMAND_CLEAN, "clean" }, \
			 { GPON_COMMAND_DEVICE, "device" }, \
			 { GPON_COMMAND_OPERATOR, "operator" }, \
			 { GPON_COMMAND_REFUSED, "refused" })

/* The fields of a frame. */
#define GPON_FRAME_FIELDS \
	__field(const void *, skbaddr) \
	__array(unsigned char, dst, ETH_ALEN) \
	__array(unsigned char, src, ETH_ALEN) \
	__field(unsigned int, outer_tag) \
	__field(unsigned int, inner_tag) \
	__field(unsigned short, tags) \
	__field(unsigned short, direction) \
	__field(unsigned char, marked)

#define GPON_FRAME_ASSIGN(record) \
	__entry->skbaddr = (record)->frame.packet; \
	memcpy(__entry->dst, (record)->frame.dst_mac, ETH_ALEN); \
	memcpy(__entry->src, (record)->frame.src_mac, ETH_ALEN); \
	__entry->outer_tag = (record)->frame.tag[0]; \
	__entry->inner_tag = (record)->frame.tag[1]; \
	__entry->tags = (record)->frame.tags; \
	__entry->direction = (record)->frame.direction; \
	__entry->marked = (record)->marked

#define GPON_FRAME_FORMAT "skbaddr=%p direction=%s dst=%pM src=%pM tags=%u outer_tag=0x%08x inner_tag=0x%08x"
#define GPON_FRAME_VALUES \
	__entry->skbaddr, GPON_SHOW_DIRECTION(__entry->direction), __entry->dst, __entry->src, \
	__entry->tags, __entry->outer_tag, __entry->inner_tag

TRACE_EVENT_FN(gpon_walk_start,
	TP_PROTO(const struct gpon_trace_record *record),
	TP_ARGS(record),
	TP_STRUCT__entry(GPON_FRAME_FIELDS),
	TP_fast_assign(GPON_FRAME_ASSIGN(record);),
	TP_printk(GPON_FRAME_FORMAT, GPON_FRAME_VALUES),
	gpon_walk_start_on, gpon_walk_start_off
);

/* One class for both kinds of steps, as for the ends below: each has some 900 bytes of code. */
DECLARE_EVENT_CLASS(gpon_step,
	TP_PROTO(const struct gpon_trace_record *record),
	TP_ARGS(record),
	TP_STRUCT__entry(
		__field(const void *, skbaddr)
		__field(unsigned short, direction)
		__field(unsigned short, class_id)
		__field(unsigned short, inst_id)
		__field(unsigned short, depth)
		__field(unsigned int, status)
		__field(unsigned int, decision)
		__field(unsigned char, marked)
	),
	TP_fast_assign(
		__entry->skbaddr = record->frame.packet;
		__entry->direction = record->frame.direction;
		__entry->class_id = record->step.class_id;
		__entry->inst_id = record->step.inst_id;
		__entry->depth = record->step.depth;
		__entry->status = record->step.status;
		__entry->decision = record->step.decision;
		__entry->marked = record->marked;
	),
	TP_printk("skbaddr=%p direction=%s depth=%u class_id=%u inst_id=0x%04x status=%s decision=%s",
		  __entry->skbaddr, GPON_SHOW_DIRECTION(__entry->direction), __entry->depth,
		  __entry->class_id, __entry->inst_id, GPON_SHOW_STEP(__entry->status),
		  GPON_SHOW_DECISION(__entry->decision))
);

DEFINE_EVENT_FN(gpon_step, gpon_walk_step,
	TP_PROTO(const struct gpon_trace_record *record),
	TP_ARGS(record),
	gpon_walk_step_on, gpon_walk_step_off
);

DEFINE_EVENT_FN(gpon_step, gpon_replay_step,
	TP_PROTO(const struct gpon_trace_record *record),
	TP_ARGS(record),
	gpon_replay_step_on, gpon_replay_step_off
);

DECLARE_EVENT_CLASS(gpon_frame_end,
	TP_PROTO(const struct gpon_trace_record *record),
	TP_ARGS(record),
	TP_STRUCT__entry(
		GPON_FRAME_FIELDS
		__field(unsigned int, reason)
		__field(unsigned short, gem_port)
	),
	TP_fast_assign(
		GPON_FRAME_ASSIGN(record);
		__entry->reason = record->end;
		__entry->gem_port = record->gemport_id;
	),
	TP_printk(GPON_FRAME_FORMAT " reason=%s gem_port=%u", GPON_FRAME_VALUES,
		  GPON_SHOW_END(__entry->reason), __entry->gem_port)
);

DEFINE_EVENT_FN(gpon_frame_end, gpon_walk_end,
	TP_PROTO(const struct gpon_trace_record *record),
	TP_ARGS(record),
	gpon_walk_end_on, gpon_walk_end_off
);

DEFINE_EVENT_FN(gpon_frame_end, gpon_drop,
	TP_PROTO(const struct gpon_trace_record *record),
	TP_ARGS(record),
	gpon_drop_on, gpon_drop_off
);

TRACE_EVENT_FN(gpon_rule_hit,
	TP_PROTO(const struct gpon_trace_record *record),
	TP_ARGS(record),
	TP_STRUCT__entry(
		GPON_FRAME_FIELDS
		__field(unsigned int, remembered)
		__field(unsigned short, gem_port)
	),
	TP_fast_assign(
		GPON_FRAME_ASSIGN(record);
		__entry->remembered = record->remembered;
		__entry->gem_port = record->gemport_id;
	),
	TP_printk(GPON_FRAME_FORMAT " remembered=%u gem_port=%u", GPON_FRAME_VALUES,
		  __entry->remembered, __entry->gem_port),
	gpon_rule_hit_on, gpon_rule_hit_off
);

TRACE_EVENT_FN(gpon_rule_learn,
	TP_PROTO(const struct gpon_trace_record *record),
	TP_ARGS(record),
	TP_STRUCT__entry(
		GPON_FRAME_FIELDS
		__field(unsigned int, result)
	),
	TP_fast_assign(
		GPON_FRAME_ASSIGN(record);
		__entry->result = record->learnt;
	),
	TP_printk(GPON_FRAME_FORMAT " result=%s", GPON_FRAME_VALUES, GPON_SHOW_LEARN(__entry->result)),
	gpon_rule_learn_on, gpon_rule_learn_off
);

TRACE_EVENT_FN(gpon_command,
	TP_PROTO(const struct gpon_trace_record *record),
	TP_ARGS(record),
	TP_STRUCT__entry(
		__field(unsigned int, kind)
		__field(unsigned int, msg_type)
		__field(unsigned short, class_id)
		__field(unsigned short, inst_id)
		__field(unsigned short, attr_mask)
		__field(int, result)
		__string(text, record->command.text)
	),
	TP_fast_assign(
		__entry->kind = record->command.kind;
		__entry->msg_type = record->command.msg_type;
		__entry->class_id = record->command.class_id;
		__entry->inst_id = record->command.inst_id;
		__entry->attr_mask = record->command.attr_mask;
		__entry->result = record->command.result;
		gpon_assign_str(text, record->command.text);
	),
	TP_printk("kind=%s msg_type=%u class_id=%u inst_id=0x%04x attr_mask=0x%04x result=%d text=\"%s\"",
		  GPON_SHOW_COMMAND(__entry->kind), __entry->msg_type, __entry->class_id,
		  __entry->inst_id, __entry->attr_mask, __entry->result, __get_str(text)),
	gpon_command_on, gpon_command_off
);

TRACE_EVENT_FN(gpon_sweep,
	TP_PROTO(const struct gpon_trace_record *record),
	TP_ARGS(record),
	TP_STRUCT__entry(
		__field(unsigned int, rules)
		__field(unsigned int, aged)
		__field(unsigned int, buckets)
	),
	TP_fast_assign(
		__entry->rules = record->sweep.rules;
		__entry->aged = record->sweep.aged;
		__entry->buckets = record->sweep.buckets;
	),
	TP_printk("rules=%u aged=%u buckets=%u", __entry->rules, __entry->aged, __entry->buckets),
	gpon_sweep_on, gpon_sweep_off
);

#endif

/* Outside of the guard: the kernel's header reads this file again for each part of the events. */
#undef TRACE_INCLUDE_PATH
#define TRACE_INCLUDE_PATH .
#undef TRACE_INCLUDE_FILE
#define TRACE_INCLUDE_FILE gpon_flow_trace
#include <trace/define_trace.h>

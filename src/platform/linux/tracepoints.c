// SPDX-License-Identifier: GPL-2.0-only
/* Compiled for size: its speed matters little. */
/*
 * Trace events: connects the core's events to those of gpon_flow_trace.h.
 *
 * The core cannot use the kernel's static keys, so each event has a bit in a word that the core
 * reads. The kernel calls the switches under a mutex of its own when the first reader of an event
 * comes and when the last one goes, also when the module is unloaded. In a kernel without trace
 * events nothing calls them and the word stays 0.
 */
#include <linux/bitops.h>
#include <linux/module.h>

#include "glue.h"

#define CREATE_TRACE_POINTS
#include "gpon_flow_trace.h"

/* Written under the kernel's mutex of all trace events. */
unsigned int gpon_os_tracepoints_on;

#define SWITCH(name, point) \
	int gpon_##name##_on(void) \
	{ \
		WRITE_ONCE(gpon_os_tracepoints_on, gpon_os_tracepoints_on | BIT(point)); \
		return 0; \
	} \
	void gpon_##name##_off(void) \
	{ \
		WRITE_ONCE(gpon_os_tracepoints_on, gpon_os_tracepoints_on & ~BIT(point)); \
	}

SWITCH(walk_start, GPON_TRACEPOINT_WALK_START)
SWITCH(walk_step, GPON_TRACEPOINT_WALK_STEP)
SWITCH(walk_end, GPON_TRACEPOINT_WALK_END)
SWITCH(replay_step, GPON_TRACEPOINT_REPLAY_STEP)
SWITCH(rule_hit, GPON_TRACEPOINT_RULE_HIT)
SWITCH(rule_learn, GPON_TRACEPOINT_RULE_LEARN)
SWITCH(drop, GPON_TRACEPOINT_DROP)
SWITCH(command, GPON_TRACEPOINT_COMMAND)
SWITCH(sweep, GPON_TRACEPOINT_SWEEP)

void gpon_os_hit_tracepoint(const struct gpon_trace_record *record)
{
	switch (record->point) {
	case GPON_TRACEPOINT_WALK_START:
		trace_gpon_walk_start(record);
		break;
	case GPON_TRACEPOINT_WALK_STEP:
		trace_gpon_walk_step(record);
		break;
	case GPON_TRACEPOINT_WALK_END:
		trace_gpon_walk_end(record);
		break;
	case GPON_TRACEPOINT_REPLAY_STEP:
		trace_gpon_replay_step(record);
		break;
	case GPON_TRACEPOINT_RULE_HIT:
		trace_gpon_rule_hit(record);
		break;
	case GPON_TRACEPOINT_RULE_LEARN:
		trace_gpon_rule_learn(record);
		break;
	case GPON_TRACEPOINT_DROP:
		trace_gpon_drop(record);
		break;
	case GPON_TRACEPOINT_COMMAND:
		trace_gpon_command(record);
		break;
	case GPON_TRACEPOINT_SWEEP:
		trace_gpon_sweep(record);
		break;
	case GPON_TRACEPOINTS:
		break;
	}
}

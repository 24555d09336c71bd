/* SPDX-License-Identifier: GPL-2.0-only WITH Linux-syscall-note */
/*
 * The generic netlink family "gpon_flow": the state of the module for programs, and its changes.
 * docs/netlink/gpon_flow.yaml describes it in the form of the kernel's netlink specifications.
 *
 * The requests carry no attributes and change nothing. They need CAP_NET_ADMIN, and so does the
 * multicast group. Numbers have the byte order of the machine.
 */
#ifndef GPON_FLOW_NETLINK_UAPI_H
#define GPON_FLOW_NETLINK_UAPI_H

#define GPON_FLOW_NL_FAMILY "gpon_flow"
#define GPON_FLOW_NL_VERSION 1
#define GPON_FLOW_NL_EVENTS "events" /* the multicast group */

/* A dump whose data changed meanwhile has messages with NLM_F_DUMP_INTR; repeat it. */
enum {
    GPON_FLOW_NL_CMD_UNSPEC,
    GPON_FLOW_NL_CMD_GET_STATE,        /* one message: GPON_FLOW_NL_STATE_* */
    GPON_FLOW_NL_CMD_GET_COUNTERS,     /* dump, one message a counter: GPON_FLOW_NL_COUNTER_* */
    GPON_FLOW_NL_CMD_GET_RULES,        /* dump, one message a rule: GPON_FLOW_NL_RULE_* */
    GPON_FLOW_NL_CMD_GET_INSTANCES,    /* dump, one message an instance: GPON_FLOW_NL_INSTANCE_* */
    GPON_FLOW_NL_CMD_RULE_LEARNT,      /* event: GPON_FLOW_NL_RULE_* */
    GPON_FLOW_NL_CMD_RULE_GONE,        /* event: GPON_FLOW_NL_RULE_* */
    GPON_FLOW_NL_CMD_INSTANCE_CHANGED, /* event: GPON_FLOW_NL_INSTANCE_* without contents */
    GPON_FLOW_NL_CMD_TABLE_GROWN,      /* event: GPON_FLOW_NL_STATE_BUCKETS */
    GPON_FLOW_NL_CMD_RULE_RELEARNT     /* event: GPON_FLOW_NL_RULE_*, with the new steps */
};

enum {
    GPON_FLOW_NL_STATE_UNSPEC,
    GPON_FLOW_NL_STATE_PAD,
    GPON_FLOW_NL_STATE_REVISION,   /* u64: changes with each change of rules and instances */
    GPON_FLOW_NL_STATE_ENGINE,     /* u32: 0 = disabled */
    GPON_FLOW_NL_STATE_LOG_LEVEL,  /* u32: bits of the log levels */
    GPON_FLOW_NL_STATE_TRACE_MASK, /* u32: fields of the trace filter that are set */
    GPON_FLOW_NL_STATE_RULES,      /* u32 */
    GPON_FLOW_NL_STATE_BUCKETS,    /* u32 */
    GPON_FLOW_NL_STATE_THRESHOLD,  /* u32: rules at which the table grows */
    GPON_FLOW_NL_STATE_EVENT,      /* u32: number of the event, the next one has the next number */
    GPON_FLOW_NL_STATE_STORE       /* u64: changes with each change of instances; odd during one */
};

enum {
    GPON_FLOW_NL_COUNTER_UNSPEC,
    GPON_FLOW_NL_COUNTER_PAD,
    GPON_FLOW_NL_COUNTER_NAME,    /* string */
    GPON_FLOW_NL_COUNTER_MEANING, /* string */
    GPON_FLOW_NL_COUNTER_VALUE    /* u64 */
};

enum {
    GPON_FLOW_NL_RULE_UNSPEC,
    GPON_FLOW_NL_RULE_PAD,
    GPON_FLOW_NL_RULE_DST_MAC,   /* 6 bytes */
    GPON_FLOW_NL_RULE_SRC_MAC,   /* 6 bytes */
    GPON_FLOW_NL_RULE_DIRECTION, /* u16: 1 up ANI, 2 up UNI, 4 down ANI, 8 down UNI */
    GPON_FLOW_NL_RULE_TAG,       /* nest GPON_FLOW_NL_TAG_*, once a tag, outer to inner */
    GPON_FLOW_NL_RULE_STEP,      /* nest GPON_FLOW_NL_STEP_*, once a step, in order */
    GPON_FLOW_NL_RULE_USED,      /* u8: 1 if used since the last sweep */
    GPON_FLOW_NL_RULE_GEM_PORT,  /* u16: remembered outcome, absent if none; 0 = no GEM port */
    GPON_FLOW_NL_RULE_HITS,      /* u64: frames that used it after the first one */
    GPON_FLOW_NL_RULE_IDLE_MS,   /* u64: milliseconds since the last use */
    GPON_FLOW_NL_RULE_END,       /* u32, in RULE_GONE: GPON_FLOW_NL_RULE_AGED ... */
    GPON_FLOW_NL_RULE_EVENT      /* u32, in events: as GPON_FLOW_NL_STATE_EVENT */
};

enum {
    GPON_FLOW_NL_TAG_UNSPEC,
    GPON_FLOW_NL_TAG_TPID, /* u16 */
    GPON_FLOW_NL_TAG_TCI   /* u16 */
};

enum {
    GPON_FLOW_NL_STEP_UNSPEC,
    GPON_FLOW_NL_STEP_CLASS,   /* u16 */
    GPON_FLOW_NL_STEP_INSTANCE /* u16 */
};

enum {
    GPON_FLOW_NL_INSTANCE_UNSPEC,
    GPON_FLOW_NL_INSTANCE_CLASS,      /* u16 */
    GPON_FLOW_NL_INSTANCE_CLASS_NAME, /* string */
    GPON_FLOW_NL_INSTANCE_ID,         /* u16 */
    GPON_FLOW_NL_INSTANCE_RAW,        /* struct gpon_raw_* of gpon_flow.h */
    GPON_FLOW_NL_INSTANCE_LINKS,      /* nest GPON_FLOW_NL_LINKS_*, once a class */
    GPON_FLOW_NL_INSTANCE_CHANGE,     /* u32, in events: GPON_FLOW_NL_INSTANCE_CREATED ... */
    GPON_FLOW_NL_INSTANCE_EVENT       /* u32, in events: as GPON_FLOW_NL_STATE_EVENT */
};

/* The instances of one class that point at an instance. */
enum {
    GPON_FLOW_NL_LINKS_UNSPEC,
    GPON_FLOW_NL_LINKS_CLASS, /* u16 */
    GPON_FLOW_NL_LINKS_IDS    /* array of u16, may be empty */
};

/* GPON_FLOW_NL_RULE_END. */
enum {
    GPON_FLOW_NL_RULE_AGED = 1,
    GPON_FLOW_NL_RULE_FLUSHED = 2,
    GPON_FLOW_NL_RULE_DELETED = 3,
    GPON_FLOW_NL_RULE_LOST = 4 /* no memory for its copy in the larger table */
};

/* GPON_FLOW_NL_INSTANCE_CHANGE. */
enum {
    GPON_FLOW_NL_INSTANCE_CREATED = 1,
    GPON_FLOW_NL_INSTANCE_SET = 2,
    GPON_FLOW_NL_INSTANCE_LINKED = 3, /* its links changed */
    GPON_FLOW_NL_INSTANCE_DELETED = 4
};

#endif

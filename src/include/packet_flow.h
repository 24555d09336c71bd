/* SPDX-License-Identifier: GPL-2.0-only */
/* Records of one packet's path through the graph. All fields in host order. */
#ifndef GPON_PACKET_FLOW_H
#define GPON_PACKET_FLOW_H

#include "../base/types.h"
#include "../platform/api/packet_memory.h"
#include "me_class_id.h"

struct sk_buff;
struct gpon_me_inst;

/* Walk direction, one bit per direction; a next-class row has the set in which it is followed. */
enum fwd_flag : u16 {
    UP_ANI = 1,   /* bridge or mapper towards GEM port and T-CONT */
    UP_UNI = 2,   /* ingress UNI towards bridge or mapper */
    DOWN_ANI = 4, /* ingress GEM port towards bridge or mapper */
    DOWN_UNI = 8  /* bridge or mapper towards egress UNI */
};

/* Walk status. */
enum fwd_status : i32 {
    FLOW_PKT_NOT_FORWARD = 1, /* this branch ends */
    FLOW_PKT_FORWARD = 2,
    FLOW_PKT_FORWARD_DONE = 3 /* egress reached */
};

/* Why branches of a walk ended. */
enum walk_obstacle : u8 {
    WALK_FILTERED = 1,    /* a VLAN filter dropped the frame */
    WALK_STEP_FAILED = 2, /* a step returned an error, or could not read what it needs */
    WALK_TOO_DEEP = 4     /* the next level is the tenth */
};

constexpr u8 MAX_RECURSION_NUM = 10;
/* Stacked tags in a summary; tag_num may be larger. */
constexpr u8 GPON_MAX_TAGS = 4;

/* One step of a walk. */
struct gpon_fwd_info {
    me_class classId;
    u16 instId;
    u16 fwd_flag;
};

struct gpon_trace_step {
    me_class classId; /* none ends the list */
    u16 instId;
};

/* The contents of a rule: the steps in walk order. */
struct gpon_rule_trace {
    gpon_trace_step step[MAX_RECURSION_NUM];
};
static_assert(sizeof(gpon_rule_trace) == 40);

/* Result of one packet's walk, passed along all its steps. */
struct gpon_walk_result {
    u16 gemport_id;   /* egress GEM port, upstream */
    u16 turn_inst_id; /* bridge or mapper where the other half continues */
    u32 port_word;
    u32 mark_word;
    u16 tpid[GPON_MAX_TAGS];
    u16 tci[GPON_MAX_TAGS];
    u8 tag_num;
    u8 recurse_num;
    gpon_rule_trace trace; /* indexed by depth */
    i32 ret_val;           /* fwd_status, 0 = none yet */
    u8 obstacles;          /* walk_obstacle bits of all branches, for the counters */
    u8 decision;           /* gpon_step_decision of the last step, for its trace event */
    /* The bridge port and the filter found last. Ports of a bridge are tried in list order, so the
     * next search starts there. Valid in the walk's RCU read-side section. */
    const gpon_me_inst* last_port = nullptr;
    const gpon_me_inst* last_filter = nullptr;
    packet_memory memory = {}; /* of the steps' buffers */
};

/* Header summary of a frame. */
struct [[gnu::packed]] gpon_pkt_info {
    u8 dst_mac[6];
    u8 src_mac[6];
    u16 port_id;             /* never set: rules do not distinguish ingress ports */
    u16 tpid[GPON_MAX_TAGS]; /* outer to inner */
    u16 tci[GPON_MAX_TAGS];
    u8 tag_num;
    u32 port_word;
    u32 mark_word;
};

/* Longest key: two MACs, port id, direction and four (TPID, TCI) pairs. The buffer has one byte
 * more than the four pairs fill. */
constexpr u16 GPON_RULE_KEY_HEAD = 16;
constexpr u16 GPON_RULE_KEY_TAG = 4;
constexpr size_t GPON_RULE_KEY_BUFFER = 33;

/* Argument of filters, VLAN operations and priority selection. */
struct op_info {
    u16 inst_id;         /* current instance */
    u16 related_inst_id; /* filter, operation or mapper concerned */
    u16 fwd_flag;
    gpon_walk_result* walk = nullptr; /* or null, for a caller without one */
};

#endif

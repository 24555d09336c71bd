/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The trace events of the module: what a platform gets when somebody traces; plain C.
 *
 * The platform has a bit for each event in tracepoints_on (kernel_api.h). The core tests the bit
 * and calls hit_tracepoint only if it is set, so an event that nobody traces costs a load and a
 * branch. Only the members that the event's line names are valid. A record and its text live until
 * the call returns.
 */
#ifndef GPON_PLATFORM_TRACEPOINT_H
#define GPON_PLATFORM_TRACEPOINT_H

enum gpon_tracepoint {
    GPON_TRACEPOINT_WALK_START,  /* frame */
    GPON_TRACEPOINT_WALK_STEP,   /* frame.packet, frame.direction, marked, step */
    GPON_TRACEPOINT_WALK_END,    /* frame, end, gemport_id */
    GPON_TRACEPOINT_REPLAY_STEP, /* frame.packet, frame.direction, marked, step */
    GPON_TRACEPOINT_RULE_HIT,    /* frame, remembered, gemport_id */
    GPON_TRACEPOINT_RULE_LEARN,  /* frame without packet, learnt */
    GPON_TRACEPOINT_DROP,        /* frame, end, gemport_id */
    GPON_TRACEPOINT_COMMAND,     /* command */
    GPON_TRACEPOINT_SWEEP,       /* sweep */
    GPON_TRACEPOINTS
};

/* How the path of a frame ended. */
enum gpon_frame_end {
    GPON_END_PASSED,
    GPON_END_NO_PATH,     /* no branch of the walk reached the egress */
    GPON_END_FILTERED,    /* a VLAN filter dropped the frame on a branch */
    GPON_END_STEP_FAILED, /* a step failed or could not read what it needs, for example for lack of
                             memory */
    GPON_END_TOO_DEEP,    /* the graph has more than nine levels */
    GPON_END_NO_QUEUE,    /* the platform found no priority queue */
    GPON_END_NO_MAPPING,  /* engine disabled: the platform found no GEM port */
    GPON_END_UNREADABLE,  /* the header could not be read */
    GPON_END_NO_PACKET,   /* a hook call without a packet */
    GPON_END_UNKNOWN_KIND /* a hook call of an unknown kind */
};

/* How a step ended. */
enum gpon_step_status {
    GPON_STEP_FAILED,
    GPON_STEP_ENDS_BRANCH,
    GPON_STEP_CONTINUES,
    GPON_STEP_REACHES_EGRESS,
    GPON_STEP_TOO_DEEP /* not made: it would be the tenth level */
};

/* What the filter or the mapper of a step decided. */
enum gpon_step_decision {
    GPON_DECISION_NONE,
    GPON_DECISION_FILTER_PASSES,
    GPON_DECISION_FILTER_DROPS,
    GPON_DECISION_FILTER_MISPLACED, /* on the UNI side, where a filter drops every frame */
    GPON_DECISION_MAPPER_SELECTS,   /* the priority of the frame selects this GEM interworking TP */
    GPON_DECISION_MAPPER_REFUSES,
    GPON_DECISION_OTHER_SIDE, /* a bridge port on a side that is not on the path of the frame */
    GPON_DECISION_UNREADABLE  /* none: the filter or the mapper is gone, or there is no memory */
};

/* What became of the steps of a walk that passed. */
enum gpon_learn_result {
    GPON_LEARN_ADDED,
    GPON_LEARN_REPLACED,     /* other steps of a rule with the same key */
    GPON_LEARN_BUCKET_TAKEN, /* a rule of another flow has the bucket */
    GPON_LEARN_OUTDATED,     /* the configuration changed meanwhile */
    GPON_LEARN_NO_MEMORY,    /* or no table during unload */
    GPON_LEARN_UNCHANGED     /* a rule with the same key has these steps */
};

enum gpon_command_kind {
    GPON_COMMAND_ME,       /* of the device, for a managed entity: message type, class, instance */
    GPON_COMMAND_CONFIG,   /* of the device: default configuration */
    GPON_COMMAND_CLEAN,    /* of the device: deletes all */
    GPON_COMMAND_DEVICE,   /* of the device: debug words */
    GPON_COMMAND_OPERATOR, /* of the proc file: debug words */
    GPON_COMMAND_REFUSED   /* a call that carries no command */
};

enum { GPON_TRACED_TAGS = 2 };

/* The frame of an event, by the fields of its rule key. */
struct gpon_traced_frame {
    const void* packet; /* the same address in all events of one hook call; null if unknown */
    unsigned char dst_mac[6];
    unsigned char src_mac[6];
    unsigned short direction; /* fwd_flag: 1 up ANI, 2 up UNI, 4 down ANI, 8 down UNI */
    unsigned short tags;      /* number of VLAN tags, also of those that are not in tag[]; of a rule
                                 key, which has at most four */
    unsigned int
        tag[GPON_TRACED_TAGS]; /* outer to inner: TPID in the upper half, TCI; 0 if absent */
};

struct gpon_trace_record {
    enum gpon_tracepoint point;
    struct gpon_traced_frame frame;
    enum gpon_frame_end end;
    enum gpon_learn_result learnt;
    unsigned short gemport_id; /* chosen upstream to the ANI; otherwise 0 */
    unsigned char remembered;  /* 1: by the remembered outcome, 0: by a replay of the steps */
    unsigned char marked; /* of all events with a packet; 1: the trace filter selects the frame */
    struct {
        unsigned short class_id;
        unsigned short inst_id;
        unsigned char depth;    /* level of the walk, or place in the rule, from 1 */
        unsigned char decision; /* gpon_step_decision */
        enum gpon_step_status status;
    } step;
    struct {
        enum gpon_command_kind kind;
        unsigned char msg_type; /* of an entity: 4 create, 6 delete, 8 set */
        unsigned short class_id;
        unsigned short inst_id;
        unsigned short attr_mask;
        long result;      /* 0 or a negative number; of an operator, the accepted bytes */
        const char* text; /* debug words with a blank between them, otherwise empty */
    } command;
    struct {
        unsigned int rules; /* in the table before the sweep */
        unsigned int aged;  /* deleted by it */
        unsigned int buckets;
    } sweep;
};

#endif

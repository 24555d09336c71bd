/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * What a platform's read side sees of the module, as records without pointers into it; plain C.
 * Nothing here changes the module or prints.
 */
#ifndef GPON_PLATFORM_OBSERVE_H
#define GPON_PLATFORM_OBSERVE_H

#include "../../include/counters.h"

#ifdef __cplusplus
extern "C" {
#endif

enum {
    GPON_SEEN_TAGS = 4,
    GPON_SEEN_STEPS = 10,
    GPON_SEEN_RAW = 64, /* bytes; no record of a class is larger */
    GPON_SEEN_ROWS = 8,
    GPON_SEEN_IDS = 576
};

struct gpon_seen_rule {
    unsigned char dst_mac[6];
    unsigned char src_mac[6];
    unsigned short direction; /* fwd_flag: 1 up ANI, 2 up UNI, 4 down ANI, 8 down UNI */
    unsigned short tags;
    unsigned short tpid[GPON_SEEN_TAGS]; /* outer to inner */
    unsigned short tci[GPON_SEEN_TAGS];
    unsigned short steps;
    unsigned short class_id[GPON_SEEN_STEPS];
    unsigned short inst_id[GPON_SEEN_STEPS];
    unsigned char used;        /* since the last sweep */
    unsigned char remembered;  /* its outcome is in the outcome table */
    unsigned short gemport_id; /* of the remembered outcome; 0 if the direction has none */
    GPON_COUNTER_WORD hits;
    unsigned long idle; /* jiffies since the last use */
};

struct gpon_seen_instance {
    unsigned short class_id;
    unsigned short inst_id;
    const char* class_name; /* constant */
    unsigned int raw_bytes;
    unsigned char raw[GPON_SEEN_RAW];
    /* Which instances point at this one: classes, and for each of them its part of the ids. */
    unsigned int rows;
    unsigned short row_class[GPON_SEEN_ROWS];
    unsigned short row_ids[GPON_SEEN_ROWS];
    unsigned short id[GPON_SEEN_IDS];
};

struct gpon_seen_state {
    GPON_COUNTER_WORD revision; /* changes with each change of the table or of the store */
    unsigned int engine;        /* the switch: 0 disabled */
    unsigned int log_level;     /* gponDebugLevel */
    unsigned int trace_mask;    /* fields of the trace filter that are set */
    unsigned int rules;
    unsigned int buckets;
    unsigned int threshold;  /* rules at which the table grows */
    GPON_COUNTER_WORD store; /* changes with each change of the store; odd during a change */
};

/* Copies up to room rules and takes the lock of the rule table once. *bucket is 0 before the first
 * call and GPON_SEEN_ALL after the last one. The revision is a number that changes with each change
 * of the table or of the store. Returns the number of rules. Any context but a hard interrupt. */
#define GPON_SEEN_ALL 0xffffffffu
unsigned int gpon_observe_rules(unsigned int* bucket, struct gpon_seen_rule* rules,
                                unsigned int room, GPON_COUNTER_WORD* revision);

/* Copies the next instance in dump order, and takes the mutex of the control path once. Both
 * positions are 0 before the first call. The revision is a number that changes with each change of
 * the store. Returns 0 after the last one. Process context. */
int gpon_observe_instance(unsigned int* class_row, unsigned int* position,
                          struct gpon_seen_instance* instance, GPON_COUNTER_WORD* revision);

/* Any context but a hard interrupt. */
void gpon_observe_state(struct gpon_seen_state* state);

/* The sums of the counters (GPON_COUNTERS words), and their names. Any context but a hard
 * interrupt. */
void gpon_counters_read(GPON_COUNTER_WORD* sums);
extern const struct gpon_counter_text gpon_counter_texts[GPON_COUNTERS];

/* Changes that the core reports when somebody listens. */
enum gpon_event_kind {
    GPON_EVENT_RULE_LEARNT,
    GPON_EVENT_RULE_RELEARNT, /* a second walk of the flow took other steps */
    GPON_EVENT_RULE_GONE,
    GPON_EVENT_INSTANCE_CHANGED,
    GPON_EVENT_TABLE_GROWN
};

/* Why a rule is gone. */
enum gpon_rule_end {
    GPON_RULE_AGED = 1,
    GPON_RULE_FLUSHED = 2,
    GPON_RULE_DELETED = 3,
    GPON_RULE_LOST = 4 /* no memory for its copy in the larger table */
};

/* What happened to an instance. */
enum gpon_instance_change {
    GPON_INSTANCE_CREATED = 1,
    GPON_INSTANCE_SET = 2,
    GPON_INSTANCE_LINKED = 3, /* its links changed */
    GPON_INSTANCE_DELETED = 4
};

struct gpon_event {
    enum gpon_event_kind kind;
    unsigned int cause;         /* gpon_rule_end or gpon_instance_change */
    struct gpon_seen_rule rule; /* of the three kinds of rules */
    unsigned short class_id;    /* of an instance */
    unsigned short inst_id;
    unsigned int buckets; /* of a table */
};

#ifdef __cplusplus
}
#endif
#endif

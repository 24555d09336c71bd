/* SPDX-License-Identifier: GPL-2.0-only */
/* Instances of managed entities and the links between them. */
#ifndef GPON_ME_INST_H
#define GPON_ME_INST_H

#include "../platform/api/kernel_api.h"
#include "me_class_id.h"

struct gpon_me_related_info;

struct list_head {
    list_head* next;
    list_head* prev;
};

/* One recorded id; also the result and the position of a relation query. One 32-bit word, so that a
 * reader never sees a partial entry while the command path changes it. */
struct alignas(u32) gpon_me_related_id {
    u8 instExist; /* 1 = in use */
    u16 instId;
};
static_assert(sizeof(gpon_me_related_id) == 4);

/* One instance. raw and related stay with the instance when its node is replaced. */
struct gpon_me_inst {
    u16 inst_id;
    u8* raw;                       /* raw_size bytes of the class, owned */
    gpon_me_related_info* related; /* copy of the class's template, owned with its arrays */
    list_head link;
    rcu_head rcu;
};
static_assert(sizeof(gpon_me_inst) == 56);

/* A link change: instance entity_id of class_id points, or no longer points, at related_inst_id of
 * related_class_id, which records it. */
struct gpon_me_related_update {
    me_class class_id;
    u16 entity_id;
    me_class related_class_id;
    u16 related_inst_id;
    u8 msg_type; /* ZR_OMCI_MSG_TYPE_* */
};

/* Parameters of the relation queries. related_id is the previous result on entry (instExist 0:
 * start from the beginning) and the next one on return (instExist 0: there is none). */
struct gpon_me_relation_query {
    me_class class_id;
    u16 inst_id;
    me_class related_class_id;
    gpon_me_related_id* related_id;
    packet_memory* memory = nullptr; /* the walk's, or null */
};

#endif

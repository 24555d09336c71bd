/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The description of a managed entity class for the generic code: one row of the class table, which
 * points to the class's list descriptor and to its forwarding descriptor. All of it is constant
 * except the list head.
 */
#ifndef GPON_ME_CLASS_H
#define GPON_ME_CLASS_H

#include <span>

#include "me_attribute.h"
#include "me_inst.h"
#include "packet_flow.h"
#include "uapi/gpon_flow.h"

/* One related-info row: which instances of another class point at this instance. */
struct gpon_me_related_info {
    me_class related_class_id; /* class of the instances recorded; none ends a table */
    char name[70];             /* column name of the dump */
    gpon_me_related_id* related_ids =
        nullptr;          /* null in a class's template, owned in an instance's copy */
    i32 related_inst_num; /* capacity; below 2 the dump shows a column, else a list */
};
static_assert(sizeof(gpon_me_related_info) == 88);

/* One attribute-op row. */
struct gpon_me_attr_op {
    u16 mask; /* OMCI attribute mask, bit 15 = attribute 1; 0 ends a table */
    /* attr_data of the record points at a kernel copy of the raw record. Process context. */
    i32 (*handler)(gpon_me_cmd* cmd);
};

struct gpon_me_list_info {
    /* Formats a raw record as cells under titles; returns the length of the titles. */
    i32 (*dump_raw)(const gpon_me_list_info& info, const void* raw, char* values, char* header,
                    char* extra, i32 length) = nullptr;
    i32 raw_size = 0; /* bytes */
    const gpon_me_related_info* related_info =
        nullptr;               /* template, closed by a row of class none */
    i32 related_info_size = 0; /* bytes, closing row included */
    /* Defaults of an instance created by the store, or null. */
    i32 (*fill_raw_data)(void* raw) = nullptr;
    const gpon_me_attr_op* attr_ops = nullptr; /* null: creates and sets store nothing */
    list_head* head = nullptr;
    std::span<const gpon_me_field> fields = {};     /* columns of the dump first to last */
    std::span<const gpon_me_pointer> pointers = {}; /* in the order in which they are followed */
    /* fill_raw_data for any default configuration; null exactly if fill_raw_data is. */
    void (*fill_defaults)(void* raw, const struct gpon_flow_cfg_data& cfg) = nullptr;
};

/* One next-class row: the class to try next and the directions in which it is a step. */
struct gpon_me_next_class {
    me_class class_id; /* none ends a table */
    u16 flags;         /* fwd_flag bits */
};

struct gpon_me_fwd_op {
    const gpon_me_next_class* next_classes;
    /* Decides one step of a walk; packet path, inside an RCU read section. */
    i32 (*forward)(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result);
};

/* How instances of a class are created. */
enum gpon_me_creation : u32 {
    CREATED_BY_LINK = 0, /* the first link to an instance creates it */
    CREATED_BY_OLT = 1   /* only a command of the OLT does */
};

/* One row of me_table. */
struct gpon_me_entry {
    me_class class_id;
    char name[66];
    u32 explicit_create; /* CREATED_BY_OLT, or any other value for CREATED_BY_LINK */
    const gpon_me_list_info* list_info;
    const gpon_me_fwd_op* fwd_op; /* null: never a step of a walk */
};
static_assert(sizeof(gpon_me_entry) == 88);

namespace gpon {

/* The raw record of a command whose attr_data points at a kernel copy. */
[[nodiscard]] inline const void* attr_data(const gpon_me_cmd* cmd)
{
    return reinterpret_cast<const void*>(static_cast<uintptr_t>(cmd->attr_data));
}

} // namespace gpon

static_assert(sizeof(gpon_me_cmd) == 16 && sizeof(gpon_flow_cmd) == 64);
static_assert(sizeof(struct gpon_flow_cfg_data) == 40);
static_assert(sizeof(gpon_raw_mapper) == 48 && sizeof(gpon_raw_mbsp) == 8);
static_assert(sizeof(gpon_raw_mbpcd) == 8 && sizeof(gpon_raw_gemctp) == 20);
static_assert(sizeof(gpon_raw_gemiw) == 4 && sizeof(gpon_raw_multigemiw) == 4);
static_assert(sizeof(gpon_raw_pptp) == 2 && sizeof(gpon_raw_veip) == 2);
static_assert(sizeof(gpon_raw_pq) == 12 && sizeof(gpon_raw_tcont) == 6);
static_assert(sizeof(gpon_raw_td) == 24 && sizeof(gpon_raw_ts) == 8);
static_assert(sizeof(gpon_raw_vtfd) == 28 && sizeof(gpon_raw_vtocd) == 2);
static_assert(sizeof(gpon_raw_evtocd) == 2);

#endif

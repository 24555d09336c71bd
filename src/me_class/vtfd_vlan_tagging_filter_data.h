/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * VLAN tagging filter data (class 84, G.988 9.3.11). Packet path, inside an RCU read section.
 *
 * Filters act on the ANI side only: a filter of a UNI-side bridge port fails every frame at that
 * port. A frame whose outer TCI is 0 counts as untagged.
 */
#ifndef GPON_ME_CLASS_VTFD_H
#define GPON_ME_CLASS_VTFD_H

#include "../include/me_class.h"

extern "C" {

/* 0 if the frame passes the filter op->related_inst_id, -1 if it does not, or on an error. */
[[nodiscard]] i32 vtfd_filter_handle(const sk_buff* skb, const op_info* op) GPON_READS_LISTS;

/* Actions on a TCI in host order: 0 pass, -1 discard. mask: the compared TCI bits. */
[[nodiscard]] i32 vtfd_action_pass(u16 tci, const gpon_raw_vtfd* me, u16 mask);
[[nodiscard]] i32 vtfd_action_drop(u16 tci, const gpon_raw_vtfd* me, u16 mask);
[[nodiscard]] i32 vtfd_action_h(u16 tci, const gpon_raw_vtfd* me,
                                u16 mask); /* passes what is in the list */
[[nodiscard]] i32 vtfd_action_g(u16 tci, const gpon_raw_vtfd* me,
                                u16 mask); /* passes what is not */
[[nodiscard]] i32 vtfd_action_reserved(u16 tci, const gpon_raw_vtfd* me, u16 mask);
}

namespace gpon {

/* What the filter does with tagged frames, or with untagged ones (G.988 table 9.3.11-1). */
struct forward_operation {
    u8 code;                                                   /* G.988 forward operation */
    u8 tagged;                                                 /* 1 = row for tagged frames */
    i32 (*action)(u16 tci, const gpon_raw_vtfd* me, u16 mask); /* one of those above */
    u16 mask;
};

/* Null for an unknown code. Any context. */
[[nodiscard]] const forward_operation* find_forward_operation(u8 code, bool tagged);

/* A TCI of the filter's list, in host order. vlanFilterNums is used as stored: an entry beyond the
 * list is the word at that place of the record, and 0 beyond the record. Any context. */
[[nodiscard]] u16 list_entry(const gpon_raw_vtfd* me, u32 index);

/* Whether an entry of the list has the TCI's bits of the mask. Any context. */
[[nodiscard]] bool is_listed(u16 tci, const gpon_raw_vtfd* me, u16 mask);

} // namespace gpon

#endif

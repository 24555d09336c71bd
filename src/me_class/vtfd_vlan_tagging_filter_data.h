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

#endif

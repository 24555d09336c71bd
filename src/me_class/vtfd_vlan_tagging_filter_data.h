/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * VLAN tagging filter data (class 84, G.988 9.3.11). Packet path, inside an RCU read section.
 *
 * The filter acts on the ANI half of the path alone: one attached to a UNI-side bridge port fails
 * every frame that crosses that port. A frame whose outer TCI is 0 counts as untagged.
 */
#ifndef GPON_ME_CLASS_VTFD_H
#define GPON_ME_CLASS_VTFD_H

#include "../include/me_class.h"

extern "C" {

/* 0 = the frame passes the filter op->related_inst_id, -1 = it does not, or an error. */
i32 vtfd_filter_handle(const sk_buff* skb, const op_info* op) GPON_READS_LISTS;

/* Actions on a TCI in host order: 0 pass, -1 discard. mask: the TCI bits that are compared. */
i32 vtfd_action_pass(u16 tci, const gpon_raw_vtfd* me, u16 mask);
i32 vtfd_action_drop(u16 tci, const gpon_raw_vtfd* me, u16 mask);
i32 vtfd_action_h(u16 tci, const gpon_raw_vtfd* me, u16 mask); /* passes what is in the list */
i32 vtfd_action_g(u16 tci, const gpon_raw_vtfd* me, u16 mask); /* passes what is not */
i32 vtfd_action_reserved(u16 tci, const gpon_raw_vtfd* me, u16 mask);
}

#endif

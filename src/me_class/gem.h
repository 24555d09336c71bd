/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * GEM interworking TP (class 266, G.988 9.2.4), multicast GEM interworking TP (class 281, 9.2.5)
 * and GEM port network CTP (class 268, 9.2.3): forward functions and look-ups, packet path inside
 * an RCU read section. Look-ups answer 0 with the first match in list order, or -1 without a word.
 */
#ifndef GPON_ME_CLASS_GEM_H
#define GPON_ME_CLASS_GEM_H

#include "../include/me_class.h"

extern "C" {

/* CTP that carries a GEM port id. */
i32 gem_ctp_get_inst_id_by_gemport_id(u16 gemport_id, u16* inst_id);

/* Interworking TPs that point at a CTP. */
i32 gem_get_inst_id_by_gem_ctp(u16 gem_ctp_id, u16* inst_id);
i32 multi_gem_get_inst_id_by_gem_ctp(u16 gem_ctp_id, u16* inst_id);

i32 gem_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result);
i32 multi_gem_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result);
i32 gem_ctp_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result);
}

namespace gpon {

/* First instance whose u16 raw field at an offset has a value. The store may change the record. */
bool find_by_field(const list_head* list, size_t field_offset, u16 value, u16* inst_id);

} // namespace gpon

#endif

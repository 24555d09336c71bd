/* SPDX-License-Identifier: GPL-2.0-only */
/* GEM interworking TP (class 266, G.988 9.2.4). Packet path, inside an RCU read section. */
#ifndef GPON_ME_CLASS_GEMIW_H
#define GPON_ME_CLASS_GEMIW_H

#include "../include/me_class.h"

extern "C" {

/* The first interworking TP in list order that points at a CTP. Returns 0, or -1 without a
 * message and with *inst_id unchanged: a caller that sets it to 0 before may ignore the result. */
i32 gem_get_inst_id_by_gem_ctp(u16 gem_ctp_id, u16* inst_id) GPON_READS_LISTS;

[[nodiscard]] i32 gem_forward(sk_buff* skb, const gpon_fwd_info* fwd_info,
                              gpon_walk_result* result);
}

#endif

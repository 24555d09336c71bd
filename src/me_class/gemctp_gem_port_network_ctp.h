/* SPDX-License-Identifier: GPL-2.0-only */
/* GEM port network CTP (class 268, G.988 9.2.3). Packet path, inside an RCU read section. */
#ifndef GPON_ME_CLASS_GEMCTP_H
#define GPON_ME_CLASS_GEMCTP_H

#include "../include/me_class.h"

extern "C" {

/* The first CTP in list order with a GEM port id. Returns 0, or -1 without a message and with
 * *inst_id unchanged: a caller that sets it to 0 before may ignore the result. */
i32 gem_ctp_get_inst_id_by_gemport_id(u16 gemport_id, u16* inst_id) GPON_READS_LISTS;

[[nodiscard]] i32 gem_ctp_forward(sk_buff* skb, const gpon_fwd_info* fwd_info,
                                  gpon_walk_result* result);
}

#endif

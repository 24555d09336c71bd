/* SPDX-License-Identifier: GPL-2.0-only */
/* 802.1p mapper service profile (class 130, G.988 9.3.10). */
#ifndef GPON_ME_CLASS_MAPPER_H
#define GPON_ME_CLASS_MAPPER_H

#include "../include/me_class.h"

extern "C" {

/* 0 when the frame's priority selects the GEM IW TP op->inst_id at the mapper
 * op->related_inst_id, else -1, also on any error. Upstream only. Packet path, inside an RCU read
 * section. */
i32 pbit_filter_handle(const sk_buff* skb, const op_info* op);

i32 mapper_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result);
i32 mapper_attr_tp_type_op(gpon_me_cmd* cmd);
i32 mapper_attr_gem_iw_tp_pbit(gpon_me_cmd* cmd);
}

#endif

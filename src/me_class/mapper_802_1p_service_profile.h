/* SPDX-License-Identifier: GPL-2.0-only */
/* 802.1p mapper service profile (class 130, G.988 9.3.10). */
#ifndef GPON_ME_CLASS_MAPPER_H
#define GPON_ME_CLASS_MAPPER_H

#include "../include/me_class.h"

extern "C" {

[[nodiscard]] i32 mapper_forward(sk_buff* skb, const gpon_fwd_info* fwd_info,
                                 gpon_walk_result* result);
i32 mapper_attr_tp_type_op(gpon_me_cmd* cmd);
i32 mapper_attr_gem_iw_tp_pbit(gpon_me_cmd* cmd);
}

#endif

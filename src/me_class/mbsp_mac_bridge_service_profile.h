/* SPDX-License-Identifier: GPL-2.0-only */
/* MAC bridge service profile (class 45, G.988 9.3.1). Packet path, inside an RCU read section. */
#ifndef GPON_ME_CLASS_MBSP_H
#define GPON_ME_CLASS_MBSP_H

#include "../include/me_class.h"

extern "C" {

/* Number of bridges. */
[[nodiscard]] i32 get_mbsp_list_inst_num(void) GPON_READS_LISTS;

/* Ids of all bridges in list order, their number in *count; the caller frees the array. Null if
 * there is no bridge, no memory or no count pointer. */
[[nodiscard]] u16* get_mbsp_list_inst_id(u32* count) GPON_READS_LISTS;

[[nodiscard]] i32 mbsp_forward(sk_buff* skb, const gpon_fwd_info* fwd_info,
                               gpon_walk_result* result);
}

#endif

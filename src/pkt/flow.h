/* SPDX-License-Identifier: GPL-2.0-only */
/* One packet from its header to its egress: replays its rule, or walks and learns one. */
#ifndef GPON_PKT_FLOW_H
#define GPON_PKT_FLOW_H

#include "../include/packet_flow.h"
#include "../platform/api/kernel_api.h"

extern "C" {

/* Clears the result and fills in the header summary; 0 or -1. Without a caller in the module and
 * the tool, since the flow keeps the summary as well: for code linked into the module that starts a
 * walk itself, as tests do. Packet path. */
i32 gpon_pkt_init_fwd_info(const sk_buff* skb, gpon_walk_result* result);

/* The walk of one direction; 0 or -1. */
i32 gpon_pkt_upstream_uni(sk_buff* skb, gpon_walk_result* result) GPON_READS_LISTS;
i32 gpon_pkt_upstream_ani(sk_buff* skb, gpon_walk_result* result) GPON_READS_LISTS;
i32 gpon_pkt_downstream_ani(sk_buff* skb, gpon_walk_result* result) GPON_READS_LISTS;
i32 gpon_pkt_downstream_uni(sk_buff* skb, gpon_walk_result* result);
}

namespace gpon {

/* What gpon_pkt_general_flow_func does with a frame whose outcome is not known, under its name. The
 * generation is the one that was current before. */
i32 classify(sk_buff* skb, u16 fwd_flag, u64 generation);

} // namespace gpon

#endif

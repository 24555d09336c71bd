/* SPDX-License-Identifier: GPL-2.0-only */
/* Classifies one packet: replays its rule, or walks the graph and learns a rule. */
#ifndef GPON_PKT_FLOW_H
#define GPON_PKT_FLOW_H

#include "../hash/outcome_table.h"
#include "../include/packet_flow.h"
#include "../platform/api/kernel_api.h"

extern "C" {

/* Clears the result and sets its header summary; returns 0 or -1. It has no caller in the module
 * and the tool, which also need the summary itself: it is for code linked into the module that
 * starts a walk itself, such as tests. Packet path. */
[[nodiscard]] i32 gpon_pkt_init_fwd_info(const sk_buff* skb, gpon_walk_result* result);

/* The walk of one direction; returns 0 or -1. */
[[nodiscard]] i32 gpon_pkt_upstream_uni(sk_buff* skb, gpon_walk_result* result) GPON_READS_LISTS;
[[nodiscard]] i32 gpon_pkt_upstream_ani(sk_buff* skb, gpon_walk_result* result) GPON_READS_LISTS;
[[nodiscard]] i32 gpon_pkt_downstream_ani(sk_buff* skb, gpon_walk_result* result) GPON_READS_LISTS;
[[nodiscard]] i32 gpon_pkt_downstream_uni(sk_buff* skb, gpon_walk_result* result);
}

namespace gpon {

/* The part of gpon_pkt_general_flow_func for a frame without a remembered outcome; it prints under
 * that name. The generation is the one that was current before; the key is null if no outcome is to
 * be remembered. */
[[nodiscard]] i32 classify(sk_buff* skb, u16 fwd_flag, u64 generation, const outcome_key* key);

} // namespace gpon

#endif

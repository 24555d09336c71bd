/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The flow walk: from where a packet enters the graph of managed entities to where it leaves.
 *
 * Way. Upstream from the UNI (PPTP or VEIP) or from each bridge, downstream from the GEM
 * interworking TP of the packet's GEM port. A step asks its class's forward function; status 2
 * goes on to the class's next-class rows, whose relation queries name the instances to try, depth
 * first. Status 3 ends the walk, which is then learnt as a rule.
 *
 * State. One gpon_walk_result on the stack of the entry, passed along all steps; nothing else
 * outlives a step. The walk takes no lock and must run inside an RCU read section, which the entry
 * opens. At most nine steps are made: the tenth fails the packet, and bounds the stack.
 *
 * Odd rules that are meant. The trace is indexed by depth and never cleared, so that entries below
 * the end keep what an abandoned branch wrote, are learnt and are replayed. The walk result is not
 * reset between PPTP and VEIP, nor between bridges. A row ends when a query answers an id that
 * stands before the previous answer: a link recorded twice would otherwise go round for ever.
 */
#ifndef GPON_PKT_WALK_H
#define GPON_PKT_WALK_H

#include "../include/packet_flow.h"
#include "../platform/api/kernel_api.h"

extern "C" {

/* One step and all below it. 0: decided, look at ret_val; -1: failed. */
i32 gpon_pkt_general_forward(sk_buff* skb, const gpon_fwd_info* fwd_info,
                             gpon_walk_result* result) GPON_READS_LISTS;

/* Tries the instances behind a step's next-class rows. */
i32 gpon_pkt_next_forward(sk_buff* skb, const gpon_fwd_info* fwd_info,
                          struct gpon_walk_result* result,
                          const struct gpon_me_next_class* next_classes) GPON_READS_LISTS;
}

#endif

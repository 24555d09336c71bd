/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The flow walk: the search for a path of a packet through the graph of managed entities.
 *
 * Halves. A packet crosses the ONU in two halves, and each half is a walk of its own:
 *
 *     UP_UNI      UNI port --> 11 or 329 --> 47 ==> bridge
 *     UP_ANI      bridge 45 --> 47 --> 130 --> 266 --> 268 ==> GEM port
 *                                '-----------> 266 --> 268 ==> GEM port
 *     DOWN_ANI    GEM port --> 266 --> 130 --> 47 ==> bridge
 *                               '------------> 47 ==> bridge
 *                 GEM port --> 281 ----------> 47 ==> bridge    (multicast)
 *     DOWN_UNI    no step, always succeeds
 *
 *     11 PPTP, 329 VEIP, 45 bridge, 47 bridge port, 130 mapper, 266 GEM interworking TP,
 *     281 multicast GEM interworking TP, 268 GEM port CTP; ==> is the egress of the half
 *
 * UP_UNI tries the PPTP before the VEIP, UP_ANI tries every bridge in list order. A mapper has no
 * next-class row for UP_UNI, so a branch from a UNI to a mapper ends there.
 *
 * Levels. A step is one level of recursion. gpon_pkt_general_forward calls the forward function of
 * the step's class. Status 1 ends the branch, status 3 ends the walk, which is then learnt as a
 * rule. Status 2 continues with gpon_pkt_next_forward: for each next-class row of the direction,
 * the relation queries return the instances to try, depth first.
 *
 *     recurse_num     1           2           3            4            5
 *     step            45/1 --+--> 47/2 --+--> 130/1 -----> 266/1 -----> 268/1    status 3
 *                            |           '--> 266/7      tried next if 130/1 ends its branch
 *                            '--> 47/3                   tried next if 47/2 ends its branch
 *     trace.step      [0]         [1]         [2]          [3]          [4]
 *
 * State. One gpon_walk_result on the stack of the entry function, passed along all steps; a step
 * leaves nothing else behind. The walk takes no lock and runs inside an RCU read section, which the
 * entry function opens. A walk has at most nine levels, which bounds the stack: the tenth fails the
 * packet.
 *
 * Deliberate quirks. The trace is indexed by depth and never cleared: entries after the last step
 * keep the steps of an abandoned branch, are learnt and are replayed. The walk result is reset
 * neither between PPTP and VEIP nor between bridges. A row ends when a query returns an id that is
 * recorded before the previous result: a link recorded twice would otherwise loop forever.
 */
#ifndef GPON_PKT_WALK_H
#define GPON_PKT_WALK_H

#include "../include/packet_flow.h"
#include "../platform/api/kernel_api.h"

extern "C" {

/* One step and all levels below it. Returns 0 with the status in ret_val, or -1 on failure. */
[[nodiscard]] i32 gpon_pkt_general_forward(sk_buff* skb, const gpon_fwd_info* fwd_info,
                                           gpon_walk_result* result) GPON_READS_LISTS;

/* Tries the instances of a step's next-class rows. Returns 0, or -1 on failure. */
[[nodiscard]] i32
gpon_pkt_next_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, struct gpon_walk_result* result,
                      const struct gpon_me_next_class* next_classes) GPON_READS_LISTS;
}

#endif

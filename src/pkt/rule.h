/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Rules: the steps of a successful walk are stored under the frame's header fields; a later frame
 * of the same flow replays them. Packet path, inside an RCU read section.
 */
#ifndef GPON_PKT_RULE_H
#define GPON_PKT_RULE_H

#include "../base/log.h"
#include "../hash/generation.h"
#include "../include/packet_flow.h"

extern "C" {

/* Fills a zeroed buffer of GPON_RULE_KEY_BUFFER bytes with the key and its length, 16 bytes and 4
 * for each of the first four tags; all fields in host order. */
void gpon_rule_generate_key(const gpon_pkt_info* info, u16 fwd_flag, u8* key, u16* key_len);

/* Learn the steps of a walk. Return 0, also if the table does not store them; -1 for a null packet.
 * walked_in is the number that the store had when the walk began; if the store has another number
 * now, a command has changed it, and the steps are not learnt. The first one has no caller in the
 * module and the tool, which have the header summary: it is for code linked into the module that
 * has only the packet, such as tests. */
[[nodiscard]] i32 gpon_rule_generate_trace(const sk_buff* skb, u16 fwd_flag,
                                           const gpon_walk_result* result);
[[nodiscard]] i32 gpon_rule_add_inst(const gpon_pkt_info* info, u16 fwd_flag,
                                     const gpon_rule_trace* trace, u64 walked_in = gpon::ANY_STORE);

/* Return 0 and the learnt steps, or -1 and a cleared trace without them. The first one has no
 * caller in the module and the tool either and is for the same code. */
[[nodiscard]] i32 gpon_rule_lookup_trace(const sk_buff* skb, u16 fwd_flag, gpon_rule_trace* trace);
[[nodiscard]] i32 gpon_rule_get_inst(const gpon_pkt_info* info, u16 fwd_flag,
                                     gpon_rule_trace* trace);

/* Replays the steps of result->trace in the direction of fwd_info. It trusts them: it makes no
 * query, counts no depth and ignores the status. A failed step ends the replay and has no other
 * effect. Returns false if a step failed. */
[[nodiscard]] bool gpon_pkt_quick_forward(sk_buff* skb, gpon_fwd_info* fwd_info,
                                          gpon_walk_result* result) GPON_READS_LISTS;

/* Upstream towards the ANI: writes the GEM port id into the packet and has the platform choose the
 * queue. Returns 0, or -1 if the platform finds none. */
[[nodiscard]] i32 gpon_pkt_handle_after_fwd_done(sk_buff* skb, u16 fwd_flag,
                                                 const gpon_walk_result* result);
}

namespace gpon {

struct rule_key {
    u8 bytes[GPON_RULE_KEY_BUFFER] = {};
    u16 length = 0;

    /* The key of a frame, without the message of gpon_rule_generate_key. */
    [[nodiscard]] static rule_key of(const gpon_pkt_info& info, u16 fwd_flag);
};

/* gpon_rule_lookup_trace and gpon_rule_generate_trace for a caller that has the frame's summary.
 * The steps are written to where the walk has them: an optional copies them twice, which costs 14
 * instructions for each replay (./run bench-check). */
[[nodiscard]] i32 lookup_rule(const gpon_pkt_info& info, u16 fwd_flag, gpon_rule_trace* trace);
[[nodiscard]] i32 learn_rule(const gpon_pkt_info& info, u16 fwd_flag, const gpon_rule_trace& trace,
                             u64 walked_in);

/* Counts and reports a frame for which the platform, if it was asked, found no queue. Returns -1.
 */
[[nodiscard]] i32 report_missing_queue(const sk_buff* skb, bool was_asked);

/* Writes the GEM port id into the packet and has the platform choose the queue. Returns 0, or -1 if
 * the platform finds none. Inline: the quick path has no other function between itself and the
 * platform. */
[[nodiscard]] inline i32 choose_queue(sk_buff* skb, u16 gemport_id)
{
    skb_set_gemport_id(skb, gemport_id);
    int (*const queue_mapping)(sk_buff*) = load_relaxed(gpon_queue_mapping_hook);
    if (!queue_mapping) [[unlikely]]
        return report_missing_queue(skb, false);
    if (queue_mapping(skb) != 0) [[unlikely]]
        return report_missing_queue(skb, true);
    return 0;
}

} // namespace gpon

#endif

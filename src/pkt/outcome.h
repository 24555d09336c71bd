/* SPDX-License-Identifier: GPL-2.0-only */
/* Classifies one packet by the remembered outcome of its flow (hash/outcome_table.h), otherwise by
 * its rule or a walk (flow.h). Packet path. */
#ifndef GPON_PKT_OUTCOME_H
#define GPON_PKT_OUTCOME_H

#include "../hash/outcome_table.h"
#include "../include/packet_flow.h"
#include "../platform/api/kernel_api.h"

extern "C" {

/* Classifies one packet in one direction (a single fwd_flag bit), replays or learns its rule, and
 * has the platform choose the queue upstream. Returns 0, or -1 with messages. Softirq. */
[[nodiscard]] i32 gpon_pkt_general_flow_func(sk_buff* skb, u16 fwd_flag);
}

namespace gpon {

/* Remembers the result of the replay of a rule, if every replay has this result. The key is that of
 * the frame before the replay, or null if nothing is to be remembered for it; info is its summary;
 * the generation is the one that was current before the lookup of the rule. */
void remember_replay(const outcome_key* key, const gpon_pkt_info& info, u16 fwd_flag,
                     u64 generation, bool every_step_made, u16 gemport_id);

} // namespace gpon

#endif

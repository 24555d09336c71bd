/* SPDX-License-Identifier: GPL-2.0-only */
/* One packet: by the remembered outcome of its flow (hash/outcome_table.h), else by its rule or its
 * walk (flow.h). Packet path. */
#ifndef GPON_PKT_OUTCOME_H
#define GPON_PKT_OUTCOME_H

#include "../include/packet_flow.h"
#include "../platform/api/kernel_api.h"

extern "C" {

/* Classifies one packet in one direction (a single fwd_flag bit), replays or learns its rule, and
 * lets the platform choose the queue upstream. 0, or -1 with messages. Softirq. */
i32 gpon_pkt_general_flow_func(sk_buff* skb, u16 fwd_flag);
}

namespace gpon {

/* Remembers what the replay of a rule has yielded, if every replay would yield it. The generation
 * is the one that was current before the rule was looked up. */
void remember_replay(const sk_buff* skb, u16 fwd_flag, u64 generation, bool every_step_made,
                     u16 gemport_id);

} // namespace gpon

#endif

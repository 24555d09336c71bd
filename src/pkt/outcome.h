/* SPDX-License-Identifier: GPL-2.0-only */
/* Which frames may use a remembered outcome (hash/outcome_table.h). Packet path. */
#ifndef GPON_PKT_OUTCOME_H
#define GPON_PKT_OUTCOME_H

#include "../base/log.h"
#include "../hash/outcome_table.h"
#include "header.h"

namespace gpon {

inline bool outcomes_are_used()
{
#ifdef GPON_HOST_BUILD
    return gpon_host_remembers_outcomes;
#else
    return true;
#endif
}

/* True when no message about this packet can be printed: a replay then prints nothing. */
inline bool is_silent(const sk_buff* skb)
{
    return debug_level() == 0 && !(flag_word_of(skb) & GPON_FLOW_TRACE_MARK);
}

/* The packed rule key of a frame. False for a frame whose rule key has more than two tags or reads
 * beyond the frame's end; a frame whose tag count wraps to 0 is one of them. */
inline bool make_outcome_key(const sk_buff* skb, u16 fwd_flag, outcome_key* key)
{
    constexpr u32 FIRST_TAG = TYPE_OFFSET, SECOND_TAG = FIRST_TAG + TAG_BYTES,
                  THIRD_TAG = SECOND_TAG + TAG_BYTES;
    const frame f = frame::of(skb);
    if (f.length < THIRD_TAG + sizeof(u16))
        return false;
    u32 outer = 0, inner = 0;
    if (is_tpid(f.be16(FIRST_TAG))) {
        outer = load_unaligned<u32>(f.bytes + FIRST_TAG);
        if (is_tpid(f.be16(SECOND_TAG))) {
            if (is_tpid(f.be16(THIRD_TAG)))
                return false;
            inner = load_unaligned<u32>(f.bytes + SECOND_TAG);
        }
    }
    *key = {{load_unaligned<u64>(f.bytes),
             load_unaligned<u32>(f.bytes + sizeof(u64)) | u64{outer} << 32,
             inner | u64{fwd_flag} << 32}};
    return true;
}

/* Is a replay the same each time? Upstream towards the ANI it must have made every step. */
inline bool is_repeatable(u16 fwd_flag, bool every_step_made)
{
    switch (fwd_flag) {
    case UP_UNI:
    case DOWN_ANI:
    case DOWN_UNI:
        return true;
    case UP_ANI:
        return every_step_made;
    default:
        return false;
    }
}

} // namespace gpon

#endif

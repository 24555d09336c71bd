/* SPDX-License-Identifier: GPL-2.0-only */
/* The trace events of a frame (platform/api/tracepoint.h). Each function returns at once while
 * nobody traces its event. Packet path. */
#ifndef GPON_PKT_FRAME_EVENTS_H
#define GPON_PKT_FRAME_EVENTS_H

#include "../base/tracepoint.h"
#include "../include/packet_flow.h"

namespace gpon {

/* Out of line, for the functions below: the record of an event is on the stack only while it is
 * sent. */
void send_frame_event(gpon_tracepoint point, const sk_buff* skb, u16 fwd_flag, gpon_frame_end end,
                      u16 gemport_id, bool remembered = false);
void send_step_event(gpon_tracepoint point, const sk_buff* skb, const gpon_fwd_info& step, u8 depth,
                     gpon_step_status status, u8 decision);

inline void trace_walk_start(const sk_buff* skb, u16 fwd_flag)
{
    if (is_traced(GPON_TRACEPOINT_WALK_START)) [[unlikely]]
        send_frame_event(GPON_TRACEPOINT_WALK_START, skb, fwd_flag, GPON_END_PASSED, 0);
}

/* status is a fwd_status or GPON_STEP_FAILED, which have the numbers of gpon_step_status. */
inline void trace_step(const sk_buff* skb, const gpon_fwd_info& step,
                       const gpon_walk_result& result, i32 status)
{
    if (is_traced(GPON_TRACEPOINT_WALK_STEP)) [[unlikely]]
        send_step_event(GPON_TRACEPOINT_WALK_STEP, skb, step, result.recurse_num,
                        static_cast<gpon_step_status>(status), result.decision);
}

/* place is the index of the step in its rule. */
inline void trace_replay_step(const sk_buff* skb, const gpon_fwd_info& step,
                              const gpon_walk_result& result, u32 place, bool failed)
{
    if (is_traced(GPON_TRACEPOINT_REPLAY_STEP)) [[unlikely]]
        send_step_event(GPON_TRACEPOINT_REPLAY_STEP, skb, step, static_cast<u8>(place + 1),
                        failed ? GPON_STEP_FAILED : static_cast<gpon_step_status>(result.ret_val),
                        result.decision);
}

inline void trace_walk_end(const sk_buff* skb, u16 fwd_flag, gpon_frame_end end, u16 gemport_id)
{
    if (is_traced(GPON_TRACEPOINT_WALK_END)) [[unlikely]]
        send_frame_event(GPON_TRACEPOINT_WALK_END, skb, fwd_flag, end, gemport_id);
}

/* A frame whose rule was replayed, or whose remembered outcome was used. */
inline void trace_hit(const sk_buff* skb, u16 fwd_flag, u16 gemport_id, bool remembered)
{
    if (is_traced(GPON_TRACEPOINT_RULE_HIT)) [[unlikely]]
        send_frame_event(GPON_TRACEPOINT_RULE_HIT, skb, fwd_flag, GPON_END_PASSED, gemport_id,
                         remembered);
}

/* A frame that the platform drops; the packet may be null. gemport_id is the port without queue. */
inline void trace_drop(const sk_buff* skb, u16 fwd_flag, gpon_frame_end reason, u16 gemport_id = 0)
{
    if (is_traced(GPON_TRACEPOINT_DROP)) [[unlikely]]
        send_frame_event(GPON_TRACEPOINT_DROP, skb, fwd_flag, reason, gemport_id);
}

} // namespace gpon

#endif

// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "frame_events.h"

#include "../base/log.h"
#include "header.h"

static_assert(static_cast<i32>(GPON_STEP_ENDS_BRANCH) == FLOW_PKT_NOT_FORWARD &&
              static_cast<i32>(GPON_STEP_CONTINUES) == FLOW_PKT_FORWARD &&
              static_cast<i32>(GPON_STEP_REACHES_EGRESS) == FLOW_PKT_FORWARD_DONE);

namespace {

// Reads the frame itself: not every event has its summary, and gpon_pkt_form_info logs.
void read_header(const sk_buff* skb, gpon_traced_frame& traced)
{
    const gpon::frame f = gpon::frame::of(skb);
    f.copy(traced.dst_mac, 0);
    f.copy(traced.src_mac, sizeof(traced.dst_mac));
    u8 tags = 0; // counted in 8 bits, as in a rule key
    for (u32 at = gpon::TYPE_OFFSET; gpon::is_tpid(f.be16(at)); at += gpon::TAG_BYTES, ++tags)
        if (at < gpon::TYPE_OFFSET + GPON_TRACED_TAGS * gpon::TAG_BYTES)
            traced.tag[tags] = u32{f.be16(at)} << 16 | f.be16(at + 2);
    traced.tags = tags;
}

} // namespace

void gpon::send_frame_event(gpon_tracepoint point, const sk_buff* skb, u16 fwd_flag,
                            gpon_frame_end end, u16 gemport_id, bool remembered)
{
    gpon_trace_record record = {};
    record.point = point;
    record.frame.packet = skb;
    record.frame.direction = fwd_flag;
    if (skb) {
        record.marked = gpon::is_marked(skb);
        read_header(skb, record.frame);
    }
    record.end = end;
    record.gemport_id = gemport_id;
    record.remembered = remembered;
    hit_tracepoint(&record);
}

void gpon::send_step_event(gpon_tracepoint point, const sk_buff* skb, const gpon_fwd_info& step,
                           u8 depth, gpon_step_status status, u8 decision)
{
    gpon_trace_record record = {};
    record.point = point;
    record.frame.packet = skb;
    record.frame.direction = step.fwd_flag;
    record.marked = is_marked(skb);
    record.step = {gpon::class_number(step.classId), step.instId, depth, decision, status};
    hit_tracepoint(&record);
}

// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "trace.h"

#include "../base/log.h"
#include "../pkt/header.h"

namespace {

constexpr i32 BYTES_A_LINE = 16;

bool has_mac(const gpon::frame& f, u32 at, const u8 (&mac)[6])
{
    u8 found[6];
    f.copy(found, at);
    return gpon::same_bytes(found, mac, sizeof(found));
}

// The tag part of the filter. The cursor passes the outer tag only if the filter contains one: with
// only an inner tag in the filter, it is compared with the first tag of the frame.
bool passes_tags(const gpon::frame& f, const gpon_trace_cfg& filter)
{
    bool passes = true;
    u32 cursor = gpon::TYPE_OFFSET;
    if (filter.valid_mask & TRACE_OUTER_VLAN) {
        const bool tagged = gpon::is_tpid(f.be16(cursor));
        passes = tagged && f.be16(cursor + 2) == filter.outer_vlan;
        cursor += tagged ? 4 : 2;
    }
    if (filter.valid_mask & TRACE_INNER_VLAN)
        passes = passes && gpon::is_tpid(f.be16(cursor)) && f.be16(cursor + 2) == filter.inner_vlan;
    return passes;
}

} // namespace

i32 gpon_flow_is_trace_skb(const sk_buff* skb)
{
    if (!skb || gpon::load_relaxed(trace_cfg.valid_mask) == 0)
        return 0;
    // Operators write the filter without a lock; a packet may see a partial change.
    gpon_trace_cfg filter;
    gpon::copy_words_from_shared<u16>(reinterpret_cast<u8*>(&filter),
                                      reinterpret_cast<const u8*>(&trace_cfg), sizeof(filter));
    const gpon::frame f = gpon::frame::of(skb);
    if ((filter.valid_mask & TRACE_DST_MAC) && !has_mac(f, 0, filter.dst_mac))
        return 0;
    if ((filter.valid_mask & TRACE_SRC_MAC) && !has_mac(f, 6, filter.src_mac))
        return 0;
    return passes_tags(f, filter);
}

void gpon_flow_dump_skb(const sk_buff* skb, i32 count)
{
    const gpon::frame f = skb ? gpon::frame::of(skb) : gpon::frame{};
    for (i32 i = 0; i < count; ++i) {
        if (i % BYTES_A_LINE == 0)
            pr_cont(" \n%.4x: ", static_cast<u32>(i));
        else if (i % BYTES_A_LINE == BYTES_A_LINE / 2)
            pr_cont(" ");
        pr_cont("%.2x ", f.at(static_cast<u32>(i)));
    }
    pr_cont("\n");
}

void gpon_flow_dump_skb_data(const sk_buff* skb, i32 count)
{
    const gpon::frame f = skb ? gpon::frame::of(skb) : gpon::frame{};
    if (!f.bytes.data()) {
        log_error("[%s][%d]skb is NULL\n");
        return;
    }
    for (i32 i = 0; i < count; ++i) {
        pr_cont("%02x ", f.at(static_cast<u32>(i)));
        if (i % BYTES_A_LINE == BYTES_A_LINE - 1)
            pr_cont("\n");
    }
    pr_cont("\n");
}

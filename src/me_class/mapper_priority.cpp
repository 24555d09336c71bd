// SPDX-License-Identifier: GPL-2.0-only
#include "mapper_priority.h"

#include "../base/optional.h"
#include "../pkt/header.h"
#include "classes.h"
#include "forward_step.h"

namespace {

// Priority of the frame; none if the mapper does not map untagged frames.
gpon::optional<u8> pbit_handle(const sk_buff* skb, const gpon_raw_mapper* me)
{
    log_trace("[%s][%d]: Enter\n");
    const i32 pbit = gpon_pkt_get_pbit(skb);
    if (pbit != -1)
        return static_cast<u8>(pbit);
    if (me->unmark_frame_opt == gpon::FROM_DEFAULT_PBIT)
        return me->defaultPbit;
    if (me->unmark_frame_opt != gpon::FROM_DSCP)
        return {};
    const i32 dscp = gpon_pkt_get_dscp(skb);
    // The DSCP of IPv6 is negative here; its low six bits are correct.
    return dscp == -1 ? u8{0} : gpon::mapped_priority(me->dscp2pbitMap, dscp & 63);
}

} // namespace

// The map has 64 priorities of 3 bits, packed from the most significant bit of the first byte
// onwards: eight big-endian words of 24 bits hold eight priorities each.
u8 gpon::mapped_priority(std::span<const u8, 24> map, u32 dscp)
{
    const u8* word = map.data() + dscp / 8 * 3;
    const u32 bits = static_cast<u32>(word[0] << 16 | word[1] << 8 | word[2]);
    return static_cast<u8>((bits >> (21 - 3 * (dscp % 8))) & 7);
}

u16 gpon::selected_gem_iw(const gpon_raw_mapper& me, u8 priority)
{
    const size_t at = offsetof(gpon_raw_mapper, pbit_GemIWTP) + priority * sizeof(u16);
    if (at + sizeof(u16) > sizeof(me))
        return 0;
    return load_unaligned<u16>(reinterpret_cast<const u8*>(&me) + at);
}

i32 pbit_filter_handle(const sk_buff* skb, const op_info* op)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    log_trace("[%s][%d]: Enter\n");
    if (!skb || !op) {
        log_error("[%s][%d]: Parameter is NULL: Fail\r\n");
        return -1;
    }
    gpon::raw_record<gpon_raw_mapper> me(op->walk ? &op->walk->memory : nullptr);
    if (!me || !me.read(gpon::find_inst(&gpon_mapper_list, op->related_inst_id)))
        return gpon::refuse_unread(op);
    if (!(op->fwd_flag & UP_ANI)) {
        log.error("[%s][%d]: op_info->fwd_flag(%d): Fail\r\n", op->fwd_flag);
        return -1;
    }
    const gpon::optional<u8> priority = pbit_handle(skb, me.get());
    if (!priority)
        return -1;
    const u16 gem_iw = gpon::selected_gem_iw(*me.get(), *priority);
    if (gem_iw == 0 || gem_iw != op->inst_id)
        return -1;
    log.trace("[%s][%d]: end, return 0\n");
    return 0;
}

// SPDX-License-Identifier: GPL-2.0-only
#include "header.h"

#include "../base/log.h"
#include "../include/tci.h"

namespace {

using gpon::frame;

// The type constants for the DSCP reader, which compares them without conversion.
constexpr u16 RAW_IPV4 = 0x0800;
constexpr u16 RAW_PPPOE_SESSION = 0x8864;
constexpr u16 RAW_IPV6 = 0x86DD;
constexpr u16 RAW_PPP_IPV4 = 0x21;
constexpr u16 RAW_PPP_IPV6 = 0x57;

i32 ipv4_dscp(const frame& f, u32 header)
{
    return f.at(header) >> 4 == 4 ? f.at(header + 1) >> 2 : -1;
}

i32 ipv6_dscp(const frame& f, u32 header)
{
    if (f.at(header) >> 4 != 6)
        return -1;
    return static_cast<i8>(f.be16(header) >> 6);
}

i32 pppoe_dscp(const frame& f, u32 type_at)
{
    switch (f.host16(type_at + 8)) {
    case RAW_PPP_IPV4:
        return ipv4_dscp(f, type_at + 10);
    case RAW_PPP_IPV6:
        return ipv6_dscp(f, type_at + 10);
    default:
        return -1;
    }
}

} // namespace

i32 gpon::dscp_behind_tags(const frame& f, u8 tags)
{
    const u32 type_at = TYPE_OFFSET + TAG_BYTES * tags;
    switch (f.host16(type_at)) {
    case RAW_PPPOE_SESSION:
        return pppoe_dscp(f, type_at);
    case RAW_IPV4:
        return ipv4_dscp(f, type_at + 2);
    case RAW_IPV6:
        return ipv6_dscp(f, type_at + 2);
    default:
        return -1;
    }
}

void gpon::trace_form_info()
{
    log_context::of<gpon_pkt_form_info>().trace("[%s][%d]: Enter\n");
    log_context::of<gpon_pkt_get_vlan_tag_num>().trace("[%s][%d]: Enter\n");
}

i32 gpon_pkt_get_vlan_tag_num(const sk_buff* skb, u8* count)
{
    log_trace("[%s][%d]: Enter\n");
    if (!skb || !count) {
        log_error("[%s][%d] end, Parameter is NULL: Fail\n");
        return -1;
    }
    *count = gpon::tag_count(frame::of(skb));
    return 0;
}

i32 gpon_pkt_form_info(const sk_buff* skb, gpon_pkt_info* info)
{
    log_trace("[%s][%d]: Enter\n");
    if (!skb || !info) {
        log_error("[%s][%d] end, Parameter is NULL: Fail\n");
        return -1;
    }
    log_context::of<gpon_pkt_get_vlan_tag_num>().trace("[%s][%d]: Enter\n");
    *info = {};
    const frame f = frame::of(skb);
    const u8 tags = gpon::tag_count(f);
    f.copy(info->dst_mac, 0);
    f.copy(info->src_mac, 6);
    info->port_word = skb_port_word(skb);
    info->tag_num = tags;
    info->mark_word = skb_mark_word(skb);
    for (u32 i = 0; i < tags && i < GPON_MAX_TAGS; ++i) {
        info->tpid[i] = f.be16(gpon::TYPE_OFFSET + gpon::TAG_BYTES * i);
        info->tci[i] = f.be16(gpon::TYPE_OFFSET + 2 + gpon::TAG_BYTES * i);
    }
    return 0;
}

i32 gpon_pkt_get_outer_vlan_tci(const sk_buff* skb, u16* tci)
{
    GPON_WRITTEN_WHOLE const packet_log log = packet_log::here(skb);
    log_trace("[%s][%d] enter, eth_type=0x%x\n", 0);
    if (!skb || !tci) {
        log_error("[%s][%d] end, Parameter is NULL: Fail\n");
        return -1;
    }
    const frame f = frame::of(skb);
    const u16 type = f.be16(gpon::TYPE_OFFSET);
    *tci = gpon::has_outer_tci(type) ? f.be16(gpon::TYPE_OFFSET + 2) : u16{0};
    log.trace("[%s][%d] end, vlanTci=0x%x\n", *tci);
    return 0;
}

i32 gpon_pkt_get_pbit(const sk_buff* skb)
{
    log_trace("[%s][%d]: Enter\n");
    if (!skb) {
        log_error("[%s][%d] end, Parameter is NULL: Fail\n");
        return -1;
    }
    u16 tci = 0;
    gpon_pkt_get_outer_vlan_tci(skb, &tci);
    return tci == 0 ? -1 : gpon::priority_of(tci);
}

i32 gpon_pkt_get_dscp(const sk_buff* skb)
{
    log_trace("[%s][%d]: Enter\n");
    if (!skb) {
        log_error("[%s][%d] end, Parameter is NULL: Fail\n");
        return -1;
    }
    u8 tags = 0;
    gpon_pkt_get_vlan_tag_num(skb, &tags);
    return gpon::dscp_behind_tags(frame::from_mac_header(skb), tags);
}

i32 gpon_flow_is_valid_ether_type(u16 type)
{
    log_trace("[%s][%d]: Enter\n");
    return type == 0x0081 || type == 0x0091 || type == 0xA888;
}

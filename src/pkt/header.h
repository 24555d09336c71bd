/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Readers of a frame's Ethernet header (IEEE 802.3, 802.1Q, 802.1ad). Packet path.
 *
 * Bytes beyond the end of a frame read as 0; no read is outside the frame. TPIDs are 0x8100, 0x9100
 * and 0x88A8, but the outer TCI is read only after 0x8100 and 0x88A8.
 */
#ifndef GPON_PKT_HEADER_H
#define GPON_PKT_HEADER_H

#include "../base/bytes.h"
#include "../include/packet_flow.h"
#include "../include/tpid.h"
#include "../platform/api/kernel_api.h"

extern "C" {

/* Number of stacked tags, counted in 8 bits. Returns 0, or -1 for a null packet (count unchanged).
 */
i32 gpon_pkt_get_vlan_tag_num(const sk_buff* skb, u8* count);

/* The header summary; returns 0 or -1. It contains the first four tags; tag_num is the true count.
 */
[[nodiscard]] i32 gpon_pkt_form_info(const sk_buff* skb, gpon_pkt_info* info);

/* TCI of the outer tag in host order, 0 for an untagged frame. Returns 0, or -1 for a null
 * argument; without one, the result may be ignored. */
i32 gpon_pkt_get_outer_vlan_tci(const sk_buff* skb, u16* tci);

/* Priority of the outer tag, 0 to 7; -1 for an untagged frame and for a TCI of 0. */
[[nodiscard]] i32 gpon_pkt_get_pbit(const sk_buff* skb);

/* DSCP of an IPv4 header (0 to 63), of an IPv6 header (the same, less 128), or -1. The type field
 * is compared in the order in which the CPU loads it, so on a little-endian CPU only frames with
 * swapped type bytes have a DSCP. Provisioned lines depend on this. */
[[nodiscard]] i32 gpon_pkt_get_dscp(const sk_buff* skb);

/* 1 if the type, in memory order, is one of the three TPIDs. It has no caller in the module and the
 * tool: it is for code linked into the module that has the type without the frame. Any context. */
[[nodiscard]] i32 gpon_flow_is_valid_ether_type(u16 type);
}

namespace gpon {

/* Prints the trace of gpon_pkt_form_info, for a caller that already has the frame's summary. */
void trace_form_info();

constexpr u32 TYPE_OFFSET = 12;
constexpr u32 TAG_BYTES = 4;

/* A frame that can be read at any offset. */
struct frame {
    std::span<const u8> bytes;

    [[nodiscard]] static frame of(const sk_buff* skb)
    {
        const gpon_frame_bytes readable = skb_frame(skb);
        return {{readable.first, readable.bytes}};
    }

    [[nodiscard]] static frame from_mac_header(const sk_buff* skb)
    {
        const gpon_frame_bytes readable = skb_mac_frame(skb);
        return {{readable.first, readable.bytes}};
    }

    [[nodiscard]] bool holds(size_t offset, size_t count) const
    {
        return count <= bytes.size() && offset <= bytes.size() - count;
    }

    [[nodiscard]] u8 at(u32 offset) const { return offset < bytes.size() ? bytes[offset] : u8{0}; }

    /* Two bytes in network order. */
    [[nodiscard]] u16 be16(u32 offset) const
    {
        if (holds(offset, sizeof(u16))) [[likely]]
            return static_cast<u16>(bytes[offset] << 8 | bytes[offset + 1]);
        return static_cast<u16>(at(offset) << 8);
    }

    /* Two bytes in the order in which the CPU loads them. */
    [[nodiscard]] u16 host16(u32 offset) const
    {
        return static_cast<u16>(at(offset) | at(offset + 1) << 8);
    }

    /* A word as it lies in a frame that is known to hold it. */
    template <typename Word> [[nodiscard]] Word word_at(u32 offset) const
    {
        return load_unaligned<Word>(&bytes[offset]);
    }

    template <size_t count> void copy(u8 (&to)[count], u32 offset) const
    {
        if (holds(offset, count)) [[likely]] {
            copy_bytes(to, &bytes[offset], count);
            return;
        }
        for (u32 i = 0; i < count; ++i)
            to[i] = at(offset + i);
    }
};

/* Number of stacked tags, counted in 8 bits. */
[[nodiscard]] inline u8 tag_count(const frame& f)
{
    u8 tags = 0;
    for (u32 at = TYPE_OFFSET; is_tpid(f.be16(at)); at += TAG_BYTES)
        ++tags;
    return tags;
}

/* gpon_pkt_get_dscp of a frame with this number of tags. */
[[nodiscard]] i32 dscp_behind_tags(const frame& f, u8 tags);

} // namespace gpon

#endif

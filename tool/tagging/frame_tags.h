// SPDX-License-Identifier: GPL-2.0-only
// An Ethernet frame as addresses, VLAN tags and the rest.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace gponflow {

struct frame_tag {
    uint16_t tpid = 0x8100;
    uint8_t priority = 0;
    bool dei = false;
    uint16_t vid = 0;

    bool operator==(const frame_tag&) const = default;
};

struct tagged_frame {
    std::vector<uint8_t> addresses; ///< 12 bytes
    std::vector<frame_tag> tags;    ///< the outer one first
    std::vector<uint8_t> rest;      ///< from the EtherType
    bool ends_early = false;        ///< within a tag, or before the EtherType

    /// 0 if the frame ends before it.
    [[nodiscard]] uint16_t ethertype() const;
    /// Of an IPv4 or IPv6 header; nothing for other frames.
    [[nodiscard]] std::optional<uint8_t> dscp() const;
    /// Whether the frame is an IP packet that ends before its DSCP.
    [[nodiscard]] bool ends_before_dscp() const;
    /// The extended criterion of a row that the frame fits: 1 DHCPv4, 2 DHCPv6, 0 none. Nothing if
    /// the frame ends before its UDP ports.
    [[nodiscard]] std::optional<uint8_t> extended_criterion() const;
    [[nodiscard]] std::vector<uint8_t> joined() const;
};

[[nodiscard]] frame_tag tag_of(uint16_t tpid, uint16_t tci);

/// In network order.
void append_word(std::vector<uint8_t>& to, uint16_t word);

/// Splits a frame. Tags are those with TPID 0x8100, 0x88a8, 0x9100 or `more`. Nothing if the frame
/// ends within its addresses; a tag that is cut off belongs to the rest.
[[nodiscard]] std::optional<tagged_frame> split_frame(std::span<const uint8_t> frame,
                                                      uint16_t more);

/// "untagged", "VLAN 100 priority 3", "VLAN 10 priority 0 (0x88a8), VLAN 100 priority 3".
[[nodiscard]] std::string tags_text(const std::vector<frame_tag>& tags);

/// The same for the tags of a frame; "too short" for one that ends within its addresses.
[[nodiscard]] std::string tags_text(std::span<const uint8_t> frame, uint16_t more = 0);

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
// Frames that a packet library writes, and the fields that it reads in frames cut at any length. It
// shares no code with the module: if the two disagree, one of them is wrong.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace gpon::reference {

using octets = std::vector<uint8_t>;

struct tag {
    uint16_t tpid;
    uint16_t tci;
    bool operator==(const tag&) const = default;
};

/// What lies behind the tags. DSCP and header options belong to the IP kinds.
enum class inner {
    ipv4,
    ipv4_options,
    ipv6,
    arp,
    pppoe_discovery,
    pppoe_ipv4,
    pppoe_ipv6,
    pppoe_lcp,
    other
};

struct description {
    std::vector<tag> tags;
    inner kind = inner::other;
    uint8_t dscp = 0;           // 0 to 63
    bool type_reversed = false; // the type behind the tags, low byte first
    bool ppp_reversed = false;  // the PPP protocol, low byte first

    std::string text() const;
};

/// The whole frame.
octets build(const description& described);

/// Everything below treats bytes past the end of a frame as 0.

std::string destination(const octets& frame);
std::string source(const octets& frame);

/// Outer to inner.
std::vector<tag> tags(const octets& frame);

/// The DSCP of the IP header behind `tag_count` tags if the type, and for PPPoE the protocol, has
/// its low byte first; `whole` is the frame before it was cut. The result shows whether it is IPv6.
struct code_point {
    uint8_t dscp;
    bool version_6;
    bool operator==(const code_point&) const = default;
};
std::optional<code_point> dscp(const octets& frame, const octets& whole, size_t tag_count);

} // namespace gpon::reference

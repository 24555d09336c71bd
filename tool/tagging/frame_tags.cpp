// SPDX-License-Identifier: GPL-2.0-only
#include "tool/tagging/frame_tags.h"

#include <cstdio>

#include "include/tci.h"
#include "include/tpid.h"
#include "tool/text/ethernet_numbers.h"

namespace gponflow {

namespace {

constexpr size_t both_addresses = 2 * address_bytes;

uint16_t word_at(std::span<const uint8_t> from, size_t at)
{
    return static_cast<uint16_t>(from[at] << 8 | from[at + 1]);
}

bool is_tpid(uint16_t type, uint16_t more)
{
    return gpon::is_tpid(type) || (more != 0 && type == more);
}

// Where the IP header of a frame is, and what it says about its payload.
struct ip_layout {
    size_t protocol_at;
    size_t ports_at;
    uint16_t first_port; ///< of DHCP: this one and the next
};

constexpr size_t ip_at = 2; ///< behind the EtherType
constexpr uint8_t udp = 17;

// Extension headers of IPv6 are not followed: DHCPv6 messages of clients have none.
std::optional<ip_layout> layout_of(const tagged_frame& frame)
{
    if (frame.ethertype() == type_ipv4 && frame.rest.size() > ip_at)
        return ip_layout{ip_at + 9, ip_at + (frame.rest[ip_at] & 0xfu) * 4, 67};
    if (frame.ethertype() == type_ipv6)
        return ip_layout{ip_at + 6, ip_at + 40, 546};
    return {};
}

bool is_later_fragment(const tagged_frame& frame)
{
    constexpr uint16_t offset_mask = 0x1fff;
    return frame.ethertype() == type_ipv4 && (word_at(frame.rest, ip_at + 6) & offset_mask) != 0;
}

} // namespace

frame_tag tag_of(uint16_t tpid, uint16_t tci)
{
    return {tpid, gpon::priority_of(tci), gpon::is_drop_eligible(tci), gpon::vlan_of(tci)};
}

void append_word(std::vector<uint8_t>& to, uint16_t word)
{
    to.push_back(static_cast<uint8_t>(word >> 8));
    to.push_back(static_cast<uint8_t>(word));
}

uint16_t tagged_frame::ethertype() const
{
    return rest.size() >= 2 ? word_at(rest, 0) : uint16_t{0};
}

std::optional<uint8_t> tagged_frame::dscp() const
{
    // The traffic class of IPv6 is in the last four bits of the first byte and the next four.
    if (ethertype() == type_ipv4 && rest.size() >= 4)
        return static_cast<uint8_t>(rest[3] >> 2);
    if (ethertype() == type_ipv6 && rest.size() >= 4)
        return static_cast<uint8_t>(word_at(rest, 2) >> 6 & 0x3f);
    return {};
}

bool tagged_frame::ends_before_dscp() const
{
    return (ethertype() == type_ipv4 || ethertype() == type_ipv6) && !dscp();
}

std::optional<uint8_t> tagged_frame::extended_criterion() const
{
    if (ethertype() != type_ipv4 && ethertype() != type_ipv6)
        return uint8_t{0};
    const std::optional<ip_layout> layout = layout_of(*this);
    if (!layout || rest.size() <= layout->protocol_at)
        return {};
    if (rest[layout->protocol_at] != udp || is_later_fragment(*this))
        return uint8_t{0};
    if (rest.size() < layout->ports_at + 4)
        return {};
    for (const size_t at : {layout->ports_at, layout->ports_at + 2})
        if (const unsigned port = word_at(rest, at);
            port == layout->first_port || port == layout->first_port + 1u)
            return static_cast<uint8_t>(ethertype() == type_ipv4 ? 1 : 2);
    return uint8_t{0};
}

std::vector<uint8_t> tagged_frame::joined() const
{
    std::vector<uint8_t> frame = addresses;
    for (const frame_tag& tag : tags) {
        append_word(frame, tag.tpid);
        append_word(frame, gpon::to_tci(tag.priority, tag.dei, tag.vid));
    }
    frame.insert(frame.end(), rest.begin(), rest.end());
    return frame;
}

std::optional<tagged_frame> split_frame(std::span<const uint8_t> frame, uint16_t more)
{
    if (frame.size() < both_addresses)
        return {};
    tagged_frame result;
    result.addresses.assign(frame.begin(), frame.begin() + both_addresses);
    frame = frame.subspan(both_addresses);
    while (frame.size() >= tag_bytes && is_tpid(word_at(frame, 0), more)) {
        result.tags.push_back(tag_of(word_at(frame, 0), word_at(frame, 2)));
        frame = frame.subspan(tag_bytes);
    }
    result.rest.assign(frame.begin(), frame.end());
    result.ends_early = frame.size() < 2 || is_tpid(word_at(frame, 0), more);
    return result;
}

std::string tags_text(const std::vector<frame_tag>& tags)
{
    std::string text;
    for (const frame_tag& tag : tags) {
        text += (text.empty() ? "" : ", ") + std::string("VLAN ") + std::to_string(tag.vid) +
                " priority " + std::to_string(tag.priority) + (tag.dei ? " DEI" : "");
        char tpid[16];
        std::snprintf(tpid, sizeof(tpid), " (0x%04x)", tag.tpid);
        text += tag.tpid == ordinary_tpid ? "" : tpid;
    }
    return text.empty() ? "untagged" : text;
}

std::string tags_text(std::span<const uint8_t> frame, uint16_t more)
{
    const std::optional<tagged_frame> split = split_frame(frame, more);
    return split ? tags_text(split->tags) : "too short";
}

} // namespace gponflow

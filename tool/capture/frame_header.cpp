// SPDX-License-Identifier: GPL-2.0-only
#include "tool/capture/frame_header.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>

#include <arpa/inet.h>
#include <nlohmann/json.hpp>

#include "include/tpid.h"
#include "tool/text/ethernet_numbers.h"

namespace gponflow {

namespace {

struct numbered {
    unsigned number;
    const char* name;
};

constexpr numbered types[] = {
    {type_ipv4, "IPv4"},         {type_ipv6, "IPv6"}, {0x0806, "ARP"},
    {0x8863, "PPPoE discovery"}, {0x8864, "PPPoE"},   {0x888e, "authentication"},
};

constexpr numbered protocols[] = {
    {1, "ICMP"}, {2, "IGMP"}, {6, "TCP"}, {17, "UDP"}, {58, "ICMPv6"},
};

template <size_t count> const char* name_of(const numbered (&list)[count], unsigned number)
{
    const auto* found = std::ranges::find(list, number, &numbered::number);
    return found == std::end(list) ? nullptr : found->name;
}

std::string hex_word(unsigned number)
{
    std::array<char, 8> text;
    std::snprintf(text.data(), text.size(), "0x%04x", number & 0xffff);
    return text.data();
}

// Reads a frame from its start. A read behind the end of the captured bytes returns nothing, and
// marks the header as cut if the frame itself is longer.
class header_reader {
public:
    explicit header_reader(const captured_frame& frame) : frame_(frame) {}

    frame_header read()
    {
        result_.length = frame_.wire_length;
        result_.destination = mac_at(0);
        result_.source = mac_at(address_bytes);
        if (frame_.cooked)
            result_.destination.clear();
        read_tags();
        if (result_.type == type_ipv4)
            read_ipv4();
        else if (result_.type == type_ipv6)
            read_ipv6();
        return std::move(result_);
    }

private:
    bool holds(size_t end)
    {
        if (end <= frame_.data.size())
            return true;
        result_.cut = result_.cut || end <= frame_.wire_length;
        return false;
    }

    std::optional<uint8_t> byte_at(size_t at)
    {
        return holds(at + 1) ? std::optional(frame_.data[at]) : std::nullopt;
    }

    std::optional<uint16_t> word_at(size_t at)
    {
        if (!holds(at + 2))
            return {};
        return static_cast<uint16_t>(frame_.data[at] << 8 | frame_.data[at + 1]);
    }

    std::string mac_at(size_t at)
    {
        if (!holds(at + address_bytes))
            return {};
        std::array<char, 18> text;
        const uint8_t* mac = frame_.data.data() + at;
        std::snprintf(text.data(), text.size(), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1],
                      mac[2], mac[3], mac[4], mac[5]);
        return text.data();
    }

    void read_tags()
    {
        at_ = 2 * address_bytes;
        std::optional<uint16_t> type = word_at(at_);
        while (type && gpon::is_tpid(*type)) {
            const std::optional<uint16_t> tci = word_at(at_ + 2);
            if (!tci) {
                result_.inner_cut = result_.cut && !result_.tags.empty();
                return;
            }
            result_.tags.push_back({*type, *tci});
            at_ += 4;
            type = word_at(at_);
        }
        result_.type = type;
        at_ += 2;
    }

    void read_ipv4()
    {
        const std::optional<uint8_t> version = byte_at(at_);
        const std::optional<uint8_t> service = byte_at(at_ + 1);
        if (!version || !service || *version >> 4 != 4)
            return;
        result_.dscp = static_cast<uint8_t>(*service >> 2);
        // The walk reads no further: what is missing behind does not count as cut.
        const bool cut = result_.cut;
        result_.protocol = byte_at(at_ + 9);
        read_ends(AF_INET, at_ + 12, at_ + size_t{*version & 15u} * 4);
        result_.cut = cut;
    }

    void read_ipv6()
    {
        const std::optional<uint16_t> start = word_at(at_);
        if (!start || *start >> 12 != 6)
            return;
        result_.dscp = static_cast<uint8_t>(*start >> 6 & 63);
        const bool cut = result_.cut;
        result_.protocol = byte_at(at_ + 6);
        read_ends(AF_INET6, at_ + 8, at_ + 40);
        result_.cut = cut;
    }

    void read_ends(int family, size_t addresses, size_t payload)
    {
        const size_t size = family == AF_INET ? 4 : 16;
        if (!holds(addresses + 2 * size))
            return;
        // A frame that was made for a question has no addresses.
        const auto first = frame_.data.begin() + static_cast<ptrdiff_t>(addresses);
        if (std::all_of(first, first + static_cast<ptrdiff_t>(2 * size),
                        [](uint8_t byte) { return byte == 0; }))
            return;
        result_.from = ip_at(family, addresses);
        result_.to = ip_at(family, addresses + size);
        const std::optional<uint16_t> from = word_at(payload);
        const std::optional<uint16_t> to = word_at(payload + 2);
        const bool has_ports = result_.protocol == 6 || result_.protocol == 17;
        if (!has_ports || !from || !to)
            return;
        result_.from += " port " + std::to_string(*from);
        result_.to += " port " + std::to_string(*to);
    }

    std::string ip_at(int family, size_t at) const
    {
        std::array<char, INET6_ADDRSTRLEN> text{};
        inet_ntop(family, frame_.data.data() + at, text.data(), text.size());
        return text.data();
    }

    const captured_frame& frame_;
    frame_header result_;
    size_t at_ = 0;
};

} // namespace

frame_header read_header(const captured_frame& frame)
{
    return header_reader(frame).read();
}

bool hides_tags(const captured_frame& frame)
{
    if (!frame.is_cut())
        return false;
    const frame_header header = read_header(frame);
    return header.cut && header.tags.empty() && !header.type;
}

std::string type_text(const frame_header& header)
{
    if (!header.type) {
        const bool hides_inner = !header.tags.empty() && !header.inner_cut;
        return !header.cut   ? "no type"
               : hides_inner ? "inner tag or type not in the capture"
                             : "type not in the capture";
    }
    const char* name = name_of(types, *header.type);
    if (!name)
        return *header.type < least_ethertype ? "IEEE 802.3" : "type " + hex_word(*header.type);
    const char* protocol = header.protocol ? name_of(protocols, *header.protocol) : nullptr;
    return protocol ? std::string(name) + " " + protocol : name;
}

std::string tags_text(const frame_header& header)
{
    std::string text;
    for (const vlan_tag& tag : header.tags) {
        text += text.empty() ? "" : ", inner ";
        text +=
            "VLAN " + std::to_string(tag.vlan()) + " priority " + std::to_string(tag.priority());
        if (tag.tpid != 0x8100)
            text += " (TPID " + hex_word(tag.tpid) + ")";
    }
    if (!text.empty())
        return text + (header.inner_cut ? ", inner tag not in the capture" : "");
    return header.type ? "untagged" : header.cut ? "tags not in the capture" : "no tags";
}

std::string header_text(const frame_header& header)
{
    std::string text =
        (header.source.empty() ? "source not in the capture" : header.source) + " to " +
        (header.destination.empty() ? "destination not in the capture" : header.destination) +
        ", " + tags_text(header) + ", " + type_text(header);
    if (!header.from.empty())
        text += " " + header.from + " to " + header.to;
    if (header.dscp && *header.dscp != 0)
        text += ", DSCP " + std::to_string(*header.dscp);
    return text + ", " + std::to_string(header.length) + " bytes";
}

json header_json(const frame_header& header)
{
    json result = {{"length", header.length}, {"cut", header.cut}};
    const auto add_text = [&](const char* name, const std::string& text) {
        if (!text.empty())
            result[name] = text;
    };
    add_text("source", header.source);
    add_text("destination", header.destination);
    result["tags"] = tags_json(header.tags);
    if (header.type)
        result["type"] = *header.type;
    result["protocol"] = type_text(header);
    add_text("from", header.from);
    add_text("to", header.to);
    if (header.dscp)
        result["dscp"] = *header.dscp;
    return result;
}

} // namespace gponflow

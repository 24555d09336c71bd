// SPDX-License-Identifier: GPL-2.0-only
#include "tool/report/frame_text.h"

#include <algorithm>
#include <cstdio>
#include <optional>

namespace gponflow {

namespace {

constexpr size_t type_offset = 12;
constexpr size_t tag_octets = 4;

struct numbered {
    unsigned number;
    const char* name;
};

constexpr numbered types[] = {
    {0x0800, "IPv4"},  {0x86dd, "IPv6"},           {0x0806, "ARP"}, {0x8863, "PPPoE discovery"},
    {0x8864, "PPPoE"}, {0x888e, "authentication"},
};

constexpr numbered protocols[] = {
    {1, "ICMP"}, {2, "IGMP"}, {6, "TCP"}, {17, "UDP"}, {58, "ICMPv6"},
};

template <size_t count> const char* name_of(const numbered (&list)[count], unsigned number)
{
    const auto* found = std::ranges::find(list, number, &numbered::number);
    return found == std::end(list) ? nullptr : found->name;
}

std::optional<unsigned> word_at(const bytes& frame, size_t at)
{
    if (at + 2 > frame.size())
        return {};
    return unsigned{frame[at]} << 8 | frame[at + 1];
}

bool is_tag(unsigned type)
{
    return type == 0x8100 || type == 0x88a8 || type == 0x9100;
}

// Offset of the protocol field of an IP header after the type.
std::optional<size_t> protocol_offset(unsigned type)
{
    if (type == 0x0800)
        return 2 + 9;
    if (type == 0x86dd)
        return 2 + 6;
    return {};
}

} // namespace

std::string type_text(const bytes& frame)
{
    size_t at = type_offset;
    std::optional<unsigned> type = word_at(frame, at);
    while (type && is_tag(*type))
        type = word_at(frame, at += tag_octets);
    if (!type)
        return "cut short";
    const char* name = name_of(types, *type);
    if (!name) {
        char text[16];
        std::snprintf(text, sizeof(text), "type 0x%04x", *type);
        return text;
    }
    const std::optional<size_t> offset = protocol_offset(*type);
    if (!offset || at + *offset >= frame.size())
        return name;
    const char* protocol = name_of(protocols, frame[at + *offset]);
    return protocol ? std::string(name) + " " + protocol : name;
}

std::string hex_dump(const bytes& frame)
{
    constexpr size_t width = 16;
    std::string text;
    for (size_t line = 0; line < frame.size(); line += width) {
        const size_t end = std::min(line + width, frame.size());
        char digits[8];
        std::snprintf(digits, sizeof(digits), "%04zx ", line & 0xffff);
        text += digits;
        for (size_t i = line; i < line + width; ++i) {
            std::snprintf(digits, sizeof(digits), " %02x", i < end ? frame[i] : 0u);
            text += i < end ? digits : "   ";
        }
        text += "  ";
        for (size_t i = line; i < end; ++i)
            text += frame[i] >= 0x20 && frame[i] < 0x7f ? static_cast<char>(frame[i]) : '.';
        text += '\n';
    }
    return text;
}

} // namespace gponflow

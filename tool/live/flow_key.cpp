// SPDX-License-Identifier: GPL-2.0-only
#include "tool/live/flow_key.h"

#include <cstdio>

#include "include/tpid.h"

namespace gponflow {

namespace {

constexpr size_t type_offset = 12;
constexpr size_t tag_bytes = 4;
constexpr size_t most_tags = 4;

uint16_t at(const bytes& frame, size_t place)
{
    const auto one = [&](size_t i) { return i < frame.size() ? frame[i] : uint8_t{0}; };
    return static_cast<uint16_t>(one(place) << 8 | one(place + 1));
}

} // namespace

std::string to_text(const mac_address& mac)
{
    char text[18];
    std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                  mac[3], mac[4], mac[5]);
    return text;
}

std::string to_text(const std::vector<vlan_tag>& tags)
{
    if (tags.empty())
        return "untagged";
    std::string text;
    for (const vlan_tag& tag : tags) {
        text += (text.empty() ? "" : "/") + std::to_string(tag.vlan());
        if (const unsigned priority = tag.priority())
            text += "p" + std::to_string(priority);
    }
    return text;
}

flow_key key_of(const packet_options& options, const bytes& frame)
{
    constexpr std::array<const char*, 4> directions = {"UP_UNI", "UP_ANI", "DOWN_UNI", "DOWN_ANI"};
    flow_key key;
    for (size_t i = 0; i < 6; ++i) {
        key.destination.at(i) = static_cast<uint8_t>(at(frame, i) >> 8);
        key.source.at(i) = static_cast<uint8_t>(at(frame, i + 6) >> 8);
    }
    for (size_t i = type_offset; key.tags.size() < most_tags && gpon::is_tpid(at(frame, i));
         i += tag_bytes)
        key.tags.push_back({at(frame, i), at(frame, i + 2)});
    key.direction = options.kind < directions.size() ? directions.at(options.kind) : "N/A";
    return key;
}

} // namespace gponflow

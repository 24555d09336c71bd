// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/link.h"

#include <algorithm>

#include <pcap/dlt.h>

#include "include/tpid.h"
#include "tool/omci/frame.h"
#include "tool/text/ethernet_numbers.h"

namespace gponflow::omci {

namespace {

constexpr size_t vlan_tag_bytes = 4;
constexpr int sll2_link_type = 276; // DLT_LINUX_SLL2, which older libpcap headers lack

bool is_user_link(int link_type)
{
    return link_type >= DLT_USER0 && link_type <= DLT_USER15;
}

mac_address address_at(std::span<const uint8_t> frame, size_t at)
{
    mac_address address;
    std::ranges::copy(frame.subspan(at, address.size()), address.begin());
    return address;
}

std::optional<link_payload> find_in_ethernet(std::span<const uint8_t> frame)
{
    size_t at = 2 * address_bytes;
    while (frame.size() >= at + 2 && gpon::is_tpid(read_u16(frame, at)))
        at += vlan_tag_bytes;
    if (frame.size() < at + 2 || read_u16(frame, at) != type_omci)
        return std::nullopt;
    return link_payload{frame.subspan(at + 2), address_at(frame, address_bytes),
                        address_at(frame, 0)};
}

std::optional<link_payload> find_in_cooked(std::span<const uint8_t> frame, size_t type_at,
                                           size_t header_bytes)
{
    if (frame.size() < header_bytes || read_u16(frame, type_at) != type_omci)
        return std::nullopt;
    return link_payload{frame.subspan(header_bytes), std::nullopt, std::nullopt};
}

} // namespace

bool carries_omci(int link_type)
{
    return link_type == DLT_EN10MB || link_type == DLT_LINUX_SLL || link_type == sll2_link_type ||
           is_user_link(link_type);
}

std::optional<link_payload> find_omci(int link_type, std::span<const uint8_t> frame)
{
    if (link_type == DLT_EN10MB)
        return find_in_ethernet(frame);
    if (link_type == DLT_LINUX_SLL)
        return find_in_cooked(frame, 14, 16);
    if (link_type == sll2_link_type)
        return find_in_cooked(frame, 0, 20);
    if (is_user_link(link_type))
        return link_payload{frame, std::nullopt, std::nullopt};
    return std::nullopt;
}

} // namespace gponflow::omci

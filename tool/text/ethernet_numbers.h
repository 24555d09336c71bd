// SPDX-License-Identifier: GPL-2.0-only
// Numbers of Ethernet frames and of their VLAN tags (IEEE 802.3, 802.1Q).
#pragma once

#include <cstddef>
#include <cstdint>

namespace gponflow {

inline constexpr size_t address_bytes = 6;
inline constexpr size_t tag_bytes = 4;
inline constexpr uint16_t least_ethertype = 0x0600; ///< a smaller number is a length
inline constexpr uint16_t type_ipv4 = 0x0800;
inline constexpr uint16_t type_ipv6 = 0x86dd;
inline constexpr uint16_t type_omci = 0x88b5; ///< IEEE 802 local experimental 1
inline constexpr uint16_t ordinary_tpid = 0x8100;
inline constexpr uint16_t greatest_vid = 4094;
inline constexpr uint8_t greatest_priority = 7;

} // namespace gponflow

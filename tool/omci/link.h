// SPDX-License-Identifier: GPL-2.0-only
// The position of an OMCI message in a captured frame, by link type.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace gponflow::omci {

using mac_address = std::array<uint8_t, 6>;

/// The OMCI part of a frame; the span points into the frame.
struct link_payload {
    std::span<const uint8_t> bytes;
    std::optional<mac_address> source;      ///< Ethernet only
    std::optional<mac_address> destination; ///< Ethernet only
};

/// Ethernet (any number of VLAN tags) and Linux cooked captures with EtherType 0x88b5, and the
/// link types reserved for private use (DLT_USER0 to 15), whose frames are bare messages.
[[nodiscard]] bool carries_omci(int link_type);

/// Nothing when the frame has no OMCI or is too short.
[[nodiscard]] std::optional<link_payload> find_omci(int link_type, std::span<const uint8_t> frame);

} // namespace gponflow::omci

// SPDX-License-Identifier: GPL-2.0-only
// The CRC-32 at the end of an OMCI message (ITU-T I.363.5 clause 9.2.1.2, as AAL5 uses it).
#pragma once

#include <cstdint>
#include <span>

namespace gponflow::omci {

/// Most significant bit first, preset to ones, complemented. Not the Ethernet FCS, which feeds
/// the bits of a byte in the other order.
[[nodiscard]] uint32_t crc32_aal5(std::span<const uint8_t> bytes);

} // namespace gponflow::omci

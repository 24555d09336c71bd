// SPDX-License-Identifier: GPL-2.0-only
// The priorities that DSCPs are mapped to, and what a mapper selects by priority, through the
// module's own readers.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "include/uapi/gpon_flow.h"

namespace gponflow {

/// The DSCP of a frame as the module reads it, 0 to 63; -1 if it reads none.
[[nodiscard]] int dscp_of(const std::vector<uint8_t>& frame);

/// The priority of a DSCP, 0 to 63, in a map of 64 priorities of three bits.
[[nodiscard]] uint8_t mapped_priority(std::span<const uint8_t, 24> map, unsigned dscp);

/// The GEM IW TP that a mapper selects by a priority, also by one above 7; 0 if it selects none.
[[nodiscard]] uint16_t selected_gem_iw(const gpon_raw_mapper& mapper, uint8_t priority);

} // namespace gponflow

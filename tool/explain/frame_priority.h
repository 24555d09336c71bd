// SPDX-License-Identifier: GPL-2.0-only
// The DSCP of a frame, and the priority that a mapper derives from it, through the module's own
// readers.
#pragma once

#include <cstdint>

#include "tool/model/bytes.h"

namespace gponflow {

/// The DSCP of a frame as the module reads it, 0 to 63; -1 if it reads none.
[[nodiscard]] int dscp_of(const bytes& frame);

/// The priority of a DSCP in the map of a mapper.
[[nodiscard]] unsigned mapped_priority(const uint8_t (&map)[24], unsigned dscp);

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
// A run of bytes: a frame, a raw record.
#pragma once

#include <cstdint>
#include <vector>

namespace gponflow {

using bytes = std::vector<uint8_t>;

} // namespace gponflow

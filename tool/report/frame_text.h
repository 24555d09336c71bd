// SPDX-License-Identifier: GPL-2.0-only
// Frames as text.
#pragma once

#include <string>

#include "tool/scenario/command.h"

namespace gponflow {

/// Lines of 16 bytes: offset, digits and ASCII characters.
[[nodiscard]] std::string hex_dump(const bytes& frame);

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>

namespace gponflow {

/// "0x0064" for 100 with 4 digits; more digits if the number has more.
[[nodiscard]] std::string hex_text(unsigned value, int digits = 4);

} // namespace gponflow

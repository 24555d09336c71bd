// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>
#include <string_view>

namespace gponflow {

/// A line of log text with the source line number of every message replaced by 0.
///
/// A message starts with its function and line as "[name][12]", "[name] [12]", "Enter [name][12]"
/// or "name [12]:". It starts at the beginning of the line or after a level tag. Other numbers are
/// data of the message and stay.
[[nodiscard]] std::string mask_line_numbers(std::string_view line);

} // namespace gponflow

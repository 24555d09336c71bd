// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>
#include <string_view>

namespace gponflow {

/// A line of log text with every source line number that a message in it carries as 0.
///
/// A message carries its function and line in one of the shapes "[name][12]", "[name] [12]",
/// "Enter [name][12]" and "name [12]:", at its very start: at the start of the line or behind a
/// level tag. Numbers anywhere else are the message's own.
std::string mask_line_numbers(std::string_view line);

} // namespace gponflow

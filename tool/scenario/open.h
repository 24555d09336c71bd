// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <iosfwd>
#include <optional>
#include <string>

#include "tool/scenario/command.h"

namespace gponflow {

/// Reads a scenario file ("-" is standard input) and every capture that it names. Returns nothing
/// on errors and prints each, one per line.
[[nodiscard]] std::optional<scenario> open_scenario(const std::string& file,
                                                    std::ostream& diagnostics);

/// The same for a file whose text was read before.
[[nodiscard]] std::optional<scenario>
open_scenario_text(const std::string& file, const std::string& text, std::ostream& diagnostics);

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
// Scenario text to scenario data.
#pragma once

#include <string_view>
#include <vector>

#include "tool/scenario/command.h"
#include "tool/text/diagnostic.h"

namespace gponflow {

struct parse_result {
    scenario input;
    std::vector<diagnostic> errors; ///< one for each faulty line; the scenario lacks these lines
};

/// Any bytes may come in. Reads no file: the frames of a pcap command are left to read_captures.
[[nodiscard]] parse_result parse_scenario(std::string_view text, std::string_view name);

/// Names of all commands, for listings and suggestions.
[[nodiscard]] std::vector<std::string_view> command_names();

} // namespace gponflow

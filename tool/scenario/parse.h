// SPDX-License-Identifier: GPL-2.0-only
// Scenario text to scenario data.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "tool/scenario/command.h"
#include "tool/scenario/error.h"
#include "tool/scenario/words.h"

namespace gponflow {

struct parse_result {
    scenario what;
    std::vector<diagnostic> errors; ///< one for each faulty line; the scenario lacks these lines
};

/// Any bytes may come in. Reads no file: the frames of a pcap command are left to read_captures.
parse_result parse_scenario(std::string_view text, std::string_view name);

/// Names of all commands, for listings and suggestions.
std::vector<std::string_view> command_names();

// The commands of more than a few words, each in a file of its own. The words are those after the
// command's name; all throw syntax_error.
any_command parse_hook(std::span<const word> words);
any_command parse_pcap(std::span<const word> words);
any_command parse_me(std::span<const word> words);
any_command parse_config(std::span<const word> words);

} // namespace gponflow

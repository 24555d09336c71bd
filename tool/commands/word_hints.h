// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace gponflow {

/// " (did you mean 'X'?)" for the first word of a command line that is no subcommand or option
/// where it stands, empty when every word is known or nothing is near.
std::string word_hint(const CLI::App& app, const std::vector<std::string>& words);

} // namespace gponflow

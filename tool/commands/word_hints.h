// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace gponflow {

/// " (did you mean 'X'?)" for the first unknown word of a command line; empty when every word is
/// known or no known word is similar.
[[nodiscard]] std::string word_hint(const CLI::App& app, const std::vector<std::string>& words);

/// "unknown subcommand 'X' (did you mean 'Y'?)" if a word is in the place of a required subcommand;
/// empty otherwise.
[[nodiscard]] std::string unknown_subcommand(const CLI::App& app,
                                             const std::vector<std::string>& words);

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace gponflow {

/// The message for an invalid command line, in the words of the tool's other messages. For an
/// unknown subcommand or option it names the nearest known one.
[[nodiscard]] std::string message_of(const CLI::App& app, const std::vector<std::string>& words,
                                     const CLI::ParseError& error);

/// Makes "--flag=value" an error for each option without a value; the library ignores the value.
void refuse_values_of_flags(CLI::App& app);

} // namespace gponflow

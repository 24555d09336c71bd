// SPDX-License-Identifier: GPL-2.0-only
// `gponflow report`: a scenario and captures to one page.
#pragma once

#include <CLI/CLI.hpp>

namespace gponflow {

/// Adds the subcommand, which runs while the command line is parsed; a status other than 0 leaves
/// as CLI::RuntimeError.
void add_report_command(CLI::App& app);

} // namespace gponflow

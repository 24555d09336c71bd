// SPDX-License-Identifier: GPL-2.0-only
// `gponflow omci`: from a capture file to a scenario file.
#pragma once

#include <iosfwd>
#include <string>

namespace CLI {
class App;
}

namespace gponflow::omci {

struct omci_options {
    std::string capture_path;
    std::string scenario_path = "-"; ///< "-" is standard output
    std::string onu;                 ///< address of one of several ONUs; empty: the only one
};

/// Converts; `out` stands for standard output and `err` takes one line a remark, each naming the
/// file and the frame. Status 0: converted (refused and damaged messages are remarks); 1: the
/// capture ends early, what it holds was converted; 2: nothing was written.
int run_omci(const omci_options& options, std::ostream& out, std::ostream& err);

} // namespace gponflow::omci

namespace gponflow {

/// Adds the subcommand. It runs while the command line is parsed, on the standard streams; a
/// status other than 0 leaves as CLI::RuntimeError, which CLI::App::exit turns into that status.
void add_omci_command(CLI::App& app);

} // namespace gponflow

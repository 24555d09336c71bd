// SPDX-License-Identifier: GPL-2.0-only
// Runs a command for many inputs, several at a time.
#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>
#include <string>

#include "tool/fleet/input_list.h"
#include "tool/fleet/line_document.h"

namespace gponflow {

/// The command for one input. It runs in a process of its own and may print to standard error,
/// which becomes the messages of the document. Standard output is not its.
using line_job = std::function<line_result(const std::string& input)>;

struct fleet_order {
    std::string command;           ///< name of the subcommand
    unsigned jobs = 1;             ///< processes at a time
    std::chrono::seconds limit{0}; ///< a process that takes longer is killed; 0: none
};

/// Prints one document gponflow-line-1 a line, in the order of the inputs. An input that cannot be
/// used, and one whose process ends early, has a document with the reason and no result. Memory is
/// that of the documents of the inputs at work and of a few finished ones. Returns the greatest
/// status of all inputs, or status_unsupported if `out` cannot be written, which ends the run.
[[nodiscard]] int run_fleet(const fleet_order& order, input_list& inputs, const line_job& job,
                            std::ostream& out);

} // namespace gponflow

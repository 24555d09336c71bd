// SPDX-License-Identifier: GPL-2.0-only
// The paths of those frames of a scenario that a filter marks.
#pragma once

#include <cstdint>
#include <iosfwd>

#include "tool/live/operator_lines.h"
#include "tool/scenario/backend.h"
#include "tool/scenario/command.h"
#include "tool/text/exit_status.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// Runs the scenario and prints the path of each frame that the filter marks; of more than `most`
/// only the first, unless `most` is 0. As JSON it prints one document gponflow-trace-1 a line.
[[nodiscard]] exit_status trace_scenario(const scenario& input, backend& target,
                                         const trace_filter& filter, uint64_t most,
                                         std::ostream& out, std::ostream& diagnostics,
                                         const palette& colours, bool as_json = false);

} // namespace gponflow

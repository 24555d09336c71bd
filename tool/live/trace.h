// SPDX-License-Identifier: GPL-2.0-only
// The ways of frames that a filter marks, told while they pass.
#pragma once

#include <iosfwd>

#include "tool/live/operator_lines.h"
#include "tool/scenario/captured_run.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// When following ends by itself; 0 is never.
struct trace_limits {
    uint64_t frames = 0;
    unsigned seconds = 0;
};

/// Runs the scenario and prints the way of each of its frames that the filter marks.
exit_status trace_scenario(const scenario& what, backend& where, const trace_filter& filter,
                           const trace_limits& limits, std::ostream& out, std::ostream& diagnostics,
                           const palette& colours);

/// Follows the running kernel's log and prints the way of each marked frame that passes, until a
/// limit is reached, a stop signal comes or `out` takes no more. The filter is off afterwards,
/// also when this throws refusal. Throws refusal when the module is not loaded.
exit_status trace_device(quiet_run& run, const trace_filter& filter, const trace_limits& limits,
                         std::ostream& out, std::ostream& diagnostics, const palette& colours);

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
// The paths of marked frames, printed while the running kernel handles them.
#pragma once

#include <cstdint>
#include <iosfwd>

#include "tool/live/operator_lines.h"
#include "tool/scenario/captured_run.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// When tracing ends by itself; 0 is never.
struct trace_limits {
    uint64_t frames = 0;
    unsigned seconds = 0;
    bool json = false; ///< one document gponflow-trace-1 a line
};

/// Follows the running kernel's log and prints the path of each marked frame, until a limit is
/// reached, a stop signal comes or `out` takes no more. The filter is off afterwards, also when
/// this throws refusal. Throws refusal when the module is not loaded.
[[nodiscard]] exit_status trace_device(captured_run& run, const trace_filter& filter,
                                       const trace_limits& limits, std::ostream& out,
                                       std::ostream& diagnostics, const palette& colours);

} // namespace gponflow

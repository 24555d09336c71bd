// SPDX-License-Identifier: GPL-2.0-only
// The paths of marked frames, printed while the running kernel handles them.
#pragma once

#include <cstdint>
#include <iosfwd>

#include "tool/live/operator_lines.h"
#include "tool/scenario/backend.h"
#include "tool/text/exit_status.h"
#include "tool/text/terminal.h"

namespace gponflow {

/// When tracing ends by itself; 0 is never.
struct trace_limits {
    uint64_t frames = 0;
    unsigned seconds = 0;
    bool json = false;           ///< one document gponflow-trace-1 a line
    size_t buffer_kilobytes = 0; ///< of the kernel's trace buffer, for each CPU; 0: its default
};

/// Follows the trace events of the running kernel and prints the path of each marked frame, until a
/// limit is reached, a stop signal comes, the module is unloaded or `out` takes no more. Prints how
/// many events the kernel dropped. The filter is off and the events are disabled afterwards, also
/// when this throws refusal. Throws refusal when the module is not loaded or has no trace events.
[[nodiscard]] exit_status trace_device(backend& device, const trace_filter& filter,
                                       const trace_limits& limits, std::ostream& out,
                                       std::ostream& diagnostics, const palette& colours);

} // namespace gponflow

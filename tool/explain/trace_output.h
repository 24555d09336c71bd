// SPDX-License-Identifier: GPL-2.0-only
// The frames of a trace as JSON.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>

#include "tool/capture/captured_frame.h"
#include "tool/explain/walk_record.h"
#include "tool/text/json_document.h"

namespace gponflow {

/// A frame of a trace.
struct traced_frame {
    uint64_t number; ///< from 1
    uint32_t kind;   ///< of the hook call
    const walk_record& walk;
    std::optional<captured_frame> frame;   ///< nothing if only its events are known
    std::optional<uint64_t> lost_events{}; ///< events that the kernel has dropped so far
    bool entities_changed = false;         ///< at the time of the frame, in a running kernel
};

/// Prints the document gponflow-trace-1 on one line.
void print_trace_json(const traced_frame& traced, std::ostream& out);

/// The steps of a path, as JSON documents contain them.
[[nodiscard]] json steps_json(const walk_record& walk);

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
// Converts the trace events of a frame to its path.
#pragma once

#include <span>

#include "platform/api/tracepoint.h"
#include "tool/explain/walk_record.h"
#include "tool/scenario/backend.h"

namespace gponflow {

/// The path of one frame from its events, in the order in which they occurred. Operands of filters
/// and mappers come from the entities, and the DSCP from the frame unless it is null. `lost`: the
/// kernel dropped events, perhaps of this frame.
[[nodiscard]] walk_record read_events(std::span<const gpon_trace_record> events,
                                      const line_model& entities, const bytes* frame = nullptr,
                                      bool lost = false);

/// The path of the frame of a hook call.
[[nodiscard]] walk_record walk_of(const traced_call& call, const line_model& entities,
                                  const bytes& frame);

} // namespace gponflow

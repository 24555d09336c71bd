// SPDX-License-Identifier: GPL-2.0-only
// The trace events of the module as lines of text.
#pragma once

#include <string>

#include "platform/api/tracepoint.h"

namespace gponflow {

/// "gpon_walk_step": the name of an event in a kernel.
[[nodiscard]] const char* event_name(gpon_tracepoint point);

/// "gpon_walk_start: direction=up_uni dst=02:00:00:00:00:01 ...": an event as tracefs prints it,
/// without the address of the packet, which is another one in each run. No line feed.
[[nodiscard]] std::string event_text(const gpon_trace_record& event);

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
// The priority queue that serves a GEM port upstream.
#pragma once

#include <cstdint>
#include <optional>

#include "tool/model/line_model.h"

namespace gponflow {

/// traffic_mgmt_option of an ONU without upstream queues.
constexpr uint8_t rate_controlled = 1;

/// The queue of a GEM port network CTP. Its traffic management pointer names a queue, or the T-CONT
/// if the ONU controls rates (ITU-T G.988 9.2.3). If the line does not configure which, a pointer
/// that repeats the T-CONT is a queue only if the line has upstream queues: the ONU reported their
/// related ports, this queue is set, or another CTP points at a queue. Nothing without a queue.
[[nodiscard]] std::optional<me_id> upstream_queue(const me_instance& ctp,
                                                  const line_model& entities);

} // namespace gponflow

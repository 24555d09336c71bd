// SPDX-License-Identifier: GPL-2.0-only
// The GEM port network CTP that carries an upstream frame, with its T-CONT and queue.
#pragma once

#include <optional>

#include "tool/explain/explain_frame.h"

namespace gponflow {

/// The CTP of the walk that chose the GEM port of a passed frame; else the first one with this
/// port-ID that is not for the downstream direction. Null if there is none.
[[nodiscard]] const me_instance* upstream_ctp(const explanation& half);

/// The queue of a CTP. The pointer of a rate-controlled ONU names the T-CONT of the CTP again
/// (ITU-T G.988 9.2.3): it is a queue only if this queue has a related port. Nothing without a
/// queue.
[[nodiscard]] std::optional<me_id> upstream_queue(const me_instance& ctp,
                                                  const line_model& entities);

} // namespace gponflow

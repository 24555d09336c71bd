/* SPDX-License-Identifier: GPL-2.0-only */
/* Known flows beside a flood of new ones. */
#pragma once

#include "bench/cases.h"

namespace gpon::bench {

struct flood_figures {
    double ratio;  // CPU time of a known frame, divided by that without the flood
    double missed; // share of the known frames that used no remembered outcome
};

/* Each frame of the known flows follows one frame with a new source address, which is learnt. */
[[nodiscard]] flood_figures known_frame_under_flood(const bench_case& which, unsigned rounds);

} // namespace gpon::bench

/* SPDX-License-Identifier: GPL-2.0-only */
/* The test that each trace event makes first. */
#ifndef GPON_BASE_TRACEPOINT_H
#define GPON_BASE_TRACEPOINT_H

#include "../platform/api/kernel_api.h"
#include "atomics.h"

namespace gpon {

/* True while somebody traces this event. Any context. */
[[nodiscard]] inline bool is_traced(gpon_tracepoint point)
{
    return load_relaxed(tracepoints_on) & 1u << point;
}

} // namespace gpon

#endif

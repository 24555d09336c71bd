/* SPDX-License-Identifier: GPL-2.0-only */
#pragma once

#include <atomic>

#include "platform/host/host.h"

namespace gpon::host {

/* Calls that are left until the armed one fails; 0: not armed. Relaxed throughout: counting calls
 * must not order the threads that make them. */
inline constinit std::atomic<uint64_t> fault_calls_left[6] = {};

/* One call of a service whose fault is armed. */
bool count_down_fault(fault what);

/* Called once for every call of a service: true when this is the call that was armed to fail. */
inline bool take_fault(fault what)
{
    const auto& left = fault_calls_left[static_cast<size_t>(what)];
    return left.load(std::memory_order_relaxed) != 0 && count_down_fault(what);
}

} // namespace gpon::host

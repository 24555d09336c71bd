/* SPDX-License-Identifier: GPL-2.0-only */
#pragma once

#include <atomic>

#include "platform/host/host.h"

namespace gpon::host {

/* Calls left until the armed one fails; 0: not armed. All accesses are relaxed: counting must not
 * order the threads that make the calls. */
inline constinit std::atomic<uint64_t> fault_calls_left[6] = {};

/* One call of a service whose fault is armed. */
[[nodiscard]] bool count_down_fault(fault service);

/* Called once for every call of a service; returns true if this call has to fail. */
[[nodiscard]] inline bool take_fault(fault service)
{
    const auto& left = fault_calls_left[static_cast<size_t>(service)];
    return left.load(std::memory_order_relaxed) != 0 && count_down_fault(service);
}

} // namespace gpon::host

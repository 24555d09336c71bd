// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/faults.h"

#include <atomic>

namespace gpon::host {
namespace {

// Relaxed throughout: counting calls must not order the threads that make them.
struct armed_fault {
    std::atomic<uint64_t> calls_left = 0; // 0: not armed
    std::atomic<bool> fired = false;
};

armed_fault& state_of(fault what)
{
    static constinit armed_fault states[6];
    return states[static_cast<size_t>(what)];
}

constexpr fault all_faults[] = {fault::chrdev, fault::proc_dir, fault::proc_entry,
                                fault::hook,   fault::alloc,    fault::copy};

} // namespace

void arm_fault(fault what, uint64_t nth)
{
    state_of(what).fired.store(false, std::memory_order_relaxed);
    state_of(what).calls_left.store(nth, std::memory_order_relaxed);
}

void disarm_faults()
{
    for (const fault what : all_faults)
        arm_fault(what, 0);
}

bool fault_fired(fault what)
{
    return state_of(what).fired.load(std::memory_order_relaxed);
}

bool take_fault(fault what)
{
    armed_fault& state = state_of(what);
    uint64_t left = state.calls_left.load(std::memory_order_relaxed);
    while (left &&
           !state.calls_left.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) {
    }
    if (left == 1)
        state.fired.store(true, std::memory_order_relaxed);
    return left == 1;
}

} // namespace gpon::host

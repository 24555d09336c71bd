// SPDX-License-Identifier: GPL-2.0-only
#include "platform/host/faults.h"

namespace gpon::host {
namespace {

constinit std::atomic<bool> fired[6] = {};
constinit std::atomic<void (*)()> at_allocation = nullptr;

size_t index_of(fault service)
{
    return static_cast<size_t>(service);
}

constexpr fault all_faults[] = {fault::chrdev, fault::proc_dir, fault::proc_entry,
                                fault::hook,   fault::alloc,    fault::copy};

} // namespace

void arm_fault(fault service, uint64_t nth)
{
    if (service == fault::alloc)
        at_allocation = nullptr;
    fired[index_of(service)].store(false, std::memory_order_relaxed);
    fault_calls_left[index_of(service)].store(nth, std::memory_order_relaxed);
}

void call_at_allocation(uint64_t nth, void (*function)())
{
    arm_fault(fault::alloc, nth);
    at_allocation = function;
}

void disarm_faults()
{
    for (const fault service : all_faults)
        arm_fault(service, 0);
}

bool fault_fired(fault service)
{
    return fired[index_of(service)].load(std::memory_order_relaxed);
}

bool count_down_fault(fault service)
{
    std::atomic<uint64_t>& calls_left = fault_calls_left[index_of(service)];
    uint64_t left = calls_left.load(std::memory_order_relaxed);
    while (left && !calls_left.compare_exchange_weak(left, left - 1, std::memory_order_relaxed)) {
    }
    if (left != 1)
        return false;
    fired[index_of(service)].store(true, std::memory_order_relaxed);
    if (service != fault::alloc)
        return true;
    void (*const instead)() = at_allocation.exchange(nullptr, std::memory_order_relaxed);
    if (instead)
        instead();
    return !instead;
}

} // namespace gpon::host

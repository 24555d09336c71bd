// SPDX-License-Identifier: GPL-2.0-only
/* The changes that the module reports, for one listener. */
#include <atomic>
#include <mutex>
#include <utility>

#include "platform/host/host.h"

#include "platform/api/kernel_api.h"

namespace {

std::mutex observer_lock;
std::function<void(const gpon_event&)> observer;
std::atomic<bool> observed = false;

} // namespace

void gpon::host::set_observer(std::function<void(const gpon_event&)> next)
{
    const std::lock_guard held(observer_lock);
    observer = std::move(next);
    observed.store(static_cast<bool>(observer), std::memory_order_relaxed);
}

int wants_events()
{
    return observed.load(std::memory_order_relaxed);
}

int misses_event()
{
    return 0;
}

void send_event(const gpon_event* event)
{
    const std::lock_guard held(observer_lock);
    if (observer)
        observer(*event);
}

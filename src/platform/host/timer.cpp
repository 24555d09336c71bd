// SPDX-License-Identifier: GPL-2.0-only
/*
 * Virtual time: jiffies pass only in advance(), and timers fire inside it, on its thread. The
 * locks, outer first: clock (one advance at a time), timers (held for bookkeeping, never while a
 * callback runs).
 */
#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/host/context.h"
#include "platform/host/events.h"
#include "platform/host/state.h"

#include "platform/api/kernel_api.h"

struct timer_list {
    void (*expired)(timer_list*) = nullptr;
    uint64_t expires = 0; // jiffies
};

timer_list gpon_hash_timer;

namespace gpon::host {
namespace {

constinit std::atomic<uint64_t> now = 0;

std::mutex clock_lock;
std::mutex timers_lock;
std::vector<timer_list*> pending;
timer_list* running = nullptr;
std::thread::id runner;
std::condition_variable callback_returned;

// An overdue timer fires at the next tick, as in a kernel.
uint64_t ticks_until(const timer_list* timer)
{
    const auto ticks = static_cast<int64_t>(timer->expires - now.load(std::memory_order_relaxed));
    return static_cast<uint64_t>(std::max<int64_t>(ticks, 1));
}

// Advances the time to the first timer that expires within the count and makes it the running one.
// Without such a timer, advances by the whole count and returns null.
timer_list* next_due(uint64_t& count)
{
    const std::lock_guard held(timers_lock);
    const auto first = std::ranges::min_element(pending, {}, ticks_until);
    const bool due = first != pending.end() && ticks_until(*first) <= count;
    const uint64_t ticks = due ? ticks_until(*first) : count;
    now.fetch_add(ticks, std::memory_order_relaxed);
    count -= ticks;
    if (!due)
        return nullptr;
    running = *first;
    runner = std::this_thread::get_id();
    pending.erase(first);
    return running;
}

void finish_callback()
{
    const std::lock_guard held(timers_lock);
    running = nullptr;
    callback_returned.notify_all();
}

} // namespace

uint64_t jiffies()
{
    return now.load(std::memory_order_relaxed);
}

void advance(uint64_t count)
{
    const std::lock_guard held(clock_lock);
    while (timer_list* timer = next_due(count)) {
        const softirq_section softirq;
        timer->expired(timer);
        finish_callback();
    }
}

void drop_timers()
{
    const std::lock_guard held(timers_lock);
    pending.clear();
}

void reset_time()
{
    drop_timers();
    now = 0;
}

} // namespace gpon::host

using namespace gpon::host;

unsigned long get_jiffies_64()
{
    return jiffies();
}

void timer_setup(timer_list* timer, void (*expired)(timer_list*), unsigned int)
{
    const std::lock_guard held(timers_lock);
    timer->expired = expired;
}

int mod_timer(timer_list* timer, unsigned long expires)
{
    record_call("mod_timer +%lu", expires - get_jiffies_64());
    const std::lock_guard held(timers_lock);
    timer->expires = expires;
    if (std::ranges::find(pending, timer) != pending.end())
        return 1;
    pending.push_back(timer);
    return 0;
}

int del_timer_sync(timer_list* timer)
{
    record_call("del_timer");
    std::unique_lock held(timers_lock);
    if (running == timer && runner == std::this_thread::get_id())
        fatal("del_timer_sync in the timer's own callback waits for itself");
    callback_returned.wait(held, [=] { return running != timer; });
    return std::erase(pending, timer) != 0;
}

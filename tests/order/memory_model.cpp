// SPDX-License-Identifier: GPL-2.0-only
#include "tests/order/memory_model.h"

#include <gtest/gtest.h>
#include <ucontext.h>

#include <algorithm>
#include <array>
#include <memory>

#include "platform/api/kernel_api.h"
#include "tests/order/simulated_atomics.h"

/* The lock of the model: there is one. */
struct spinlock {
    bool held;
};

spinlock gpon_hash_lock = {};

namespace order {
namespace {

constexpr size_t most_locations = 32;
constexpr size_t stack_bytes = 128 * 1024;

struct view {
    std::array<u8, most_locations> oldest = {};

    void add(const view& other)
    {
        for (size_t i = 0; i < oldest.size(); ++i)
            oldest[i] = std::max(oldest[i], other.oldest[i]);
    }
};

struct written {
    u64 value;
    view carried;
};

struct location {
    const void* address;
    std::vector<written> values;
};

struct cpu {
    ucontext_t context = {};
    std::unique_ptr<char[]> stack = std::make_unique<char[]>(stack_bytes);
    std::function<void()> work;
    view now, after_acquire_fence, of_release_fence;
    bool ended = false, waits = false;
};

struct choice {
    size_t chosen, of;
};

// One exploration at a time.
std::vector<choice> choices;
size_t next_choice;
bool turn_lost;
std::vector<location> locations;
std::vector<std::unique_ptr<cpu>> cpus;
cpu* running; // null: outside of a run, where memory has one value
ucontext_t scheduler;
view of_lock;

size_t choose(size_t of)
{
    if (of == 1 || turn_lost)
        return 0;
    if (next_choice == choices.size())
        choices.push_back({0, of});
    return choices[next_choice++].chosen;
}

// The next combination of choices; false after the last one.
bool next_combination()
{
    while (!choices.empty() && choices.back().chosen + 1 == choices.back().of)
        choices.pop_back();
    if (choices.empty())
        return false;
    ++choices.back().chosen;
    return true;
}

size_t index_of(const void* address, size_t bytes)
{
    for (size_t i = 0; i < locations.size(); ++i)
        if (locations[i].address == address)
            return i;
    u64 first = 0;
    std::memcpy(&first, address, bytes);
    locations.push_back({address, {{first, {}}}});
    EXPECT_LE(locations.size(), most_locations);
    return locations.size() - 1;
}

void end_turn()
{
    swapcontext(&running->context, &scheduler);
}

void run_current()
{
    running->work();
    running->ended = true;
    end_turn();
}

void start(cpu& one)
{
    getcontext(&one.context);
    one.context.uc_stack.ss_sp = one.stack.get();
    one.context.uc_stack.ss_size = stack_bytes;
    makecontext(&one.context, run_current, 0);
}

void run_until_all_ended()
{
    for (;;) {
        std::vector<cpu*> ready;
        for (const auto& one : cpus)
            if (!one->ended && !(one->waits && gpon_hash_lock.held))
                ready.push_back(one.get());
        if (ready.empty())
            break;
        running = ready[choose(ready.size())];
        swapcontext(&scheduler, &running->context);
    }
    running = nullptr;
}

void prepare(const program& checked)
{
    next_choice = 0;
    turn_lost = false;
    locations.clear();
    of_lock = {};
    checked.begin();
    cpus.resize(checked.cpus.size());
    for (size_t i = 0; i < cpus.size(); ++i) {
        if (!cpus[i])
            cpus[i] = std::make_unique<cpu>();
        cpu& one = *cpus[i];
        one.work = checked.cpus[i];
        one.now = one.after_acquire_fence = one.of_release_fence = {};
        one.ended = one.waits = false;
        start(one);
    }
}

} // namespace

u64 explore(const program& checked)
{
    choices.clear();
    u64 runs = 0;
    do {
        prepare(checked);
        run_until_all_ended();
        runs += !turn_lost;
    } while (!testing::Test::HasFailure() && next_combination());
    return runs;
}

} // namespace order

using namespace order;

u64 gpon::simulated::load(const void* word, size_t bytes, bool acquire)
{
    u64 value = 0;
    if (!running) {
        std::memcpy(&value, word, bytes);
        return value;
    }
    const size_t at = index_of(word, bytes);
    const std::vector<written>& values = locations[at].values;
    u8& oldest = running->now.oldest[at];
    // The newest first.
    const size_t read = values.size() - 1 - choose(values.size() - oldest);
    oldest = static_cast<u8>(read);
    (acquire ? running->now : running->after_acquire_fence).add(values[read].carried);
    return values[read].value;
}

void gpon::simulated::store(void* word, size_t bytes, u64 value, bool release)
{
    if (running) {
        const size_t at = index_of(word, bytes);
        running->now.oldest[at] = static_cast<u8>(locations[at].values.size());
        written made = {value, release ? running->now : running->of_release_fence};
        made.carried.oldest[at] = running->now.oldest[at];
        locations[at].values.push_back(made);
    }
    // Code that holds the lock reads the newest value of what is written under it.
    std::memcpy(word, &value, bytes);
    if (running)
        end_turn();
}

void gpon::simulated::order_stores()
{
    running->of_release_fence = running->now;
}

void gpon::simulated::order_loads()
{
    running->now.add(running->after_acquire_fence);
}

void spin_lock_bh(spinlock* lock)
{
    if (running) {
        while (lock->held) {
            turn_lost = running->waits = true;
            end_turn();
        }
        running->waits = false;
        running->now.add(of_lock);
    }
    lock->held = true;
}

void spin_unlock_bh(spinlock* lock)
{
    lock->held = false;
    if (running) {
        of_lock = running->now;
        end_turn();
    }
}

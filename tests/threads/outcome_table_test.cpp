// SPDX-License-Identifier: GPL-2.0-only
// One place of the outcome table, filled anew in each generation while it is read. All its words
// are atomic, so a race detector is silent: only a mixture of two records shows that a reader took
// a place that was being written.
#include "hash/outcome_table.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "base/memory.h"
#include "hash/rule_table.h"

namespace {

constexpr gpon::outcome_key KEY = {1, 2, 3};

// The port states the generation in which it was written.
u16 port_of(u64 generation)
{
    return static_cast<u16>(generation >> 1);
}

struct readings {
    uint64_t found = 0, wrong = 0;
};

void read_until(const std::atomic<bool>& done, readings& seen)
{
    while (!done.load(std::memory_order_relaxed)) {
        const u64 generation = gpon::current_generation();
        // The fill comes at another moment of each search.
        for (uint64_t wait = seen.found & 31; wait != 0; --wait)
            std::atomic_signal_fence(std::memory_order_seq_cst);
        gpon::known_outcome known = {};
        if (gpon::find_outcome(KEY, generation, &known)) {
            ++seen.found;
            seen.wrong += known.gemport_id != port_of(generation);
        }
    }
}

TEST(outcome_table, a_reader_never_gets_a_place_that_is_being_written)
{
    std::atomic<bool> done = false;
    readings seen;
    std::thread reader([&] { read_until(done, seen); });
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (std::chrono::steady_clock::now() < end)
        for (int i = 0; i < 1000; ++i) {
            {
                const gpon::bh_lock lock(gpon_hash_lock);
                gpon::begin_generation();
            }
            const u64 generation = gpon::current_generation();
            gpon::remember_outcome(KEY, generation, port_of(generation), {});
        }
    done = true;
    reader.join();
    EXPECT_GT(seen.found, 1000u);
    EXPECT_EQ(seen.wrong, 0u);
}

} // namespace

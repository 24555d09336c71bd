/* SPDX-License-Identifier: GPL-2.0-only */
/* A clock that does not advance while another program uses the CPU. */
#pragma once

#include <time.h>

#include <algorithm>
#include <cstdint>

namespace gpon::bench {

[[nodiscard]] inline uint64_t thread_nanoseconds()
{
    timespec now;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000u + static_cast<uint64_t>(now.tv_nsec);
}

/* The cost of reading the clock, the minimum of many readings. */
[[nodiscard]] inline uint64_t clock_cost()
{
    static const uint64_t cost = [] {
        uint64_t least = UINT64_MAX;
        for (int i = 0; i < 1000; ++i) {
            const uint64_t start = thread_nanoseconds();
            least = std::min(least, thread_nanoseconds() - start);
        }
        return least;
    }();
    return cost;
}

/* Time between two readings, without the cost of reading. */
[[nodiscard]] inline uint64_t nanoseconds_between(uint64_t start, uint64_t end)
{
    const uint64_t passed = end - start;
    return passed - std::min(passed, clock_cost());
}

} // namespace gpon::bench

// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "counters.h"

#include "../platform/api/observe.h"

constinit const gpon_counter_text gpon_counter_texts[GPON_COUNTERS] = {
#define GPON_COUNTER(name, meaning) {#name, meaning},
#define GPON_COUNTER_SUM(name, meaning) {#name, meaning},
#include "../include/counters.def"
#undef GPON_COUNTER
#undef GPON_COUNTER_SUM
};

void gpon::add_records(std::span<u64> sums)
{
    int cpu = -1;
    while (const gpon_cpu_counters* own = next_cpu_counters(&cpu))
        for (u32 i = 0; i < GPON_COUNTERS; ++i)
            sums[i] += load_relaxed(own->count[i]);
}

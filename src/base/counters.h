/* SPDX-License-Identifier: GPL-2.0-only */
/* Counting. include/counters.def lists the counters, platform/api/observe.h reads them. */
#ifndef GPON_COUNTERS_H
#define GPON_COUNTERS_H

#include <span>

#include "../platform/api/kernel_api.h"
#include "atomics.h"

namespace gpon {

/* Adds one to a counter of this CPU. Any context but a hard interrupt. */
inline void count(gpon_counter counter)
{
    count_many(counter, 1);
}

/* Adds the records of all CPUs to GPON_COUNTERS sums. Any context. */
void add_records(std::span<u64> sums);

} // namespace gpon

#endif

/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The record of counters that each CPU has; plain C, because the glue allocates it.
 *
 * A CPU writes only its own record, so no cache line moves between CPUs. Each count is one
 * operation that nothing else on the CPU interrupts. A reader sums the records of all CPUs. Nothing
 * is ever reset.
 */
#ifndef GPON_COUNTERS_RECORD_H
#define GPON_COUNTERS_RECORD_H

#ifdef __cplusplus
#include <stdint.h>
#define GPON_COUNTER_WORD uint64_t
#else
#define GPON_COUNTER_WORD unsigned long long
#endif

/* Indices of the counters. */
enum gpon_counter {
#define GPON_COUNTER(name, meaning) GPON_COUNT_##name,
#define GPON_COUNTER_SUM(name, meaning) GPON_COUNT_##name,
#include "counters.def"
#undef GPON_COUNTER
#undef GPON_COUNTER_SUM
    GPON_COUNTERS
};

/* Places of the outcome table. */
#define GPON_OUTCOME_PLACES 1024

/* Frames that used one place of the outcome table on one CPU, and the jiffies of the last one. */
struct gpon_place_use {
    GPON_COUNTER_WORD hits;
    unsigned long last;
};

struct gpon_cpu_counters {
    GPON_COUNTER_WORD count[GPON_COUNTERS];
    struct gpon_place_use place[GPON_OUTCOME_PLACES];
};

/* One row of the table of counters. */
struct gpon_counter_text {
    const char* name;
    const char* meaning;
};

#endif

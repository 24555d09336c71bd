/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * A memory in which each CPU sees the writes of others late and in another order, as far as the
 * memory model of C++ permits it, and a lock.
 *
 * Layout. A location has the list of all values that were written to it, in the order of writing. A
 * CPU has a view: for each location the oldest value that it may still read. A load returns any
 * value from there on and moves the view. A value carries the view of its writer: that of the
 * moment of the store if this is a release store, otherwise that of the last release fence. An
 * acquire load adds the carried view to that of the CPU; a relaxed load adds it to what the next
 * acquire fence adds. The lock carries the view of its last holder.
 *
 * Exploration. explore() runs a program once for each combination of choices: which CPU continues,
 * and which value a load returns. A CPU continues until it has written a value or released the
 * lock. That is enough: a load changes nothing for others, and one that is done later has all the
 * choices that it had earlier. A CPU that finds the lock taken has lost its turn; the order in
 * which it came later contains the same, so this run makes no further choices.
 *
 * Restriction. Values of a location are read in the order in which they were written, and a load
 * does not return a value that is written later in the run. The code under test writes each
 * location under the lock, and no store depends on a racing load, so these orders do not occur.
 */
#pragma once

#include <functional>
#include <vector>

#include "base/types.h"

namespace order {

/* What each CPU does; called again for each run, after begin. */
struct program {
    std::function<void()> begin;
    std::vector<std::function<void()>> cpus;
};

/* Number of runs, without those that end in a lost turn. Stops at the first failed expectation. */
u64 explore(const program& checked);

} // namespace order

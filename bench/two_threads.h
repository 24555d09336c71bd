/* SPDX-License-Identifier: GPL-2.0-only */
/* Frames that two threads handle at the same time. */
#pragma once

#include <optional>

#include "bench/cases.h"

namespace gpon::bench {

/* How many times the frames of one thread two threads handle in the same CPU time of each: the
 * median of these rounds, in which two threads that do the control work, each with memory of its
 * own, show that the machine has two free processors. Nothing if it has too few such times, or if
 * the result is above 2, which no code can reach: the machine disturbed the measurement. */
[[nodiscard]] std::optional<double> gain_of_two_threads(const bench_case& which,
                                                        const bench_case& control, unsigned rounds);

} // namespace gpon::bench

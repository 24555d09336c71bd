/* SPDX-License-Identifier: GPL-2.0-only */
#pragma once

namespace gpon::bench {

/* Index of this thread among the threads that measure at the same time: 0 or 1. */
inline thread_local int thread_number = 0;

} // namespace gpon::bench

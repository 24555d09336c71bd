/* SPDX-License-Identifier: GPL-2.0-only */
/* The actions of each service when a module is removed; for load, unload and reset. */
#pragma once

#include <cstdint>

/* An open file; the module gets a pointer to it and stores nothing in it. */
struct file {};

namespace gpon::host {

/* Closes the entry points: no function of the module is called any more. */
void drop_chrdev();
void drop_proc_entries();
void drop_timers();
/* Unregisters all hooks except the platform's own mapping hook. */
void drop_hooks();

/* Jiffies 0, no timer. */
void reset_time();

/* Frees all remaining allocations and resets the counters. */
void reset_memory();

/* Clears the counters of all threads; none of them is inside an entry point. */
void reset_counters();

/* Deferred frees that have not run yet. */
[[nodiscard]] uint64_t deferred_frees();

/* Ends load() at once if the caller is inside it; otherwise returns. */
void abandon_load();

} // namespace gpon::host

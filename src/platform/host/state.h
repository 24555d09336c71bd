/* SPDX-License-Identifier: GPL-2.0-only */
/* What each service of the platform does when a module goes; for load, unload and reset. */
#pragma once

#include <cstdint>

/* An open file; the module is handed one and keeps nothing in it. */
struct file {};

namespace gpon::host {

/* The doors close: nothing of the module is called any more. */
void drop_chrdev();
void drop_proc_entries();
void drop_timers();
/* Leaves the platform's own mapping hook registered, and nothing else. */
void drop_hooks();

/* Jiffies 0, no timer. */
void reset_time();

/* Frees what is still allocated and starts the counts anew. */
void reset_memory();

/* Deferred frees that have not run yet. */
uint64_t deferred_frees();

/* Leaves load() at once, if the caller is inside; returns otherwise. */
void abandon_load();

} // namespace gpon::host

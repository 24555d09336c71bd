// SPDX-License-Identifier: GPL-2.0-only
/*
 * The module loader: each load starts with the initial values of the module's data, and a panic
 * ends the load at once.
 */
#include <setjmp.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <vector>

#include "platform/host/context.h"
#include "platform/host/host.h"
#include "platform/host/state.h"

#include "platform/api/kernel_api.h"
#include "platform/api/module_entry.h"

extern "C" {
// Bounds of the module's mutable data, from the linker; absent when the module has none.
[[gnu::weak]] extern std::byte __start_gpon_data[];
[[gnu::weak]] extern std::byte __stop_gpon_data[];
}

namespace gpon::host {
namespace {

enum class module_state { absent, loaded, panicked };
module_state state = module_state::absent;

// Copied before main, when no code of the module has run.
const std::vector<std::byte> initial_data(__start_gpon_data, __stop_gpon_data);

constinit thread_local bool loading = false;
jmp_buf out_of_load; // of the loading thread

void restore_data()
{
    if (!initial_data.empty())
        std::memcpy(__start_gpon_data, initial_data.data(), initial_data.size());
}

void remove_interfaces()
{
    drop_timers();
    drop_hooks();
    drop_proc_entries();
    drop_chrdev();
}

// Separate from load(), so that no local of a caller is live across the jump. False after a panic.
bool run_init(int& ret)
{
    if (setjmp(out_of_load))
        return false;
    loading = true;
    ret = init_module();
    loading = false;
    return true;
}

} // namespace

void abandon_load()
{
    if (!loading)
        return;
    // The jump skips every unlock.
    if (this_thread.spinlock || this_thread.mutex || in_read_section())
        fatal("panic with a lock held");
    loading = false;
    longjmp(out_of_load, 1);
}

std::optional<int> load()
{
    if (is_loaded())
        return -EEXIST;
    restore_data();
    reset_counters();
    int ret = 0;
    if (!run_init(ret)) {
        state = module_state::panicked;
        remove_interfaces();
        return std::nullopt;
    }
    state = module_state::loaded;
    return ret;
}

void unload()
{
    if (state != module_state::loaded)
        return;
    cleanup_module();
    if (deferred_frees())
        fatal("module unloaded while its deferred frees are outstanding");
    state = module_state::absent;
}

bool is_loaded()
{
    return state != module_state::absent;
}

void reset()
{
    rcu_settle();
    remove_interfaces();
    reset_time();
    set_mapping(0);
    set_queue_mapping(0);
    disarm_faults();
    reset_memory();
    reset_counters();
    restore_data();
    state = module_state::absent;
}

} // namespace gpon::host

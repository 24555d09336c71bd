// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
// Loading and unloading.
#include "../base/log.h"
#include "../base/memory.h"
#include "../hash/aging.h"
#include "../include/uapi/gpon_flow.h"
#include "../me/list.h"
#include "../me/registry.h"
#include "../platform/api/module_entry.h"
#include "chrdev.h"
#include "hook.h"
#include "proc.h"

namespace {

constexpr i32 ENTRY_FAILED = -12; // -ENOMEM, as callers of create_proc_entry return by custom

GPON_MODULE_DATA constinit vorn_hook_ops gpon_flow_api_dispatch_hook_ops = {
    {nullptr, nullptr, nullptr}, "gpon_flow_api_dispatch", 1, gpon_flow_api_dispatch, 59, 1};

[[noreturn]] void die_without_hook()
{
    // Operators search crash dumps for this text, including the line number.
    panic("Register hook function failed! %s:%d", "gpon_flow_init", 360);
    __builtin_trap();
}

void register_device()
{
    if (__register_chrdev(GPON_FLOW_MAJOR, 0, GPON_FLOW_MINORS, GPON_FLOW_DEVICE_NAME,
                          &gpon_flow_file_operations) < 0)
        printk("ERROR!gpon_flow_ioctl_init,create chrdev gpon_flow fail\n");
}

i32 create_proc_entries()
{
    proc_dir_entry* dir = proc_mkdir("gpon_flow", nullptr);
    if (!dir) {
        printk("ERROR!Create proc directory gpon_flow fail!");
        return -1;
    }
    proc_dir_entry* debug = create_proc_entry("debug", 0, dir);
    if (!debug) {
        printk("ERROR!Create proc entry debug fail!");
        return ENTRY_FAILED;
    }
    set_proc_handlers(debug, gpon_flow_proc_read, gpon_flow_proc_write);
    return 0;
}

// A proc write may still run during unload.
void clean_instances()
{
    const gpon::control_guard control;
    gpon_flow_clean_all_me_inst();
}

} // namespace

int init_module(void)
{
    gponFlowEnableFlag = 0;
    gponDebugLevel = 0;
    gpon_flow_init_me_map();
    gpon_hash_init();
    register_device();
    trace_cfg = {};
    if (const i32 failure = create_proc_entries())
        return failure;
    vorn_unregister_hook(&gpon_flow_mapping_hook_ops);
    if (vorn_register_hook(&gpon_flow_api_dispatch_hook_ops) != 0)
        die_without_hook();
    return 0;
}

void cleanup_module(void)
{
    clean_instances();
    gpon_hash_exit();
    __unregister_chrdev(GPON_FLOW_MAJOR, 0, GPON_FLOW_MINORS, GPON_FLOW_DEVICE_NAME);
    clean_instances();
    // Removes nothing: the entry is in the directory, whose removal deletes it.
    remove_proc_entry("debug", nullptr);
    remove_proc_entry("gpon_flow", nullptr);
    // Last, so that the platform is never without a mapping; packets until then find an empty store
    // and a rule table without buckets.
    vorn_unregister_hook(&gpon_flow_api_dispatch_hook_ops);
    // Deferred frees run code of this module.
    rcu_barrier();
}

// SPDX-License-Identifier: GPL-2.0-only
#include "aging.h"

#include "../base/counters.h"
#include "../base/log.h"
#include "../base/memory.h"
#include "crc32.h"
#include "rule_events.h"

using gpon::bh_lock;

i32 gpon_hash_init(void)
{
    spin_lock_init(&gpon_hash_lock);
    gpon::choose_crc32();
    // Before any step that can fail: exit stops the timer even if it was never armed.
    timer_setup(&gpon_hash_timer, gpon_hash_aging_timer_func, 0);
    {
        const bh_lock lock(gpon_hash_lock);
        if (gpon_hash_inflate_table(gpon_hash_table_record.table_size) != 0) {
            log_error("[%s][%d] gpon_hash_inflate_table Fail\n");
            return -1;
        }
    }
    mod_timer(&gpon_hash_timer, get_jiffies_64() + GPON_HASH_AGING_PERIOD);
    return 0;
}

i32 gpon_hash_exit(void)
{
    del_timer_sync(&gpon_hash_timer);
    // Packets still arrive: the hook is unregistered after the table.
    const bh_lock lock(gpon_hash_lock);
    if (gpon_hash_destroy_table(&gpon_hash_table_record) != 0) {
        log_error("[%s][%d] gpon_hash_destroy_table Fail\n");
        return -1;
    }
    return 0;
}

void gpon_hash_aging_timer_func(timer_list*)
{
    {
        const bh_lock lock(gpon_hash_lock);
        gpon_hash_delete_aging_node();
    }
    mod_timer(&gpon_hash_timer, get_jiffies_64() + GPON_HASH_AGING_PERIOD);
}

void gpon_hash_delete_aging_node(void)
{
    gpon_hash_table& table = gpon_hash_table_record;
    log_trace("[%s][%d]: Enter\n");
    gpon::count(GPON_COUNT_sweeps);
    const u32 rules = table.total_num;
    if (rules == 0) {
        log_trace("[%s][%d]: total_num is zero\n");
        gpon::trace_sweep(rules, table);
        return;
    }
    // Frames must mark their rules again.
    gpon::begin_generation();
    for (u32 i = 0; i < table.table_size; ++i) {
        gpon_hash_bucket& bucket = table.buckets[i];
        gpon::for_each_rule(bucket, [&](gpon_flow_rule* rule) GPON_REQUIRES(gpon_hash_lock) {
            if (rule->hit != 0) {
                rule->hit = 0;
                return;
            }
            gpon::report_gone(*rule, GPON_RULE_AGED);
            gpon::delete_rule(table, bucket, rule);
            gpon::count(GPON_COUNT_rules_aged);
        });
    }
    gpon::trace_sweep(rules, table);
}

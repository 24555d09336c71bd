// SPDX-License-Identifier: GPL-2.0-only
#include "rule_table.h"

#include "../base/counters.h"
#include "../base/log.h"
#include "../base/memory.h"
#include "aging.h"
#include "crc32.h"
#include "rule_events.h"
#include "rule_use.h"

using gpon::bh_lock;

GPON_MODULE_DATA constinit gpon_hash_table gpon_hash_table_record = {0, GPON_HASH_MIN_SIZE, 0, 75,
                                                                     nullptr};
GPON_MODULE_DATA constinit gpon_hash_table gpon_hash_old_table = {};
GPON_MODULE_DATA constinit list_head gpon_flow_rule_list = {&gpon_flow_rule_list,
                                                            &gpon_flow_rule_list};

namespace {

// Value that a kernel writes to the links of a node that was removed from a list.
hlist_node* const POISON_NEXT = reinterpret_cast<hlist_node*>(0x100);
hlist_node** const POISON_PPREV = reinterpret_cast<hlist_node**>(0x122);

using key_bytes = std::span<const u8>;

// Keys are a whole number of 32-bit words, except those of tests; a library call would cost more
// than the comparison.
bool same_key(const u8* stored, key_bytes key)
{
    const size_t bytes = key.size();
    size_t at = 0;
    for (; bytes - at >= sizeof(u64); at += sizeof(u64))
        if (gpon::load_unaligned<u64>(stored + at) != gpon::load_unaligned<u64>(&key[at]))
            return false;
    for (; bytes - at >= sizeof(u32); at += sizeof(u32))
        if (gpon::load_unaligned<u32>(stored + at) != gpon::load_unaligned<u32>(&key[at]))
            return false;
    for (; at < bytes; ++at)
        if (stored[at] != key[at])
            return false;
    return true;
}

bool has_key(const gpon_flow_rule& rule, key_bytes key)
{
    return rule.key_len == key.size() && same_key(rule.key, key);
}

void free_rule(gpon_flow_rule* rule) GPON_REQUIRES(gpon_hash_lock)
{
    if (!rule)
        return;
    gpon::leave_places(*rule);
    kfree(rule->key);
    kfree(rule->trace);
    kfree(rule);
}

void push(gpon_hash_bucket& bucket, gpon_flow_rule* rule) GPON_REQUIRES(gpon_hash_lock)
{
    rule->link.next = bucket.first;
    rule->link.pprev = &bucket.first;
    if (bucket.first)
        bucket.first->pprev = &rule->link.next;
    bucket.first = &rule->link;
}

void unlink(gpon_flow_rule* rule) GPON_REQUIRES(gpon_hash_lock)
{
    hlist_node& link = rule->link;
    *link.pprev = link.next;
    if (link.next)
        link.next->pprev = link.pprev;
    link.next = POISON_NEXT;
    link.pprev = POISON_PPREV;
}

[[nodiscard]] gpon_flow_rule* find_in_bucket(key_bytes key, u32 hash) GPON_REQUIRES(gpon_hash_lock)
{
    const gpon_hash_table& table = gpon_hash_table_record;
    if (!table.buckets)
        return nullptr;
    for (hlist_node* node = table.buckets[hash & (table.table_size - 1)].first; node;
         node = node->next)
        if (has_key(*gpon::rule_of(node), key))
            return gpon::rule_of(node);
    return nullptr;
}

// Two CPUs learn the same flow when its first frames come at the same time.
bool same_steps(const gpon_rule_trace& a, const gpon_rule_trace& b)
{
    static_assert(sizeof(gpon_rule_trace) % sizeof(u64) == 0);
    u64 difference = 0;
    for (size_t at = 0; at < sizeof(a); at += sizeof(u64))
        difference |= gpon::load_unaligned<u64>(reinterpret_cast<const u8*>(&a) + at) ^
                      gpon::load_unaligned<u64>(reinterpret_cast<const u8*>(&b) + at);
    return difference == 0;
}

// Overwrites the steps of a rule with this key.
[[nodiscard]] gpon_counter learn_again(gpon_flow_rule& rule, key_bytes key,
                                       const gpon_rule_trace& trace) GPON_REQUIRES(gpon_hash_lock)
{
    if (!has_key(rule, key))
        return GPON_COUNT_rules_bucket_taken;
    gpon_counter result = GPON_COUNT_rules_unchanged;
    if (!same_steps(*rule.trace, trace)) {
        gpon::begin_generation();
        *rule.trace = trace;
        gpon::report_relearnt(rule);
        result = GPON_COUNT_rules_relearnt;
    }
    rule.hit = 1;
    return result;
}

[[nodiscard]] gpon_flow_rule* make_rule(key_bytes key, const gpon_rule_trace& trace)
{
    gpon::owned<gpon_flow_rule> rule = gpon::zalloc<gpon_flow_rule>();
    if (!rule)
        return nullptr;
    gpon::owned<u8> key_copy = gpon::zalloc<u8>(key.size());
    if (!key_copy)
        return nullptr;
    gpon::owned<gpon_rule_trace> trace_copy = gpon::zalloc<gpon_rule_trace>();
    if (!trace_copy)
        return nullptr;
    gpon::copy_bytes(key_copy.get(), key.data(), key.size());
    *trace_copy = trace;
    rule->key = key_copy.release();
    rule->key_len = static_cast<u16>(key.size());
    rule->trace = trace_copy.release();
    rule->hit = 1;
    rule->last_used = get_jiffies_64();
    return rule.release();
}

// What became of the steps of a walk.
void note_learning(key_bytes key, gpon_counter result) GPON_REQUIRES(gpon_hash_lock)
{
    gpon::count(result);
    gpon::trace_learning(key, result);
}

void lose_in_new_table(const gpon_flow_rule& old) GPON_REQUIRES(gpon_hash_lock)
{
    gpon::count(GPON_COUNT_rules_lost_by_growth);
    gpon::report_gone(old, GPON_RULE_LOST);
}

void move_to_new_table(gpon_flow_rule& old) GPON_REQUIRES(gpon_hash_lock)
{
    const key_bytes key = {old.key, old.key_len};
    gpon_flow_rule* copy = gpon_hash_place_rule(key, *old.trace) == GPON_COUNT_rules_learnt
                               ? gpon::find_rule(key)
                               : nullptr;
    if (copy)
        gpon::inherit_use(*copy, old);
    else
        lose_in_new_table(old);
}

constexpr u32 bucket_count_for(u32 requested)
{
    if (requested > GPON_HASH_MAX_SIZE - 1)
        return GPON_HASH_MAX_SIZE;
    u32 size = GPON_HASH_MIN_SIZE;
    while (size < requested)
        size *= 2;
    return size;
}

} // namespace

gpon_flow_rule* gpon::find_rule(key_bytes key)
{
    return find_in_bucket(key, gpon_hash_calc_key(key.data(), static_cast<u16>(key.size())));
}

void gpon::delete_rule(gpon_hash_table& table, gpon_hash_bucket& bucket, gpon_flow_rule* rule)
{
    begin_generation();
    unlink(rule);
    free_rule(rule);
    --bucket.node_num;
    --table.total_num;
}

i32 gpon_hash_inflate_table(u32 requested)
{
    gpon_hash_table& table = gpon_hash_table_record;
    const u32 size = bucket_count_for(requested);
    const u32 scaled = size * table.load_percent;
    table.table_size = size;
    table.total_num = 0;
    table.threshold = (scaled < 102500 ? scaled : 102500) / 100;
    table.buckets = gpon::zalloc<gpon_hash_bucket>(size).release();
    if (!table.buckets) {
        log_error("[%s][%d] end, kzalloc Fail\n");
        return -1;
    }
    return 0;
}

void gpon_hash_rehash_new_table(void)
{
    for (u32 i = 0; i < gpon_hash_old_table.table_size; ++i)
        gpon::for_each_rule(gpon_hash_old_table.buckets[i],
                            [](gpon_flow_rule* rule)
                                GPON_REQUIRES(gpon_hash_lock) { move_to_new_table(*rule); });
}

i32 gpon_hash_expand_table(void)
{
    gpon_hash_table& table = gpon_hash_table_record;
    log_trace("[%s][%d]: Enter\n");
    if (table.total_num < table.threshold)
        return 0;
    if (table.table_size == GPON_HASH_MAX_SIZE) {
        gpon_hash_delete_aging_node();
        return 0;
    }
    gpon_hash_old_table = table;
    if (gpon_hash_inflate_table(table.table_size * 2) != 0) {
        gpon::count(GPON_COUNT_table_growths_failed);
        log_error("[%s][%d] gpon_hash_inflate_table Fail\n");
        table = gpon_hash_old_table;
        return -1;
    }
    gpon_hash_rehash_new_table();
    // Rules for whose copies there is no memory are lost; freeing the old ones begins a new
    // generation.
    gpon_hash_destroy_table(&gpon_hash_old_table);
    gpon::count(GPON_COUNT_table_growths);
    gpon::report_growth(table.table_size);
    return 0;
}

gpon_counter gpon_hash_place_rule(key_bytes key, const gpon_rule_trace& trace)
{
    constexpr log_context log = log_context::of<gpon_hash_add_node>();
    gpon_hash_table& table = gpon_hash_table_record;
    if (!table.buckets)
        return GPON_COUNT_rules_no_memory;
    if (gpon_hash_expand_table() != 0) {
        log.error("[%s][%d] gpon_hash_expand_table Fail\n");
        return GPON_COUNT_rules_no_memory;
    }
    const u32 hash = gpon_hash_calc_key(key.data(), static_cast<u16>(key.size()));
    const u32 at = hash & (table.table_size - 1);
    gpon_hash_bucket& bucket = table.buckets[at];
    log.trace("[%s][%d] table num = %d, tableIdx = %d, hashVal=%#x, stHsV=%#x\n", table.total_num,
              at, hash, bucket.hash_val);
    if (bucket.first) {
        const gpon_counter result = learn_again(*gpon::rule_of(bucket.first), key, trace);
        log.trace("[%s][%d] end, rule already exist,update rule value\n");
        return result;
    }
    bucket.hash_val = hash;
    gpon_flow_rule* rule = make_rule(key, trace);
    if (!rule) {
        log.error("[%s][%d] end, kzalloc fail\n");
        return GPON_COUNT_rules_no_memory;
    }
    push(bucket, rule);
    ++table.total_num;
    ++bucket.node_num;
    return GPON_COUNT_rules_learnt;
}

i32 gpon_hash_add_node(const u8* key, u16 key_len, const gpon_rule_trace* trace)
{
    if (!key || !trace) {
        log_error("[%s][%d] end, Parameter is NULL\n");
        return -1;
    }
    const gpon_counter result = gpon_hash_place_rule({key, key_len}, *trace);
    note_learning({key, key_len}, result);
    if (result == GPON_COUNT_rules_learnt)
        gpon::report_learnt({key, key_len});
    return result == GPON_COUNT_rules_no_memory ? -1 : 0;
}

i32 gpon_hash_add_node_safe(const u8* key, u16 key_len, const gpon_rule_trace* trace, u64 walked_in)
{
    const bh_lock lock(gpon_hash_lock);
    if (walked_in != gpon::ANY_STORE && !gpon::store_is_unchanged(walked_in)) {
        note_learning({key, key_len}, GPON_COUNT_rules_outdated);
        return 0;
    }
    return gpon_hash_add_node(key, key_len, trace);
}

i32 gpon_hash_get_rule_safe(const u8* key, u16 key_len, gpon_rule_trace* out)
{
    if (!key || !out) {
        log_error("[%s][%d] end, Parameter is NULL\n");
        return -1;
    }
    const u32 hash = gpon_hash_calc_key(key, key_len);
    {
        const bh_lock lock(gpon_hash_lock);
        gpon_flow_rule* rule = find_in_bucket({key, key_len}, hash);
        if (!rule)
            return -1;
        *out = *rule->trace;
        rule->hit = 1;
        gpon::add_use(*rule);
    }
    log_trace("[%s][%d] end, get rule success\n");
    return 0;
}

i32 gpon_hash_delete_node_safe(u32 hash_val, u16 index)
{
    const bh_lock lock(gpon_hash_lock);
    gpon_hash_table* table = &gpon_hash_table_record;
    if (!table->buckets)
        return 0;
    gpon_hash_bucket* bucket = &table->buckets[hash_val & (table->table_size - 1)];
    gpon::for_each_rule(*bucket, [=](gpon_flow_rule* rule) GPON_REQUIRES(gpon_hash_lock) {
        if (rule->index != index)
            return;
        gpon::report_gone(*rule, GPON_RULE_DELETED);
        gpon::delete_rule(*table, *bucket, rule);
        gpon::count(GPON_COUNT_rules_deleted);
    });
    return 0;
}

i32 gpon_hash_clean_table_node(gpon_hash_table* table)
{
    if (!table->buckets) {
        log_error("[%s][%d] end, Parameter is NULL\n");
        return -1;
    }
    gpon::begin_generation();
    for (u32 i = 0; i < table->table_size; ++i) {
        gpon_hash_bucket& bucket = table->buckets[i];
        gpon::for_each_rule(bucket, [](gpon_flow_rule* rule)
                                        GPON_REQUIRES(gpon_hash_lock) { free_rule(rule); });
        bucket.first = nullptr;
        bucket.node_num = 0;
    }
    table->total_num = 0;
    return 0;
}

i32 gpon_hash_clean_all_safe(void)
{
    const bh_lock lock(gpon_hash_lock);
    count_many(GPON_COUNT_rules_flushed, gpon_hash_table_record.total_num);
    gpon::report_all_gone(gpon_hash_table_record, GPON_RULE_FLUSHED);
    return gpon_hash_clean_table_node(&gpon_hash_table_record);
}

i32 gpon_hash_destroy_table(gpon_hash_table* table)
{
    if (!table->buckets) {
        log_error("[%s][%d] end, Parameter is NULL\n");
        return -1;
    }
    gpon_hash_clean_table_node(table);
    kfree(table->buckets);
    table->total_num = 0;
    table->buckets = nullptr;
    return 0;
}

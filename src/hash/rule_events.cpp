// SPDX-License-Identifier: GPL-2.0-only
#include "rule_events.h"

#include "../base/counters.h"
#include "rule_use.h"

static_assert(GPON_SEEN_TAGS == GPON_MAX_TAGS &&
              static_cast<u8>(GPON_SEEN_STEPS) == MAX_RECURSION_NUM);

namespace {

// Rules learnt since load; the generation does not count them.
GPON_MODULE_DATA constinit u64 learnt_number = 0;

// Keys of tests may have any length; bytes beyond the end read as 0.
u16 word_of_key(const gpon_flow_rule& rule, u32 offset)
{
    if (offset + sizeof(u16) > rule.key_len)
        return 0;
    return gpon::load_unaligned<u16>(rule.key + offset);
}

void copy_key(const gpon_flow_rule& rule, gpon_seen_rule& seen)
{
    constexpr u32 ADDRESSES = sizeof(seen.dst_mac) + sizeof(seen.src_mac);
    constexpr u32 DIRECTION = 14;
    if (rule.key_len >= ADDRESSES) {
        gpon::copy_bytes(seen.dst_mac, rule.key, sizeof(seen.dst_mac));
        gpon::copy_bytes(seen.src_mac, rule.key + sizeof(seen.dst_mac), sizeof(seen.src_mac));
    }
    seen.direction = word_of_key(rule, DIRECTION);
    for (u32 at = GPON_RULE_KEY_HEAD;
         at + GPON_RULE_KEY_TAG <= rule.key_len && seen.tags < GPON_SEEN_TAGS;
         at += GPON_RULE_KEY_TAG, ++seen.tags) {
        seen.tpid[seen.tags] = word_of_key(rule, at);
        seen.tci[seen.tags] = word_of_key(rule, at + sizeof(u16));
    }
}

void copy_steps(const gpon_flow_rule& rule, gpon_seen_rule& seen)
{
    for (const gpon_trace_step& step : rule.trace->step) {
        if (step.classId == 0)
            return;
        seen.class_id[seen.steps] = step.classId;
        seen.inst_id[seen.steps++] = step.instId;
    }
}

void report_rule(gpon_event_kind kind, u32 cause, const gpon_flow_rule& rule)
    GPON_REQUIRES(gpon_hash_lock)
{
    gpon_event event = {};
    event.kind = kind;
    event.cause = cause;
    gpon::copy_rule(rule, event.rule);
    send_event(&event);
}

} // namespace

void gpon::copy_rule(const gpon_flow_rule& rule, gpon_seen_rule& seen)
{
    seen = {};
    copy_key(rule, seen);
    copy_steps(rule, seen);
    const rule_use use = use_of(rule);
    seen.hits = use.hits;
    seen.idle = get_jiffies_64() - use.last_used;
    seen.used = rule.hit != 0;
    if (const outcome* place = current_place_of(rule)) {
        seen.remembered = 1;
        seen.gemport_id = static_cast<u16>(place->key[2] >> GEM_PORT_SHIFT);
    }
}

u64 gpon::rules_revision()
{
    return current_generation() + learnt_number;
}

void gpon::report_learnt(const gpon_flow_rule& rule)
{
    ++learnt_number;
    if (wants_events())
        report_rule(GPON_EVENT_RULE_LEARNT, 0, rule);
}

void gpon::report_gone(const gpon_flow_rule& rule, gpon_rule_end cause)
{
    if (wants_events())
        report_rule(GPON_EVENT_RULE_GONE, cause, rule);
}

void gpon::report_all_gone(gpon_hash_table& table, gpon_rule_end cause)
{
    if (!table.buckets || !wants_events())
        return;
    for (u32 i = 0; i < table.table_size; ++i)
        for_each_rule(table.buckets[i], [=](gpon_flow_rule* rule) GPON_REQUIRES(gpon_hash_lock) {
            report_rule(GPON_EVENT_RULE_GONE, cause, *rule);
        });
}

void gpon::report_growth(u32 buckets)
{
    if (!wants_events())
        return;
    gpon_event event = {};
    event.kind = GPON_EVENT_TABLE_GROWN;
    event.buckets = buckets;
    send_event(&event);
}

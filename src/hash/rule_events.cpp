// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "rule_events.h"

#include "../base/counters.h"
#include "../base/tracepoint.h"
#include "rule_use.h"

static_assert(GPON_SEEN_TAGS == GPON_MAX_TAGS &&
              static_cast<u8>(GPON_SEEN_STEPS) == MAX_RECURSION_NUM);

// Kept small: they are on the stack while a frame is handled.
static_assert(sizeof(gpon_event) <= 128 && sizeof(gpon_trace_record) <= 112);

namespace {

// Rules learnt since load; the generation does not count them.
GPON_MODULE_DATA constinit u64 learnt_number = 0;

constexpr u32 ADDRESS_BYTES = 6;
constexpr u32 DIRECTION_OFFSET = 14;

using key_bytes = std::span<const u8>;

// Keys of tests may have any length; bytes beyond the end read as 0.
u16 word_of_key(key_bytes key, u32 offset)
{
    if (offset + sizeof(u16) > key.size())
        return 0;
    return gpon::load_unaligned<u16>(&key[offset]);
}

template <typename Record> void copy_addresses(key_bytes key, Record& record)
{
    static_assert(sizeof(record.dst_mac) == ADDRESS_BYTES);
    if (key.size() < ADDRESS_BYTES + ADDRESS_BYTES)
        return;
    gpon::copy_bytes(record.dst_mac, key.data(), ADDRESS_BYTES);
    gpon::copy_bytes(record.src_mac, &key[ADDRESS_BYTES], ADDRESS_BYTES);
}

// Calls visit(TPID, TCI) for each tag of a key.
template <typename Visit> void for_each_tag(key_bytes key, Visit visit)
{
    for (u32 at = GPON_RULE_KEY_HEAD; at + GPON_RULE_KEY_TAG <= key.size(); at += GPON_RULE_KEY_TAG)
        visit(word_of_key(key, at), word_of_key(key, at + sizeof(u16)));
}

void copy_key(key_bytes key, gpon_seen_rule& seen)
{
    copy_addresses(key, seen);
    seen.direction = word_of_key(key, DIRECTION_OFFSET);
    for_each_tag(key, [&](u16 tpid, u16 tci) {
        if (seen.tags == GPON_SEEN_TAGS)
            return;
        seen.tpid[seen.tags] = tpid;
        seen.tci[seen.tags++] = tci;
    });
}

gpon_traced_frame frame_of_key(key_bytes key)
{
    gpon_traced_frame frame = {};
    copy_addresses(key, frame);
    frame.direction = word_of_key(key, DIRECTION_OFFSET);
    for_each_tag(key, [&](u16 tpid, u16 tci) {
        if (frame.tags < GPON_TRACED_TAGS)
            frame.tag[frame.tags] = u32{tpid} << 16 | tci;
        ++frame.tags;
    });
    return frame;
}

void copy_steps(const gpon_flow_rule& rule, gpon_seen_rule& seen)
{
    for (const gpon_trace_step& step : rule.trace->step) {
        if (step.classId == me_class::none)
            return;
        seen.class_id[seen.steps] = gpon::class_number(step.classId);
        seen.inst_id[seen.steps++] = step.instId;
    }
}

void report_rule(gpon_event_kind kind, u32 cause, const gpon_flow_rule& rule)
    GPON_REQUIRES(gpon_hash_lock)
{
    if (misses_event())
        return;
    gpon_event event = {};
    event.kind = kind;
    event.cause = cause;
    gpon::copy_rule(rule, event.rule);
    send_event(&event);
}

// The counters of learning are in the order of its results.
constexpr gpon_learn_result result_of(gpon_counter counter)
{
    return static_cast<gpon_learn_result>(static_cast<i32>(counter) - GPON_COUNT_rules_learnt);
}
static_assert(result_of(GPON_COUNT_rules_learnt) == GPON_LEARN_ADDED &&
              result_of(GPON_COUNT_rules_relearnt) == GPON_LEARN_REPLACED &&
              result_of(GPON_COUNT_rules_bucket_taken) == GPON_LEARN_BUCKET_TAKEN &&
              result_of(GPON_COUNT_rules_outdated) == GPON_LEARN_OUTDATED &&
              result_of(GPON_COUNT_rules_no_memory) == GPON_LEARN_NO_MEMORY &&
              result_of(GPON_COUNT_rules_unchanged) == GPON_LEARN_UNCHANGED);

} // namespace

void gpon::copy_rule(const gpon_flow_rule& rule, gpon_seen_rule& seen)
{
    seen = {};
    copy_key({rule.key, rule.key_len}, seen);
    copy_steps(rule, seen);
    const rule_use use = use_of(rule);
    seen.hits = use.hits;
    // Another CPU may have read a later clock for its use than this one reads now.
    const auto idle = static_cast<long>(get_jiffies_64() - use.last_used);
    seen.idle = idle > 0 ? static_cast<unsigned long>(idle) : 0;
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

void gpon::report_learnt(std::span<const u8> key)
{
    ++learnt_number;
    if (wants_events())
        report_rule(GPON_EVENT_RULE_LEARNT, 0, *find_rule(key));
}

void gpon::report_relearnt(const gpon_flow_rule& rule)
{
    if (wants_events())
        report_rule(GPON_EVENT_RULE_RELEARNT, 0, rule);
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

void gpon::trace_learning(std::span<const u8> key, gpon_counter result)
{
    if (!is_traced(GPON_TRACEPOINT_RULE_LEARN))
        return;
    gpon_trace_record record = {};
    record.point = GPON_TRACEPOINT_RULE_LEARN;
    record.frame = frame_of_key(key);
    record.learnt = result_of(result);
    hit_tracepoint(&record);
}

void gpon::trace_sweep(u32 rules, const gpon_hash_table& table)
{
    if (!is_traced(GPON_TRACEPOINT_SWEEP))
        return;
    gpon_trace_record record = {};
    record.point = GPON_TRACEPOINT_SWEEP;
    record.sweep = {rules, rules - table.total_num, table.table_size};
    hit_tracepoint(&record);
}

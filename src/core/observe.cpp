// SPDX-License-Identifier: GPL-2.0-only
// Compiled for size: its speed matters little.
#include "../platform/api/observe.h"

#include "../base/counters.h"
#include "../base/memory.h"
#include "../base/switches.h"
#include "../hash/rule_events.h"
#include "../hash/rule_use.h"
#include "../me/links.h"
#include "../me/list.h"
#include "../me/registry.h"

namespace {

// Buckets that one call looks at, which bounds the time under the lock.
constexpr u32 BUCKETS_AT_ONCE = 128;

// Returns the number of rules in out after this bucket. Rules without room are left out.
u32 copy_bucket(gpon_hash_bucket& bucket, std::span<gpon_seen_rule> out, u32 count)
    GPON_REQUIRES(gpon_hash_lock)
{
    u32 copied = count;
    gpon::for_each_rule(bucket, [&](const gpon_flow_rule* rule) GPON_REQUIRES(gpon_hash_lock) {
        if (copied < out.size())
            gpon::copy_rule(*rule, out[copied++]);
    });
    return copied;
}

void copy_row(const gpon_me_related_info& row, u32& ids, gpon_seen_instance& seen) GPON_READS_LISTS
{
    const u32 first = ids;
    for (i32 i = 0; i < row.related_inst_num && ids < GPON_SEEN_IDS; ++i) {
        const gpon_me_related_id id = gpon::load_related_id(row.related_ids[i]);
        if (id.instExist != 1)
            break;
        seen.id[ids++] = id.instId;
    }
    seen.row_class[seen.rows] = gpon::class_number(row.related_class_id);
    seen.row_ids[seen.rows++] = static_cast<u16>(ids - first);
}

void copy_instance(const gpon_me_entry& entry, const gpon_me_inst& inst,
                   gpon_seen_instance& seen) GPON_READS_LISTS
{
    seen = {};
    seen.class_id = gpon::class_number(entry.class_id);
    seen.inst_id = inst.inst_id;
    seen.class_name = entry.name;
    seen.raw_bytes = static_cast<u32>(entry.list_info->raw_size);
    gpon::copy_bytes(seen.raw, inst.raw, seen.raw_bytes);
    u32 ids = 0;
    for (const gpon_me_related_info* row = inst.related;
         row->related_class_id != me_class::none && seen.rows < GPON_SEEN_ROWS; ++row)
        copy_row(*row, ids, seen);
}

// The instance at a position of a class's list, or null.
const gpon_me_inst* inst_at(const gpon_me_entry& entry, u32 position) GPON_READS_LISTS
{
    if (!gpon::has_list(&entry))
        return nullptr;
    return gpon::find_if(entry.list_info->head,
                         [&](const gpon_me_inst*) { return position-- == 0; });
}

struct direction_counters {
    gpon_counter remembered;
    gpon_counter calls;
};

constexpr direction_counters DIRECTIONS[] = {
    {GPON_COUNT_remembered_up_uni, GPON_COUNT_calls_up_uni},
    {GPON_COUNT_remembered_up_ani, GPON_COUNT_calls_up_ani},
    {GPON_COUNT_remembered_down_uni, GPON_COUNT_calls_down_uni},
    {GPON_COUNT_remembered_down_ani, GPON_COUNT_calls_down_ani},
};

// Only frames that passed count their use of a place.
void add_places_to_passed(std::span<u64> sums)
{
    for (const direction_counters& direction : DIRECTIONS)
        sums[GPON_COUNT_frames_passed] += sums[direction.remembered];
}

// A frame with a remembered outcome counts once; the call of its kind follows from that.
void add_remembered_to_calls(std::span<u64> sums)
{
    for (const direction_counters& direction : DIRECTIONS)
        sums[direction.calls] += sums[direction.remembered];
}

} // namespace

void gpon_counters_read(u64* into)
{
    const std::span<u64> sums(into, GPON_COUNTERS);
    for (u64& sum : sums)
        sum = 0;
    gpon::add_places(sums);
    add_places_to_passed(sums);
    // The records have the failed frames with a remembered outcome.
    gpon::add_records(sums);
    add_remembered_to_calls(sums);
}

unsigned int gpon_observe_rules(unsigned int* bucket, gpon_seen_rule* rules, unsigned int room,
                                u64* revision)
{
    const gpon::bh_lock lock(gpon_hash_lock);
    gpon_hash_table& table = gpon_hash_table_record;
    *revision = gpon::rules_revision();
    u32 count = 0;
    const u32 last = *bucket + BUCKETS_AT_ONCE;
    while (table.buckets && *bucket < table.table_size && *bucket < last && count < room)
        count = copy_bucket(table.buckets[(*bucket)++], {rules, room}, count);
    if (!table.buckets || *bucket >= table.table_size)
        *bucket = GPON_SEEN_ALL;
    return count;
}

int gpon_observe_instance(unsigned int* class_row, unsigned int* position,
                          gpon_seen_instance* instance, u64* revision)
{
    const gpon::control_guard control;
    *revision = gpon::current_store();
    for (; *class_row + 1 < GPON_ME_ROWS; ++*class_row, *position = 0) {
        const gpon_me_entry& entry = me_table[*class_row + 1];
        if (const gpon_me_inst* inst = inst_at(entry, *position)) {
            copy_instance(entry, *inst, *instance);
            ++*position;
            return 1;
        }
    }
    return 0;
}

void gpon_observe_state(gpon_seen_state* state)
{
    const gpon::bh_lock lock(gpon_hash_lock);
    const gpon_hash_table& table = gpon_hash_table_record;
    *state = {gpon::rules_revision(),
              gpon::load_relaxed(gponFlowEnableFlag),
              gpon::load_relaxed(gponDebugLevel),
              gpon::load_relaxed(trace_cfg.valid_mask),
              table.total_num,
              table.table_size,
              table.threshold,
              gpon::current_store()};
}

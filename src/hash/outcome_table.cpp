// SPDX-License-Identifier: GPL-2.0-only
#include "outcome_table.h"

#include "../base/counters.h"
#include "../base/memory.h"
#include "rule_use.h"

GPON_MODULE_DATA constinit gpon::outcome_set gpon::outcome_sets[1u << OUTCOME_SET_BITS] = {};

namespace {

// No generation: the place is being written.
constexpr u64 UNSETTLED = 0;

void fill(gpon::outcome& place, const gpon::outcome_key& key, u64 generation, u16 gemport_id)
    GPON_REQUIRES(gpon_hash_lock)
{
    gpon::store_relaxed(place.generation, UNSETTLED);
    gpon::store_release(place.key[0], key.first);
    gpon::store_release(place.key[1], key.middle);
    gpon::store_release(place.key[2], key.last | u64{gemport_id} << gpon::GEM_PORT_SHIFT);
    gpon::store_release(place.generation, generation);
}

// Reads without the lock: frames of flows without a place come here each time, and must not contend
// for it. A place that is missed only delays the fill.
bool has_place(const gpon::outcome_set& set, u64 generation)
{
    for (const gpon::outcome& place : set.place)
        if (gpon::load_relaxed(place.generation) != generation)
            return true;
    return false;
}

} // namespace

void gpon::remember_outcome(const outcome_key& key, u64 generation, u16 gemport_id,
                            std::span<const u8> rule_key)
{
    outcome_set& set = outcome_set_of(key);
    if (!is_at_rest(generation) || generation != current_generation())
        return;
    // Another CPU may have remembered the same flow since this packet's lookup.
    known_outcome known = {};
    if (!has_place(set, generation)) {
        if (!find_outcome(key, generation, &known))
            count(GPON_COUNT_outcomes_no_place);
        return;
    }
    const bh_lock lock(gpon_hash_lock);
    if (!still_holds(generation) || find_outcome(key, generation, &known))
        return;
    for (outcome& place : set.place)
        if (place.generation != generation) {
            // First the owner: frames on other CPUs use the place as soon as it is filled.
            take_place(place, direction_of(key), find_rule(rule_key));
            fill(place, key, generation, gemport_id);
            count(GPON_COUNT_outcomes_remembered);
            return;
        }
    count(GPON_COUNT_outcomes_no_place);
}

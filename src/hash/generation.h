/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The generation: one number that says whether what a packet has read still holds.
 *
 * Value. 64 bits, never reused. Even: the store is at rest. Odd: a change of it is under way. A
 * change of the store adds 1 before its first and 1 after its last write; a change of the rule
 * table that takes something away (a rule, its steps, its mark) adds 2. Every write is made under
 * gpon_hash_lock, every read is an acquire load and needs no lock.
 *
 * Promise. Whoever reads the same even value twice, the second time under gpon_hash_lock, knows
 * that between the two reads the store was at rest and that no rule was deleted, overwritten or
 * unmarked. New rules do not count.
 *
 * Why a bracket. One step before a change would let a packet that reads the old store after the
 * step keep it under the new number. One step after a change would let a packet see the new store
 * and a later one the old outcome. The barrier behind the odd number keeps the change's writes from
 * becoming visible before it; the release store of the even number keeps them from becoming visible
 * after it.
 *
 * Users. The walk learns its steps only in the even generation in which it began, so that no rule
 * outlives the graph that it was learnt from. Remembered outcomes (outcome_table.h) are valid in
 * one generation.
 */
#ifndef GPON_HASH_GENERATION_H
#define GPON_HASH_GENERATION_H

#include "../base/atomics.h"
#include "../platform/api/kernel_api.h"

namespace gpon {

constexpr u64 ANY_GENERATION = 0; /* of steps that come from no walk */
constexpr u64 FIRST_GENERATION = 2;

/* Written under gpon_hash_lock. */
extern u64 generation_word;

inline u64 current_generation()
{
    return load_acquire(generation_word);
}

constexpr bool is_at_rest(u64 generation)
{
    return generation % 2 == 0;
}

/* True when the generation is the current one and the store is at rest. */
inline bool still_holds(u64 generation) GPON_REQUIRES(gpon_hash_lock)
{
    return is_at_rest(generation) && generation == current_generation();
}

/* The rule table has lost something. */
void begin_generation() GPON_REQUIRES(gpon_hash_lock);

/* The bracket around a change of the store: every function that changes it has one, and a command
 * has one around all of it, its flush included. Brackets nest; the outermost one counts. Control
 * path, one caller at a time (gpon_flow_control_mutex). */
class store_change {
public:
    store_change() GPON_EXCLUDES(gpon_hash_lock);
    ~store_change() GPON_EXCLUDES(gpon_hash_lock);
    store_change(const store_change&) = delete;
    store_change& operator=(const store_change&) = delete;
};

} // namespace gpon

#endif

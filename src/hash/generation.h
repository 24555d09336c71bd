/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * Two numbers that show whether data that a packet has read is still valid: the generation, of the
 * store and the rule table, and the store's own number.
 *
 * Value. 64 bits, never reused. Even: the store is at rest. Odd: a change of the store is in
 * progress. A change of the store adds 1 to both before its first write and 1 after its last write.
 * A change of the rule table that removes something (a rule, its steps, its mark) adds 2 to the
 * generation only. Every write is made under gpon_hash_lock; a read is an acquire load and needs no
 * lock.
 *
 *                store_change      store_change     rule
 *                begins            ends             deleted
 *     -----------+-----------------+----------------+------------> time
 *     2          | 3               | 4              | 6            generation
 *     2          | 3               | 4              | 4            store's number
 *     at rest    | changing        | at rest        | at rest      store
 *
 *     A begins, ends               :                :              learnt, remembered
 *       B begins .................... ends          :              dropped: 2 is over
 *                : C begins, ends  :                :              dropped: 3 is odd
 *                                  : D begins ........ ends        learnt: the store is at 4;
 *                                                                  not remembered: 4 is over
 *
 * A to D are walks (learnt or dropped) and replays (remembered or not).
 *
 * Guarantee. If a packet reads the same even number twice, the second time under gpon_hash_lock,
 * and a load barrier (order_loads) precedes the second read, then the store was at rest while the
 * packet read it. If the number is the generation, no rule was deleted, unmarked or overwritten
 * with other steps either. New rules do not count.
 *
 * Why two increments. With only the first one, a packet that reads the old store after the
 * increment keeps it under the new number. With only the second one, a packet sees the new store
 * and a later packet the old outcome. The barrier after the odd number keeps the writes of the
 * change from becoming visible before it; the release store of the even number keeps them from
 * becoming visible after it.
 *
 * Length. A command's bracket includes its flush and the copy of its data from user space, which
 * may sleep until a page is read. Frames are walked and replayed meanwhile; nothing is learnt or
 * remembered, which costs time and is not wrong.
 *
 * Users. A walk learns its steps only while the store has the even number at which it began, so no
 * rule outlives the graph from which it was learnt. Remembered outcomes (outcome_table.h) are valid
 * in one generation.
 */
#ifndef GPON_HASH_GENERATION_H
#define GPON_HASH_GENERATION_H

#include "../base/atomics.h"
#include "../platform/api/kernel_api.h"

namespace gpon {

constexpr u64 ANY_STORE = 0; /* of steps that do not come from a walk */
constexpr u64 FIRST_GENERATION = 2;

// A reader without the lock must not see a half of a number.
static_assert(__atomic_always_lock_free(sizeof(u64), nullptr));

/* Written under gpon_hash_lock. */
alignas(sizeof(u64)) extern u64 generation_word;
alignas(sizeof(u64)) extern u64 store_word;

[[nodiscard]] inline u64 current_generation()
{
    return load_acquire(generation_word);
}

/* The store's number. */
[[nodiscard]] inline u64 current_store()
{
    return load_acquire(store_word);
}

[[nodiscard]] constexpr bool is_at_rest(u64 generation)
{
    return generation % 2 == 0;
}

/* True if the generation is the current one and the store is at rest. */
[[nodiscard]] inline bool still_holds(u64 generation) GPON_REQUIRES(gpon_hash_lock)
{
    return is_at_rest(generation) && generation == current_generation();
}

/* True if the store has had this number since it was read, and is at rest. */
[[nodiscard]] inline bool store_is_unchanged(u64 store) GPON_REQUIRES(gpon_hash_lock)
{
    return is_at_rest(store) && store == current_store();
}

/* Called when the rule table loses a rule, its steps or its mark. */
void begin_generation() GPON_REQUIRES(gpon_hash_lock);

/* The bracket around a change of the store. Every function that changes the store has one. An OMCI
 * command, a deletion by an operator and the unloading have one around their whole work, a command
 * including its flush. Brackets nest; only the outermost one counts. */
class store_change {
public:
    [[nodiscard]] store_change() GPON_REQUIRES(gpon_flow_control_mutex)
        GPON_EXCLUDES(gpon_hash_lock);
    ~store_change() GPON_EXCLUDES(gpon_hash_lock);
    store_change(const store_change&) = delete;
    store_change& operator=(const store_change&) = delete;
};

} // namespace gpon

#endif

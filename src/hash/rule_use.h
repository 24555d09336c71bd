/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The use of rules: how many frames used a rule, and when the last one did. No decision depends on
 * it; the mark of a rule (gpon_flow_rule, hit) is independent of it.
 *
 * A replay adds to the rule itself, under the lock that its lookup holds anyway. A frame with a
 * remembered outcome takes no lock and does not know its rule. When it passes, it adds to the word
 * of its place in the record of its CPU (include/counters.h), which no other CPU writes: the quick
 * path still writes nothing that CPUs share. The frames with a remembered outcome are also counted
 * by direction; this is the direction of the frames that use a place.
 *
 * A frame that fails adds to its rule under the lock and to its counter, not to the place. So the
 * words of places count passed frames only, and no counter is a difference of two sums, which would
 * be wrong while a frame is between them.
 *
 *     CPU 0   place[i]  hits 40, last 1007        outcome_owners[i]
 *     CPU 1   place[i]  hits 25, last 1012        +------+------+------+
 *                                                 | rule | base | next |---> next place of the rule
 *     uses since the place belongs to the rule    +------+------+------+
 *         = 40 + 25 - base                           |      |
 *                                                    v      '--- sum of the CPUs at the fill
 *                                                  rule: hits, last_used, first_place
 *
 * The words of a CPU are never reset, so no count is lost to a concurrent frame. A fill of a place
 * adds the uses so far to the rule that had the place, and notes the sum as the base of the next
 * one. A read adds the places of the rule. A rule that is deleted leaves its places.
 *
 * A place gets its new owner before it is filled for it. A frame that has read the place before,
 * and counts its use after the fill, counts for the new flow and its direction; this concerns the
 * frames in progress at a fill, one of each CPU and of each preempted task. The sum over all
 * directions is exact; one direction may have a frame of another one. The uses of a deleted rule
 * are no longer part of any rule.
 *
 * Cost. A frame: a call that adds to one word and writes the clock to the next one. A fill and a
 * read of a rule load one word of each CPU. A read of the counters loads 1024 of each, in portions
 * of 64 places: it holds the lock for 64 words of each CPU.
 */
#ifndef GPON_HASH_RULE_USE_H
#define GPON_HASH_RULE_USE_H

#include <span>

#include "outcome_table.h"
#include "rule_table.h"

namespace gpon {

/* Frames that used a rule after the one that was learnt, and the jiffies of the last one, or of the
 * learning. */
struct rule_use {
    u64 hits;
    unsigned long last_used;
};

[[nodiscard]] rule_use use_of(const gpon_flow_rule& rule) GPON_REQUIRES(gpon_hash_lock);

/* The place with the rule's outcome in the current generation, or null. */
[[nodiscard]] const outcome* current_place_of(const gpon_flow_rule& rule)
    GPON_REQUIRES(gpon_hash_lock);

/* One replay. */
void add_use(gpon_flow_rule& rule) GPON_REQUIRES(gpon_hash_lock);

/* From now on, the uses of the place belong to frames of this direction, and to the rule unless it
 * is null. */
void take_place(const outcome& place, u16 fwd_flag, gpon_flow_rule* rule)
    GPON_REQUIRES(gpon_hash_lock);

/* One frame with the outcome of this place for which the platform found no queue. */
void add_failed_use(size_t place) GPON_EXCLUDES(gpon_hash_lock);

/* Adds the frames that used a place and passed to the four counters of remembered outcomes. */
void add_places(std::span<u64> sums) GPON_EXCLUDES(gpon_hash_lock);

/* The rule is about to be freed. */
void leave_places(gpon_flow_rule& rule) GPON_REQUIRES(gpon_hash_lock);

/* The copy of a rule continues with the uses and the places of the old one. */
void inherit_use(gpon_flow_rule& copy, gpon_flow_rule& old) GPON_REQUIRES(gpon_hash_lock);

} // namespace gpon

#endif

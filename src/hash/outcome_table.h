/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The outcome table: what became of earlier frames of a flow, so that the next one need not replay
 * the flow's rule.
 *
 * What is remembered. A replay that logs nothing has one effect at most: upstream towards the ANI
 * it yields a GEM port id. That id depends on the rule's steps and on the store, never on the frame
 * beyond its rule key: a replay passes every step whatever a filter or a mapper says. In the other
 * directions nothing is left to do but to mark the rule as used.
 *
 * Layout. A fixed array of sets, a set is one cache line and has two places. A place holds the
 * packed key in three words (the frame's first 12 bytes, up to two VLAN tags as they lie in the
 * frame with 0 for a tag that is absent, the direction), the GEM port id in the spare 16 bits of
 * the third word, and in the fourth word the generation in which all this holds, 0 while it is
 * written.
 *
 * Filling. A packet reads the generation, finds its rule, replays it, and fills a place under
 * gpon_hash_lock if the generation still holds. Then:
 *   1. its rule is in the rule table with these steps and is marked as used, because the look-up
 *      found and marked it in this generation, and deleting, overwriting and unmarking begin a new
 *      one under the same lock;
 *   2. the store is as the replay read it, because any change of it begins a new generation first;
 *   3. the outcome is exact: a replay upstream towards the ANI in which a step failed, as for lack
 *      of memory, is never remembered.
 * Statements 1 and 2 hold for as long as the generation does.
 *
 * Reading. A packet reads the generation at its start. A place that carries the same number says
 * what a replay would have done at the moment of that read. Packets write nothing: the rule's mark
 * is set already (1), so that aging, dumps and the rule table's contents are what they would be if
 * every frame replayed. A number is never used twice and an odd one is never stored, so a place
 * never becomes valid again by itself.
 *
 * Torn reads. A place is filled at most once in a generation. Its writer clears the generation,
 * writes the words with release stores and stores the new generation last. A reader that finds the
 * number it looks for, then the words by acquire loads, then the same number again has read the
 * words of that one filling.
 *
 * Cost. Two multiplications find the set; no lock, no CRC, no allocation, no data of a CPU's own. A
 * set whose two places are taken in this generation takes no third flow: it replays, as it does
 * without the table. The rule table has at most 1024 rules, the outcome table as many places.
 */
#ifndef GPON_HASH_OUTCOME_TABLE_H
#define GPON_HASH_OUTCOME_TABLE_H

#include "generation.h"

namespace gpon {

/* A rule key of at most two tags. Bits 48 to 63 of the last word are 0. */
struct outcome_key {
    u64 word[3];
};

struct outcome {
    u64 key[3]; /* the last word with the GEM port id in bits 48 to 63 */
    u64 generation;
};

constexpr u32 OUTCOME_PLACES = 2;
constexpr u32 OUTCOME_SET_BITS = 9;

struct alignas(64) outcome_set {
    outcome place[OUTCOME_PLACES];
};
static_assert(sizeof(outcome_set) == 64, "a set is one cache line");

/* Written under gpon_hash_lock. */
extern outcome_set outcome_sets[1u << OUTCOME_SET_BITS];

constexpr u32 GEM_PORT_SHIFT = 48;

inline outcome_set& outcome_set_of(const outcome_key& key)
{
    constexpr u64 ODD = 0x9E3779B97F4A7C15u; // 2^64 by the golden ratio
    const u64 mixed = (key.word[0] ^ key.word[2] << 15) * ODD;
    return outcome_sets[((mixed >> 32 ^ key.word[1]) * ODD) >> (64 - OUTCOME_SET_BITS)];
}

/* True and the GEM port id (0 where there is none to write) when the outcome of a frame with this
 * key is known in this generation. Any context. */
inline bool find_outcome(const outcome_key& key, u64 generation, u16* gemport_id)
{
    for (const outcome& place : outcome_set_of(key).place) {
        if (load_acquire(place.generation) != generation ||
            load_acquire(place.key[0]) != key.word[0] || load_acquire(place.key[1]) != key.word[1])
            continue;
        const u64 last = load_acquire(place.key[2]);
        const u64 port = last >> GEM_PORT_SHIFT;
        if ((last ^ port << GEM_PORT_SHIFT) != key.word[2] ||
            load_relaxed(place.generation) != generation)
            continue;
        *gemport_id = static_cast<u16>(port);
        return true;
    }
    return false;
}

/* Remembers the outcome of a replay that began in this generation, if that still holds and the set
 * has a place. Packet path. */
void remember_outcome(const outcome_key& key, u64 generation, u16 gemport_id)
    GPON_EXCLUDES(gpon_hash_lock);

} // namespace gpon

#endif

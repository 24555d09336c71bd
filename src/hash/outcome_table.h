/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The outcome table: the results of earlier frames of a flow. The next frame of the flow uses them
 * and does not replay the flow's rule.
 *
 * Contents. A replay that logs nothing has at most one effect: upstream towards the ANI it yields a
 * GEM port id. The id depends on the steps of the rule and on the store, and not on the frame
 * beyond its rule key: a replay continues with the next step whatever the result of a filter or a
 * mapper. Besides, each replay marks the rule as used and counts its use.
 *
 * Layout. A fixed array of 512 sets. A set is one cache line and has two places.
 *
 *     outcome_sets      place 0                                 place 1
 *     +-----+--------+--------+--------+------------+--------+--------+--------+------------+
 *     |   0 | key[0] | key[1] | key[2] | generation | key[0] | key[1] | key[2] | generation |
 *     |   1 |        |        |        |            |        |        |        |            |
 *     | ... |   8        8        8          8          8        8        8          8   bytes
 *
 *     bits       63 ... 48     47 ... 32     31 ... 0
 *     key[0]     bytes 0 to 7 of the frame
 *     key[1]     outer VLAN tag           |  bytes 8 to 11 of the frame
 *     key[2]     GEM port id | direction  |  inner VLAN tag
 *
 * Tags have the byte order of the frame; an absent tag is 0. The generation is the one in which the
 * place is valid, 0 while the place is written. Frames with equal keys here have equal rule keys:
 * only frames of at most two tags that are long enough for the type after them have a key here, and
 * the rule key of such a frame consists of the same addresses, direction and tags.
 *
 * Fill. A packet reads the generation, finds its rule, replays it, and fills a place under
 * gpon_hash_lock if the generation still holds. Then:
 *
 *   1. its rule is in the rule table with these steps and is marked as used: the lookup found and
 *      marked it in this generation, and a deletion, other steps or a cleared mark begin a new
 *      generation under the same lock;
 *   2. the store is unchanged since the replay, because each change of it first begins a new
 *      generation;
 *   3. the outcome is exact: a replay upstream towards the ANI with a failed step, for example for
 *      lack of memory, is never remembered.
 *
 * Statements 1 and 2 hold as long as the generation does.
 *
 * Read. A packet reads the generation at its start. A place with the same number has the result
 * that a replay would have had at the moment of that read, whatever has changed since: a packet
 * that is in progress during a change counts as one before it. Packets write nothing that CPUs
 * share: the mark of the rule is already set (1), so aging, dumps and the contents of the rule
 * table are the same as if every frame replayed. A packet only counts its use of the place, in the
 * record of its CPU (rule_use.h). A number is never used twice and an odd one is never stored, so a
 * place never becomes valid again.
 *
 * Order. A replay and a walk read the store without a lock. They end with a barrier
 * (order_loads), so these loads are done before the generation is read again: by the fill, and by
 * the next frame of this CPU. A store_change makes its odd number visible before its first write.
 * Whoever has read a changed word therefore reads another generation, and finds no older outcome.
 *
 * Torn reads. A place is filled at most once in a generation. The writer clears the generation,
 * writes the words with release stores and stores the new generation last. A reader finds its
 * number, reads the words by acquire loads and finds the same number again: it has read the words
 * of this fill.
 *
 * Cost. Two multiplications select the set; no lock, no CRC, no allocation. A set with two places
 * of this generation takes no third flow, which replays as it does without the table and without
 * taking the lock to remember. The rule table has at most 1024 rules and the outcome table 1024
 * places, but flows meet in sets: with n flows of a generation, some sets are full while others
 * have places.
 */
#ifndef GPON_HASH_OUTCOME_TABLE_H
#define GPON_HASH_OUTCOME_TABLE_H

#include "generation.h"

struct gpon_flow_rule;

namespace gpon {

/* A rule key of at most two tags. Bits 48 to 63 of the last word are 0. Three words and no array,
 * which would be on the stack of each call. */
struct outcome_key {
    u64 first;
    u64 middle;
    u64 last;
};

/* fwd_flag of the frames. */
[[nodiscard]] constexpr u16 direction_of(const outcome_key& key)
{
    return static_cast<u16>(key.last >> 32);
}

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

[[nodiscard]] inline outcome_set& outcome_set_of(const outcome_key& key)
{
    constexpr u64 ODD = 0x9E3779B97F4A7C15u; // 2^64 by the golden ratio
    const u64 mixed = (key.first ^ key.last << 15) * ODD;
    return outcome_sets[((mixed >> 32 ^ key.middle) * ODD) >> (64 - OUTCOME_SET_BITS)];
}

[[nodiscard]] inline size_t place_index(const outcome& place)
{
    return static_cast<size_t>(&place - &outcome_sets[0].place[0]);
}

/* A place and the GEM port id in it, 0 if the direction has none. */
struct known_outcome {
    const outcome* place;
    u16 gemport_id;
};

/* Returns true and the outcome of a frame with this key if it is known in this generation. Through
 * a pointer, because gcc does not remove the flag of an optional from this fast path. Any context.
 */
[[nodiscard]] inline bool find_outcome(const outcome_key& key, u64 generation, known_outcome* known)
{
    for (const outcome& place : outcome_set_of(key).place) {
        if (load_acquire(place.generation) != generation ||
            load_acquire(place.key[0]) != key.first || load_acquire(place.key[1]) != key.middle)
            continue;
        const u64 last = load_acquire(place.key[2]);
        const u64 port = last >> GEM_PORT_SHIFT;
        if ((last ^ port << GEM_PORT_SHIFT) != key.last ||
            load_relaxed(place.generation) != generation)
            continue;
        *known = {&place, static_cast<u16>(port)};
        return true;
    }
    return false;
}

/* Remembers the outcome of a replay that began in this generation, if that still holds and the set
 * has a place. rule_key is the key of the replayed rule, which counts the uses of the place;
 * without a rule of that key nobody counts them. Packet path. */
void remember_outcome(const outcome_key& key, u64 generation, u16 gemport_id,
                      std::span<const u8> rule_key) GPON_EXCLUDES(gpon_hash_lock);

} // namespace gpon

#endif

/* SPDX-License-Identifier: GPL-2.0-only */
/*
 * The rule table: maps the header fields of a frame to the steps of an earlier frame's walk.
 *
 * Layout. One array of buckets, its size a power of two from 64 to 1024. A bucket is the head of a
 * chain of rules. A rule is three blocks: the node, its copy of the key and its copy of the trace.
 *
 *     gpon_hash_table_record
 *     +------------+     bucket array, table_size buckets
 *     | buckets    |---> +-----+----------+----------+-------+
 *     | table_size |     |   0 | hash_val | node_num | first |---> null
 *     | total_num  |     |   1 | hash_val | node_num | first |---> rule
 *     | threshold  |     | ... |          |          |       |
 *     +------------+     +-----+----------+----------+-------+
 *
 *     rule (gpon_flow_rule)
 *     +---------+
 *     | key     |---> dst MAC | src MAC | port id | direction | TPID | TCI | TPID | TCI | ...
 *     | key_len |        6         6         2          2         2     2      2     2    bytes
 *     | trace   |---> gpon_rule_trace: ten steps of class id and instance id, 40 bytes
 *     | hit     |     1: used since the last sweep
 *     | link    |---> next rule of the chain, always null (see quirks)
 *     | hits... |     uses, for observers (rule_use.h)
 *     +---------+
 *
 *     bucket of a key = gpon_hash_calc_key(key), a mixed CRC-32, modulo table_size
 *
 * Lock. gpon_hash_lock, with bottom halves disabled, guards both table records, every bucket and
 * every rule. Packets, the aging timer, the command path and the debug commands take it. Functions
 * that take it have the suffix _safe, the others require it. Allocations under it are atomic.
 *
 * Generation. Each loss begins a new generation (generation.h): a rule is deleted, its steps are
 * overwritten with others or its mark is cleared. An added rule does not.
 *
 * Cost. A lookup takes one hash before the lock, and under it one chain and a copy of 40 bytes. An
 * add takes one bucket and three allocations. Growth rehashes at most 384 rules under the lock; the
 * sweep and the flush visit every bucket.
 *
 * Deliberate quirks. An add looks only at the head of a bucket and drops a key that collides with
 * another one. A chain thus has at most one rule, and a flood of addresses cannot make lookups
 * long. A bucket's hash_val stays when the bucket becomes empty. The table never shrinks: at 1024
 * buckets it sweeps unused rules instead of growing.
 */
#ifndef GPON_HASH_RULE_TABLE_H
#define GPON_HASH_RULE_TABLE_H

#include <span>

#include "../include/me_inst.h"
#include "../include/packet_flow.h"
#include "generation.h"

/* Chain link: next rule, and the pointer that points at this one. */
struct hlist_node {
    hlist_node* next;
    hlist_node** pprev;
};

struct gpon_flow_rule {
    u16 index; /* 0 in every rule; deletion matches it, the dump shows it */
    u8* key;
    u16 key_len; /* bytes */
    gpon_rule_trace* trace;
    u32 hit; /* 1 = used since the last sweep */
    hlist_node link;
    /* For observers only (rule_use.h). */
    u64 hits;
    unsigned long last_used;
    u16 first_place;
};

struct gpon_hash_bucket {
    u32 hash_val; /* of the first rule placed here while the bucket was empty; never cleared */
    u16 node_num;
    hlist_node* first;
};

struct gpon_hash_table {
    u32 total_num;    /* rules */
    u32 table_size;   /* buckets */
    u32 threshold;    /* rules at which the next add grows the table */
    u32 load_percent; /* 75 */
    gpon_hash_bucket* buckets;
};

/* Sizes of the bucket array. */
constexpr u32 GPON_HASH_MIN_SIZE = 64;
constexpr u32 GPON_HASH_MAX_SIZE = 1024;

extern "C" {

/* The table, and the record that holds the old one while it grows. */
extern gpon_hash_table gpon_hash_table_record GPON_GUARDED_BY(gpon_hash_lock);
extern gpon_hash_table gpon_hash_old_table GPON_GUARDED_BY(gpon_hash_lock);

/* Empty, and nothing uses it: the rules are in the table. */
extern list_head gpon_flow_rule_list;

/* Stores a copy of key and trace, or overwrites the trace of an equal key. Returns 0, also if the
 * bucket contains another key and nothing is stored; -1 for a null argument, no memory or no bucket
 * array. Steps of a store that has changed since their walk began at its number are dropped with 0.
 * The result may be ignored: a frame whose rule is not stored is walked again. */
i32 gpon_hash_add_node_safe(const u8* key, u16 key_len, const gpon_rule_trace* trace,
                            u64 walked_in = gpon::ANY_STORE) GPON_EXCLUDES(gpon_hash_lock);
[[nodiscard]] i32 gpon_hash_add_node(const u8* key, u16 key_len, const gpon_rule_trace* trace)
    GPON_REQUIRES(gpon_hash_lock);

/* The work of gpon_hash_add_node, and its messages. Returns the counter of the result. */
[[nodiscard]] gpon_counter gpon_hash_place_rule(std::span<const u8> key,
                                                const gpon_rule_trace& trace)
    GPON_REQUIRES(gpon_hash_lock);

/* Returns 0 and a copy of the trace in out, and marks the rule as used; -1 without such a key. */
[[nodiscard]] i32 gpon_hash_get_rule_safe(const u8* key, u16 key_len, gpon_rule_trace* out)
    GPON_EXCLUDES(gpon_hash_lock);

/* Deletes every rule with that index in the bucket that the hash value selects. Always returns 0.
 */
i32 gpon_hash_delete_node_safe(u32 hash_val, u16 index) GPON_EXCLUDES(gpon_hash_lock);

/* Deletes every rule and keeps the bucket array. Returns -1 without a bucket array. */
i32 gpon_hash_clean_all_safe(void) GPON_EXCLUDES(gpon_hash_lock);
i32 gpon_hash_clean_table_node(gpon_hash_table* table) GPON_REQUIRES(gpon_hash_lock);

/* Deletes every rule and frees the bucket array. Returns -1 without a bucket array. */
i32 gpon_hash_destroy_table(gpon_hash_table* table) GPON_REQUIRES(gpon_hash_lock);

/* Sets an empty bucket array of at least the requested size (64 to 1024, a power of two) in the
 * table record. Returns -1 without memory: the record then has the new size and no array. */
[[nodiscard]] i32 gpon_hash_inflate_table(u32 requested) GPON_REQUIRES(gpon_hash_lock);

/* Doubles a table that has reached its threshold, or sweeps it at the largest size. Returns -1
 * without memory for the larger array; the table is then unchanged. */
[[nodiscard]] i32 gpon_hash_expand_table(void) GPON_REQUIRES(gpon_hash_lock);
void gpon_hash_rehash_new_table(void) GPON_REQUIRES(gpon_hash_lock);
}

namespace gpon {

[[nodiscard]] inline gpon_flow_rule* rule_of(hlist_node* node)
{
    return reinterpret_cast<gpon_flow_rule*>(reinterpret_cast<u8*>(node) -
                                             offsetof(gpon_flow_rule, link));
}

/* The rule with this key, or null. */
[[nodiscard]] gpon_flow_rule* find_rule(std::span<const u8> key) GPON_REQUIRES(gpon_hash_lock);

/* Unlinks and frees one rule of a bucket of the table. */
void delete_rule(gpon_hash_table& table, gpon_hash_bucket& bucket, gpon_flow_rule* rule)
    GPON_REQUIRES(gpon_hash_lock);

/* Calls visit(bucket, rule) for each rule of one bucket; visit may delete the rule. */
template <typename Visit>
inline void for_each_rule(gpon_hash_bucket& bucket, Visit visit) GPON_REQUIRES(gpon_hash_lock)
{
    for (hlist_node* node = bucket.first; node;) {
        hlist_node* next = node->next;
        visit(rule_of(node));
        node = next;
    }
}

} // namespace gpon

#endif

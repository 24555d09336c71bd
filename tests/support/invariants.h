// SPDX-License-Identifier: GPL-2.0-only
// What holds in the module's store and rule table whenever no command and no packet is under way.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>

#include "platform/host/host.h"

/* After the standard library: the seam gives some of libc's names to other functions. */
#include "hash/rule_table.h"
#include "include/memory.h"
#include "me/list.h"
#include "me/registry.h"
#include "me/related.h"

namespace gpon::test {

/// Looks at everything once and remembers the first thing that is wrong. For one controlling
/// thread, with no door in use. An object serves one look.
class invariants {
public:
    /// Empty when all is well, else what is broken, in words for a failed test.
    std::string broken()
    {
        host::rcu_settle();
        for (u16 row = 1; row < GPON_ME_ROWS && fault_.empty(); ++row)
            check_class(me_table[row]);
        {
            const bh_lock lock(gpon_hash_lock);
            check_table(gpon_hash_table_record);
        }
        check_blocks();
        return std::exchange(fault_, {});
    }

private:
    template <typename... Words> bool require(bool holds, const Words&... words)
    {
        if (!holds && fault_.empty())
            ((fault_ += text_of(words)), ...);
        return holds;
    }
    static std::string text_of(const char* word) { return word; }
    static std::string text_of(uint64_t number) { return std::to_string(number); }

    // Every block is reached once: whatever two owners share would be freed twice.
    bool reach(const void* block)
    {
        return require(block != nullptr, "a block is missing") &&
               require(reached_.insert(block).second, "a block is reached twice");
    }

    void check_class(const gpon_me_entry& entry)
    {
        const list_head* head = entry.list_info->head;
        std::set<u16> ids;
        require(head->next->prev == head, "class ", entry.class_id, ": the head's back link");
        for (const list_head* link = head->next; link != head; link = link->next) {
            if (!require(link->next->prev == link, "class ", entry.class_id, ": a back link") ||
                !reach(inst_of(link)))
                return;
            const gpon_me_inst& inst = *inst_of(link);
            require(ids.insert(inst.inst_id).second, "class ", entry.class_id, ": instance ",
                    inst.inst_id, " twice");
            if (!reach(inst.raw) || !reach(inst.related))
                return;
            check_related(entry, inst);
        }
    }

    void check_related(const gpon_me_entry& entry, const gpon_me_inst& inst)
    {
        const gpon_me_related_info* meant = entry.list_info->related_info;
        const gpon_me_related_info* row = inst.related;
        for (; meant->related_class_id != 0; ++meant, ++row) {
            if (!require(row->related_class_id == meant->related_class_id &&
                             row->related_inst_num == meant->related_inst_num,
                         "class ", entry.class_id, ": a row is not as in the template") ||
                !reach(row->related_ids))
                return;
            check_row(entry.class_id, *row);
        }
        require(row->related_class_id == 0, "class ", entry.class_id, ": no closing row");
    }

    void check_row(u16 class_id, const gpon_me_related_info& row)
    {
        bool ended = false;
        for (i32 i = 0; i < row.related_inst_num; ++i) {
            const gpon_me_related_id entry = row.related_ids[i];
            require(entry.instExist <= 1, "class ", class_id, ": an entry neither used nor free");
            require(!ended || !entry.instExist, "class ", class_id, ": a used entry after a free");
            require(entry.instExist || entry.instId == 0, "class ", class_id,
                    ": an id in a free entry");
            ended = ended || !entry.instExist;
        }
    }

    void check_table(const gpon_hash_table& table)
    {
        if (!table.buckets) {
            require(table.total_num == 0, "rules are counted without buckets");
            return;
        }
        const u32 size = table.table_size;
        require(size >= GPON_HASH_MIN_SIZE && size <= GPON_HASH_MAX_SIZE &&
                    (size & (size - 1)) == 0,
                "table size ", size);
        require(table.threshold == size * 3 / 4, "threshold ", table.threshold, " of size ", size);
        require(size == GPON_HASH_MAX_SIZE || table.total_num <= table.threshold, "size ", size,
                " was to grow at ", table.total_num);
        reach(table.buckets);
        u32 rules = 0;
        for (u32 at = 0; at < size; ++at)
            rules += check_bucket(table, at);
        require(rules == table.total_num, "chains hold ", rules, " rules, counted are ",
                table.total_num);
    }

    u32 check_bucket(const gpon_hash_table& table, u32 at)
    {
        const gpon_hash_bucket& bucket = table.buckets[at];
        hlist_node* const* points_here = &bucket.first;
        u32 rules = 0;
        for (hlist_node* node = bucket.first; node; points_here = &node->next, node = node->next) {
            const gpon_flow_rule& rule = *rule_of(node);
            if (!require(node->pprev == points_here, "bucket ", at, ": a back link") ||
                !reach(&rule) || !reach(rule.key) || !reach(rule.trace))
                return rules;
            check_rule(table, at, rule);
            ++rules;
        }
        require(rules <= 1 && rules == bucket.node_num, "bucket ", at, " holds ", rules,
                " rules, counted are ", bucket.node_num);
        return rules;
    }

    void check_rule(const gpon_hash_table& table, u32 at, const gpon_flow_rule& rule)
    {
        const u32 hash = gpon_hash_calc_key(rule.key, rule.key_len);
        require((hash & (table.table_size - 1)) == at, "bucket ", at, ": a rule of bucket ",
                hash & (table.table_size - 1));
        require(hash == table.buckets[at].hash_val, "bucket ", at, ": its hash is another");
        require(rule.hit <= 1 && rule.index == 0, "bucket ", at, ": marks of a rule");
    }

    void check_blocks()
    {
        const uint64_t live = host::memory().live_blocks;
        require(reached_.size() == live, live, " blocks are allocated, ", reached_.size(),
                " are in use");
    }

    std::set<const void*> reached_;
    std::string fault_;
};

/// The invariants as they stand now; empty when all hold.
inline std::string broken_invariant()
{
    return invariants().broken();
}

} // namespace gpon::test

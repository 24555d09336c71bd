// SPDX-License-Identifier: GPL-2.0-only
// Invariants of the module's store and rule table while no command and no packet is in progress.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "hash/crc32.h"
#include "platform/host/host.h"

/* After the standard library: the seam gives some of libc's names to other functions. */
#include "base/memory.h"
#include "hash/outcome_table.h"
#include "hash/rule_table.h"
#include "hash/rule_use.h"
#include "me/links.h"
#include "me/list.h"
#include "me/registry.h"
#include "pkt/rule.h"

namespace gpon::test {

/// Checks everything once and reports the first fault. For one controlling thread, while no entry
/// point is in use. An object serves one check.
class invariants {
public:
    /// Empty if all invariants hold, otherwise the message for a failed test.
    [[nodiscard]] std::string broken()
    {
        host::rcu_settle();
        live_ = host::memory().live_blocks;
        for (u16 row = 1; row < GPON_ME_ROWS && fault_.empty(); ++row)
            check_class(me_table[row]);
        store_blocks_ = reached_.size();
        check_rules();
        check_blocks();
        return std::exchange(fault_, {});
    }

    /// The same for the data that packets change: the rule table alone, after a complete check has
    /// counted that many blocks in the store.
    [[nodiscard]] std::string broken_rules(uint64_t store_blocks)
    {
        host::rcu_settle();
        live_ = host::memory().live_blocks;
        store_blocks_ = store_blocks;
        check_rules();
        require(reached_.size() + store_blocks == live_, live_, " blocks are allocated, ",
                reached_.size() + store_blocks, " are in use");
        return std::exchange(fault_, {});
    }

    /// Blocks that the instances hold.
    [[nodiscard]] uint64_t store_blocks() const { return store_blocks_; }

private:
    // The words are put together only for a fault: this is called for every entry of every row.
    template <typename... Words> bool require(bool holds, const Words&... words)
    {
        if (holds) [[likely]]
            return true;
        note(words...);
        return false;
    }
    template <typename... Words> [[gnu::cold, gnu::noinline]] void note(const Words&... words)
    {
        if (fault_.empty())
            ((fault_ += text_of(words)), ...);
    }
    static std::string text_of(const char* word) { return word; }
    static std::string text_of(uint64_t number) { return std::to_string(number); }

    // Every block is reached once: whatever two owners share would be freed twice. A chain that
    // leads back to itself would give more blocks than there are.
    bool reach(const void* block)
    {
        reached_.push_back(block);
        return require(block != nullptr, "a block is missing") &&
               require(reached_.size() <= live_, "a block is reached twice, or is not allocated");
    }

    void check_rules()
    {
        const bh_lock lock(gpon_hash_lock);
        check_table(gpon_hash_table_record);
        for (const outcome_set& set : outcome_sets)
            for (const outcome& place : set.place)
                if (place.generation == current_generation())
                    check_place(place);
    }

    // A place of the current generation belongs to a rule, which is marked as used and has no other
    // place.
    void check_place(const outcome& place) GPON_REQUIRES(gpon_hash_lock)
    {
        const uint64_t at = place_index(place);
        const rule_key key = key_of_place(place);
        const gpon_flow_rule* rule = find_rule({key.bytes, key.length});
        if (require(rule != nullptr, "place ", at, ": no rule has its key")) {
            require(rule->hit == 1, "place ", at, ": its rule is not marked as used");
            require(current_place_of(*rule) == &place, "place ", at, ": its rule has another one");
        }
    }

    static rule_key key_of_place(const outcome& place)
    {
        gpon_pkt_info info = {};
        copy_bytes(info.dst_mac, &place.key[0], sizeof(info.dst_mac));
        const u8* first = reinterpret_cast<const u8*>(&place.key[0]);
        copy_bytes(info.src_mac, first + sizeof(info.dst_mac), 2);
        copy_bytes(info.src_mac + 2, &place.key[1], sizeof(info.src_mac) - 2);
        for (const u64 tag : {place.key[1] >> 32, place.key[2] & 0xffffffff})
            if (tag != 0) {
                const u8* bytes = reinterpret_cast<const u8*>(&tag);
                info.tpid[info.tag_num] = static_cast<u16>(bytes[0] << 8 | bytes[1]);
                info.tci[info.tag_num++] = static_cast<u16>(bytes[2] << 8 | bytes[3]);
            }
        return rule_key::of(info, static_cast<u16>(place.key[2] >> 32));
    }

    void check_class(const gpon_me_entry& entry)
    {
        const list_head* head = entry.list_info->head;
        std::vector<u16> ids;
        require(head->next->prev == head, "class ", gpon::class_number(entry.class_id),
                ": the head's back link");
        for (const list_head* link = head->next; link != head; link = link->next) {
            if (!require(link->next->prev == link, "class ", gpon::class_number(entry.class_id),
                         ": a back link") ||
                !reach(inst_of(link)))
                return;
            const gpon_me_inst& inst = *inst_of(link);
            ids.push_back(inst.inst_id);
            if (!reach(inst.raw) || !reach(inst.related))
                return;
            check_related(entry, inst);
        }
        std::ranges::sort(ids);
        const auto twice = std::ranges::adjacent_find(ids);
        require(twice == ids.end(), "class ", gpon::class_number(entry.class_id),
                ": an instance twice");
    }

    void check_related(const gpon_me_entry& entry, const gpon_me_inst& inst)
    {
        const gpon_me_related_info* meant = entry.list_info->related_info;
        const gpon_me_related_info* row = inst.related;
        for (; meant->related_class_id != me_class::none; ++meant, ++row) {
            if (!require(row->related_class_id == meant->related_class_id &&
                             row->related_inst_num == meant->related_inst_num,
                         "class ", gpon::class_number(entry.class_id),
                         ": a row is not as in the template") ||
                !reach(row->related_ids))
                return;
            check_row(gpon::class_number(entry.class_id), *row);
        }
        require(row->related_class_id == me_class::none, "class ",
                gpon::class_number(entry.class_id), ": no closing row");
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
        std::ranges::sort(reached_);
        require(std::ranges::adjacent_find(reached_) == reached_.end(), "a block is reached twice");
        require(reached_.size() == live_, live_, " blocks are allocated, ", reached_.size(),
                " are in use");
    }

    std::vector<const void*> reached_;
    uint64_t live_ = 0;
    uint64_t store_blocks_ = 0;
    std::string fault_;
};

/// The current state of the invariants; empty if all hold.
[[nodiscard]] inline std::string broken_invariant()
{
    return invariants().broken();
}

} // namespace gpon::test

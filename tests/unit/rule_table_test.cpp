// SPDX-License-Identifier: GPL-2.0-only
#include "tests/support/loaded_module.h"
#include "tests/support/rounds.h"

#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <utility>

#include "hash/aging.h"
#include "hash/crc32.h"
#include "hash/rule_table.h"

namespace {

using rule_key = std::array<u8, GPON_RULE_KEY_BUFFER>;

// Keys with a number in their source MAC.
rule_key key_of(u32 number)
{
    rule_key k = {};
    std::memcpy(k.data() + 6, &number, sizeof(number));
    k[14] = UP_UNI;
    return k;
}

gpon_rule_trace trace_of(u16 number)
{
    gpon_rule_trace trace = {};
    trace.step[0] = {me_class::pptp, number};
    return trace;
}

// The hash as it is defined: byte by byte, with the polynomial alone.
u32 plain_hash(const u8* bytes, u16 length)
{
    u32 crc = 0;
    for (u16 i = 0; i < length; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320u : 0u);
    }
    u32 h = crc;
    h += h << 12;
    h ^= h >> 22;
    h += h << 4;
    h ^= h >> 9;
    h += h << 10;
    h ^= h >> 2;
    h += h << 7;
    h ^= h >> 12;
    return (h >> 3) * 0x9E3779B1u;
}

class rule_table : public loaded_module {
protected:
    i32 add(const rule_key& k, u16 number = 1, u16 length = 16)
    {
        const gpon_rule_trace trace = trace_of(number);
        return gpon_hash_add_node_safe(k.data(), length, &trace);
    }

    // Instance id of the first step, or nothing when the key is not there.
    std::optional<u16> find(const rule_key& k, u16 length = 16)
    {
        gpon_rule_trace trace = {};
        if (gpon_hash_get_rule_safe(k.data(), length, &trace) != 0)
            return {};
        return trace.step[0].instId;
    }

    u32 bucket_of(const rule_key& k, u16 length = 16)
    {
        return gpon_hash_calc_key(k.data(), length) & (table().table_size - 1);
    }

    // The first key from a number on that falls into a free bucket, or into a given one.
    rule_key free_key(u32& number)
    {
        for (;; ++number)
            if (!table().buckets[bucket_of(key_of(number))].first)
                return key_of(number++);
    }

    rule_key key_in_bucket(u32 bucket)
    {
        u32 number = 1u << 22;
        while (bucket_of(key_of(number)) != bucket)
            ++number;
        return key_of(number);
    }

    rule_key colliding_key(const rule_key& with)
    {
        for (u32 number = 1u << 20;; ++number)
            if (key_of(number) != with && bucket_of(key_of(number)) == bucket_of(with))
                return key_of(number);
    }

    // Two keys that share a bucket and differ in one byte.
    std::pair<rule_key, rule_key> keys_apart(u16 length, u16 byte)
    {
        for (;;) {
            rule_key one;
            for (u8& each : one)
                each = static_cast<u8>(random_());
            for (u8 difference = 1; difference != 0; ++difference) {
                rule_key other = one;
                other[byte] = static_cast<u8>(other[byte] ^ difference);
                if (bucket_of(one, length) == bucket_of(other, length))
                    return {one, other};
            }
        }
    }

    // As many rules as asked for, each in a bucket of its own.
    void fill(u32 count)
    {
        for (u32 number = 1; table().total_num < count;)
            ASSERT_EQ(add(free_key(number)), 0);
    }

    static gpon_hash_table& table() GPON_THREAD_ATTRIBUTE(no_thread_safety_analysis)
    {
        return gpon_hash_table_record;
    }

    static void sweep()
    {
        spin_lock_bh(&gpon_hash_lock);
        gpon_hash_delete_aging_node();
        spin_unlock_bh(&gpon_hash_lock);
    }

private:
    std::mt19937 random_{1};
};

TEST_F(rule_table, starts_with_64_buckets_and_threshold_48)
{
    EXPECT_EQ(table().table_size, 64u);
    EXPECT_EQ(table().threshold, 48u);
    EXPECT_EQ(table().load_percent, 75u);
    EXPECT_EQ(table().total_num, 0u);
}

TEST_F(rule_table, hash_is_the_mixed_crc_for_every_length)
{
    std::mt19937 random(1);
    for (u16 length = 0; length <= 33; ++length)
        for (int round = 0; round < 50; ++round) {
            rule_key k;
            for (u8& byte : k)
                byte = static_cast<u8>(random());
            EXPECT_EQ(gpon_hash_calc_key(k.data(), length), plain_hash(k.data(), length));
        }
}

// The hash may read several bytes at a time: every length after every start must have the right
// result.
TEST_F(rule_table, hash_does_not_depend_on_the_address_of_the_key)
{
    std::mt19937 random(2);
    std::array<u8, 16 + 100> room;
    for (u8& byte : room)
        byte = static_cast<u8>(random());
    for (size_t start = 0; start < 16; ++start)
        for (u16 length = 0; length <= 100; ++length)
            ASSERT_EQ(gpon_hash_calc_key(room.data() + start, length),
                      plain_hash(room.data() + start, length))
                << length << " bytes from " << start;
}

TEST_F(rule_table, hash_of_nothing_is_zero)
{
    EXPECT_EQ(gpon_hash_calc_key(nullptr, 16), 0u);
    EXPECT_EQ(gpon_hash_calc_key(rule_key().data(), 0), 0u);
    EXPECT_EQ(add(rule_key(), 7, 0), 0);
    EXPECT_NE(table().buckets[0].first, nullptr);
    EXPECT_EQ(find(rule_key(), 0), 7);
}

TEST_F(rule_table, the_49th_rule_doubles_the_table_before_it_is_stored)
{
    fill(48);
    EXPECT_EQ(table().table_size, 64u);
    u32 number = 1u << 24;
    const rule_key last = free_key(number);
    EXPECT_EQ(add(last), 0);
    EXPECT_EQ(table().table_size, 128u);
    EXPECT_EQ(table().threshold, 96u);
    EXPECT_TRUE(find(last) || table().buckets[bucket_of(last)].first);
    EXPECT_LE(table().total_num, 49u);
}

TEST_F(rule_table, growth_keeps_the_rules_of_the_first_and_the_last_bucket)
{
    const rule_key first = key_in_bucket(0);
    const rule_key last = key_in_bucket(63);
    EXPECT_EQ(add(first), 0);
    EXPECT_EQ(add(last), 0);
    fill(48);
    u32 number = 1u << 24;
    EXPECT_EQ(add(free_key(number)), 0);
    EXPECT_EQ(table().table_size, 128u);
    EXPECT_TRUE(find(first));
    EXPECT_TRUE(find(last));
}

TEST_F(rule_table, rules_that_collide_in_the_larger_table_are_dropped)
{
    fill(47);
    u32 number = 1u << 22;
    const rule_key first = free_key(number);
    ASSERT_EQ(add(first, 5), 0);
    // No add makes a chain of two, so the second rule is put before the first by hand.
    rule_key second = key_of(++number);
    while ((gpon_hash_calc_key(second.data(), 16) & 127) !=
           (gpon_hash_calc_key(first.data(), 16) & 127))
        second = key_of(++number);
    auto* rule = static_cast<gpon_flow_rule*>(kzalloc(sizeof(gpon_flow_rule), GFP_ATOMIC));
    rule->key = static_cast<u8*>(kzalloc(16, GFP_ATOMIC));
    rule->trace = static_cast<gpon_rule_trace*>(kzalloc(sizeof(gpon_rule_trace), GFP_ATOMIC));
    std::memcpy(rule->key, second.data(), 16);
    rule->key_len = 16;
    *rule->trace = trace_of(6);
    gpon_hash_bucket& bucket = table().buckets[bucket_of(first)];
    rule->link = {bucket.first, &bucket.first};
    bucket.first->pprev = &rule->link.next;
    bucket.first = &rule->link;
    ++bucket.node_num;
    ++table().total_num;

    EXPECT_EQ(add(free_key(number)), 0);
    EXPECT_EQ(table().table_size, 128u);
    EXPECT_EQ(find(second), 6) << "the head of the old chain comes first";
    EXPECT_FALSE(find(first));
}

TEST_F(rule_table, grows_to_1024_buckets_and_no_further)
{
    const std::map<u32, u32> threshold = {{64, 48}, {128, 96}, {256, 192}, {512, 384}, {1024, 768}};
    std::set<u32> sizes;
    u32 number = 1;
    for (int i = 0; i < 4000; ++i) {
        ASSERT_EQ(add(free_key(number)), 0);
        sizes.insert(table().table_size);
        ASSERT_EQ(table().threshold, threshold.at(table().table_size));
        if (table().table_size == 1024 && table().total_num == 768)
            break;
    }
    EXPECT_EQ(sizes, (std::set<u32>{64, 128, 256, 512, 1024}));
    EXPECT_EQ(table().total_num, 768u);
}

TEST_F(rule_table, at_the_ceiling_an_add_deletes_rules_unused_since_the_last_sweep)
{
    u32 number = 1;
    while (table().table_size < 1024 || table().total_num < 768)
        ASSERT_EQ(add(free_key(number)), 0);
    EXPECT_EQ(add(free_key(number)), 0); // takes the marks off
    EXPECT_EQ(table().total_num, 769u);
    const rule_key used = key_of(number - 1);
    EXPECT_TRUE(find(used));
    EXPECT_EQ(add(free_key(number)), 0); // deletes all without a mark
    EXPECT_TRUE(find(used));
    EXPECT_EQ(table().total_num, 2u);
    EXPECT_EQ(table().table_size, 1024u);
}

TEST_F(rule_table, a_key_whose_bucket_holds_another_is_dropped_without_an_error)
{
    const rule_key first = key_of(1);
    EXPECT_EQ(add(first, 5), 0);
    const rule_key second = colliding_key(first);
    EXPECT_EQ(add(second, 6), 0);
    EXPECT_EQ(table().total_num, 1u);
    EXPECT_FALSE(find(second));
    EXPECT_EQ(find(first), 5);
}

TEST_F(rule_table, an_existing_key_takes_the_new_trace_and_counts_as_used)
{
    EXPECT_EQ(add(key_of(1), 5), 0);
    sweep();
    EXPECT_EQ(add(key_of(1), 6), 0);
    EXPECT_EQ(table().total_num, 1u);
    sweep();
    EXPECT_EQ(find(key_of(1)), 6);
}

TEST_F(rule_table, a_look_up_compares_the_length)
{
    EXPECT_EQ(add(rule_key(), 5, 16), 0);
    EXPECT_FALSE(find(rule_key(), 20));
    EXPECT_FALSE(find(rule_key(), 12));
}

TEST_F(rule_table, keys_that_differ_in_one_byte_are_two_keys)
{
    for (u16 length = 1; length <= GPON_RULE_KEY_BUFFER; ++length)
        for (u16 byte = 0; byte < length; ++byte) {
            const auto [one, other] = keys_apart(length, byte);
            ASSERT_EQ(add(one, 5, length), 0);
            ASSERT_EQ(add(other, 6, length), 0);
            ASSERT_EQ(find(one, length), 5) << "byte " << byte << " of " << length;
            ASSERT_FALSE(find(other, length)) << "byte " << byte << " of " << length;
            gpon_hash_clean_all_safe();
        }
}

TEST_F(rule_table, deletion_empties_the_bucket_for_index_zero_only)
{
    EXPECT_EQ(add(key_of(1)), 0);
    const u32 hash = gpon_hash_calc_key(key_of(1).data(), 16);
    EXPECT_EQ(gpon_hash_delete_node_safe(hash, 1), 0);
    EXPECT_TRUE(find(key_of(1)));
    EXPECT_EQ(gpon_hash_delete_node_safe(hash, 0), 0);
    EXPECT_FALSE(find(key_of(1)));
    EXPECT_EQ(table().total_num, 0u);
    EXPECT_EQ(gpon_hash_delete_node_safe(hash, 0), 0);
}

TEST_F(rule_table, the_hash_of_an_emptied_bucket_stays_until_the_next_rule)
{
    const rule_key first = key_of(1);
    add(first);
    const gpon_hash_bucket& bucket = table().buckets[bucket_of(first)];
    const u32 hash = gpon_hash_calc_key(first.data(), 16);
    gpon_hash_clean_all_safe();
    EXPECT_EQ(bucket.hash_val, hash);
    EXPECT_EQ(bucket.node_num, 0);
    const rule_key second = colliding_key(first);
    add(second);
    EXPECT_EQ(bucket.hash_val, gpon_hash_calc_key(second.data(), 16));
}

TEST_F(rule_table, cleaning_keeps_size_and_threshold)
{
    fill(60);
    EXPECT_EQ(gpon_hash_clean_all_safe(), 0);
    EXPECT_EQ(table().table_size, 128u);
    EXPECT_EQ(table().threshold, 96u);
    EXPECT_EQ(table().total_num, 0u);
    fill(3);
    EXPECT_EQ(table().total_num, 3u);
}

TEST_F(rule_table, null_arguments_are_reported)
{
    gpon_rule_trace trace = {};
    gponDebugLevel = 1;
    EXPECT_EQ(gpon_hash_add_node_safe(nullptr, 16, &trace), -1);
    EXPECT_EQ(gpon_hash_add_node_safe(rule_key().data(), 16, nullptr), -1);
    EXPECT_EQ(gpon_hash_get_rule_safe(nullptr, 16, &trace), -1);
    EXPECT_EQ(gpon_hash_get_rule_safe(rule_key().data(), 16, nullptr), -1);
    const std::string add = "***ERROR***[gpon_hash_add_node][0] end, Parameter is NULL";
    const std::string get = "***ERROR***[gpon_hash_get_rule_safe][0] end, Parameter is NULL";
    EXPECT_THAT(log_lines(), testing::ElementsAre(add, add, get, get));
}

// Packets and operators' commands may arrive during unload, when the table is already destroyed.
TEST_F(rule_table, without_buckets_nothing_is_stored_found_deleted_or_cleaned)
{
    ASSERT_EQ(add(key_of(1)), 0);
    ASSERT_EQ(gpon_hash_exit(), 0);
    EXPECT_EQ(table().buckets, nullptr);
    gponDebugLevel = 1;
    EXPECT_EQ(add(key_of(1)), -1);
    EXPECT_FALSE(find(key_of(1)));
    EXPECT_EQ(gpon_hash_delete_node_safe(gpon_hash_calc_key(key_of(1).data(), 16), 0), 0);
    EXPECT_THAT(log_lines(), testing::IsEmpty());
    EXPECT_EQ(gpon_hash_clean_all_safe(), -1);
    EXPECT_THAT(
        log_lines(),
        testing::ElementsAre("***ERROR***[gpon_hash_clean_table_node][0] end, Parameter is NULL"));
    EXPECT_EQ(gpon_hash_exit(), -1);
    EXPECT_THAT(log_lines(), testing::ElementsAre(
                                 "***ERROR***[gpon_hash_destroy_table][0] end, Parameter is NULL",
                                 "***ERROR***[gpon_hash_exit][0] gpon_hash_destroy_table Fail"));
    EXPECT_EQ(table().buckets, nullptr);
    EXPECT_EQ(table().total_num, 0u);
    ASSERT_EQ(gpon_hash_init(), 0);
    EXPECT_EQ(add(key_of(1), 5), 0);
    EXPECT_EQ(find(key_of(1)), 5);
}

TEST_F(rule_table, a_failed_growth_leaves_the_old_table_whole)
{
    fill(48);
    std::set<u32> kept;
    for (u32 number = 1; number < 4096; ++number)
        if (find(key_of(number)))
            kept.insert(number);
    const gpon_hash_table before = table();
    gponDebugLevel = 1;
    gpon::host::arm_fault(gpon::host::fault::alloc);
    u32 number = 1u << 24;
    EXPECT_EQ(add(free_key(number)), -1);
    EXPECT_THAT(
        log_lines(),
        testing::ElementsAre("***ERROR***[gpon_hash_inflate_table][0] end, kzalloc Fail",
                             "***ERROR***[gpon_hash_expand_table][0] gpon_hash_inflate_table Fail",
                             "***ERROR***[gpon_hash_add_node][0] gpon_hash_expand_table Fail"));
    EXPECT_EQ(table().table_size, before.table_size);
    EXPECT_EQ(table().total_num, before.total_num);
    EXPECT_EQ(table().threshold, before.threshold);
    EXPECT_EQ(table().buckets, before.buckets);
    for (const u32 kept_number : kept)
        EXPECT_TRUE(find(key_of(kept_number)));
    EXPECT_EQ(add(free_key(number)), 0) << "the next add grows";
    EXPECT_EQ(table().table_size, 128u);
}

TEST_F(rule_table, every_failed_allocation_of_an_add_loses_that_rule_only)
{
    add(key_of(1), 5);
    u32 number = 100;
    const rule_key k = free_key(number);
    gponDebugLevel = 1;
    for (u64 nth = 1; nth <= 3; ++nth) {
        gpon::host::arm_fault(gpon::host::fault::alloc, nth);
        EXPECT_EQ(add(k), -1);
        EXPECT_TRUE(gpon::host::fault_fired(gpon::host::fault::alloc));
        EXPECT_EQ(table().total_num, 1u);
        EXPECT_EQ(table().buckets[bucket_of(k)].hash_val, gpon_hash_calc_key(k.data(), 16));
        EXPECT_THAT(log_lines(),
                    testing::ElementsAre("***ERROR***[gpon_hash_add_node][0] end, kzalloc fail"));
    }
    gpon::host::disarm_faults();
    EXPECT_EQ(add(k), 0);
    EXPECT_EQ(find(key_of(1)), 5);
}

// Rules of different buckets keep different buckets in a larger table: only memory loses rules.
TEST_F(rule_table, every_failed_allocation_of_a_growth_is_counted_and_reported)
{
    u64 lost = 0;
    u64 replaced = 0;
    gpon::host::set_observer([&](const gpon_event& event) {
        lost += event.kind == GPON_EVENT_RULE_GONE && event.cause == GPON_RULE_LOST;
        replaced += event.kind == GPON_EVENT_RULE_RELEARNT;
    });
    for (u64 nth = 2; nth <= 4; ++nth) {
        fill(table().threshold);
        const u32 size = table().table_size;
        const u32 rules = table().total_num;
        u32 number = 1u << 20;
        const rule_key k = free_key(number);
        gpon::host::arm_fault(gpon::host::fault::alloc, nth);
        EXPECT_EQ(add(k), 0);
        EXPECT_TRUE(gpon::host::fault_fired(gpon::host::fault::alloc));
        EXPECT_EQ(table().table_size, 2 * size);
        EXPECT_EQ(table().total_num, rules) << "one more, and one less";
    }
    gpon::host::disarm_faults();
    gpon::host::set_observer(nullptr);
    EXPECT_EQ(lost, 3u) << "one in each of three growths";
    EXPECT_EQ(gpon::host::counter_value("rules_lost_by_growth"), lost);
    EXPECT_EQ(replaced, 0u);
}

TEST_F(rule_table, a_rule_takes_three_blocks_of_at_most_160_bytes)
{
    const auto before = gpon::host::memory();
    add(key_of(1), 1, 32);
    const auto after = gpon::host::memory();
    EXPECT_EQ(after.live_blocks - before.live_blocks, 3u);
    EXPECT_LE(after.live_bytes - before.live_bytes, 160u);
}

// A simple model of the table: at most one rule per bucket, adds that collide are dropped, growth
// adds the old rules again in bucket order.
class table_model {
public:
    using bytes = std::vector<u8>;

    [[nodiscard]] size_t rules() const { return buckets_.size(); }
    [[nodiscard]] u32 size() const { return size_; }

    void clean() { buckets_.clear(); }
    void remove(u32 hash) { buckets_.erase(hash & (size_ - 1)); }

    void sweep()
    {
        for (auto entry = buckets_.begin(); entry != buckets_.end();)
            if (std::exchange(entry->second.hit, false))
                ++entry;
            else
                entry = buckets_.erase(entry);
    }

    void add(const bytes& k, u16 number)
    {
        make_room();
        place(k, number);
    }

    // The number of a rule, which is then in use.
    std::optional<u16> use(const bytes& k)
    {
        const auto slot = buckets_.find(bucket_of(k));
        if (slot == buckets_.end() || slot->second.key != k)
            return std::nullopt;
        slot->second.hit = true;
        return slot->second.number;
    }

private:
    struct rule {
        bytes key;
        u16 number;
        bool hit;
    };

    [[nodiscard]] u32 bucket_of(const bytes& k) const
    {
        return plain_hash(k.data(), static_cast<u16>(k.size())) & (size_ - 1);
    }

    void place(const bytes& k, u16 number)
    {
        const auto [slot, fresh] = buckets_.try_emplace(bucket_of(k), rule{k, number, true});
        if (!fresh && slot->second.key == k)
            slot->second = {k, number, true};
    }

    void make_room()
    {
        if (buckets_.size() < size_ * 3 / 4)
            return;
        if (size_ == 1024)
            return sweep();
        const auto old = std::exchange(buckets_, {});
        size_ *= 2;
        for (const auto& [index, entry] : old)
            place(entry.key, entry.number);
    }

    std::map<u32, rule> buckets_;
    u32 size_ = 64;
};

class modelled_rule_table : public rule_table {
protected:
    void delete_both(const table_model::bytes& k, u16 index)
    {
        const u32 hash = plain_hash(k.data(), static_cast<u16>(k.size()));
        gpon_hash_delete_node_safe(hash, index);
        if (index == 0)
            model.remove(hash);
    }

    [[nodiscard]] bool add_both(const table_model::bytes& k, u16 number)
    {
        model.add(k, number);
        const gpon_rule_trace trace = trace_of(number);
        return gpon_hash_add_node_safe(k.data(), static_cast<u16>(k.size()), &trace) == 0;
    }

    [[nodiscard]] bool find_both(const table_model::bytes& k)
    {
        gpon_rule_trace trace = {};
        const i32 got = gpon_hash_get_rule_safe(k.data(), static_cast<u16>(k.size()), &trace);
        const std::optional<u16> number = model.use(k);
        return number ? got == 0 && trace.step[0].instId == *number : got == -1;
    }

    // False if the results differ. choice is a random number below 10000.
    [[nodiscard]] bool operate_both(const table_model::bytes& k, u32 choice, u16 number)
    {
        if (choice == 0) {
            gpon_hash_clean_all_safe();
            model.clean();
        } else if (choice <= 20) {
            delete_both(k, static_cast<u16>(choice & 1));
        } else if (choice <= 25) {
            sweep();
            model.sweep();
        } else if (choice <= 4000) {
            return add_both(k, number);
        } else {
            return find_both(k);
        }
        return true;
    }

    table_model model;
};

TEST_F(modelled_rule_table, agrees_with_the_model_over_random_operations)
{
    std::mt19937 random(7);
    for (int step = 0; step < gpon::test::rounds(2000000); ++step) {
        table_model::bytes k(16 + 4 * (random() % 5));
        const u32 number = static_cast<u32>(random() % 3000);
        std::memcpy(k.data() + 6, &number, sizeof(number));
        const auto value = static_cast<u16>(random());
        ASSERT_TRUE(operate_both(k, static_cast<u32>(random() % 10000), value));
        ASSERT_EQ(table().total_num, model.rules());
        ASSERT_EQ(table().table_size, model.size());
    }
    EXPECT_EQ(model.size(), 1024u) << "the run must reach the ceiling";
}

} // namespace

// SPDX-License-Identifier: GPL-2.0-only
#include "tests/unit/rule_table_fixture.h"

#include <array>
#include <random>

namespace {

using gpon::test::plain_hash;

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

TEST_F(rule_table, a_rule_takes_three_blocks_of_at_most_160_bytes)
{
    const auto before = gpon::host::memory();
    add(key_of(1), 1, 32);
    const auto after = gpon::host::memory();
    EXPECT_EQ(after.live_blocks - before.live_blocks, 3u);
    EXPECT_LE(after.live_bytes - before.live_bytes, 160u);
}

} // namespace

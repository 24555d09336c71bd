// SPDX-License-Identifier: GPL-2.0-only
// How the rule table grows, and what is lost without memory.
#include "tests/unit/rule_table_fixture.h"

#include <cstring>
#include <map>
#include <set>

namespace {

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

} // namespace

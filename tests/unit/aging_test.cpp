// SPDX-License-Identifier: GPL-2.0-only
#include "tests/support/loaded_module.h"

#include "base/memory.h"
#include "hash/aging.h"
#include "hash/dump.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr u64 PERIOD = 30000;

// A rule is known by the last two bytes of its key.
class aging : public loaded_module {
protected:
    static bool learn(u16 id)
    {
        const key_bytes key(id);
        const gpon_rule_trace trace = {};
        const u32 before = gpon_hash_table_record.total_num;
        EXPECT_EQ(gpon_hash_add_node_safe(key.of, sizeof(key.of), &trace), 0);
        return gpon_hash_table_record.total_num != before;
    }
    // Looks the rule up, which counts as use.
    static bool use(u16 id)
    {
        const key_bytes key(id);
        gpon_rule_trace trace = {};
        return gpon_hash_get_rule_safe(key.of, sizeof(key.of), &trace) == 0;
    }
    static u32 rules()
    {
        u32 counted = 0;
        for (u32 i = 0; i < gpon_hash_table_record.table_size; ++i) {
            gpon_hash_bucket& bucket = gpon_hash_table_record.buckets[i];
            u32 chained = 0;
            gpon::for_each_rule(bucket, [&](gpon_flow_rule*) { ++chained; });
            EXPECT_EQ(bucket.node_num, chained) << "bucket " << i;
            counted += chained;
        }
        EXPECT_EQ(gpon_hash_table_record.total_num, counted);
        return counted;
    }
    static void sweep()
    {
        const gpon::bh_lock lock(gpon_hash_lock);
        gpon_hash_delete_aging_node();
    }

private:
    struct key_bytes {
        explicit key_bytes(u16 id) : of{}
        {
            of[0] = static_cast<u8>(id);
            of[1] = static_cast<u8>(id >> 8);
        }
        u8 of[16];
    };
};

TEST_F(aging, the_second_sweep_without_use_deletes_a_rule)
{
    learn(1);
    sweep();
    EXPECT_EQ(rules(), 1u);
    sweep();
    EXPECT_EQ(rules(), 0u);
}

TEST_F(aging, a_look_up_or_another_add_keeps_a_rule_over_the_next_sweep)
{
    learn(1);
    for (int i = 0; i < 20; ++i) {
        sweep();
        if (i % 2)
            EXPECT_TRUE(use(1));
        else
            EXPECT_FALSE(learn(1));
    }
    sweep();
    EXPECT_EQ(rules(), 1u);
    sweep();
    EXPECT_EQ(rules(), 0u);
}

TEST_F(aging, every_bucket_is_swept)
{
    std::vector<u16> stored;
    for (u16 id = 0; stored.size() < 40; ++id)
        if (learn(id))
            stored.push_back(id);
    sweep();
    for (size_t i = 0; i < stored.size(); i += 2)
        EXPECT_TRUE(use(stored[i]));
    sweep();
    EXPECT_EQ(rules(), 20u);
    for (size_t i = 0; i < stored.size(); ++i)
        EXPECT_EQ(use(stored[i]), i % 2 == 0) << i;
    gpon_hash_clean_all_safe();
}

TEST_F(aging, deleted_rules_give_their_memory_back)
{
    const uint64_t before = gpon::host::memory().live_blocks;
    learn(1);
    EXPECT_EQ(gpon::host::memory().live_blocks, before + 3);
    sweep();
    sweep();
    EXPECT_EQ(gpon::host::memory().live_blocks, before);
}

TEST_F(aging, a_whole_chain_is_swept)
{
    ASSERT_TRUE(learn(1));
    u32 i = 0;
    while (gpon_hash_table_record.buckets[i].node_num == 0)
        ++i;
    gpon_hash_bucket& bucket = gpon_hash_table_record.buckets[i];
    // An add keeps chains at one rule; these rules are put before it, every other one used.
    for (u32 hit : {0u, 1u, 0u}) {
        gpon::owned<gpon_flow_rule> rule = gpon::zalloc<gpon_flow_rule>();
        rule->key = gpon::zalloc_bytes(16).release();
        rule->key_len = 16;
        rule->trace = gpon::zalloc<gpon_rule_trace>().release();
        rule->hit = hit;
        rule->link = {bucket.first, &bucket.first};
        bucket.first->pprev = &rule->link.next;
        bucket.first = &rule->link;
        static_cast<void>(rule.release());
        ++bucket.node_num;
        ++gpon_hash_table_record.total_num;
    }
    sweep();
    EXPECT_EQ(rules(), 2u);
    EXPECT_EQ(bucket.first->pprev, &bucket.first);
    EXPECT_EQ(bucket.first->next->pprev, &bucket.first->next);
    gpon::for_each_rule(bucket, [](gpon_flow_rule* rule) { EXPECT_EQ(rule->hit, 0u); });
    sweep();
    EXPECT_EQ(rules(), 0u);
    EXPECT_EQ(bucket.first, nullptr);
}

TEST_F(aging, prints_one_line_for_an_empty_table)
{
    sweep();
    EXPECT_THAT(log_lines(), IsEmpty());
    gponDebugLevel = LOG_TRACE;
    sweep();
    EXPECT_THAT(log_lines(), ElementsAre("***TRACE***[gpon_hash_delete_aging_node][0]: Enter",
                                         "***TRACE***[gpon_hash_delete_aging_node][0]: "
                                         "total_num is zero"));
}

TEST_F(aging, the_timer_sweeps_and_is_armed_for_the_next_period)
{
    learn(1);
    for (int period = 0; period < 2; ++period) {
        gpon::host::advance(PERIOD - 1);
        EXPECT_EQ(rules(), 1u);
        EXPECT_THAT(calls, IsEmpty());
        gpon::host::advance(1);
        EXPECT_THAT(calls, ElementsAre("mod_timer +30000"));
        calls.clear();
    }
    EXPECT_EQ(rules(), 0u);
    gpon::host::advance(5 * PERIOD);
    EXPECT_EQ(calls.size(), 5u);
}

TEST_F(aging, a_direct_call_of_the_callback_sweeps_and_arms_too)
{
    learn(1);
    gpon_hash_aging_timer_func(nullptr);
    gpon_hash_aging_timer_func(nullptr);
    EXPECT_EQ(rules(), 0u);
    EXPECT_THAT(calls, ElementsAre("mod_timer +30000", "mod_timer +30000"));
}

TEST_F(aging, exit_stops_the_timer_and_frees_the_table)
{
    learn(1);
    EXPECT_EQ(gpon_hash_exit(), 0);
    EXPECT_THAT(calls, ElementsAre("del_timer"));
    EXPECT_EQ(gpon_hash_table_record.buckets, nullptr);
    EXPECT_EQ(gpon_hash_table_record.total_num, 0u);
    gpon::host::advance(10 * PERIOD);
    EXPECT_THAT(calls, ElementsAre("del_timer"));
}

TEST_F(aging, exit_without_a_table_reports_it_and_stops_the_timer)
{
    gpon_hash_exit();
    log_lines();
    calls.clear();
    gponDebugLevel = LOG_ERROR;
    EXPECT_EQ(gpon_hash_exit(), -1);
    EXPECT_THAT(log_lines(), ElementsAre("***ERROR***[gpon_hash_destroy_table][0] end, Parameter "
                                         "is NULL",
                                         "***ERROR***[gpon_hash_exit][0] gpon_hash_destroy_table "
                                         "Fail"));
    EXPECT_THAT(calls, ElementsAre("del_timer"));
}

TEST_F(aging, init_makes_64_buckets_and_arms_the_timer)
{
    gpon_hash_exit();
    calls.clear();
    EXPECT_EQ(gpon_hash_init(), 0);
    EXPECT_THAT(calls, ElementsAre("mod_timer +30000"));
    EXPECT_EQ(gpon_hash_table_record.table_size, 64u);
    EXPECT_EQ(gpon_hash_table_record.threshold, 48u);
    EXPECT_EQ(rules(), 0u);
}

TEST_F(aging, init_without_memory_reports_it_and_arms_no_timer)
{
    gpon_hash_exit();
    log_lines();
    calls.clear();
    gponDebugLevel = LOG_ERROR;
    gpon::host::arm_fault(gpon::host::fault::alloc);
    EXPECT_EQ(gpon_hash_init(), -1);
    EXPECT_TRUE(gpon::host::fault_fired(gpon::host::fault::alloc));
    EXPECT_THAT(log_lines(), ElementsAre("***ERROR***[gpon_hash_inflate_table][0] end, kzalloc "
                                         "Fail",
                                         "***ERROR***[gpon_hash_init][0] gpon_hash_inflate_table "
                                         "Fail"));
    EXPECT_THAT(calls, IsEmpty());
    gpon::host::advance(10 * PERIOD);
    EXPECT_THAT(calls, IsEmpty());
    sweep();
    gpon_hash_dump_all_safe();
}

} // namespace

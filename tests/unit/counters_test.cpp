// SPDX-License-Identifier: GPL-2.0-only
// Counters: which action counts where, the sums that follow, and the uses of rules.
#include "tests/unit/store_access.h"

#include <array>
#include <fstream>
#include <map>
#include <thread>

#include "hash/aging.h"
#include "hash/rule_table.h"
#include "hash/rule_use.h"
#include "pkt/outcome.h"
#include "pkt/rule.h"

namespace {

using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

class counters : public loaded_module {
protected:
    counters() { gpon::host::hook(GPON_API_SWITCH, 1, nullptr); }

    // The counters that changed since the last call.
    std::map<std::string, uint64_t> changes()
    {
        std::map<std::string, uint64_t> changed;
        for (const gpon::host::counter& one : gpon::host::counters()) {
            uint64_t& known = seen[std::string(one.name)];
            if (one.value != known)
                changed[std::string(one.name)] = one.value - known;
            known = one.value;
        }
        return changed;
    }

    // One downstream frame towards the UNI, which needs no configuration.
    static int send(u8 station, uint32_t kind = GPON_API_DOWN_UNI)
    {
        std::array<u8, 64> frame = {};
        frame[11] = station;
        sk_buff skb;
        skb.data = frame.data();
        skb.bytes = frame.size();
        return gpon::host::hook(kind, 0, &skb)->api_result;
    }

    static gpon::rule_use use_of_station(u8 station)
    {
        constexpr u32 LAST_BYTE = 11;
        gpon_hash_table& table = gpon_hash_table_record;
        const gpon::bh_lock lock(gpon_hash_lock);
        gpon::rule_use use = {};
        for (u32 i = 0; i < table.table_size; ++i)
            gpon::for_each_rule(table.buckets[i],
                                [&](const gpon_flow_rule* rule) GPON_REQUIRES(gpon_hash_lock) {
                                    if (rule->key[LAST_BYTE] == station)
                                        use = gpon::use_of(*rule);
                                });
        return use;
    }

    static gpon::rule_use use_of_only_rule()
    {
        EXPECT_EQ(gpon_hash_table_record.total_num, 1u);
        return use_of_station(1);
    }

    std::map<std::string, uint64_t> seen;
};

TEST_F(counters, are_zero_after_load_but_for_the_switch)
{
    EXPECT_THAT(changes(), UnorderedElementsAre(Pair("calls_switch", 1u)));
    EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(counters, names_are_unique_and_an_unknown_one_is_refused)
{
    std::map<std::string_view, int> names;
    for (const gpon::host::counter& one : gpon::host::counters()) {
        EXPECT_EQ(++names[one.name], 1) << one.name;
        EXPECT_FALSE(one.meaning.empty()) << one.name;
    }
    EXPECT_THROW(static_cast<void>(gpon::host::counter_value("calls")), std::invalid_argument);
}

TEST_F(counters, are_all_documented_with_their_meaning)
{
    std::ifstream file("docs/observability.md");
    const std::string page((std::istreambuf_iterator<char>(file)), {});
    for (const gpon::host::counter& one : gpon::host::counters())
        EXPECT_THAT(page, testing::HasSubstr("\n| `" + std::string(one.name) + "` | " +
                                             std::string(one.meaning) + " |\n"));
}

TEST_F(counters, the_first_frame_walks_the_second_replays_the_third_uses_the_outcome)
{
    changes();
    EXPECT_EQ(send(1), 0);
    EXPECT_THAT(changes(), UnorderedElementsAre(Pair("calls_down_uni", 1u),
                                                Pair("frames_passed", 1u), Pair("walks", 1u),
                                                Pair("walks_done", 1u), Pair("rules_learnt", 1u)));
    EXPECT_EQ(send(1), 0);
    EXPECT_THAT(changes(),
                UnorderedElementsAre(Pair("calls_down_uni", 1u), Pair("frames_passed", 1u),
                                     Pair("replays", 1u), Pair("outcomes_remembered", 1u)));
    EXPECT_EQ(send(1), 0);
    EXPECT_THAT(changes(),
                UnorderedElementsAre(Pair("calls_down_uni", 1u), Pair("frames_passed", 1u),
                                     Pair("remembered_down_uni", 1u)));
}

TEST_F(counters, calls_without_a_classified_frame_are_counted_by_reason)
{
    changes();
    gpon::host::hook(GPON_API_UP_UNI, 0, nullptr);
    EXPECT_THAT(changes(), UnorderedElementsAre(Pair("calls_no_packet", 1u)));
    EXPECT_EQ(send(1, 9), -1);
    EXPECT_THAT(changes(), UnorderedElementsAre(Pair("calls_unknown", 1u)));
    gpon::host::hook(GPON_API_SWITCH, 0, nullptr);
    send(1);
    EXPECT_THAT(changes(),
                UnorderedElementsAre(Pair("calls_switch", 1u), Pair("calls_down_uni", 1u),
                                     Pair("frames_passed", 1u), Pair("frames_engine_off", 1u)));
}

TEST_F(counters, a_frame_without_a_path_counts_its_reason)
{
    changes();
    EXPECT_EQ(send(1, GPON_API_UP_UNI), 1);
    const auto found = changes();
    EXPECT_EQ(found.at("calls_up_uni"), 1u);
    EXPECT_EQ(found.at("frames_failed"), 1u);
    EXPECT_EQ(found.at("walks"), 1u);
    EXPECT_EQ(found.count("frames_passed"), 0u);
    EXPECT_EQ(found.count("walks_done"), 0u);
    uint64_t reasons = 0;
    for (const char* reason :
         {"walks_no_path", "walks_filtered", "walks_step_failed", "walks_too_deep"})
        if (const auto one = found.find(reason); one != found.end())
            reasons += one->second;
    EXPECT_EQ(reasons, 1u);
}

TEST_F(counters, a_missing_queue_is_counted)
{
    sk_buff skb;
    changes();
    for (const std::optional<int> mapping : {std::optional<int>(-1), std::optional<int>()}) {
        gpon::host::set_queue_mapping(mapping);
        EXPECT_EQ(gpon::choose_queue(&skb, 5), -1);
        EXPECT_THAT(changes(), UnorderedElementsAre(Pair("queue_failures", 1u)));
    }
}

// What another CPU reads while a frame is in progress.
std::map<std::string, uint64_t> seen_within;

void look_within()
{
    for (const gpon::host::counter& one : gpon::host::counters())
        seen_within[std::string(one.name)] = one.value;
}

TEST_F(counters, a_walk_in_progress_has_neither_passed_nor_failed)
{
    gpon::test::create_bridge(1);
    send(1);
    changes();
    const uint64_t passed = seen["frames_passed"];
    gpon::host::call_at_allocation(1, look_within);
    EXPECT_EQ(send(1, GPON_API_UP_ANI), 1);
    ASSERT_TRUE(gpon::host::fault_fired(gpon::host::fault::alloc));
    EXPECT_EQ(seen_within.at("calls_up_ani"), 1u);
    EXPECT_EQ(seen_within.at("walks"), 2u);
    EXPECT_EQ(seen_within.at("frames_passed"), passed);
    EXPECT_EQ(seen_within.at("frames_failed"), 0u);
    const auto after = changes();
    EXPECT_EQ(after.count("frames_passed"), 0u);
    EXPECT_EQ(after.at("frames_failed"), 1u);
}

// Frames of kind 1 leave by a GEM port.
void build_upstream_path()
{
    const gpon_raw_gemctp ctp = {1, 1025, 0x8000, 3, 0, 0, 0};
    const gpon_raw_gemiw tp = {0x11, 1};
    gpon::test::create_bridge(1);
    gpon::test::apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemctp, 1, &ctp);
    gpon::test::apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw, 0x11, &tp);
    gpon::test::create_port(0x1001, 1, 5, 0x11);
}

// Frames of kind 1 without a tag pass.
void create_filter()
{
    const gpon_raw_vtfd filter = {.instID = 0x1001,
                                  .vlanFilterList = {0, 100},
                                  .forwardOperation = 0x0b,
                                  .vlanFilterNums = 1};
    gpon::test::apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::vtfd, 0x1001, &filter);
}

TEST_F(counters, a_walk_without_memory_is_neither_filtered_nor_without_a_path)
{
    build_upstream_path();
    create_filter();
    size_t failed = 0;
    for (uint64_t nth = 1;; ++nth) {
        gpon_hash_clean_all_safe();
        changes();
        gpon::host::arm_fault(gpon::host::fault::alloc, nth);
        const int result = send(1, GPON_API_UP_ANI);
        if (!gpon::host::fault_fired(gpon::host::fault::alloc))
            break;
        const auto found = changes();
        EXPECT_EQ(found.count("walks_step_failed") + found.count("walks_done"), 1u) << nth;
        EXPECT_EQ(found.count("frames_failed"), result == 0 ? 0u : 1u) << nth;
        failed += found.count("walks_step_failed");
    }
    EXPECT_GE(failed, 5u);
}

TEST_F(counters, a_walk_through_a_filter_that_is_gone_is_not_filtered)
{
    build_upstream_path();
    create_filter();
    EXPECT_EQ(send(1, GPON_API_UP_ANI), 0);
    gpon_hash_clean_all_safe();
    gpon::host::proc_write("clean raw_data 84 1001");
    changes();
    EXPECT_EQ(send(1, GPON_API_UP_ANI), 1);
    const auto found = changes();
    EXPECT_EQ(found.count("walks_step_failed"), 1u);
    EXPECT_EQ(found.count("walks_filtered"), 0u);
}

int queue_result = 0;

int look_and_choose(sk_buff*)
{
    look_within();
    return queue_result;
}

TEST_F(counters, a_frame_with_an_outcome_counts_when_its_queue_is_known)
{
    build_upstream_path();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(send(1, GPON_API_UP_ANI), 0);
    changes();
    gpon_queue_mapping_hook = look_and_choose;
    for (queue_result = -1; queue_result <= 0; ++queue_result) {
        const auto before = seen;
        const uint64_t hits = use_of_only_rule().hits;
        gpon::host::advance(1);
        EXPECT_EQ(send(1, GPON_API_UP_ANI), queue_result == 0 ? 0 : 1);
        EXPECT_EQ(seen_within, before);
        EXPECT_EQ(use_of_only_rule().hits, hits + 1);
        EXPECT_EQ(use_of_only_rule().last_used, gpon::host::jiffies());
        if (queue_result == 0)
            EXPECT_THAT(changes(), UnorderedElementsAre(Pair("calls_up_ani", 1u),
                                                        Pair("remembered_up_ani", 1u),
                                                        Pair("frames_passed", 1u)));
        else
            EXPECT_THAT(changes(), UnorderedElementsAre(
                                       Pair("calls_up_ani", 1u), Pair("remembered_up_ani", 1u),
                                       Pair("frames_failed", 1u), Pair("queue_failures", 1u)));
    }
}

int flush_and_fail(sk_buff*)
{
    gpon_hash_clean_all_safe();
    return -1;
}

TEST_F(counters, a_frame_fails_after_its_rule_is_gone)
{
    build_upstream_path();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(send(1, GPON_API_UP_ANI), 0);
    changes();
    gpon_queue_mapping_hook = flush_and_fail;
    EXPECT_EQ(send(1, GPON_API_UP_ANI), 1);
    EXPECT_THAT(changes(),
                UnorderedElementsAre(Pair("calls_up_ani", 1u), Pair("remembered_up_ani", 1u),
                                     Pair("frames_failed", 1u), Pair("queue_failures", 1u),
                                     Pair("rules_flushed", 1u)));
}

TEST_F(counters, frames_with_the_engine_off_are_counted_by_their_end)
{
    gpon::host::hook(GPON_API_SWITCH, 0, nullptr);
    changes();
    for (const std::optional<int> mapping : {std::optional<int>(), std::optional<int>(0)}) {
        gpon::host::set_mapping(mapping);
        EXPECT_EQ(send(1, GPON_API_UP_ANI), 0);
        EXPECT_THAT(changes(),
                    UnorderedElementsAre(Pair("calls_up_ani", 1u), Pair("frames_engine_off", 1u),
                                         Pair("frames_passed", 1u)));
    }
    gpon::host::set_mapping(-1);
    EXPECT_EQ(send(1, GPON_API_UP_ANI), 1);
    EXPECT_THAT(changes(),
                UnorderedElementsAre(Pair("calls_up_ani", 1u), Pair("frames_engine_off", 1u),
                                     Pair("frames_failed", 1u)));
}

TEST_F(counters, aging_flushes_and_deletions_are_counted)
{
    for (u8 station = 1; station <= 3; ++station)
        send(station);
    changes();
    gpon::host::advance(GPON_HASH_AGING_PERIOD);
    EXPECT_THAT(changes(), UnorderedElementsAre(Pair("sweeps", 1u)));
    send(1);
    changes();
    gpon::host::advance(GPON_HASH_AGING_PERIOD);
    EXPECT_THAT(changes(), UnorderedElementsAre(Pair("sweeps", 1u), Pair("rules_aged", 2u)));
    gpon::host::proc_write("clean flow_rule 0 0");
    EXPECT_THAT(changes(),
                UnorderedElementsAre(Pair("operator_commands", 1u), Pair("flushes_by_operator", 1u),
                                     Pair("rules_flushed", 1u)));
}

TEST_F(counters, growth_keeps_the_uses_of_rules_that_find_a_bucket)
{
    uint64_t sent = 0;
    for (u32 round = 0; round < 3; ++round)
        for (u8 station = 0; station < 250; ++station, ++sent)
            send(station);
    uint64_t hits = 0;
    u32 rules = 0;
    {
        gpon_hash_table& table = gpon_hash_table_record;
        const gpon::bh_lock lock(gpon_hash_lock);
        for (u32 i = 0; i < table.table_size; ++i)
            gpon::for_each_rule(table.buckets[i],
                                [&](const gpon_flow_rule* rule) GPON_REQUIRES(gpon_hash_lock) {
                                    hits += gpon::use_of(*rule).hits;
                                    ++rules;
                                });
    }
    const auto found = changes();
    EXPECT_GT(found.at("table_growths"), 0u);
    EXPECT_EQ(found.at("frames_passed"), sent);
    const uint64_t lost =
        found.count("rules_lost_by_growth") ? found.at("rules_lost_by_growth") : 0;
    EXPECT_EQ(rules, found.at("rules_learnt") - lost);
    EXPECT_EQ(found.at("walks") + found.at("replays") +
                  (found.count("remembered_down_uni") ? found.at("remembered_down_uni") : 0),
              sent);
    EXPECT_LE(hits, sent - found.at("walks"));
    EXPECT_GT(hits, 0u);
}

TEST_F(counters, commands_are_counted_by_type_and_result)
{
    changes();
    gpon_raw_mbsp raw = {};
    raw.instID = 7;
    gpon_flow_cmd record = {};
    record.cmd = GPON_FLOW_CMD_ME;
    record.me = gpon::test::command(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbsp, 7, &raw);
    gpon::host::ioctl(GPON_FLOW_IOC_COMMAND, reinterpret_cast<uint64_t>(&record));
    EXPECT_THAT(changes(),
                UnorderedElementsAre(Pair("me_create_done", 1u), Pair("flushes_by_command", 1u)));
    record.me.class_id = 1;
    gpon::host::ioctl(GPON_FLOW_IOC_COMMAND, reinterpret_cast<uint64_t>(&record));
    EXPECT_THAT(changes(),
                UnorderedElementsAre(Pair("me_create_failed", 1u), Pair("flushes_by_command", 1u)));
    record.cmd = 77;
    gpon::host::ioctl(GPON_FLOW_IOC_COMMAND, reinterpret_cast<uint64_t>(&record));
    gpon::host::ioctl(1, 0);
    gpon::host::proc_write(std::string(200, 'x'));
    EXPECT_THAT(changes(), UnorderedElementsAre(Pair("commands_refused", 3u)));
}

TEST_F(counters, an_allocation_failure_counts_and_loses_one_rule)
{
    changes();
    gpon::host::arm_fault(gpon::host::fault::alloc);
    send(1);
    const auto found = changes();
    EXPECT_EQ(found.at("allocation_failures"), 1u);
    EXPECT_EQ(found.at("rules_no_memory"), 1u);
}

TEST_F(counters, uses_of_a_rule_are_counted_by_replay_and_by_outcome)
{
    send(1);
    EXPECT_EQ(use_of_only_rule().hits, 0u) << "the walk is no use";
    EXPECT_EQ(use_of_only_rule().last_used, gpon::host::jiffies());
    gpon::host::advance(5);
    for (int i = 0; i < 4; ++i)
        send(1);
    EXPECT_EQ(use_of_only_rule().hits, 4u);
    EXPECT_EQ(use_of_only_rule().last_used, gpon::host::jiffies());
    gpon::host::advance(7);
    EXPECT_EQ(use_of_only_rule().last_used, gpon::host::jiffies() - 7);
    send(1);
    EXPECT_EQ(use_of_only_rule().hits, 5u);
    EXPECT_EQ(use_of_only_rule().last_used, gpon::host::jiffies());
}

TEST_F(counters, a_rule_keeps_its_uses_when_its_outcome_is_forgotten)
{
    for (int i = 0; i < 6; ++i)
        send(1);
    gpon::host::advance(GPON_HASH_AGING_PERIOD);
    for (int i = 0; i < 3; ++i)
        send(1);
    EXPECT_EQ(use_of_only_rule().hits, 5u + 3u);
    EXPECT_EQ(gpon::host::counter_value("outcomes_remembered"), 2u);
}

TEST_F(counters, frames_with_an_outcome_are_still_counted_when_others_take_its_place)
{
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 5; ++i)
            send(1);
        gpon::host::advance(GPON_HASH_AGING_PERIOD);
    }
    // The first frame is walked; each round has one replay, which remembers the outcome.
    EXPECT_EQ(gpon::host::counter_value("outcomes_remembered"), 3u);
    EXPECT_EQ(gpon::host::counter_value("remembered_down_uni"), 3u * 5u - 1u - 3u);
    EXPECT_EQ(gpon::host::counter_value("calls_down_uni"), 3u * 5u);
}

TEST_F(counters, a_rule_keeps_its_uses_and_its_outcomes_when_the_table_grows)
{
    for (int i = 0; i < 6; ++i)
        send(1);
    for (u8 station = 2; gpon::host::counter_value("table_growths") == 0; ++station)
        send(station);
    EXPECT_EQ(use_of_station(1).hits, 5u);
    for (int i = 0; i < 3; ++i)
        send(1);
    EXPECT_EQ(use_of_station(1).hits, 5u + 3u);
    gpon::host::advance(GPON_HASH_AGING_PERIOD);
    send(1);
    EXPECT_EQ(use_of_station(1).hits, 5u + 3u + 1u);
}

TEST_F(counters, the_last_use_is_that_of_the_latest_cpu)
{
    const auto send_elsewhere = [] { std::thread([] { send(1); }).join(); };
    send(1);
    send(1);
    send(1);
    for (int round = 0; round < 2; ++round) {
        gpon::host::advance(5);
        send_elsewhere();
        EXPECT_EQ(use_of_only_rule().last_used, gpon::host::jiffies());
        gpon::host::advance(5);
        send(1);
        EXPECT_EQ(use_of_only_rule().last_used, gpon::host::jiffies());
    }
    EXPECT_EQ(use_of_only_rule().hits, 2u + 4u);
}

TEST_F(counters, a_new_rule_of_a_flow_starts_without_uses)
{
    for (int i = 0; i < 6; ++i)
        send(1);
    gpon::host::proc_write("clean flow_rule 0 0");
    send(1);
    EXPECT_EQ(use_of_only_rule().hits, 0u);
    send(1);
    send(1);
    EXPECT_EQ(use_of_only_rule().hits, 2u);
}

TEST_F(counters, are_summed_over_threads_and_survive_them)
{
    for (int i = 0; i < 3; ++i)
        send(1);
    constexpr uint64_t EACH = 1000;
    std::array<std::thread, 3> threads;
    for (std::thread& one : threads)
        one = std::thread([] {
            for (uint64_t i = 0; i < EACH; ++i)
                send(1);
        });
    for (std::thread& one : threads)
        one.join();
    EXPECT_EQ(gpon::host::counter_value("calls_down_uni"), 3 * EACH + 3);
    EXPECT_EQ(use_of_only_rule().hits, 3 * EACH + 2);
}

} // namespace

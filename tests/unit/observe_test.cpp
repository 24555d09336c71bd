// SPDX-License-Identifier: GPL-2.0-only
// The read side: rules, instances and state as records, and the events for a listener.
#include "tests/unit/store_access.h"

#include <array>
#include <vector>

#include "hash/aging.h"
#include "platform/api/observe.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class observe : public loaded_module {
protected:
    observe()
    {
        gpon::host::hook(GPON_API_SWITCH, 1, nullptr);
        gpon::host::set_observer([this](const gpon_event& event) { events.push_back(event); });
    }

    ~observe() override { gpon::host::set_observer(nullptr); }

    // A downstream frame with one tag.
    static void send(u8 station)
    {
        std::array<u8, 64> frame = {};
        frame[5] = 9;
        frame[11] = station;
        frame[12] = 0x81;
        frame[15] = 100;
        sk_buff skb;
        skb.data = frame.data();
        skb.bytes = frame.size();
        gpon::host::hook(GPON_API_DOWN_UNI, 0, &skb);
    }

    static std::vector<gpon_seen_rule> rules(u32 room)
    {
        std::vector<gpon_seen_rule> all;
        std::vector<gpon_seen_rule> some(room);
        u64 revision = 0;
        for (u32 bucket = 0; bucket != GPON_SEEN_ALL;) {
            const u32 count = gpon_observe_rules(&bucket, some.data(), room, &revision);
            all.insert(all.end(), some.begin(), some.begin() + count);
        }
        return all;
    }

    static u64 revision()
    {
        gpon_seen_state state;
        gpon_observe_state(&state);
        return state.revision;
    }

    static void create_bridge(u16 id)
    {
        gpon_raw_mbsp raw = {};
        raw.instID = id;
        raw.helloTime = 0x1234;
        gpon_flow_cmd record = {};
        record.cmd = GPON_FLOW_CMD_ME;
        record.me = gpon::test::command(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbsp, id, &raw);
        gpon::host::ioctl(GPON_FLOW_IOC_COMMAND, reinterpret_cast<uint64_t>(&record));
    }

    std::vector<gpon_event> events;
};

TEST_F(observe, a_rule_has_its_key_and_its_uses)
{
    for (int i = 0; i < 4; ++i)
        send(1);
    gpon::host::advance(3);
    const std::vector<gpon_seen_rule> seen = rules(1);
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_THAT(seen[0].dst_mac, ElementsAre(0, 0, 0, 0, 0, 9));
    EXPECT_THAT(seen[0].src_mac, ElementsAre(0, 0, 0, 0, 0, 1));
    EXPECT_EQ(seen[0].direction, DOWN_UNI);
    EXPECT_EQ(seen[0].tags, 1u);
    EXPECT_EQ(seen[0].tpid[0], 0x8100);
    EXPECT_EQ(seen[0].tci[0], 100);
    EXPECT_EQ(seen[0].steps, 0u);
    EXPECT_EQ(seen[0].used, 1);
    EXPECT_EQ(seen[0].remembered, 1);
    EXPECT_EQ(seen[0].hits, 3u);
    EXPECT_EQ(seen[0].idle, 3u);
}

TEST_F(observe, an_outcome_is_shown_only_while_it_is_valid)
{
    send(1);
    EXPECT_EQ(rules(1).at(0).remembered, 0) << "of a frame that was walked";
    send(1);
    EXPECT_EQ(rules(1).at(0).remembered, 1);
    gpon::host::advance(GPON_HASH_AGING_PERIOD);
    EXPECT_EQ(rules(1).at(0).remembered, 0);
    send(1);
    EXPECT_EQ(rules(1).at(0).remembered, 1);
}

TEST_F(observe, every_rule_is_seen_once_with_any_room)
{
    for (u8 station = 1; station <= 40; ++station)
        send(station);
    const u32 held = gpon_hash_table_record.total_num;
    for (const u32 room : {1u, 3u, 16u, 100u})
        EXPECT_EQ(rules(room).size(), held);
}

TEST_F(observe, the_revision_changes_with_rules_and_instances_and_only_then)
{
    const u64 first = revision();
    send(1);
    const u64 learnt = revision();
    EXPECT_NE(first, learnt);
    send(1);
    send(1);
    rules(16);
    EXPECT_EQ(revision(), learnt);
    create_bridge(5);
    EXPECT_NE(revision(), learnt);
}

TEST_F(observe, rules_that_come_and_go_do_not_change_the_revision_of_instances)
{
    const auto revision_of_instances = [] {
        u32 row = 0, position = 0;
        gpon_seen_instance instance;
        u64 revision = 0;
        gpon_observe_instance(&row, &position, &instance, &revision);
        return revision;
    };
    const u64 first = revision_of_instances();
    send(1);
    gpon_hash_clean_all_safe();
    EXPECT_EQ(revision_of_instances(), first);
    create_bridge(5);
    EXPECT_NE(revision_of_instances(), first);
}

TEST_F(observe, events_name_the_rule_and_the_cause)
{
    send(1);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].kind, GPON_EVENT_RULE_LEARNT);
    EXPECT_EQ(events[0].rule.src_mac[5], 1);
    send(1);
    send(1);
    EXPECT_EQ(events.size(), 1u) << "a use is no event";
    gpon::host::advance(GPON_HASH_AGING_PERIOD);
    gpon::host::advance(GPON_HASH_AGING_PERIOD);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[1].kind, GPON_EVENT_RULE_GONE);
    EXPECT_EQ(events[1].cause, static_cast<u32>(GPON_RULE_AGED));
    EXPECT_EQ(events[1].rule.hits, 2u);
    send(2);
    gpon::host::proc_write("clean flow_rule 0 0");
    ASSERT_EQ(events.size(), 4u);
    EXPECT_EQ(events[3].cause, static_cast<u32>(GPON_RULE_FLUSHED));
}

TEST_F(observe, other_steps_of_a_known_flow_are_an_event)
{
    const std::array<u8, GPON_RULE_KEY_HEAD> key = {1, 2, 3, 4, 5, 6, 7};
    gpon_rule_trace steps = {{{me_class::mbsp, 1}, {me_class::mbpcd, 2}}};
    const auto learn = [&] {
        return gpon_hash_add_node_safe(key.data(), GPON_RULE_KEY_HEAD, &steps);
    };
    EXPECT_EQ(learn(), 0);
    const u64 first = revision();
    EXPECT_EQ(learn(), 0);
    ASSERT_EQ(events.size(), 1u) << "the same steps are no event";
    EXPECT_EQ(revision(), first);
    steps.step[1].instId = 3;
    EXPECT_EQ(learn(), 0);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[1].kind, GPON_EVENT_RULE_RELEARNT);
    EXPECT_EQ(events[1].rule.dst_mac[0], 1);
    EXPECT_EQ(events[1].rule.src_mac[0], 7);
    ASSERT_EQ(events[1].rule.steps, 2);
    EXPECT_EQ(events[1].rule.inst_id[1], 3);
    EXPECT_NE(revision(), first);
    EXPECT_EQ(gpon::host::counter_value("rules_relearnt"), 1u);
    EXPECT_EQ(gpon::host::counter_value("rules_unchanged"), 1u);
}

TEST_F(observe, an_instance_has_its_record_and_is_an_event)
{
    create_bridge(5);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].kind, GPON_EVENT_INSTANCE_CHANGED);
    EXPECT_EQ(events[0].cause, static_cast<u32>(GPON_INSTANCE_CREATED));
    EXPECT_EQ(events[0].class_id, 45);
    EXPECT_EQ(events[0].inst_id, 5);
    u32 row = 0;
    u32 position = 0;
    u64 revision = 0;
    gpon_seen_instance seen;
    ASSERT_EQ(gpon_observe_instance(&row, &position, &seen, &revision), 1);
    EXPECT_EQ(seen.class_id, 45);
    EXPECT_STREQ(seen.class_name, "MAC_BRIDGE_SERVICE_PROFILE");
    EXPECT_EQ(seen.inst_id, 5);
    ASSERT_EQ(seen.raw_bytes, sizeof(gpon_raw_mbsp));
    EXPECT_EQ(gpon::load_unaligned<u16>(seen.raw + offsetof(gpon_raw_mbsp, helloTime)), 0x1234);
    EXPECT_EQ(gpon_observe_instance(&row, &position, &seen, &revision), 0);
}

TEST_F(observe, the_number_of_the_store_changes_with_instances_and_not_with_rules)
{
    const auto store = [] {
        gpon_seen_state state;
        gpon_observe_state(&state);
        return state.store;
    };
    const u64 before = store();
    send(1);
    gpon_hash_clean_all_safe();
    EXPECT_EQ(store(), before);
    create_bridge(9);
    EXPECT_NE(store(), before);
    EXPECT_EQ(store() % 2, 0u) << "at rest";
}

TEST_F(observe, nothing_is_printed)
{
    gpon::host::proc_write("set debug_level f");
    send(1);
    log_lines();
    gpon_seen_state state;
    gpon_observe_state(&state);
    EXPECT_EQ(state.engine, 1u);
    EXPECT_EQ(state.log_level, 15u);
    EXPECT_EQ(state.rules, 1u);
    rules(16);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(observe, instances_of_each_class_fit_their_record)
{
    for (u32 i = 1; i < GPON_ME_ROWS; ++i) {
        if (!gpon::has_list(&me_table[i]))
            continue;
        const gpon_me_list_info& info = *me_table[i].list_info;
        EXPECT_LE(info.raw_size, i32{GPON_SEEN_RAW}) << me_table[i].name;
        i32 rows = 0, ids = 0;
        for (const gpon_me_related_info* row = info.related_info;
             row && row->related_class_id != me_class::none; ++row, ++rows)
            ids += row->related_inst_num;
        EXPECT_LE(rows, i32{GPON_SEEN_ROWS}) << me_table[i].name;
        EXPECT_LE(ids, i32{GPON_SEEN_IDS}) << me_table[i].name;
    }
}

} // namespace

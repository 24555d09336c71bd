// SPDX-License-Identifier: GPL-2.0-only
#include "tests/unit/store_access.h"

#include "core/hook.h"
#include "hash/aging.h"
#include "pkt/walk.h"

namespace {

using gpon::test::create_bridge;
using gpon::test::create_port;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr u32 MARK = GPON_FLOW_TRACE_MARK;
constexpr u8 plain_frame[] = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 8, 0};

class hook_entry : public loaded_module {
protected:
    hook_entry()
    {
        packet.data = plain_frame;
        packet.bytes = sizeof(plain_frame);
        packet.port_word = 1 << 4;
        seen = nullptr;
        seen_flags = 0;
    }

    // The hook function itself; api_result is in `result`.
    int call(u32 kind, sk_buff* skb, u32 param = 0)
    {
        api_data data = {};
        data.api_type = kind;
        data.api_param = param;
        data.api_result = 12345;
        data.skb = skb;
        const int returned = gpon_flow_api_dispatch(&data);
        result = data.api_result;
        return returned;
    }
    void enable() { call(GPON_API_SWITCH, nullptr, 1); }
    static void trace_this_frame()
    {
        trace_cfg.dst_mac[0] = 2;
        trace_cfg.dst_mac[5] = 1;
        trace_cfg.valid_mask = TRACE_DST_MAC;
    }
    // A platform function that keeps what it was called with.
    static int watching(sk_buff* skb)
    {
        seen = skb;
        seen_flags = skb->flag_word;
        return 0;
    }
    static void build_line()
    {
        create_bridge(1);
        create_port(0x101, 1, 1, 0x101);
    }

    sk_buff packet;
    i32 result = 0;
    static inline sk_buff* seen = nullptr;
    static inline u32 seen_flags = 0;
};

TEST_F(hook_entry, always_returns_2)
{
    for (const bool enabled : {false, true}) {
        call(GPON_API_SWITCH, nullptr, enabled);
        for (const u32 kind : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
            EXPECT_EQ(call(kind, &packet, enabled), 2);
            EXPECT_EQ(call(kind, nullptr, enabled), 2);
            EXPECT_NE(result, 12345) << "every path writes its result";
        }
    }
}

TEST_F(hook_entry, the_switch_is_0_or_1_whatever_the_parameter)
{
    for (const u32 value : {1u, 7u, 0x80000000u, 0xffffffffu}) {
        call(GPON_API_SWITCH, nullptr, 0);
        EXPECT_EQ(gponFlowEnableFlag, 0u);
        EXPECT_EQ(result, 0);
        call(GPON_API_SWITCH, nullptr, value);
        EXPECT_EQ(gponFlowEnableFlag, 1u);
        EXPECT_EQ(result, 0);
    }
}

TEST_F(hook_entry, the_switch_does_not_read_its_packet)
{
    call(GPON_API_SWITCH, reinterpret_cast<sk_buff*>(8), 1);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(gponFlowEnableFlag, 1u);
}

TEST_F(hook_entry, a_null_packet_fails_before_its_kind_is_looked_at)
{
    gponDebugLevel = 7;
    for (const u32 kind : {0u, 1u, 2u, 3u, 5u, 0xffffffffu}) {
        call(kind, nullptr);
        EXPECT_EQ(result, 1);
    }
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_THAT(calls, IsEmpty());
}

TEST_F(hook_entry, disabled_the_mapping_function_gets_the_same_packet)
{
    gpon_mapping_hook = watching;
    call(GPON_API_UP_ANI, &packet);
    EXPECT_EQ(seen, &packet);
    EXPECT_EQ(result, 0);
}

TEST_F(hook_entry, disabled_the_mapping_function_is_called_for_one_kind_only)
{
    gpon_mapping_hook = watching;
    for (const u32 kind : {GPON_API_UP_UNI, GPON_API_DOWN_UNI, GPON_API_DOWN_ANI}) {
        call(kind, &packet);
        EXPECT_EQ(result, 0);
        EXPECT_EQ(seen, nullptr);
    }
}

TEST_F(hook_entry, the_trace_mark_lives_as_long_as_the_call)
{
    trace_this_frame();
    gpon_mapping_hook = watching;
    packet.flag_word = 0x80000001;
    call(GPON_API_UP_ANI, &packet);
    EXPECT_EQ(seen_flags, 0x80000001 | MARK);
    EXPECT_EQ(packet.flag_word, 0x80000001u);
}

TEST_F(hook_entry, a_mark_of_the_sender_is_removed_first)
{
    gpon_mapping_hook = watching;
    packet.flag_word = 0xffffffff;
    call(GPON_API_UP_ANI, &packet);
    EXPECT_EQ(seen_flags, ~MARK);
    EXPECT_EQ(packet.flag_word, ~MARK);
}

TEST_F(hook_entry, the_mark_reaches_the_queue_choice_and_ends_with_the_call)
{
    const gpon_raw_gemctp ctp = {1, 1025, 0x8000, 3, 0, 0, 0};
    const gpon_raw_gemiw tp = {0x11, 1};
    create_bridge(1);
    gpon::test::apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemctp, 1, &ctp);
    gpon::test::apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw, 0x11, &tp);
    create_port(0x1001, 1, 5, 0x11);
    trace_this_frame();
    enable();
    gpon_queue_mapping_hook = watching;
    for (int round = 0; round < 2; ++round) { // walked, then replayed
        seen = nullptr;
        packet.gemport_id = 0;
        call(GPON_API_UP_ANI, &packet);
        EXPECT_EQ(result, 0);
        EXPECT_EQ(packet.gemport_id, 1025);
        EXPECT_EQ(seen, &packet);
        EXPECT_EQ(seen_flags, MARK);
        EXPECT_EQ(packet.flag_word, 0u);
    }
}

TEST_F(hook_entry, no_path_leaves_the_mark_on)
{
    build_line();
    trace_this_frame();
    for (const bool enabled : {false, true}) {
        call(GPON_API_SWITCH, nullptr, enabled);
        for (u32 kind : {0u, 1u, 2u, 3u, 5u, 100u, 0u, 1u, 2u, 3u}) {
            packet.flag_word = MARK | 0x1000;
            call(kind, &packet);
            EXPECT_EQ(packet.flag_word, 0x1000u) << kind;
        }
    }
}

TEST_F(hook_entry, an_unknown_kind_dumps_the_stack_first)
{
    for (const bool enabled : {false, true}) {
        call(GPON_API_SWITCH, nullptr, enabled);
        calls.clear();
        call(5, &packet);
        EXPECT_EQ(result, -1);
        EXPECT_THAT(calls, ElementsAre("dump_stack"));
        EXPECT_THAT(log_lines(), ElementsAre("unknown api_data->api_type: 5"));
    }
}

TEST_F(hook_entry, enabled_every_kind_walks_in_its_direction)
{
    enable();
    gponDebugLevel = LOG_TRACE;
    const auto asked = [&](u32 kind) {
        log_lines();
        call(kind, &packet);
        std::vector<std::string> steps;
        for (const std::string& line : log_lines())
            if (const size_t at = line.find("fwd_flag="); at != line.npos)
                steps.push_back(line.substr(at));
        return steps;
    };
    create_bridge(1);
    log_lines();
    EXPECT_THAT(asked(0), testing::AllOf(testing::Not(IsEmpty()), testing::Each("fwd_flag=2")));
    EXPECT_THAT(asked(1), testing::AllOf(testing::Not(IsEmpty()), testing::Each("fwd_flag=1")));
    EXPECT_THAT(asked(3), testing::AllOf(testing::Not(IsEmpty()), testing::Each("fwd_flag=4")));
    EXPECT_THAT(asked(2), IsEmpty()) << "the downstream UNI half walks nothing";
    EXPECT_EQ(result, 0);
}

TEST_F(hook_entry, returns_the_result_of_the_walk)
{
    enable();
    call(GPON_API_UP_UNI, &packet);
    EXPECT_EQ(result, 1);
    build_line();
    call(GPON_API_UP_UNI, &packet);
    EXPECT_EQ(result, 0);
}

TEST_F(hook_entry, disabled_nothing_is_learnt_and_rules_stay)
{
    const auto rules = [] {
        const gpon::bh_lock held(gpon_hash_lock);
        return gpon_hash_table_record.total_num;
    };
    build_line();
    call(GPON_API_UP_UNI, &packet);
    EXPECT_EQ(rules(), 0u);
    enable();
    call(GPON_API_UP_UNI, &packet);
    EXPECT_EQ(rules(), 1u);
    call(GPON_API_SWITCH, nullptr, 0);
    call(GPON_API_UP_UNI, &packet);
    EXPECT_EQ(rules(), 1u);
}

// The hook is unregistered last: packets may arrive when everything else is already removed.
TEST_F(hook_entry, packets_find_an_empty_store_during_unload)
{
    build_line();
    enable();
    call(GPON_API_UP_UNI, &packet);
    EXPECT_EQ(result, 0);
    gpon_flow_clean_all_me_inst();
    gpon_hash_exit();
    for (const u32 kind : {0u, 1u, 3u}) {
        call(kind, &packet);
        EXPECT_EQ(result, 1) << kind;
    }
    call(2, &packet);
    EXPECT_EQ(result, 0);
}

} // namespace

// SPDX-License-Identifier: GPL-2.0-only
// Single steps and starts of the walk that no scenario reaches.
#include "tests/unit/class_fixture.h"

#include "pkt/flow.h"
#include "pkt/outcome.h"
#include "pkt/rule.h"
#include "pkt/walk.h"

namespace {

using gpon::test::apply;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class walk : public packet_fixture {
protected:
    i32 step(me_class class_id, u16 inst_id, u16 fwd_flag)
    {
        const gpon_fwd_info info = {class_id, inst_id, fwd_flag};
        const gpon::rcu_reader reader;
        gpon::test::forget_found(result);
        return gpon_pkt_general_forward(&skb, &info, &result);
    }
};

TEST_F(walk, the_tenth_step_fails_with_its_line_at_any_level_and_writes_no_trace)
{
    gpon::test::create_bridge(1);
    result.recurse_num = 9;
    EXPECT_EQ(step(me_class::mbsp, 1, UP_ANI), -1);
    EXPECT_EQ(result.recurse_num, 9);
    EXPECT_EQ(result.trace.step[9].classId, me_class::none);
    EXPECT_THAT(log_lines(), ElementsAre("[gpon_pkt_general_forward][0] end, Fail,recurse_num is "
                                         "MAX_RECURSION_NUM(10)"));
}

TEST_F(walk, the_ninth_step_succeeds)
{
    gpon::test::create_bridge(1);
    result.recurse_num = 8;
    EXPECT_EQ(step(me_class::mbsp, 1, UP_ANI), 0);
    EXPECT_EQ(result.recurse_num, 8);
    EXPECT_EQ(result.trace.step[8].classId, me_class::mbsp);
    EXPECT_EQ(result.trace.step[8].instId, 1);
}

TEST_F(walk, a_port_at_the_depth_limit_fails_the_whole_walk)
{
    gpon::test::create_bridge(1);
    const gpon_raw_mbpcd port = {.instID = 5, .bridgeID = 1, .tpType = 5, .tpPointer = 1};
    apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::mbpcd, 5, &port);
    gponDebugLevel = 1;
    log_lines();
    result.recurse_num = 8;
    EXPECT_EQ(step(me_class::mbsp, 1, UP_ANI), -1);
    EXPECT_THAT(log_lines(),
                ElementsAre("[gpon_pkt_general_forward][0] end, Fail,recurse_num is "
                            "MAX_RECURSION_NUM(10)",
                            "***ERROR***[gpon_pkt_next_forward][0] end, nextMeClassId=47, "
                            "inst_id=0x5, fwd_op fail."));
}

TEST_F(walk, a_finished_walk_takes_no_further_step)
{
    result.ret_val = FLOW_PKT_FORWARD_DONE;
    gponDebugLevel = 4;
    EXPECT_EQ(step(me_class::mbsp, 1, UP_ANI), 0);
    EXPECT_THAT(log_lines(), Contains("***TRACE***[gpon_pkt_general_forward][0] "
                                      "end,classId=45,instId=0x1,FLOW_PKT_FORWARD_DONE"));
    EXPECT_EQ(result.trace.step[0].classId, me_class::none);
}

TEST_F(walk, a_class_without_forwarding_descriptor_fails_the_step)
{
    gponDebugLevel = 1;
    for (const me_class class_id :
         {me_class::vtfd, me_class::vtocd, me_class::evtocd, gpon::to_me_class(1)}) {
        EXPECT_EQ(step(class_id, 1, UP_ANI), -1);
        EXPECT_THAT(log_lines(),
                    ElementsAre("***ERROR***[gpon_pkt_general_forward][0] end, the classId(" +
                                std::to_string(gpon::class_number(class_id)) +
                                ") can not get the entry or without fwd_op."));
    }
    EXPECT_EQ(result.trace.step[0].classId, me_class::none);
}

TEST_F(walk, a_class_without_forward_function_ends_the_branch)
{
    gponDebugLevel = 4;
    for (const me_class class_id : {me_class::tcont, me_class::pq, me_class::ts, me_class::td}) {
        EXPECT_EQ(step(class_id, 3, UP_ANI), 0);
        EXPECT_EQ(result.ret_val, FLOW_PKT_NOT_FORWARD);
        EXPECT_EQ(result.trace.step[0].classId, class_id);
        EXPECT_THAT(log_lines(),
                    Contains("***TRACE***[gpon_pkt_general_forward][0] end, the classId(" +
                             std::to_string(gpon::class_number(class_id)) +
                             ") without next me operation."));
    }
}

TEST_F(walk, a_failed_forward_function_fails_the_step)
{
    gponDebugLevel = 1;
    EXPECT_EQ(step(me_class::gemctp, 1, UP_ANI), -1);
    EXPECT_THAT(log_lines(), ElementsAre("***ERROR***[gpon_pkt_general_forward][0] end, the "
                                         "classId(268) fwd_op fail."));
}

TEST_F(walk, a_failed_downstream_start_is_reported_in_two_lines)
{
    const gpon_raw_gemiw gem_iw = {.instID = 1, .gemCTPInstID = 0};
    apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw, 1, &gem_iw);
    gponDebugLevel = 1;
    log_lines();
    gpon::host::arm_fault(gpon::host::fault::alloc);
    EXPECT_EQ(gpon_pkt_general_flow_func(&skb, DOWN_ANI), -1);
    EXPECT_THAT(log_lines(),
                ElementsAre("***ERROR***[gpon_pkt_general_forward][0] end, the classId(266) "
                            "fwd_op fail.",
                            "***ERROR***[gpon_pkt_downstream_ani][0]: DownStream ANI Operation "
                            "fail!",
                            "***ERROR***gpon_pkt_general_flow_func [0]: gpon_pkt_downstream_ani "
                            "Fail\r"));
}

TEST_F(walk, upstream_a_port_with_an_unlinked_pptp_starts_at_its_veip)
{
    const std::string tried =
        "**WARNING**[gpon_pkt_upstream_uni][0]the PPTP can not get the entry.";
    gpon::test::create_bridge(1);
    gpon::test::create_port(0x55, 1, 11, 0x203); // the link makes the VEIP
    skb.port_word = 0xffffff3f;                  // the port is in bits 4 to 7
    for (const bool has_pptp : {false, true}) {
        const gpon_raw_pptp pptp = {.instID = 0x103};
        if (has_pptp)
            apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::pptp, 0x103, &pptp);
        const gpon::rcu_reader reader;
        result = {};
        gponDebugLevel = LOG_WARNING;
        EXPECT_EQ(gpon_pkt_upstream_uni(&skb, &result), 0);
        EXPECT_THAT(log_lines(), Contains(tried));
        gponDebugLevel = 0;
        EXPECT_EQ(result.ret_val, FLOW_PKT_FORWARD_DONE);
        EXPECT_EQ(result.turn_inst_id, 1);
        EXPECT_EQ(result.trace.step[0].classId, me_class::veip);
        EXPECT_EQ(result.trace.step[0].instId, 0x203);
        EXPECT_EQ(result.trace.step[1].classId, me_class::mbpcd);
        EXPECT_EQ(result.trace.step[1].instId, 0x55);
    }
}

TEST_F(walk, upstream_a_port_with_a_linked_pptp_needs_no_veip)
{
    gpon::test::create_bridge(1);
    gpon::test::create_port(0x55, 1, 1, 0x103);
    gpon::test::create_port(0x56, 1, 11, 0x203);
    skb.port_word = 3 << 4;
    const gpon::rcu_reader reader;
    gponDebugLevel = LOG_WARNING;
    log_lines();
    EXPECT_EQ(gpon_pkt_upstream_uni(&skb, &result), 0);
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_EQ(result.trace.step[0].classId, me_class::pptp);
    EXPECT_EQ(result.trace.step[0].instId, 0x103);
    EXPECT_EQ(result.trace.step[1].instId, 0x55);
}

TEST_F(walk, an_unknown_direction_fails)
{
    gponDebugLevel = 1;
    for (const u16 fwd_flag : u16s{0, 3, 16, 0xffff}) {
        EXPECT_EQ(gpon_pkt_general_flow_func(&skb, fwd_flag), -1);
        EXPECT_THAT(log_lines(), ElementsAre("***ERROR***gpon_pkt_general_flow_func [0]: unknown "
                                             "fwd_flag: " +
                                             std::to_string(fwd_flag)));
        EXPECT_EQ(gpon_pkt_handle_after_fwd_done(&skb, fwd_flag, &result), -1);
        EXPECT_THAT(log_lines(),
                    ElementsAre("***ERROR***gpon_pkt_handle_after_fwd_done [0]: fwd_flag(" +
                                    std::to_string(fwd_flag) + "): Fail\r",
                                "***ERROR***gpon_pkt_general_flow_func [0]: "
                                "gpon_pkt_handle_after_fwd_done Fail\r"));
    }
}

TEST_F(walk, null_packets_are_reported_by_each_function)
{
    const gpon_fwd_info info = {me_class::mbsp, 1, UP_ANI};
    gpon_rule_trace trace = {};
    gponDebugLevel = 1;
    EXPECT_EQ(gpon_pkt_general_flow_func(nullptr, UP_ANI), -1);
    EXPECT_EQ(gpon_pkt_init_fwd_info(nullptr, &result), -1);
    EXPECT_EQ(gpon_pkt_general_forward(nullptr, &info, &result), -1);
    EXPECT_EQ(result.recurse_num, 0);
    EXPECT_EQ(gpon_rule_generate_trace(nullptr, UP_ANI, &result), -1);
    EXPECT_EQ(gpon_rule_lookup_trace(nullptr, UP_ANI, &trace), -1);
    EXPECT_EQ(gpon_rule_lookup_trace(&skb, UP_ANI, nullptr), -1);
    const auto line = [](const std::string& name) {
        return "***ERROR***[" + name + "][0] end, Parameter is NULL: Fail";
    };
    EXPECT_THAT(log_lines(),
                ElementsAre("***ERROR***gpon_pkt_general_flow_func [0]: skb is NULL: Fail\r",
                            line("gpon_pkt_init_fwd_info"), line("gpon_pkt_general_forward"),
                            line("gpon_rule_generate_trace"), line("gpon_rule_lookup_trace"),
                            line("gpon_rule_lookup_trace")));
}

TEST_F(walk, a_query_without_memory_does_not_try_the_same_instance_again)
{
    gpon::test::create_bridge(1);
    for (const u16 id : u16s{0x11, 0x12}) {
        const gpon_raw_gemiw gem_iw = {.instID = id, .gemCTPInstID = 1};
        apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw, id, &gem_iw);
    }
    gpon_raw_mapper mapper = {};
    mapper.instID = 1;
    mapper.pbit_GemIWTP[0] = 0x11;
    mapper.pbit_GemIWTP[1] = 0x12;
    mapper.unmark_frame_opt = 1;
    mapper.defaultPbit = 1;
    apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::mapper, 1, &mapper);
    for (u64 nth = 1;; ++nth) {
        result = {};
        gponDebugLevel = 4;
        log_lines();
        gpon::host::arm_fault(gpon::host::fault::alloc, nth);
        step(me_class::mapper, 1, UP_ANI);
        const std::vector<std::string> lines = log_lines();
        EXPECT_LE(std::count(lines.begin(), lines.end(),
                             "***TRACE***[gpon_pkt_general_forward][0] enter, "
                             "classId=266,instId=0x11,fwd_flag=1"),
                  1)
            << "allocation " << nth;
        if (!gpon::host::fault_fired(gpon::host::fault::alloc))
            break;
    }
}

TEST_F(walk, a_replay_stops_at_a_class_that_is_no_step)
{
    for (const me_class class_id : {me_class::vtfd, gpon::to_me_class(2)}) {
        result.trace.step[0] = {class_id, 1};
        result.trace.step[1] = {me_class::mbsp, 1};
        gpon_fwd_info info = {me_class::none, 0, UP_ANI};
        gponDebugLevel = 3;
        EXPECT_FALSE(gpon_pkt_quick_forward(&skb, &info, &result));
        EXPECT_THAT(log_lines(), ElementsAre("***ERROR***[gpon_pkt_quick_forward][0] end, the "
                                             "classId(" +
                                             std::to_string(gpon::class_number(class_id)) +
                                             ") can not get the entry or without fwd_op."));
        EXPECT_EQ(info.classId, class_id);
    }
}

TEST_F(walk, a_replay_of_ten_steps_ends_without_an_end_mark)
{
    for (gpon_trace_step& learnt : result.trace.step)
        learnt = {me_class::mbsp, 1};
    gpon_fwd_info info = {me_class::none, 0, UP_ANI};
    gponDebugLevel = 3;
    EXPECT_TRUE(gpon_pkt_quick_forward(&skb, &info, &result));
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_EQ(result.ret_val, FLOW_PKT_FORWARD);
}

} // namespace

// SPDX-License-Identifier: GPL-2.0-only
// The bridge port: its links, its forward function on each side, its filter and VLAN operations.
#include "tests/unit/class_fixture.h"

extern "C" {
i32 mbpcd_attr_tp_type_op(gpon_me_cmd* cmd);
i32 mbpcd_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result);
}

namespace {

using gpon::test::command;
using gpon::test::recorded;
using testing::ElementsAre;

class bridge_port : public class_fixture {};

TEST_F(bridge_port, links_its_bridge_even_with_an_unknown_type)
{
    for (u16 type = 0; type <= 12; ++type) {
        const gpon_raw_mbpcd port = {
            .instID = 1, .bridgeID = 1, .tpType = static_cast<u8>(type), .tpPointer = 9};
        gpon_me_cmd cmd = command(CREATE, me_class::mbpcd, 1, &port);
        const bool known = type == 1 || type == 3 || type == 5 || type == 6 || type == 11;
        EXPECT_EQ(mbpcd_attr_tp_type_op(&cmd), known ? 0 : -1) << type;
    }
    gpon::test::create_bridge(7);
    create_port(0x55, 4);
    EXPECT_THAT(recorded(me_class::mbsp, 7, me_class::mbpcd), ElementsAre(0x55));
}

TEST_F(bridge_port, turns_frames_that_enter_the_bridge_and_forwards_those_that_leave_it)
{
    struct pass {
        u8 tp_type;
        u16 fwd_flag;
        i32 status;
        u16 turn;
    };
    for (const pass& p :
         {pass{1, UP_UNI, 3, 7}, pass{1, DOWN_UNI, 2, 0}, pass{1, UP_ANI, 1, 0},
          pass{11, UP_UNI, 3, 7}, pass{11, DOWN_UNI, 2, 0}, pass{11, DOWN_ANI, 1, 0},
          pass{3, UP_ANI, 2, 0}, pass{5, DOWN_ANI, 3, 7}, pass{6, DOWN_ANI, 3, 7},
          pass{5, UP_UNI, 1, 0}, pass{6, DOWN_UNI, 1, 0}}) {
        create_port(1, p.tp_type);
        result = {};
        EXPECT_EQ(forward(mbpcd_forward, me_class::mbpcd, 1, p.fwd_flag), 0);
        EXPECT_EQ(result.ret_val, p.status) << int{p.tp_type} << ' ' << p.fwd_flag;
        EXPECT_EQ(result.turn_inst_id, p.turn) << int{p.tp_type} << ' ' << p.fwd_flag;
    }
}

TEST_F(bridge_port, stops_every_packet_with_a_warning_if_it_has_no_side)
{
    gponDebugLevel = 2;
    for (const u8 type : u8s{0, 2, 4, 7, 8, 9, 10, 12, 255}) {
        create_port(1, type);
        log_lines();
        for (const u16 fwd_flag : u16s{UP_ANI, UP_UNI, DOWN_ANI, DOWN_UNI}) {
            EXPECT_EQ(forward(mbpcd_forward, me_class::mbpcd, 1, fwd_flag), 0);
            EXPECT_EQ(result.ret_val, FLOW_PKT_NOT_FORWARD);
            EXPECT_THAT(log_lines(),
                        ElementsAre("**WARNING**mbpcd_forward [0]: fwd_info->fwd_flag(" +
                                    std::to_string(fwd_flag) + "): Fail\r"));
        }
    }
}

TEST_F(bridge_port, fails_frames_in_both_directions_by_a_filter_on_the_uni_side)
{
    create_port(1, 1);
    create_filter(1);
    gponDebugLevel = 1;
    for (const u16 fwd_flag : u16s{UP_UNI, DOWN_UNI}) {
        log_lines();
        EXPECT_EQ(forward(mbpcd_forward, me_class::mbpcd, 1, fwd_flag), 0);
        EXPECT_EQ(result.ret_val, FLOW_PKT_NOT_FORWARD);
        EXPECT_THAT(log_lines(),
                    ElementsAre("***ERROR***[vtfd_filter_handle][0]: op_info->fwd_flag(" +
                                    std::to_string(fwd_flag) + "): Fail\r",
                                "***ERROR***[mbpcd_forward][0] end, vtfd_filter_handle fail."));
    }
}

TEST_F(bridge_port, runs_vlan_operations_before_the_filter_on_entry_and_after_it_on_exit)
{
    create_port(1, 5);
    create_filter(1);
    link(me_class::mbpcd, 1, me_class::vtocd, 4);
    link(me_class::mbpcd, 1, me_class::evtocd, 5);
    const std::string first = "***TRACE***[vtocd_operation][0]: Enter";
    const std::string second = "***TRACE***[evtocd_operation][0]: Enter";
    const std::string filter = "***TRACE***[vtfd_filter_handle][0]: enter";
    const auto order = [&](u16 fwd_flag) {
        gponDebugLevel = 4;
        log_lines();
        EXPECT_EQ(forward(mbpcd_forward, me_class::mbpcd, 1, fwd_flag), 0);
        std::vector<std::string> lines = log_lines();
        std::erase_if(lines, [&](const std::string& line) {
            return line != first && line != second && line != filter;
        });
        return lines;
    };
    EXPECT_THAT(order(DOWN_ANI), ElementsAre(first, second, filter));
    EXPECT_THAT(order(UP_ANI), ElementsAre(filter, first, second));
}

} // namespace

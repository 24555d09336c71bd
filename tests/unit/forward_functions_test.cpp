// SPDX-License-Identifier: GPL-2.0-only
// Common behaviour of the forward functions of all classes, and the exceptions.
#include "tests/unit/class_fixture.h"

#include "me_class/classes.h"
#include "me_class/gemctp_gem_port_network_ctp.h"
#include "me_class/gemiw_gem_interworking_tp.h"
#include "me_class/mapper_802_1p_service_profile.h"
#include "me_class/mbsp_mac_bridge_service_profile.h"
#include "me_class/multigemiw_multicast_gem_interworking_tp.h"
#include "me_class/pptp_ethernet_uni.h"
#include "me_class/veip_virtual_ethernet_interface_point.h"

extern "C" i32 mbpcd_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result);

namespace {

using testing::Contains;
using testing::ElementsAre;

using function = i32 (*)(sk_buff*, const gpon_fwd_info*, gpon_walk_result*);

const auto name_of = [](const auto& row) { return std::string(row.param.name); };

// ---- every class

struct function_row {
    const char* name;
    function forward;
    const char* prefix; // of its messages
    // Without the instance. A status of 9 was not written.
    i32 returned, status;
};

class forward_function : public class_fixture, public testing::WithParamInterface<function_row> {};

TEST_P(forward_function, reports_null_arguments)
{
    const gpon_fwd_info info = {me_class::mbsp, 1, UP_ANI};
    gponDebugLevel = 1;
    EXPECT_EQ(GetParam().forward(nullptr, &info, &result), -1);
    EXPECT_EQ(GetParam().forward(&skb, nullptr, &result), -1);
    EXPECT_EQ(GetParam().forward(&skb, &info, nullptr), -1);
    const std::string line =
        std::string("***ERROR***") + GetParam().prefix + ": Parameter is NULL: Fail\r";
    EXPECT_THAT(log_lines(), ElementsAre(line, line, line));
}

TEST_P(forward_function, ends_the_branch_or_fails_if_the_instance_is_absent)
{
    result.ret_val = 9;
    EXPECT_EQ(forward(GetParam().forward, me_class::none, 77, UP_ANI), GetParam().returned);
    EXPECT_EQ(result.ret_val, GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    of, forward_function,
    testing::Values(function_row{"mapper", mapper_forward, "mapper_forward [0]", 0,
                                 FLOW_PKT_NOT_FORWARD},
                    function_row{"gem", gem_forward, "[gem_forward][0]", 0, FLOW_PKT_NOT_FORWARD},
                    function_row{"multi_gem", multi_gem_forward, "multi_gem_forward [0]", 0,
                                 FLOW_PKT_NOT_FORWARD},
                    function_row{"pptp", pptp_forward, "pptp_forward [0]", 0, FLOW_PKT_NOT_FORWARD},
                    function_row{"veip", veip_forward, "veip_forward [0]", 0, FLOW_PKT_NOT_FORWARD},
                    function_row{"mbpcd", mbpcd_forward, "mbpcd_forward [0]", -1, 9},
                    function_row{"gem_ctp", gem_ctp_forward, "gem_ctp_forward [0]", -1, 9},
                    function_row{"mbsp", mbsp_forward, "mbsp_forward [0]", 0, FLOW_PKT_FORWARD}),
    name_of);

// ---- classes that refuse a direction

struct refused_direction {
    const char* name;
    function forward;
    const char* prefix;
    me_class class_id;
    u16 fwd_flag;
    i32 returned, status;
};

class wrong_direction : public class_fixture,
                        public testing::WithParamInterface<refused_direction> {};

TEST_P(wrong_direction, is_reported)
{
    const refused_direction& row = GetParam();
    create_one_of_each();
    gponDebugLevel = 1;
    log_lines();
    result.ret_val = 9;
    EXPECT_EQ(forward(row.forward, row.class_id, 1, row.fwd_flag), row.returned);
    EXPECT_EQ(result.ret_val, row.status);
    EXPECT_THAT(log_lines(),
                ElementsAre(std::string("***ERROR***") + row.prefix + ": fwd_info->fwd_flag(" +
                            std::to_string(row.fwd_flag) + "): Fail\r"));
}

INSTANTIATE_TEST_SUITE_P(
    of, wrong_direction,
    testing::Values(
        refused_direction{"mapper", mapper_forward, "mapper_forward [0]", me_class::mapper, 0, -1,
                          9},
        refused_direction{"gem", gem_forward, "[gem_forward][0]", me_class::gemiw, UP_UNI, 0, 1},
        refused_direction{"multi_gem", multi_gem_forward, "multi_gem_forward [0]",
                          me_class::multigemiw, UP_ANI, 0, 9},
        refused_direction{"pptp", pptp_forward, "pptp_forward [0]", me_class::pptp, UP_ANI, 0, 9},
        refused_direction{"veip", veip_forward, "veip_forward [0]", me_class::veip, DOWN_ANI, 0, 9},
        refused_direction{"gem_ctp", gem_ctp_forward, "gem_ctp_forward [0]", me_class::gemctp,
                          DOWN_ANI, 0, 1}),
    name_of);

// ---- classes with VLAN operations

struct operated_step {
    const char* name;
    function forward;
    me_class class_id;
    u16 fwd_flag;
};

class vlan_operations : public class_fixture, public testing::WithParamInterface<operated_step> {};

TEST_P(vlan_operations, run_in_the_step)
{
    const operated_step& row = GetParam();
    create_one_of_each();
    link(row.class_id, 1, me_class::vtocd, 2);
    link(row.class_id, 1, me_class::evtocd, 3);
    gponDebugLevel = 4;
    log_lines();
    EXPECT_EQ(forward(row.forward, row.class_id, 1, row.fwd_flag), 0);
    EXPECT_EQ(result.ret_val, FLOW_PKT_FORWARD);
    const std::vector<std::string> lines = log_lines();
    EXPECT_THAT(lines, Contains("***TRACE***[vtocd_operation][0]: Enter"));
    EXPECT_THAT(lines, Contains("***TRACE***[evtocd_operation][0]: Enter"));
}

INSTANTIATE_TEST_SUITE_P(
    of, vlan_operations,
    testing::Values(operated_step{"mapper", mapper_forward, me_class::mapper, UP_ANI},
                    operated_step{"gem", gem_forward, me_class::gemiw, DOWN_ANI},
                    operated_step{"multi_gem", multi_gem_forward, me_class::multigemiw, DOWN_ANI},
                    operated_step{"pptp", pptp_forward, me_class::pptp, UP_UNI},
                    operated_step{"veip", veip_forward, me_class::veip, DOWN_UNI}),
    name_of);

} // namespace

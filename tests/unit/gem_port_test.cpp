// SPDX-License-Identifier: GPL-2.0-only
// The GEM port network CTP: its pointers, its direction, and the lookups by GEM port.
#include "tests/unit/class_fixture.h"

#include "me/default_config.h"
#include "me_class/classes.h"
#include "me_class/gemctp_gem_port_network_ctp.h"
#include "me_class/gemiw_gem_interworking_tp.h"
#include "me_class/multigemiw_multicast_gem_interworking_tp.h"

extern "C" {
i32 gem_ctp_attr_tcont_op(gpon_me_cmd* cmd);
i32 gem_ctp_attr_pq_op(gpon_me_cmd* cmd);
}

namespace {

using gpon::test::command;
using gpon::test::recorded;
using testing::ElementsAre;
using testing::IsEmpty;

class gem_port : public class_fixture {};

TEST_F(gem_port, two_handlers_return_zero_for_missing_data)
{
    gpon_me_cmd cmd = command(CREATE, me_class::gemctp, 1, nullptr);
    gponDebugLevel = 1;
    EXPECT_EQ(gem_ctp_attr_tcont_op(&cmd), 0);
    EXPECT_EQ(gem_ctp_attr_pq_op(&cmd), 0);
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_EQ(gem_ctp_attr_tcont_op(nullptr), -1);
    EXPECT_EQ(gem_ctp_attr_pq_op(nullptr), -1);
    EXPECT_THAT(log_lines(), ElementsAre("***ERROR***[gem_ctp_attr_tcont_op][0]Parameter is Null.",
                                         "***ERROR***[gem_ctp_attr_pq_op][0]Parameter is Null."));
}

TEST_F(gem_port, a_pointer_of_zero_is_no_pointer)
{
    gpon_raw_gemctp ctp = {};
    ctp.instID = 1;
    create(me_class::gemctp, ctp);
    EXPECT_THAT(gpon::test::ids_of(gpon_tcont_list), IsEmpty());
    EXPECT_THAT(gpon::test::ids_of(gpon_pq_list), IsEmpty());
    ctp.tcontID = 0x8001;
    ctp.trafficMgrPtrUp = 5;
    create(me_class::gemctp, ctp);
    EXPECT_THAT(recorded(me_class::tcont, 0x8001, me_class::gemctp), ElementsAre(1));
    EXPECT_THAT(recorded(me_class::pq, 5, me_class::gemctp), ElementsAre(1));
}

TEST_F(gem_port, links_no_queue_under_rate_control)
{
    gpon_flow_cfg_data.traffic_mgmt_option = 1;
    gpon_raw_gemctp ctp = {};
    ctp.instID = 1;
    ctp.trafficMgrPtrUp = 5;
    create(me_class::gemctp, ctp);
    EXPECT_THAT(gpon::test::ids_of(gpon_pq_list), IsEmpty());
}

TEST_F(gem_port, attribute_seven_links_the_downstream_traffic_descriptor)
{
    for (const u16 id : u16s{1, 2})
        create(me_class::td, gpon_raw_td{.instID = id,
                                         .cir = 0,
                                         .pir = 0,
                                         .cbs = 0,
                                         .pbs = 0,
                                         .colourMode = 0,
                                         .ingressColourMode = 0,
                                         .egressColourMode = 0,
                                         .meterType = 0});
    gpon_raw_gemctp ctp = {};
    ctp.instID = 9;
    ctp.TDProPtrUp = 1;
    ctp.TDProPtrDown = 2;
    create(me_class::gemctp, ctp, 0x0200);
    EXPECT_THAT(recorded(me_class::td, 1, me_class::gemctp), IsEmpty());
    EXPECT_THAT(recorded(me_class::td, 2, me_class::gemctp), ElementsAre(9));
    create(me_class::gemctp, ctp, 0x0800);
    EXPECT_THAT(recorded(me_class::td, 1, me_class::gemctp), ElementsAre(9));
}

TEST_F(gem_port, ends_the_walk_unless_it_is_downstream_only)
{
    for (const u32 direction : {0u, 1u, 2u, 3u, 4u, 0x102u, 0xffffffffu}) {
        gpon_raw_gemctp ctp = {};
        ctp.instID = 1;
        ctp.portID = 1025;
        ctp.direction = direction;
        create(me_class::gemctp, ctp);
        result = {};
        result.gemport_id = 7;
        EXPECT_EQ(forward(gem_ctp_forward, me_class::gemctp, 1, UP_ANI), 0);
        const bool only_down = direction == 2;
        EXPECT_EQ(result.ret_val, only_down ? FLOW_PKT_NOT_FORWARD : FLOW_PKT_FORWARD_DONE)
            << direction;
        EXPECT_EQ(result.gemport_id, only_down ? 7 : 1025) << direction;
    }
}

TEST_F(gem_port, look_ups_return_the_first_match_and_log_no_miss)
{
    u16 id = 0xaaaa;
    gponDebugLevel = 3;
    EXPECT_EQ(gem_ctp_get_inst_id_by_gemport_id(5, &id), -1);
    EXPECT_EQ(gem_get_inst_id_by_gem_ctp(5, &id), -1);
    EXPECT_EQ(multi_gem_get_inst_id_by_gem_ctp(5, &id), -1);
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_EQ(id, 0xaaaa);
    gponDebugLevel = 0;
    for (const u16 inst : u16s{9, 8}) {
        gpon_raw_gemctp ctp = {};
        ctp.instID = inst;
        ctp.portID = 5;
        create(me_class::gemctp, ctp);
        create_gem_iw(inst, 5);
        create_multicast_gem_iw(inst, 5);
    }
    EXPECT_EQ(gem_ctp_get_inst_id_by_gemport_id(5, &id), 0);
    EXPECT_EQ(id, 9);
    EXPECT_EQ(gem_get_inst_id_by_gem_ctp(5, &id), 0);
    EXPECT_EQ(id, 9);
    EXPECT_EQ(multi_gem_get_inst_id_by_gem_ctp(5, &id), 0);
    EXPECT_EQ(id, 9);
}

} // namespace

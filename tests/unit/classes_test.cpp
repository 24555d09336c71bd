// SPDX-License-Identifier: GPL-2.0-only
// Attribute handlers, forward functions, filter, mapper and look-ups, called directly.
#include "tests/unit/store_access.h"

#include <array>

#include "me/default_config.h"
#include "me_class/classes.h"
#include "me_class/forward_step.h"
#include "me_class/gemctp_gem_port_network_ctp.h"
#include "me_class/gemiw_gem_interworking_tp.h"
#include "me_class/mapper_802_1p_service_profile.h"
#include "me_class/mapper_priority.h"
#include "me_class/mbsp_mac_bridge_service_profile.h"
#include "me_class/multigemiw_multicast_gem_interworking_tp.h"
#include "me_class/pptp_ethernet_uni.h"
#include "me_class/uni.h"
#include "me_class/veip_virtual_ethernet_interface_point.h"
#include "me_class/vtfd_vlan_tagging_filter_data.h"

extern "C" {
i32 mbpcd_attr_tp_type_op(gpon_me_cmd* cmd);
i32 mbpcd_attr_mbsp_op(gpon_me_cmd* cmd);
i32 mbpcd_forward(sk_buff* skb, const gpon_fwd_info* fwd_info, gpon_walk_result* result);
i32 gem_ctp_attr_tcont_op(gpon_me_cmd* cmd);
i32 gem_ctp_attr_pq_op(gpon_me_cmd* cmd);
i32 gem_ctp_attr_up_td_op(gpon_me_cmd* cmd);
i32 gem_ctp_attr_down_td_op(gpon_me_cmd* cmd);
i32 gem_attr_gem_ctp_op(gpon_me_cmd* cmd);
i32 multi_gem_attr_gem_ctp_op(gpon_me_cmd* cmd);
i32 pq_attr_tcont_op(gpon_me_cmd* cmd);
i32 pq_attr_pptp_op(gpon_me_cmd* cmd);
i32 pq_attr_ts_op(gpon_me_cmd* cmd);
i32 pq_fill_raw_data(void* raw);
i32 vtfd_attr_exist_op(gpon_me_cmd* cmd);
}

namespace {

using gpon::test::apply;
using gpon::test::command;
using gpon::test::recorded;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr u8 CREATE = ZR_OMCI_MSG_TYPE_CREAT;

class Classes : public loaded_module {
protected:
    Classes()
    {
        skb.data = frame.data();
        skb.bytes = static_cast<u32>(frame.size());
    }

    template <typename Raw> void create(u16 class_id, const Raw& raw, u16 mask = 0xffff)
    {
        EXPECT_EQ(apply(CREATE, class_id, raw.instID, &raw, mask), 0);
    }

    void create_gem_iw(u16 id, u16 ctp = 1)
    {
        create(266, gpon_raw_gemiw{.instID = id, .gemCTPInstID = ctp});
    }

    void create_port(u16 id, u8 tp_type, u16 pointer = 1)
    {
        create(47, gpon_raw_mbpcd{
                       .instID = id, .bridgeID = 7, .tpType = tp_type, .tpPointer = pointer});
    }

    // Ties an operation of class 78 or 171 to an instance; no command can.
    void link(u16 holder_class, u16 holder, u16 class_id, u16 id)
    {
        gpon_me_inst* inst =
            gpon::find_inst(gpon::mirrored_class(holder_class)->list_info->head, holder);
        gpon_me_related_info* row = gpon::find_row(inst->related, class_id);
        gpon::store_related_id(row->related_ids[0], {.instExist = 1, .instId = id});
    }

    using forward_function = i32 (*)(sk_buff*, const gpon_fwd_info*, gpon_walk_result*);

    i32 forward(forward_function function, u16 class_id, u16 id, u16 fwd_flag)
    {
        const gpon_fwd_info info = {class_id, id, fwd_flag};
        const gpon::rcu_reader reader;
        gpon::test::forget_found(result);
        return function(&skb, &info, &result);
    }

    std::array<u8, 60> frame = {2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2, 8};
    sk_buff skb;
    gpon_walk_result result = {};
};

// ---- attribute handlers

TEST_F(Classes, HandlersReportNullRecordsAndNullData)
{
    using handler = i32 (*)(gpon_me_cmd*);
    const std::pair<const char*, handler> handlers[] = {
        {"mapper_attr_tp_type_op", mapper_attr_tp_type_op},
        {"mapper_attr_gem_iw_tp_pbit", mapper_attr_gem_iw_tp_pbit},
        {"mbpcd_attr_tp_type_op", mbpcd_attr_tp_type_op},
        {"mbpcd_attr_mbsp_op", mbpcd_attr_mbsp_op},
        {"gem_ctp_attr_up_td_op", gem_ctp_attr_up_td_op},
        {"gem_ctp_attr_down_td_op", gem_ctp_attr_down_td_op},
        {"gem_attr_gem_ctp_op", gem_attr_gem_ctp_op},
        {"multi_gem_attr_gem_ctp_op", multi_gem_attr_gem_ctp_op},
        {"pq_attr_tcont_op", pq_attr_tcont_op},
        {"pq_attr_pptp_op", pq_attr_pptp_op},
        {"pq_attr_ts_op", pq_attr_ts_op},
        {"vtfd_attr_exist_op", vtfd_attr_exist_op},
    };
    gponDebugLevel = 5;
    for (const auto& [name, handle] : handlers) {
        gpon_me_cmd cmd = command(CREATE, 1, 1, nullptr);
        EXPECT_EQ(handle(nullptr), -1);
        EXPECT_EQ(handle(&cmd), -1);
        const std::string enter = std::string("***TRACE***[") + name + "][0]: Enter";
        const std::string null = std::string("***ERROR***[") + name + "][0]Parameter is Null.";
        EXPECT_THAT(log_lines(), ElementsAre(enter, null, enter, null));
    }
}

TEST_F(Classes, TwoGemCtpHandlersAnswerMissingDataWithZero)
{
    gpon_me_cmd cmd = command(CREATE, 268, 1, nullptr);
    gponDebugLevel = 1;
    EXPECT_EQ(gem_ctp_attr_tcont_op(&cmd), 0);
    EXPECT_EQ(gem_ctp_attr_pq_op(&cmd), 0);
    EXPECT_THAT(log_lines(), IsEmpty());
    EXPECT_EQ(gem_ctp_attr_tcont_op(nullptr), -1);
    EXPECT_EQ(gem_ctp_attr_pq_op(nullptr), -1);
    EXPECT_THAT(log_lines(), ElementsAre("***ERROR***[gem_ctp_attr_tcont_op][0]Parameter is Null.",
                                         "***ERROR***[gem_ctp_attr_pq_op][0]Parameter is Null."));
}

TEST_F(Classes, AMapperSetOfAttributeFiveLinksPriorityThreeAlone)
{
    for (u16 i = 0; i < 8; ++i)
        create_gem_iw(static_cast<u16>(0x10 + i));
    gpon_raw_mapper mapper = {};
    mapper.instID = 1;
    for (u16 i = 0; i < 8; ++i)
        mapper.pbit_GemIWTP[i] = static_cast<u16>(0x10 + i);
    EXPECT_EQ(apply(ZR_OMCI_MSG_TYPE_SET, 130, 1, &mapper, 0x0800), 0);
    for (u16 i = 0; i < 8; ++i)
        EXPECT_EQ(recorded(266, static_cast<u16>(0x10 + i), 130).size(), i == 3 ? 1u : 0u) << i;
}

TEST_F(Classes, AMapperWithoutAnyPointerReportsNothing)
{
    create_gem_iw(0xffff);
    gpon_raw_mapper mapper = {};
    mapper.instID = 1;
    for (u16& pointer : mapper.pbit_GemIWTP)
        pointer = 0xffff;
    gpon_me_cmd cmd = command(CREATE, 130, 1, &mapper);
    gponDebugLevel = 4;
    log_lines();
    EXPECT_EQ(mapper_attr_gem_iw_tp_pbit(&cmd), 0);
    EXPECT_THAT(log_lines(), ElementsAre("***TRACE***[mapper_attr_gem_iw_tp_pbit][0]: Enter"));
    EXPECT_THAT(recorded(266, 0xffff, 130), IsEmpty());
}

TEST_F(Classes, AMappersFirstFailedLinkEndsItsReports)
{
    for (const u16 id : u16s{0x11, 0x12, 0x13})
        create_gem_iw(id);
    gpon_raw_mapper mapper = {};
    mapper.instID = 1;
    mapper.pbit_GemIWTP[0] = 0x11;
    mapper.pbit_GemIWTP[1] = 0x12;
    mapper.pbit_GemIWTP[2] = 0x13;
    gpon_me_cmd cmd = command(CREATE, 130, 1, &mapper, 0x7000);
    gponDebugLevel = 1;
    log_lines();
    gpon::host::arm_fault(gpon::host::fault::alloc, 2);
    EXPECT_EQ(mapper_attr_gem_iw_tp_pbit(&cmd), -1);
    EXPECT_THAT(log_lines(), Contains("***ERROR***[mapper_attr_gem_iw_tp_pbit][0]: "
                                      "gpon_flow_me_general_update fail,index = 1."));
    EXPECT_THAT(recorded(266, 0x11, 130), ElementsAre(1));
    EXPECT_THAT(recorded(266, 0x12, 130), IsEmpty());
    EXPECT_THAT(recorded(266, 0x13, 130), IsEmpty());
}

TEST_F(Classes, AMapperLinksToPptpAndVeipAlone)
{
    gpon_raw_mapper mapper = {};
    mapper.instID = 1;
    mapper.tpPointer = 0x101;
    for (u16 type = 0; type <= 12; ++type) {
        mapper.tpType = static_cast<u8>(type);
        gpon_me_cmd cmd = command(CREATE, 130, 1, &mapper);
        EXPECT_EQ(mapper_attr_tp_type_op(&cmd), type == 1 || type == 7 ? 0 : -1) << type;
    }
    EXPECT_THAT(recorded(11, 0x101, 130), ElementsAre(1));
    EXPECT_THAT(recorded(329, 0x101, 130), ElementsAre(1));
}

TEST_F(Classes, ABridgePortOfAnotherTypeStillLinksItsBridge)
{
    for (u16 type = 0; type <= 12; ++type) {
        const gpon_raw_mbpcd port = {
            .instID = 1, .bridgeID = 1, .tpType = static_cast<u8>(type), .tpPointer = 9};
        gpon_me_cmd cmd = command(CREATE, 47, 1, &port);
        const bool known = type == 1 || type == 3 || type == 5 || type == 6 || type == 11;
        EXPECT_EQ(mbpcd_attr_tp_type_op(&cmd), known ? 0 : -1) << type;
    }
    gpon::test::create_bridge(7);
    create_port(0x55, 4);
    EXPECT_THAT(recorded(45, 7, 47), ElementsAre(0x55));
}

TEST_F(Classes, GemCtpPointersOfZeroAreNone)
{
    gpon_raw_gemctp ctp = {};
    ctp.instID = 1;
    create(268, ctp);
    EXPECT_THAT(gpon::test::ids_of(gpon_tcont_list), IsEmpty());
    EXPECT_THAT(gpon::test::ids_of(gpon_pq_list), IsEmpty());
    ctp.tcontID = 0x8001;
    ctp.trafficMgrPtrUp = 5;
    create(268, ctp);
    EXPECT_THAT(recorded(262, 0x8001, 268), ElementsAre(1));
    EXPECT_THAT(recorded(277, 5, 268), ElementsAre(1));
}

TEST_F(Classes, ARateControlledGemCtpLinksNoQueue)
{
    gpon_flow_cfg_data.traffic_mgmt_option = 1;
    gpon_raw_gemctp ctp = {};
    ctp.instID = 1;
    ctp.trafficMgrPtrUp = 5;
    create(268, ctp);
    EXPECT_THAT(gpon::test::ids_of(gpon_pq_list), IsEmpty());
}

TEST_F(Classes, AttributeSevenLinksTheDownstreamTrafficDescriptor)
{
    for (const u16 id : u16s{1, 2})
        create(280, gpon_raw_td{.instID = id,
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
    create(268, ctp, 0x0200);
    EXPECT_THAT(recorded(280, 1, 268), IsEmpty());
    EXPECT_THAT(recorded(280, 2, 268), ElementsAre(9));
    create(268, ctp, 0x0800);
    EXPECT_THAT(recorded(280, 1, 268), ElementsAre(9));
}

TEST_F(Classes, AQueueBelongsToATContFromTheBoundaryOn)
{
    gpon_flow_cfg_data.related_port_boundary = 0x80000000;
    gpon_raw_pq queue = {.instID = 3, .relatedPort = 0x80000000, .tsPointer = 0, .weight = 0};
    create(277, queue, 0x0400);
    EXPECT_THAT(recorded(262, 0x8000, 277), ElementsAre(3));
    EXPECT_THAT(gpon::test::ids_of(gpon_pptp_uni_list), IsEmpty());
    queue.relatedPort = 0x7fffffff;
    create(277, queue, 0x0400);
    EXPECT_THAT(recorded(11, 0x7fff, 277), ElementsAre(3));
}

TEST_F(Classes, AQueueMadeByTheModuleDerivesItsPortFromItsId)
{
    EXPECT_EQ(pq_fill_raw_data(nullptr), -1);
    gpon_flow_cfg_data.upstream_queue_num = 16;
    gpon_flow_cfg_data.queues_per_tcont = 8;
    gpon_flow_cfg_data.tcont_base = 0x8000;
    gpon_flow_cfg_data.downstream_queue_base = 16;
    gpon_flow_cfg_data.queues_per_uni = 4;
    gpon_flow_cfg_data.default_ts_pointer = 0x8009;
    gpon_flow_cfg_data.default_weight = 3;
    const auto port_of = [](u16 id) {
        gpon_raw_pq queue = {.instID = id, .relatedPort = 0, .tsPointer = 0, .weight = 0};
        EXPECT_EQ(pq_fill_raw_data(&queue), 0);
        EXPECT_EQ(queue.tsPointer, 0x8009);
        EXPECT_EQ(queue.weight, 3);
        return queue.relatedPort;
    };
    EXPECT_EQ(port_of(0), 0x80010000u);
    EXPECT_EQ(port_of(15), 0x80020007u);
    EXPECT_EQ(port_of(16), 0x00100007u);
    EXPECT_EQ(port_of(23), 0x00110004u);
    gpon_flow_cfg_data.queues_per_tcont = 0;
    gpon_flow_cfg_data.queues_per_uni = 0;
    EXPECT_EQ(port_of(5), 0x80010005u);
    EXPECT_EQ(port_of(17), 0x00100006u);
}

// ---- forward functions

TEST_F(Classes, ForwardFunctionsReportNullArguments)
{
    const std::tuple<const char*, forward_function, const char*> functions[] = {
        {"mapper_forward", mapper_forward, "mapper_forward [0]"},
        {"mbpcd_forward", mbpcd_forward, "mbpcd_forward [0]"},
        {"gem_forward", gem_forward, "[gem_forward][0]"},
        {"multi_gem_forward", multi_gem_forward, "multi_gem_forward [0]"},
        {"pptp_forward", pptp_forward, "pptp_forward [0]"},
        {"veip_forward", veip_forward, "veip_forward [0]"},
        {"gem_ctp_forward", gem_ctp_forward, "gem_ctp_forward [0]"},
        {"mbsp_forward", mbsp_forward, "mbsp_forward [0]"},
    };
    const gpon_fwd_info info = {45, 1, UP_ANI};
    gponDebugLevel = 1;
    for (const auto& [name, function, prefix] : functions) {
        EXPECT_EQ(function(nullptr, &info, &result), -1) << name;
        EXPECT_EQ(function(&skb, nullptr, &result), -1) << name;
        EXPECT_EQ(function(&skb, &info, nullptr), -1) << name;
        const std::string line =
            std::string("***ERROR***") + prefix + ": Parameter is NULL: Fail\r";
        EXPECT_THAT(log_lines(), ElementsAre(line, line, line));
    }
}

TEST_F(Classes, AnAbsentInstanceEndsTheBranchButForPortAndCtp)
{
    for (const forward_function function :
         {mapper_forward, gem_forward, multi_gem_forward, pptp_forward, veip_forward}) {
        result.ret_val = 0;
        EXPECT_EQ(forward(function, 0, 77, UP_ANI), 0);
        EXPECT_EQ(result.ret_val, FLOW_PKT_NOT_FORWARD);
    }
    result.ret_val = 0;
    EXPECT_EQ(forward(mbpcd_forward, 47, 77, UP_ANI), -1);
    EXPECT_EQ(forward(gem_ctp_forward, 268, 77, UP_ANI), -1);
    EXPECT_EQ(result.ret_val, 0);
    EXPECT_EQ(forward(mbsp_forward, 45, 77, UP_ANI), 0);
    EXPECT_EQ(result.ret_val, FLOW_PKT_FORWARD);
}

TEST_F(Classes, WrongDirectionsAreToldAndLeaveTheStatusAsEachClassDoes)
{
    gpon_raw_mapper mapper = {};
    mapper.instID = 1;
    create(130, mapper);
    create_gem_iw(1);
    create(281, gpon_raw_multigemiw{.instID = 1, .GemCTPInstID = 1});
    create(11, gpon_raw_pptp{.instID = 1});
    create(329, gpon_raw_veip{.instID = 1});
    create(268, gpon_raw_gemctp{.instID = 1,
                                .portID = 5,
                                .tcontID = 0,
                                .direction = 3,
                                .trafficMgrPtrUp = 0,
                                .TDProPtrUp = 0,
                                .TDProPtrDown = 0});
    struct wrong {
        forward_function function;
        u16 class_id, fwd_flag;
        i32 answer, status;
        std::string prefix;
    };
    gponDebugLevel = 1;
    log_lines();
    for (const wrong& w : {wrong{mapper_forward, 130, 0, -1, 9, "mapper_forward [0]"},
                           wrong{gem_forward, 266, UP_UNI, 0, 1, "[gem_forward][0]"},
                           wrong{multi_gem_forward, 281, UP_ANI, 0, 9, "multi_gem_forward [0]"},
                           wrong{pptp_forward, 11, UP_ANI, 0, 9, "pptp_forward [0]"},
                           wrong{veip_forward, 329, DOWN_ANI, 0, 9, "veip_forward [0]"},
                           wrong{gem_ctp_forward, 268, DOWN_ANI, 0, 1, "gem_ctp_forward [0]"}}) {
        result.ret_val = 9;
        EXPECT_EQ(forward(w.function, w.class_id, 1, w.fwd_flag), w.answer) << w.prefix;
        EXPECT_EQ(result.ret_val, w.status) << w.prefix;
        EXPECT_THAT(log_lines(), ElementsAre("***ERROR***" + w.prefix + ": fwd_info->fwd_flag(" +
                                             std::to_string(w.fwd_flag) + "): Fail\r"));
    }
}

TEST_F(Classes, AGemCtpIsTheWayOutUnlessItOnlyCarriesFramesDown)
{
    for (const u32 direction : {0u, 1u, 2u, 3u, 4u, 0x102u, 0xffffffffu}) {
        gpon_raw_gemctp ctp = {};
        ctp.instID = 1;
        ctp.portID = 1025;
        ctp.direction = direction;
        create(268, ctp);
        result = {};
        result.gemport_id = 7;
        EXPECT_EQ(forward(gem_ctp_forward, 268, 1, UP_ANI), 0);
        const bool only_down = direction == 2;
        EXPECT_EQ(result.ret_val, only_down ? FLOW_PKT_NOT_FORWARD : FLOW_PKT_FORWARD_DONE)
            << direction;
        EXPECT_EQ(result.gemport_id, only_down ? 7 : 1025) << direction;
    }
}

TEST_F(Classes, AMapperWritesItsIdAtTheTurningPointGoingUpFromTheUniAlone)
{
    gpon_raw_mapper mapper = {};
    mapper.instID = 0x77;
    create(130, mapper);
    for (const u16 fwd_flag : u16s{UP_ANI, DOWN_ANI, DOWN_UNI, UP_UNI}) {
        EXPECT_EQ(result.turn_inst_id, 0);
        EXPECT_EQ(forward(mapper_forward, 130, 0x77, fwd_flag), 0);
        EXPECT_EQ(result.ret_val, FLOW_PKT_FORWARD);
    }
    EXPECT_EQ(result.turn_inst_id, 0x77);
}

TEST_F(Classes, ABridgePortTurnsEnteringTheBridgeAndGoesOnLeavingIt)
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
        EXPECT_EQ(forward(mbpcd_forward, 47, 1, p.fwd_flag), 0);
        EXPECT_EQ(result.ret_val, p.status) << int{p.tp_type} << ' ' << p.fwd_flag;
        EXPECT_EQ(result.turn_inst_id, p.turn) << int{p.tp_type} << ' ' << p.fwd_flag;
    }
}

TEST_F(Classes, ABridgePortOfNoSideStopsEveryPacketWithAWarning)
{
    gponDebugLevel = 2;
    for (const u8 type : u8s{0, 2, 4, 7, 8, 9, 10, 12, 255}) {
        create_port(1, type);
        log_lines();
        for (const u16 fwd_flag : u16s{UP_ANI, UP_UNI, DOWN_ANI, DOWN_UNI}) {
            EXPECT_EQ(forward(mbpcd_forward, 47, 1, fwd_flag), 0);
            EXPECT_EQ(result.ret_val, FLOW_PKT_NOT_FORWARD);
            EXPECT_THAT(log_lines(),
                        ElementsAre("**WARNING**mbpcd_forward [0]: fwd_info->fwd_flag(" +
                                    std::to_string(fwd_flag) + "): Fail\r"));
        }
    }
}

TEST_F(Classes, AFilterOnAUniSidePortFailsFramesInBothDirections)
{
    create_port(1, 1);
    create(84, gpon_raw_vtfd{
                   .instID = 1, .vlanFilterList = {}, .forwardOperation = 0, .vlanFilterNums = 0});
    gponDebugLevel = 1;
    for (const u16 fwd_flag : u16s{UP_UNI, DOWN_UNI}) {
        log_lines();
        EXPECT_EQ(forward(mbpcd_forward, 47, 1, fwd_flag), 0);
        EXPECT_EQ(result.ret_val, FLOW_PKT_NOT_FORWARD);
        EXPECT_THAT(log_lines(),
                    ElementsAre("***ERROR***[vtfd_filter_handle][0]: op_info->fwd_flag(" +
                                    std::to_string(fwd_flag) + "): Fail\r",
                                "***ERROR***[mbpcd_forward][0] end, vtfd_filter_handle fail."));
    }
}

TEST_F(Classes, VlanOperationsRunBeforeTheFilterGoingInAndBehindItGoingOut)
{
    create_port(1, 5);
    create(84, gpon_raw_vtfd{
                   .instID = 1, .vlanFilterList = {}, .forwardOperation = 0, .vlanFilterNums = 0});
    link(47, 1, 78, 4);
    link(47, 1, 171, 5);
    const std::string first = "***TRACE***[vtocd_operation][0]: Enter";
    const std::string second = "***TRACE***[evtocd_operation][0]: Enter";
    const std::string filter = "***TRACE***[vtfd_filter_handle][0]: enter";
    const auto order = [&](u16 fwd_flag) {
        gponDebugLevel = 4;
        log_lines();
        EXPECT_EQ(forward(mbpcd_forward, 47, 1, fwd_flag), 0);
        std::vector<std::string> lines = log_lines();
        std::erase_if(lines, [&](const std::string& line) {
            return line != first && line != second && line != filter;
        });
        return lines;
    };
    EXPECT_THAT(order(DOWN_ANI), ElementsAre(first, second, filter));
    EXPECT_THAT(order(UP_ANI), ElementsAre(filter, first, second));
}

TEST_F(Classes, EveryWalkableClassRunsItsVlanOperations)
{
    gpon_raw_mapper mapper = {};
    mapper.instID = 1;
    create(130, mapper);
    create_gem_iw(1);
    create(281, gpon_raw_multigemiw{.instID = 1, .GemCTPInstID = 1});
    create(11, gpon_raw_pptp{.instID = 1});
    create(329, gpon_raw_veip{.instID = 1});
    const std::tuple<forward_function, u16, u16> steps[] = {{mapper_forward, 130, UP_ANI},
                                                            {gem_forward, 266, DOWN_ANI},
                                                            {multi_gem_forward, 281, DOWN_ANI},
                                                            {pptp_forward, 11, UP_UNI},
                                                            {veip_forward, 329, DOWN_UNI}};
    for (const auto& [function, class_id, fwd_flag] : steps) {
        link(class_id, 1, 78, 2);
        link(class_id, 1, 171, 3);
        gponDebugLevel = 4;
        log_lines();
        EXPECT_EQ(forward(function, class_id, 1, fwd_flag), 0);
        EXPECT_EQ(result.ret_val, FLOW_PKT_FORWARD);
        const std::vector<std::string> lines = log_lines();
        EXPECT_THAT(lines, Contains("***TRACE***[vtocd_operation][0]: Enter"));
        EXPECT_THAT(lines, Contains("***TRACE***[evtocd_operation][0]: Enter"));
        gponDebugLevel = 0;
    }
}

// ---- filter and mapper

TEST_F(Classes, FilterAndMapperReportNullArguments)
{
    const op_info op = {1, 1, UP_ANI};
    gponDebugLevel = 1;
    EXPECT_EQ(vtfd_filter_handle(nullptr, &op), -1);
    EXPECT_EQ(vtfd_filter_handle(&skb, nullptr), -1);
    EXPECT_EQ(pbit_filter_handle(nullptr, &op), -1);
    EXPECT_EQ(pbit_filter_handle(&skb, nullptr), -1);
    EXPECT_EQ(vtfd_action_h(1, nullptr, 0xfff), -1);
    EXPECT_EQ(vtfd_action_g(1, nullptr, 0xfff), -1);
    const std::string filter = "***ERROR***[vtfd_filter_handle][0]: Parameter is NULL: Fail\r";
    const std::string mapper = "***ERROR***[pbit_filter_handle][0]: Parameter is NULL: Fail\r";
    EXPECT_THAT(log_lines(),
                ElementsAre(filter, filter, mapper, mapper,
                            "***ERROR***[vtfd_action_h][0]: Parameter is NULL: Fail\r",
                            "***ERROR***vtfd_action_g [0]: Parameter is NULL: Fail\r"));
}

TEST_F(Classes, AnAbsentFilterOrMapperFailsWithoutAWord)
{
    const op_info op = {1, 1, UP_ANI};
    gponDebugLevel = 3;
    EXPECT_EQ(vtfd_filter_handle(&skb, &op), -1);
    EXPECT_EQ(pbit_filter_handle(&skb, &op), -1);
    EXPECT_THAT(log_lines(), IsEmpty());
}

TEST_F(Classes, AMapperSelectsUpstreamAlone)
{
    gpon_raw_mapper mapper = {};
    mapper.instID = 1;
    create(130, mapper);
    gponDebugLevel = 1;
    log_lines();
    for (const u16 fwd_flag : u16s{UP_UNI, DOWN_ANI, DOWN_UNI}) {
        const op_info op = {1, 1, fwd_flag};
        EXPECT_EQ(pbit_filter_handle(&skb, &op), -1);
        EXPECT_THAT(log_lines(),
                    ElementsAre("***ERROR***[pbit_filter_handle][0]: op_info->fwd_flag(" +
                                std::to_string(fwd_flag) + "): Fail\r"));
    }
}

TEST_F(Classes, EachDscpReadsItsOwnThreeBitsOfTheMap)
{
    for (u16 i = 1; i <= 2; ++i)
        create_gem_iw(i);
    for (u8 wanted = 0; wanted < 64; ++wanted) {
        gpon_raw_mapper mapper = {};
        mapper.instID = 1;
        mapper.pbit_GemIWTP[0] = 1;
        mapper.pbit_GemIWTP[5] = 2;
        for (int bit = 0; bit < 3; ++bit)
            if (5 & (4 >> bit))
                mapper.dscp2pbitMap[(3 * wanted + bit) / 8] |=
                    static_cast<u8>(0x80 >> ((3 * wanted + bit) % 8));
        create(130, mapper, 0);
        for (u8 dscp = 0; dscp < 64; ++dscp) {
            frame[12] = 0x00;
            frame[13] = 0x08;
            frame[14] = 0x45;
            frame[15] = static_cast<u8>(dscp << 2);
            const op_info op = {static_cast<u16>(dscp == wanted ? 2 : 1), 1, UP_ANI};
            EXPECT_EQ(pbit_filter_handle(&skb, &op), 0) << int{wanted} << ' ' << int{dscp};
        }
    }
}

// ---- look-ups

TEST_F(Classes, AUniIsFoundByTheLowByteOfItsIdFirstInListOrder)
{
    u16 id = 0xaaaa;
    gponDebugLevel = 1;
    EXPECT_EQ(pptp_get_inst_id_by_port_id(1, &id), -1);
    EXPECT_EQ(veip_get_inst_id_by_port_id(200, &id), -1);
    EXPECT_THAT(log_lines(), ElementsAre("***ERROR***pptp not found,port_id = 1",
                                         "***ERROR***VEIP not found,port_id = 200"));
    EXPECT_EQ(id, 0xaaaa);
    for (const u16 uni : u16s{0x0101, 0x0201, 0x0302}) {
        create(11, gpon_raw_pptp{.instID = uni});
        create(329, gpon_raw_veip{.instID = uni});
    }
    EXPECT_EQ(pptp_get_inst_id_by_port_id(1, &id), 0);
    EXPECT_EQ(id, 0x0101);
    EXPECT_EQ(veip_get_inst_id_by_port_id(2, &id), 0);
    EXPECT_EQ(id, 0x0302);
}

TEST_F(Classes, GemLookUpsAnswerTheFirstMatchOrNothingSilently)
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
        create(268, ctp);
        create_gem_iw(inst, 5);
        create(281, gpon_raw_multigemiw{.instID = inst, .GemCTPInstID = 5});
    }
    EXPECT_EQ(gem_ctp_get_inst_id_by_gemport_id(5, &id), 0);
    EXPECT_EQ(id, 9);
    EXPECT_EQ(gem_get_inst_id_by_gem_ctp(5, &id), 0);
    EXPECT_EQ(id, 9);
    EXPECT_EQ(multi_gem_get_inst_id_by_gem_ctp(5, &id), 0);
    EXPECT_EQ(id, 9);
}

TEST_F(Classes, BridgesAreListedInListOrder)
{
    u32 count = 99;
    gponDebugLevel = 1;
    EXPECT_EQ(get_mbsp_list_inst_id(nullptr), nullptr);
    EXPECT_EQ(get_mbsp_list_inst_id(&count), nullptr);
    EXPECT_EQ(count, 0u);
    EXPECT_THAT(log_lines(),
                ElementsAre("***ERROR***[get_mbsp_list_inst_id][0] arraySize is a NULL poniter\r",
                            "***ERROR***[get_mbsp_list_inst_id][0] mbspInstNum == 0\r"));
    for (const u16 id : u16s{5, 3, 4})
        gpon::test::create_bridge(id);
    EXPECT_EQ(get_mbsp_list_inst_num(), 3);
    log_lines();
    gpon::host::arm_fault(gpon::host::fault::alloc);
    EXPECT_EQ(get_mbsp_list_inst_id(&count), nullptr);
    EXPECT_THAT(log_lines(), ElementsAre("***ERROR***[get_mbsp_list_inst_id][0] kzalloc fail\r"));
    u16* ids = get_mbsp_list_inst_id(&count);
    ASSERT_NE(ids, nullptr);
    EXPECT_EQ(count, 3u);
    EXPECT_EQ(ids[0], 5);
    EXPECT_EQ(ids[1], 3);
    EXPECT_EQ(ids[2], 4);
    kfree(ids);
}

} // namespace

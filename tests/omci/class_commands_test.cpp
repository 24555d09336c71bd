// SPDX-License-Identifier: GPL-2.0-only
// Conversion of create, set and delete of each mirrored class to commands.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/omci/line_builder.h"
#include "tool/model/class_records.h"

namespace gponflow::omci::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

struct request {
    uint8_t type;
    std::string_view content;
};

// The requests to one instance of a class, and the commands that they become.
struct class_session {
    const char* name;
    uint16_t class_id, instance;
    std::vector<request> requests;
    std::vector<std::string> commands;
};

class omci_class : public testing::TestWithParam<class_session> {};

TEST_P(omci_class, becomes_commands_with_its_fields)
{
    line session;
    for (const request& each : GetParam().requests)
        session.done(each.type, GetParam().class_id, GetParam().instance, each.content);
    EXPECT_THAT(session.commands(), ElementsAreArray(GetParam().commands));
}

const std::string FILTER_LIST = "0x0064,0xe0c8,0x0fff,0x0000,0x0000,0x0000,0x0000,0x0000,0x0000,"
                                "0x0000,0x0000,0x0001";
const std::string DSCP_MAP = " dscp2pbitMap=0000002492494924926db6db924924b6db6ddb6db6ffffff";
const std::string POINTERS = "0x0001,0xffff,0x0003,0x0004,0xffff,0xffff,0xffff,0x0008";

const class_session SESSIONS[] = {
    {"mac_bridge_service_profile",
     45,
     1,
     {
         {create, "00 01 01 8000 1400 0200 0f00 00 ff 0000012c"},
         {set, "2440 00 0300 00000000"},
         {delete_me, ""},
     },
     {"me create MAC_BRIDGE_SERVICE_PROFILE 0x0001 mask=0xffc0 "
      "uniBridgingEnable=1 helloTime=512 dynFilterAgingTime=300",
      "me set MAC_BRIDGE_SERVICE_PROFILE 0x0001 mask=0x2440 "
      "uniBridgingEnable=0 helloTime=768 dynFilterAgingTime=0",
      "me delete MAC_BRIDGE_SERVICE_PROFILE 0x0001"}},
    {"mac_bridge_port_configuration_data",
     47,
     0x0201,
     {
         {create, "0001 02 05 0003 0000 0001 00 00 00 00"},
         {set, "3000 03 0007"},
         {set, "0820 0009 0005"}, // priority, outbound descriptor
         {delete_me, ""},
     },
     {"me create MAC_BRIDGE_PORT_CON_DATA 0x0201 mask=0xff88 "
      "bridgeID=0x0001 tpType=5 tpPointer=0x0003",
      "me set MAC_BRIDGE_PORT_CON_DATA 0x0201 mask=0x3000 "
      "bridgeID=0x0001 tpType=3 tpPointer=0x0007",
      "me set MAC_BRIDGE_PORT_CON_DATA 0x0201 mask=0x0820 "
      "bridgeID=0x0001 tpType=3 tpPointer=0x0007",
      "me delete MAC_BRIDGE_PORT_CON_DATA 0x0201"}},
    {"vlan_tagging_filter_data",
     84,
     2,
     {
         {create, "0064 e0c8 0fff 0000 0000 0000 0000 0000 0000 0000 0000 0001 10 0c"},
         {set, "6000 03 02"},
         {delete_me, ""},
     },
     {"me create VLAN_TAG_FILTER_DATA 0x0002 mask=0xe000 vlanFilterList=" + FILTER_LIST +
          " forwardOperation=0x10 vlanFilterNums=12",
      "me set VLAN_TAG_FILTER_DATA 0x0002 mask=0x6000 vlanFilterList=" + FILTER_LIST +
          " forwardOperation=0x03 vlanFilterNums=2",
      "me delete VLAN_TAG_FILTER_DATA 0x0002"}},
    {"mapper_service_profile",
     130,
     1,
     {
         {create, "0101 0001 ffff 0003 ffff ffff ffff ffff 0008 00 07 01"},
         {set, "0800 0004"}, // priority 3 only
         {set, "0020 000000 249249 492492 6db6db 924924 b6db6d db6db6 ffffff"},
         {set, "0050 01 05"},
         {delete_me, ""},
     },
     {"me create 802_1P_MAPPER 0x0001 mask=0xffd8 tpPointer=0x0101 "
      "pbit_GemIWTP=0x0001,0xffff,0x0003,0xffff,0xffff,0xffff,0xffff,0x0008 "
      "unmark_frame_opt=0 defaultPbit=7 tpType=1",
      "me set 802_1P_MAPPER 0x0001 mask=0x0800 tpPointer=0x0101 pbit_GemIWTP=" + POINTERS +
          " defaultPbit=7 tpType=1",
      "me set 802_1P_MAPPER 0x0001 mask=0x0020 tpPointer=0x0101 pbit_GemIWTP=" + POINTERS +
          DSCP_MAP + " defaultPbit=7 tpType=1",
      "me set 802_1P_MAPPER 0x0001 mask=0x0050 tpPointer=0x0101 pbit_GemIWTP=" + POINTERS +
          " unmark_frame_opt=1" + DSCP_MAP + " defaultPbit=5 tpType=1",
      "me delete 802_1P_MAPPER 0x0001"}},
    {"t_cont_is_set_only",
     262,
     0x8001,
     {
         {set, "8000 0401"},
         {set, "2000 02"},
         {set, "8000 ffff"},
     },
     {"me set T_CONT 0x8001 mask=0x8000 allocID=1025",
      "me set T_CONT 0x8001 mask=0x2000 allocID=1025 policy=2",
      "me set T_CONT 0x8001 mask=0x8000 allocID=65535 policy=2"}},
    {"gem_interworking_tp",
     266,
     5,
     {
         {create, "0009 05 0001 0000 0001"},
         {set, "8000 000a"},
         {delete_me, ""},
     },
     {"me create GEM_INTERWORK_TP 0x0005 mask=0xf200 gemCTPInstID=0x0009",
      "me set GEM_INTERWORK_TP 0x0005 mask=0x8000 gemCTPInstID=0x000a",
      "me delete GEM_INTERWORK_TP 0x0005"}},
    {"gem_port_network_ctp_takes_the_downstream_descriptor_from_attribute_9",
     268,
     9,
     {
         {create, "0401 8000 03 8007 0001 0006 0002 00"},
         {set, "0200 0005"}, // downstream queue
         {set, "0080 0004"}, // downstream descriptor
         {set, "7000 8001 01 0000"},
         {delete_me, ""},
     },
     {"me create GEM_PORT_CTP 0x0009 mask=0xfac0 portID=1025 tcontID=0x8000 "
      "direction=3 trafficMgrPtrUp=0x8007 TDProPtrUp=0x0001 TDProPtrDown=0x0002",
      "me set GEM_PORT_CTP 0x0009 mask=0x0200 portID=1025 tcontID=0x8000 "
      "direction=3 trafficMgrPtrUp=0x8007 TDProPtrUp=0x0001 TDProPtrDown=0x0002",
      "me set GEM_PORT_CTP 0x0009 mask=0x0080 portID=1025 tcontID=0x8000 "
      "direction=3 trafficMgrPtrUp=0x8007 TDProPtrUp=0x0001 TDProPtrDown=0x0004",
      "me set GEM_PORT_CTP 0x0009 mask=0x7000 portID=1025 tcontID=0x8001 "
      "direction=1 trafficMgrPtrUp=0x0000 TDProPtrUp=0x0001 TDProPtrDown=0x0004",
      "me delete GEM_PORT_CTP 0x0009"}},
    {"priority_queue_is_set_only",
     277,
     0x8007,
     {
         {set, "0700 80010007 0003 10"}, {set, "2100 0008 20"}, // queue size, weight
     },
     {"me set PRIORITY_QUEUE 0x8007 mask=0x0700 relatedPort=0x80010007 "
      "tsPointer=0x0003 weight=16",
      "me set PRIORITY_QUEUE 0x8007 mask=0x2100 relatedPort=0x80010007 "
      "tsPointer=0x0003 weight=32"}},
    {"traffic_scheduler_is_set_only",
     278,
     0x8000,
     {
         {set, "f000 8000 0001 02 08"},
     },
     {"me set TRAFFIC_SCHEDULER 0x8000 mask=0xf000 tcontPointer=0x8000 "
      "tsPointer=0x0001 policy=2 weight=8"}},
    {"traffic_descriptor",
     280,
     1,
     {
         {create, "00003e80 ffffffff 00000001 00000002 00 01 02 03"},
         {set, "4000 00bebc20"},
         {delete_me, ""},
     },
     {"me create TRAFFIC_DESCRIPTOR 0x0001 mask=0xff00 cir=16000 pir=4294967295 "
      "cbs=1 pbs=2 colourMode=0 ingressColourMode=1 egressColourMode=2 meterType=3",
      "me set TRAFFIC_DESCRIPTOR 0x0001 mask=0x4000 cir=16000 pir=12500000 cbs=1 "
      "pbs=2 ingressColourMode=1 egressColourMode=2 meterType=3",
      "me delete TRAFFIC_DESCRIPTOR 0x0001"}},
    {"multicast_gem_interworking_tp",
     281,
     3,
     {
         {create, "0004 00 0000 0000 0000 00"},
         {set, "8080 0005 00000000 e0000000 efffffff"},
         {delete_me, ""},
     },
     {"me create MULTICAST_GEM_INTERWORK_TP 0x0003 mask=0xf300 GemCTPInstID=0x0004",
      "me set MULTICAST_GEM_INTERWORK_TP 0x0003 mask=0x8080 GemCTPInstID=0x0005",
      "me delete MULTICAST_GEM_INTERWORK_TP 0x0003"}}};

INSTANTIATE_TEST_SUITE_P(each, omci_class, testing::ValuesIn(SESSIONS),
                         [](const auto& session) { return std::string(session.param.name); });

std::vector<std::string> module_commands(const line& session)
{
    std::vector<std::string> all = session.commands();
    std::erase_if(all, [](const std::string& text) { return text.starts_with("tagging "); });
    return all;
}

TEST(omci_class_commands, classes_without_mirrored_attributes_keep_their_masks)
{
    line session;
    session.done(set, 11, 0x0101, "0800 00");
    session.done(set, 329, 0x0e01, "8000 00");
    session.done(create, 78, 2, "02 0064 01 00 0000");
    session.done(set, 78, 2, "4000 00c8");
    session.done(delete_me, 78, 2);
    session.done(create, 171, 1, "02 0101");
    session.done(set, 171, 1, "0400 f8000000 e8000000 c00f0000 000f0000");
    session.done(delete_me, 171, 1);
    EXPECT_THAT(module_commands(session),
                ElementsAre("me set PPTP_ETHERNET_UNI 0x0101 mask=0x0800",
                            "me set VIRTUAL_ETHERNET_INTERFACE_POINT 0x0e01 mask=0x8000",
                            "me create VLAN_TAG_OPERATE 0x0002 mask=0xf800",
                            "me set VLAN_TAG_OPERATE 0x0002 mask=0x4000",
                            "me delete VLAN_TAG_OPERATE 0x0002",
                            "me create VLAN_TAG_EXTEND_OPERATE 0x0001 mask=0x8200",
                            "me set VLAN_TAG_EXTEND_OPERATE 0x0001 mask=0x0400",
                            "me delete VLAN_TAG_EXTEND_OPERATE 0x0001"));
}

TEST(omci_class_commands, every_class_is_created_set_and_deleted_by_its_module_name)
{
    for (const class_record& fields : me_classes()) {
        const uint16_t class_id = gpon::class_number(fields.id);
        line session;
        session.done(create, class_id, 0x1234);
        session.done(set, class_id, 0x1234, "8000 01");
        session.done(delete_me, class_id, 0x1234);
        const std::string name(fields.name);
        const auto commands = module_commands(session);
        ASSERT_EQ(commands.size(), 3u) << name;
        EXPECT_EQ(commands[0].rfind("me create " + name + " 0x1234 mask=0x", 0), 0u);
        EXPECT_EQ(commands[1].rfind("me set " + name + " 0x1234 mask=0x8000", 0), 0u);
        EXPECT_EQ(commands[2], "me delete " + name + " 0x1234");
    }
}

} // namespace
} // namespace gponflow::omci::test

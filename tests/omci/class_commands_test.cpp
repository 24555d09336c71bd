// SPDX-License-Identifier: GPL-2.0-only
// What each mirrored class's create, set and delete become.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/omci/line_builder.h"
#include "tool/model/me_fields.h"

namespace gponflow::omci::test {
namespace {

using testing::ElementsAre;

TEST(omci_class_commands, mac_bridge_service_profile)
{
    line session;
    session.done(create, 45, 1, "00 01 01 8000 1400 0200 0f00 00 ff 0000012c");
    session.done(set, 45, 1, "2440 00 0300 00000000");
    session.done(delete_me, 45, 1);
    EXPECT_THAT(session.commands(),
                ElementsAre("me create MAC_BRIDGE_SERVICE_PROFILE 0x0001 mask=0xffc0 "
                            "uniBridgingEnable=1 helloTime=512 dynFilterAgingTime=300",
                            "me set MAC_BRIDGE_SERVICE_PROFILE 0x0001 mask=0x2440 "
                            "uniBridgingEnable=0 helloTime=768 dynFilterAgingTime=0",
                            "me delete MAC_BRIDGE_SERVICE_PROFILE 0x0001"));
}

TEST(omci_class_commands, mac_bridge_port_configuration_data)
{
    line session;
    session.done(create, 47, 0x0201, "0001 02 05 0003 0000 0001 00 00 00 00");
    session.done(set, 47, 0x0201, "3000 03 0007");
    session.done(set, 47, 0x0201, "0820 0009 0005"); // priority, outbound descriptor
    session.done(delete_me, 47, 0x0201);
    EXPECT_THAT(session.commands(),
                ElementsAre("me create MAC_BRIDGE_PORT_CON_DATA 0x0201 mask=0xff88 "
                            "bridgeID=0x0001 tpType=5 tpPointer=0x0003",
                            "me set MAC_BRIDGE_PORT_CON_DATA 0x0201 mask=0x3000 "
                            "bridgeID=0x0001 tpType=3 tpPointer=0x0007",
                            "me set MAC_BRIDGE_PORT_CON_DATA 0x0201 mask=0x0820 "
                            "bridgeID=0x0001 tpType=3 tpPointer=0x0007",
                            "me delete MAC_BRIDGE_PORT_CON_DATA 0x0201"));
}

TEST(omci_class_commands, vlan_tagging_filter_data)
{
    line session;
    session.done(create, 84, 2,
                 "0064 e0c8 0fff 0000 0000 0000 0000 0000 0000 0000 0000 0001 10 0c");
    session.done(set, 84, 2, "6000 03 02");
    session.done(delete_me, 84, 2);
    const std::string list = "0x0064,0xe0c8,0x0fff,0x0000,0x0000,0x0000,0x0000,0x0000,0x0000,"
                             "0x0000,0x0000,0x0001";
    EXPECT_THAT(
        session.commands(),
        ElementsAre("me create VLAN_TAG_FILTER_DATA 0x0002 mask=0xe000 vlanFilterList=" + list +
                        " forwardOperation=0x10 vlanFilterNums=12",
                    "me set VLAN_TAG_FILTER_DATA 0x0002 mask=0x6000 vlanFilterList=" + list +
                        " forwardOperation=0x03 vlanFilterNums=2",
                    "me delete VLAN_TAG_FILTER_DATA 0x0002"));
}

TEST(omci_class_commands, mapper_service_profile)
{
    line session;
    session.done(create, 130, 1, "0101 0001 ffff 0003 ffff ffff ffff ffff 0008 00 07 01");
    session.done(set, 130, 1, "0800 0004"); // priority 3 only
    session.done(set, 130, 1, "0020 000000 249249 492492 6db6db 924924 b6db6d db6db6 ffffff");
    session.done(set, 130, 1, "0050 01 05");
    session.done(delete_me, 130, 1);
    const std::string dscp = " dscp2pbitMap=0000002492494924926db6db924924b6db6ddb6db6ffffff";
    const std::string pointers = "0x0001,0xffff,0x0003,0x0004,0xffff,0xffff,0xffff,0x0008";
    EXPECT_THAT(
        session.commands(),
        ElementsAre(
            "me create 802_1P_MAPPER 0x0001 mask=0xffd8 tpPointer=0x0101 "
            "pbit_GemIWTP=0x0001,0xffff,0x0003,0xffff,0xffff,0xffff,0xffff,0x0008 "
            "unmark_frame_opt=0 defaultPbit=7 tpType=1",
            "me set 802_1P_MAPPER 0x0001 mask=0x0800 tpPointer=0x0101 pbit_GemIWTP=" + pointers +
                " defaultPbit=7 tpType=1",
            "me set 802_1P_MAPPER 0x0001 mask=0x0020 tpPointer=0x0101 pbit_GemIWTP=" + pointers +
                dscp + " defaultPbit=7 tpType=1",
            "me set 802_1P_MAPPER 0x0001 mask=0x0050 tpPointer=0x0101 pbit_GemIWTP=" + pointers +
                " unmark_frame_opt=1" + dscp + " defaultPbit=5 tpType=1",
            "me delete 802_1P_MAPPER 0x0001"));
}

TEST(omci_class_commands, t_cont_is_set_only)
{
    line session;
    session.done(set, 262, 0x8001, "8000 0401");
    session.done(set, 262, 0x8001, "2000 02");
    session.done(set, 262, 0x8001, "8000 ffff");
    EXPECT_THAT(session.commands(),
                ElementsAre("me set T_CONT 0x8001 mask=0x8000 allocID=1025",
                            "me set T_CONT 0x8001 mask=0x2000 allocID=1025 policy=2",
                            "me set T_CONT 0x8001 mask=0x8000 allocID=65535 policy=2"));
}

TEST(omci_class_commands, gem_interworking_tp)
{
    line session;
    session.done(create, 266, 5, "0009 05 0001 0000 0001");
    session.done(set, 266, 5, "8000 000a");
    session.done(delete_me, 266, 5);
    EXPECT_THAT(session.commands(),
                ElementsAre("me create GEM_INTERWORK_TP 0x0005 mask=0xf200 gemCTPInstID=0x0009",
                            "me set GEM_INTERWORK_TP 0x0005 mask=0x8000 gemCTPInstID=0x000a",
                            "me delete GEM_INTERWORK_TP 0x0005"));
}

TEST(omci_class_commands, gem_port_network_ctp_takes_the_downstream_descriptor_from_attribute_9)
{
    line session;
    session.done(create, 268, 9, "0401 8000 03 8007 0001 0006 0002 00");
    session.done(set, 268, 9, "0200 0005"); // downstream queue
    session.done(set, 268, 9, "0080 0004"); // downstream descriptor
    session.done(set, 268, 9, "7000 8001 01 0000");
    session.done(delete_me, 268, 9);
    EXPECT_THAT(
        session.commands(),
        ElementsAre("me create GEM_PORT_CTP 0x0009 mask=0xfac0 portID=1025 tcontID=0x8000 "
                    "direction=3 trafficMgrPtrUp=0x8007 TDProPtrUp=0x0001 TDProPtrDown=0x0002",
                    "me set GEM_PORT_CTP 0x0009 mask=0x0200 portID=1025 tcontID=0x8000 "
                    "direction=3 trafficMgrPtrUp=0x8007 TDProPtrUp=0x0001 TDProPtrDown=0x0002",
                    "me set GEM_PORT_CTP 0x0009 mask=0x0080 portID=1025 tcontID=0x8000 "
                    "direction=3 trafficMgrPtrUp=0x8007 TDProPtrUp=0x0001 TDProPtrDown=0x0004",
                    "me set GEM_PORT_CTP 0x0009 mask=0x7000 portID=1025 tcontID=0x8001 "
                    "direction=1 trafficMgrPtrUp=0x0000 TDProPtrUp=0x0001 TDProPtrDown=0x0004",
                    "me delete GEM_PORT_CTP 0x0009"));
}

TEST(omci_class_commands, priority_queue_is_set_only)
{
    line session;
    session.done(set, 277, 0x8007, "0700 80010007 0003 10");
    session.done(set, 277, 0x8007, "2100 0008 20"); // queue size, weight
    EXPECT_THAT(session.commands(),
                ElementsAre("me set PRIORITY_QUEUE 0x8007 mask=0x0700 relatedPort=0x80010007 "
                            "tsPointer=0x0003 weight=16",
                            "me set PRIORITY_QUEUE 0x8007 mask=0x2100 relatedPort=0x80010007 "
                            "tsPointer=0x0003 weight=32"));
}

TEST(omci_class_commands, traffic_scheduler_is_set_only)
{
    line session;
    session.done(set, 278, 0x8000, "f000 8000 0001 02 08");
    EXPECT_THAT(session.commands(),
                ElementsAre("me set TRAFFIC_SCHEDULER 0x8000 mask=0xf000 tcontPointer=0x8000 "
                            "tsPointer=0x0001 policy=2 weight=8"));
}

TEST(omci_class_commands, traffic_descriptor)
{
    line session;
    session.done(create, 280, 1, "00003e80 ffffffff 00000001 00000002 00 01 02 03");
    session.done(set, 280, 1, "4000 00bebc20");
    session.done(delete_me, 280, 1);
    EXPECT_THAT(
        session.commands(),
        ElementsAre("me create TRAFFIC_DESCRIPTOR 0x0001 mask=0xff00 cir=16000 pir=4294967295 "
                    "cbs=1 pbs=2 colourMode=0 ingressColourMode=1 egressColourMode=2 meterType=3",
                    "me set TRAFFIC_DESCRIPTOR 0x0001 mask=0x4000 cir=16000 pir=12500000 cbs=1 "
                    "pbs=2 ingressColourMode=1 egressColourMode=2 meterType=3",
                    "me delete TRAFFIC_DESCRIPTOR 0x0001"));
}

TEST(omci_class_commands, multicast_gem_interworking_tp)
{
    line session;
    session.done(create, 281, 3, "0004 00 0000 0000 0000 00");
    session.done(set, 281, 3, "8080 0005 00000000 e0000000 efffffff");
    session.done(delete_me, 281, 3);
    EXPECT_THAT(
        session.commands(),
        ElementsAre("me create MULTICAST_GEM_INTERWORK_TP 0x0003 mask=0xf300 GemCTPInstID=0x0004",
                    "me set MULTICAST_GEM_INTERWORK_TP 0x0003 mask=0x8080 GemCTPInstID=0x0005",
                    "me delete MULTICAST_GEM_INTERWORK_TP 0x0003"));
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
    EXPECT_THAT(session.commands(),
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
    for (const me_class_fields& fields : me_classes()) {
        line session;
        session.done(create, fields.id, 0x1234);
        session.done(set, fields.id, 0x1234, "8000 01");
        session.done(delete_me, fields.id, 0x1234);
        const std::string name(fields.name);
        const auto commands = session.commands();
        ASSERT_EQ(commands.size(), 3u) << name;
        EXPECT_EQ(commands[0].rfind("me create " + name + " 0x1234 mask=0x", 0), 0u);
        EXPECT_EQ(commands[1].rfind("me set " + name + " 0x1234 mask=0x8000", 0), 0u);
        EXPECT_EQ(commands[2], "me delete " + name + " 0x1234");
    }
}

} // namespace
} // namespace gponflow::omci::test

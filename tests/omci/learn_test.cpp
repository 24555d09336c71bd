// SPDX-License-Identifier: GPL-2.0-only
// Attributes that the ONU reports about itself, and their effect on the commands.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/omci/line_builder.h"

namespace gponflow::omci::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(omci_learn, set_after_a_mib_upload_keeps_the_reported_attributes)
{
    line session;
    session.replied(mib_upload_next, 2, 0, "0000", "0106 8000 e000 ffff 01 01");
    session.done(set, 262, 0x8000, "8000 03e8");
    EXPECT_THAT(session.commands(),
                ElementsAre("me set T_CONT 0x8000 mask=0x8000 allocID=1000 policy=1"));
}

TEST(omci_learn, report_does_not_overwrite_values_set_by_the_olt)
{
    line session;
    session.done(set, 262, 0x8000, "8000 03e8");
    session.replied(mib_upload_next, 2, 0, "0000", "0106 8000 a000 ffff 02");
    session.done(set, 262, 0x8000, "4000 00");
    EXPECT_THAT(session.commands().back(),
                "me set T_CONT 0x8000 mask=0x4000 allocID=1000 policy=2");
}

TEST(omci_learn, get_response_is_a_report_if_it_succeeded)
{
    line session;
    session.replied(get, 278, 0x8000, "f000", "00 f000 8000 0000 02 07");
    session.replied(get, 278, 0x8001, "f000", "09 f000 8000 0000 02 07");
    session.done(set, 278, 0x8000, "2000 01").done(set, 278, 0x8001, "2000 01");
    EXPECT_THAT(session.commands(),
                ElementsAre("me set TRAFFIC_SCHEDULER 0x8000 mask=0x2000 tcontPointer=0x8000 "
                            "policy=1 weight=7",
                            "me set TRAFFIC_SCHEDULER 0x8001 mask=0x2000 policy=1"));
}

// Result, mask, and the masks of unsupported and failed attributes come before the values.
TEST(omci_learn, extended_get_response_is_a_report)
{
    line session;
    session.from_olt(extended(1, request_bit, get, 278, 0x8000, "f000"));
    session.from_onu(
        extended(1, response_bit, get, 278, 0x8000, "00 f000 0000 0000 8000 0000 02 07"));
    session.done(set, 278, 0x8000, "2000 01");
    EXPECT_THAT(session.commands(),
                ElementsAre("me set TRAFFIC_SCHEDULER 0x8000 mask=0x2000 tcontPointer=0x8000 "
                            "policy=1 weight=7"));
}

TEST(omci_learn, extended_upload_holds_several_instances)
{
    line session;
    session.from_olt(extended(1, request_bit, mib_upload_next, 2, 0, "0000"));
    session.from_onu(extended(1, response_bit, mib_upload_next, 2, 0,
                              "0001 0106 8000 2000 01  0001 0106 8001 2000 02  00ff 0106 8002"));
    session.done(set, 262, 0x8000, "8000 0001").done(set, 262, 0x8001, "8000 0001");
    EXPECT_THAT(session.commands(),
                ElementsAre("me set T_CONT 0x8000 mask=0x8000 allocID=1 policy=1",
                            "me set T_CONT 0x8001 mask=0x8000 allocID=1 policy=2"));
}

TEST(omci_learn, traffic_management_option_of_the_onu_becomes_the_default_configuration)
{
    line session;
    session.replied(mib_upload_next, 2, 0, "0000", "0100 0000 1000 01");
    EXPECT_THAT(session.commands(), ElementsAre("config traffic_mgmt_option=1"));
    line by_get;
    by_get.replied(get, 256, 0, "9000", "00 9000 41424344 02");
    EXPECT_THAT(by_get.commands(), ElementsAre("config traffic_mgmt_option=2"));
}

TEST(omci_learn, boundary_lies_between_the_queues_of_both_directions)
{
    line session;
    session.replied(mib_upload_next, 2, 0, "0000", "0115 0000 0400 01010007");
    session.replied(mib_upload_next, 2, 0, "0001", "0115 8003 0400 80010007");
    session.replied(mib_upload_next, 2, 0, "0002", "0115 8004 0400 80000003");
    EXPECT_THAT(session.commands(), ElementsAre("config related_port_boundary=0x80000000"));
}

TEST(omci_learn, no_boundary_when_queues_overlap_or_one_direction_is_missing)
{
    line overlapping;
    overlapping.replied(mib_upload_next, 2, 0, "0000", "0115 0000 0400 90000000");
    overlapping.replied(mib_upload_next, 2, 0, "0001", "0115 8000 0400 80000000");
    EXPECT_THAT(overlapping.commands(), IsEmpty());
    line downstream;
    downstream.replied(mib_upload_next, 2, 0, "0000", "0115 0000 0400 01010000");
    EXPECT_THAT(downstream.commands(), IsEmpty());
}

} // namespace
} // namespace gponflow::omci::test

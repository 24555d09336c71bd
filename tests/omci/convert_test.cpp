// SPDX-License-Identifier: GPL-2.0-only
#include "tool/omci/convert.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/omci/line_builder.h"

namespace gponflow::omci::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr std::string_view iw_tp_content = "0009 05 0001 0000 0001";

TEST(omci_convert, scenario_loads_and_switches_on_before_the_first_command)
{
    line session;
    session.done(mib_reset, 2, 0).done(create, 266, 5, iw_tp_content);
    EXPECT_THAT(command_lines(session.converted().scenario),
                ElementsAre("load", "hook kind=switch param=1", "clean",
                            "me create GEM_INTERWORK_TP 0x0005 mask=0xf200 gemCTPInstID=0x0009"));
}

TEST(omci_convert, comments_name_the_frames_and_the_parts_not_mirrored)
{
    line session;
    session.done(mib_reset, 2, 0).done(create, 266, 5, iw_tp_content);
    const std::string scenario = session.converted().scenario;
    EXPECT_THAT(scenario, HasSubstr("# frame 1, response 2: MIB reset ONU data 0x0000\nclean\n"));
    EXPECT_THAT(scenario,
                HasSubstr("# frame 3, response 4: create GEM interworking TP 0x0005\n"
                          "#   not mirrored: interworking option 0x05, service profile pointer "
                          "0x0001, interworking TP pointer 0x0000, GAL profile pointer 0x0001\n"
                          "me create"));
}

TEST(omci_convert, mib_reset_drops_all_instances)
{
    line session;
    session.done(set, 262, 0x8000, "a000 0401 02").done(mib_reset, 2, 0);
    session.done(set, 262, 0x8000, "8000 0402");
    EXPECT_THAT(session.commands(),
                ElementsAre("me set T_CONT 0x8000 mask=0xa000 allocID=1025 policy=2", "clean",
                            "me set T_CONT 0x8000 mask=0x8000 allocID=1026"));
}

TEST(omci_convert, delete_drops_the_instance)
{
    line session;
    session.done(create, 84, 2, "0064").done(delete_me, 84, 2).done(set, 84, 2, "2000 01");
    EXPECT_THAT(session.commands().back(),
                "me set VLAN_TAG_FILTER_DATA 0x0002 mask=0x2000 vlanFilterNums=1");
}

TEST(omci_convert, create_starts_from_an_empty_record)
{
    line session;
    session.done(set, 130, 1, "0020 ffffff 000000 000000 000000 000000 000000 000000 000000");
    session.done(create, 130, 1, "0101");
    EXPECT_THAT(session.commands().back(), Not(HasSubstr("dscp2pbitMap")));
}

TEST(omci_convert, refused_request_becomes_a_comment)
{
    line session;
    session.replied(create, 266, 5, iw_tp_content, "07");
    const conversion result = session.converted();
    EXPECT_THAT(session.commands(), IsEmpty());
    EXPECT_THAT(result.scenario,
                HasSubstr("# frame 1, response 2: refused, create GEM interworking TP 0x0005: "
                          "instance exists\n"));
    ASSERT_EQ(result.counts.refused.size(), 1u);
    EXPECT_EQ(result.counts.refused[0].frame, 1u);
}

TEST(omci_convert, refused_request_leaves_the_record_alone)
{
    line session;
    session.done(create, 266, 5, iw_tp_content).replied(set, 266, 5, "8000 0001", "03");
    session.replied(delete_me, 266, 5, "", "01").replied(mib_reset, 2, 0, "", "06");
    session.done(set, 266, 5, "0100 00");
    EXPECT_THAT(session.commands(),
                ElementsAre("me create GEM_INTERWORK_TP 0x0005 mask=0xf200 gemCTPInstID=0x0009",
                            "me set GEM_INTERWORK_TP 0x0005 mask=0x0100 gemCTPInstID=0x0009"));
    EXPECT_EQ(session.converted().counts.refused.size(), 3u);
}

TEST(omci_convert, set_done_in_part_applies_the_rest_at_the_right_places)
{
    line session;
    session.replied(set, 277, 1, "0700 11112222 3333 44", "09 0400 0000");
    EXPECT_THAT(session.commands(), ElementsAre("me set PRIORITY_QUEUE 0x0001 mask=0x0300 "
                                                "tsPointer=0x3333 weight=68"));
    EXPECT_THAT(session.converted().scenario, HasSubstr("unsupported attributes 0x0400"));
}

TEST(omci_convert, repeated_request_is_applied_once)
{
    line session;
    const bytes request = baseline(9, request_bit, set, 262, 0x8000, "8000 0401");
    session.from_olt(request).from_olt(request);
    session.from_onu(baseline(9, response_bit, set, 262, 0x8000, "00"));
    session.from_onu(baseline(9, response_bit, set, 262, 0x8000, "00"));
    const conversion result = session.converted();
    EXPECT_EQ(session.commands().size(), 1u);
    EXPECT_EQ(result.counts.repeats, 1u);
    EXPECT_THAT(result.scenario, HasSubstr("# frame 1, repeated in 2, response 3: set T-CONT"));
    EXPECT_THAT(result.scenario, HasSubstr("# 1 repeated requests, applied once\n"));
}

TEST(omci_convert, request_without_response_is_applied_and_reported)
{
    line session;
    session.asked(create, 266, 5, iw_tp_content);
    const conversion result = session.converted();
    EXPECT_EQ(session.commands().size(), 1u);
    EXPECT_EQ(result.counts.without_response, 1u);
    EXPECT_THAT(result.scenario, HasSubstr("no response captured, assumed done"));
}

TEST(omci_convert, response_without_request_is_listed_and_not_applied)
{
    line session;
    session.done(mib_reset, 2, 0);
    session.from_onu(baseline(77, response_bit, create, 266, 5, "00"));
    EXPECT_THAT(session.commands(), ElementsAre("clean"));
    EXPECT_THAT(session.converted().scenario,
                HasSubstr("# Responses without a request:\n"
                          "#   frame 3: create of GEM interworking TP 0x0005, transaction "
                          "0x004d\n"));
}

TEST(omci_convert, response_that_names_another_instance_still_counts)
{
    line session;
    session.from_olt(baseline(1, request_bit, create, 266, 5, iw_tp_content));
    session.from_onu(baseline(1, response_bit, create, 266, 4, "00"));
    EXPECT_EQ(session.commands().size(), 1u);
    EXPECT_THAT(session.converted().scenario, HasSubstr("the response names instance 0x0004"));
}

TEST(omci_convert, classes_that_are_not_mirrored_are_counted_by_class)
{
    line session;
    session.done(create, 272, 1, "0030").done(create, 272, 2, "0030").done(delete_me, 272, 2);
    session.done(set, 256, 0, "0100 00").replied(create, 46, 1, "", "04");
    const conversion result = session.converted();
    EXPECT_THAT(session.commands(), IsEmpty());
    EXPECT_THAT(result.scenario, HasSubstr("#   256 ONU-G: 1 set\n"
                                           "#   272 GAL Ethernet profile: 2 create, 1 delete\n"));
    EXPECT_EQ(result.counts.unmirrored.count(gpon::to_me_class(46)), 0u);
}

TEST(omci_convert, other_requests_are_counted_by_type)
{
    line session;
    session.replied(13, 2, 0, "", "0002").replied(mib_upload_next, 2, 0, "0000", "0100 0000");
    session.replied(mib_upload_next, 2, 0, "0001", "0100 0000").done(24, 256, 0);
    EXPECT_THAT(session.converted().scenario,
                HasSubstr("# Other requests: 1 MIB upload, 2 MIB upload next, "
                          "1 synchronize time\n"));
}

TEST(omci_convert, damaged_message_is_named_by_its_frame_and_skipped)
{
    line session;
    session.done(mib_reset, 2, 0);
    bytes damaged = with_crc(baseline(8, request_bit, create, 266, 5, iw_tp_content));
    damaged[9] ^= 1;
    session.from_olt(damaged);
    EXPECT_THAT(session.commands(), ElementsAre("clean"));
    EXPECT_THAT(session.converted().scenario,
                HasSubstr("# Damaged messages, skipped:\n#   frame 3: trailer CRC 0x"));
}

TEST(omci_convert, set_whose_values_overrun_the_message_is_named_and_skipped)
{
    line session;
    session.done(set, 84, 2, "e000");  // 26 of 30 bytes
    session.done(set, 171, 1, "0500"); // 16 and 24
    EXPECT_THAT(session.commands(), ElementsAre(HasSubstr("VLAN_TAG_FILTER_DATA")));
    const conversion result = session.converted();
    ASSERT_EQ(result.counts.unreadable.size(), 1u);
    EXPECT_EQ(result.counts.unreadable[0].frame, 3u);
    EXPECT_THAT(result.counts.unreadable[0].text, HasSubstr("attribute 8 ends at byte 40"));
}

TEST(omci_convert, attributes_behind_the_known_ones_keep_their_mask_bits)
{
    line session;
    session.done(set, 262, 0x8000, "8100 0401 aaaa");
    EXPECT_THAT(session.commands(), ElementsAre("me set T_CONT 0x8000 mask=0x8100 allocID=1025"));
    EXPECT_THAT(session.converted().scenario,
                HasSubstr("attributes unknown, values not read: 0x0100"));
}

TEST(omci_convert, value_that_does_not_fit_its_field_is_reported)
{
    line session;
    session.done(set, 45, 1, "0040 00015180");
    EXPECT_THAT(session.commands().back(), HasSubstr("dynFilterAgingTime=65535"));
    EXPECT_THAT(session.converted().scenario, HasSubstr("86400 is stored as 65535"));
}

TEST(omci_convert, extended_messages_are_converted_and_counted)
{
    line session;
    session.from_olt(extended(1, request_bit, create, 266, 5, "0009 05 0001 0000 0001"));
    session.from_onu(with_crc(extended(1, response_bit, create, 266, 5, "00")));
    session.from_olt(extended(2, request_bit, set, 266, 5, "8000 000a"));
    session.from_onu(extended(2, response_bit, set, 266, 5, "00"));
    session.from_olt(extended(3, request_bit, set, 266, 5, "8000"));
    session.from_olt(extended(4, request_bit, set, 266, 5, "80"));
    EXPECT_THAT(session.commands(),
                ElementsAre("me create GEM_INTERWORK_TP 0x0005 mask=0xf200 gemCTPInstID=0x0009",
                            "me set GEM_INTERWORK_TP 0x0005 mask=0x8000 gemCTPInstID=0x000a"));
    const conversion result = session.converted();
    EXPECT_THAT(result.scenario, HasSubstr("# 4 requests of the extended message set\n"));
    EXPECT_EQ(result.counts.unreadable.size(), 2u);
}

TEST(omci_convert, frames_without_omci_and_notifications_are_counted)
{
    line session;
    session.done(mib_reset, 2, 0).from_onu(baseline(0, 0, 16, 11, 0x0101));
    bytes other = ethernet(olt, onu, bytes(50, 0));
    other[12] = 0x08;
    other[13] = 0x00;
    session.frames.push_back(other);
    const std::string scenario = session.converted().scenario;
    EXPECT_THAT(scenario, HasSubstr("# 1 notifications of the ONU\n"));
    EXPECT_THAT(scenario, HasSubstr("# 1 frames without OMCI\n"));
}

TEST(omci_convert, reboot_is_a_comment)
{
    line session;
    session.done(reboot, 256, 0);
    EXPECT_THAT(session.commands(), IsEmpty());
    EXPECT_THAT(session.converted().scenario,
                HasSubstr("# frame 1, response 2: reboot of the ONU\n"));
}

TEST(omci_convert, title_cannot_inject_a_command_into_the_scenario)
{
    line session;
    session.done(mib_reset, 2, 0);
    const capture cap = session.captured();
    EXPECT_THAT(command_lines(convert(cap, "x\nunload\r\nclean").scenario),
                ElementsAre("load", "hook kind=switch param=1", "clean"));
}

} // namespace
} // namespace gponflow::omci::test

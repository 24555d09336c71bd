// SPDX-License-Identifier: GPL-2.0-only
// Reports about lines whose tagging operations rewrite or discard frames.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tests/tool/scratch_folder.h"
#include "tests/tool/small_capture.h"
#include "tool/report/page.h"
#include "tool/report/report_json.h"
#include "tool/report/sentence.h"
#include "tool/scenario/host_backend.h"
#include "tool/scenario/open.h"

namespace gponflow {

namespace {

using testing::HasSubstr;
using testing::Not;

const std::string operation = "me create VLAN_TAG_EXTEND_OPERATE 1\n"
                              "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101 "
                              "rows=default\n"
                              "tagging VLAN_TAG_EXTEND_OPERATE 1 row=";
const std::string untagged_to_100 = operation + "f8000000f8000000000f000000000324\n";
const std::string untagged_to_300 = operation + "f8000000f8000000000f000000000964\n";
const std::string vlan_666_discarded = operation + "f8000000814d0000c00f0000000f0000\n";

const std::string addresses("\2\0\0\0\0\1\2\0\0\0\1\1", 12);
const std::string untagged_frame = addresses + std::string("\x08\0\x45\0", 4);

std::string tagged_frame(unsigned tci)
{
    return addresses + std::string("\x81\0", 2) + static_cast<char>(tci >> 8) +
           static_cast<char>(tci & 0xff) + std::string("\x08\0\x45\0", 4);
}

// The report of captured frames of UNI 1, one capture each.
report_data report_of(std::string line, const std::vector<std::string>& frames,
                      const std::string& options = "kind=up_ani port=1")
{
    const scratch_folder folder;
    for (const std::string& frame : frames) {
        const std::string name = std::to_string(&frame - frames.data()) + ".pcap";
        line += "pcap " + folder.write(name, small_capture(frame)).string() + " " + options + "\n";
    }
    std::ostringstream output;
    const auto input = open_scenario(folder.write("test.scn", line).string(), output);
    if (!input)
        throw std::runtime_error(output.str());
    report_data data;
    const std::unique_ptr<backend> target = make_host_backend();
    EXPECT_EQ(collect_report(*input, *target, data, output), status_ok) << output.str();
    return data;
}

TEST(report_tagging, a_filter_refuses_the_rewritten_tag)
{
    const report_data data = report_of(good_line + untagged_to_300, {untagged_frame});
    ASSERT_EQ(data.drops.size(), 1u);
    EXPECT_TRUE(data.drops[0].tags.empty());
    EXPECT_EQ(data.drops[0].hook_tags, (std::vector<vlan_tag>{{0x8100, 300}}));
    EXPECT_EQ(data.drops[0].reason,
              "VLAN_TAG_FILTER_DATA 0x1001 of bridge 1 (forwardOperation 0x04) passes only VLAN "
              "100");
    EXPECT_EQ(drop_sentence(data.drops[0]),
              "Untagged frames, rewritten to VLAN 300 with priority 0 by VLAN_TAG_EXTEND_OPERATE "
              "0x0001, are dropped upstream, from "
              "the bridge to the ANI: VLAN filter 0x1001 (VLAN 100, forward operation 0x04) drops "
              "them.");
}

TEST(report_tagging, a_mapper_is_asked_for_the_rewritten_priority)
{
    std::string line = good_line;
    const std::string port = "tpType=5 tpPointer=0x11";
    line.replace(line.find(port), port.size(), "tpType=3 tpPointer=1");
    line.insert(line.find("me create MAC_BRIDGE_PORT_CON_DATA 0x0101"),
                "me create 802_1P_MAPPER 1 pbit_GemIWTP=0,0x11,0,0,0,0,0,0\n");
    const report_data data = report_of(line + untagged_to_100, {untagged_frame});
    ASSERT_EQ(data.drops.size(), 1u);
    EXPECT_THAT(data.drops[0].reason, HasSubstr("has no GEM IW TP for priority 0"));
}

// IPv4 gets VLAN 300 and ARP 400. The filter refuses both for the same reason.
TEST(report_tagging, frames_with_other_rewritten_tags_are_another_drop)
{
    const std::string arp_frame = addresses + std::string("\x08\x06\0\x01", 4);
    const report_data data =
        report_of(good_line + operation + "f8000000f8000001000f000000000964\n" +
                      "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000f8000003000f000000000c84\n",
                  {untagged_frame, arp_frame});
    ASSERT_EQ(data.drops.size(), 2u);
    EXPECT_EQ(data.drops[0].reason, data.drops[1].reason);
    EXPECT_EQ(data.drops[0].hook_tags, (std::vector<vlan_tag>{{0x8100, 300}}));
    EXPECT_EQ(data.drops[1].hook_tags, (std::vector<vlan_tag>{{0x8100, 400}}));
    EXPECT_FALSE(explains(data.drops[0], data.flows.at(1)));
    EXPECT_TRUE(explains(data.drops[1], data.flows.at(1)));
}

TEST(report_tagging, a_discarding_operation_is_marked_in_the_drawing)
{
    const report_data data = report_of(good_line + vlan_666_discarded, {tagged_frame(666)});
    ASSERT_EQ(data.drops.size(), 1u);
    EXPECT_EQ(deciding_entities(data.drops[0].example),
              (std::vector<me_id>{{me_class::evtocd, 1}}));
    EXPECT_THAT(drop_sentence(data.drops[0]), HasSubstr("discards the frame"));
    EXPECT_THAT(report_page(data), Not(HasSubstr("data-deciding=\"\"")));
}

// Mode 8 discards each frame at UNI 1, the only one of the bridge. The second frame replays.
TEST(report_tagging, a_frame_that_no_uni_receives_is_dropped)
{
    const report_data data = report_of(
        good_line + untagged_to_100 + "tagging VLAN_TAG_EXTEND_OPERATE 1 downstream_mode=8\n",
        {tagged_frame(100), tagged_frame(100), tagged_frame(100)}, "kind=down_ani gem=1025");
    EXPECT_EQ(data.directions[3].dropped, 3u);
    EXPECT_EQ(data.directions[3].passed, 0u);
    ASSERT_EQ(data.flows.size(), 1u);
    EXPECT_EQ(data.flows[0].fate, frame_fate::dropped);
    ASSERT_EQ(data.drops.size(), 1u);
    EXPECT_EQ(data.drops[0].frames, 3u);
    EXPECT_EQ(data.drops[0].reason,
              "VLAN_TAG_EXTEND_OPERATE 0x0001 of PPTP_ETHERNET_UNI 0x0101 discards the frame: "
              "downstream mode 8: discard");
    EXPECT_EQ(deciding_entities(data.drops[0].example),
              (std::vector<me_id>{{me_class::evtocd, 1}}));
}

TEST(report_tagging, a_passed_flow_names_the_operations_that_were_not_applied)
{
    const std::string line = good_line + "me create VLAN_TAG_EXTEND_OPERATE 1\n";
    const report_data data = report_of(line, {tagged_frame(100)}, "kind=up_ani");
    ASSERT_EQ(data.flows.size(), 1u);
    EXPECT_EQ(data.flows[0].fate, frame_fate::passed);
    EXPECT_EQ(
        data.flows[0].not_applied,
        std::vector<std::string>{"VLAN_TAG_EXTEND_OPERATE 0x0001: its association is not known"});
    const std::string note = "an operation exists here and was not applied: "
                             "VLAN_TAG_EXTEND_OPERATE 0x0001: its association is not known";
    EXPECT_THAT(report_page(data), HasSubstr(note));
    EXPECT_THAT(report_page(report_of(good_line, {tagged_frame(100)})),
                Not(HasSubstr("was not applied")));
}

TEST(report_tagging, an_unknown_operation_after_a_downstream_hook_call_is_named)
{
    const std::string line = good_line + "me create VLAN_TAG_EXTEND_OPERATE 1\n"
                                         "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 "
                                         "associated=0x0101\n";
    const report_data data = report_of(line, {tagged_frame(100)}, "kind=down_ani gem=1025");
    ASSERT_EQ(data.flows.size(), 1u);
    ASSERT_EQ(data.flows[0].not_applied.size(), 1u);
    EXPECT_THAT(data.flows[0].not_applied[0], HasSubstr("VLAN_TAG_EXTEND_OPERATE 0x0001: "));
}

// The capture holds 12 of 80 bytes: no EtherType, so the row that applies is not known.
TEST(report_tagging, a_frame_without_its_tags_is_not_classified)
{
    const scratch_folder folder;
    folder.write("cut.pcap", small_capture(addresses, 80));
    std::ostringstream output;
    const auto input = open_scenario(
        folder.write("test.scn", good_line + untagged_to_100 + "pcap cut.pcap kind=up_ani port=1\n")
            .string(),
        output);
    ASSERT_TRUE(input) << output.str();
    report_data data;
    const std::unique_ptr<backend> target = make_host_backend();
    ASSERT_EQ(collect_report(*input, *target, data, output), status_ok) << output.str();
    ASSERT_EQ(data.flows.size(), 1u);
    EXPECT_EQ(data.flows[0].octets, 80u);
    EXPECT_TRUE(data.flows[0].rewriting.empty());
    EXPECT_EQ(data.flows[0].fate, frame_fate::untouched);
    EXPECT_EQ(data.flows[0].outcome, "its tags are not in the capture");
    EXPECT_TRUE(data.flows[0].not_applied.empty());
    EXPECT_THAT(data.notes, testing::ElementsAre(HasSubstr("1 of 1 frame ends in the capture")));
    EXPECT_THAT(report_page(data), HasSubstr("<li>1 of 1 frame ends in the capture"));
}

TEST(report_tagging, an_applied_operation_is_no_gap)
{
    const report_data data = report_of(good_line + untagged_to_100, {untagged_frame});
    ASSERT_EQ(data.flows.size(), 1u);
    EXPECT_EQ(data.flows[0].fate, frame_fate::passed) << data.flows[0].outcome;
    EXPECT_TRUE(data.flows[0].not_applied.empty());
    EXPECT_EQ(data.flows[0].rewriting.size(), 1u);
}

TEST(report_tagging, json_has_the_tags_at_the_hook_call)
{
    std::ostringstream out;
    print_report_json(report_of(good_line + untagged_to_300, {untagged_frame}), out);
    EXPECT_THAT(out.str(), HasSubstr("\"tags_at_hook\""));
    EXPECT_THAT(out.str(), HasSubstr("\"vlan\": 300"));
}

} // namespace

} // namespace gponflow

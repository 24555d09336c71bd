// SPDX-License-Identifier: GPL-2.0-only
// Frames through the tagging operations of a line, in explain, account and graph. The rows are
// those of docs/tagging.md: untagged to VLAN 100, VLAN 5 to VLAN 200; VLAN 666 is discarded.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/explain/lines.h"
#include "tool/explain/account.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/tagging_entry.h"
#include "tool/model/graph.h"
#include "tool/model/graph_json.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {

namespace {

using testing::HasSubstr;
using testing::Not;

// 666 = 0x29a: inner filter word 8 0 29a << 3 = 0x814d0000.
const std::string tagged_line =
    good_line + "me create VLAN_TAG_EXTEND_OPERATE 1\n"
                "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101 rows=default\n"
                "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000f8000000000f000000000324\n"
                "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080028000400f000000080644\n"
                "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000814d0000c00f0000000f0000\n";

const std::string untagged = "frame=02000000000102000000010108004500\n";
const std::string vlan_666 = "frame=0200000000010200000001018100029a08004500\n";

std::string explained(const std::string& text)
{
    std::ostringstream out;
    const std::unique_ptr<backend> target = make_host_backend();
    if (const auto found = explain_frame(parse_good(text), *target, {}, out))
        print_explanation(*found, out);
    return out.str();
}

TEST(explain_tagging, a_frame_of_the_uni_is_rewritten_before_the_hook_call)
{
    EXPECT_EQ(explained(tagged_line + "hook kind=up_uni port=1 " + untagged),
              "upstream, from the UNI to the bridge, 16 bytes\n"
              "  arrives as untagged\n"
              "    VLAN_TAG_EXTEND_OPERATE 0x0001 of PPTP_ETHERNET_UNI 0x0101: untagged: add VLAN "
              "100 with priority 0, TPID 0x8100\n"
              "      set in line 11\n"
              "  leaves as VLAN 100 priority 0\n"
              "  PPTP_ETHERNET_UNI 0x0101\n"
              "    MAC_BRIDGE_PORT_CON_DATA 0x0101  bridgeID=0x0001 tpType=1 tpPointer=0x0101\n"
              "passes into the bridge; a rule was learnt\n");
}

TEST(explain_tagging, a_discarded_frame_does_not_reach_the_hook_call)
{
    EXPECT_EQ(explained(tagged_line + "hook kind=up_uni port=1 " + vlan_666),
              "upstream, from the UNI to the bridge, 20 bytes\n"
              "  arrives as VLAN 666 priority 0\n"
              "    VLAN_TAG_EXTEND_OPERATE 0x0001 of PPTP_ETHERNET_UNI 0x0101: single-tagged, VLAN "
              "666: discard\n"
              "      set in line 13\n"
              "  discarded\n"
              "dropped\n"
              "The tagging operation VLAN_TAG_EXTEND_OPERATE 0x0001 of PPTP_ETHERNET_UNI 0x0101 "
              "discards the frame: single-tagged, VLAN 666: discard.\n");
}

TEST(explain_tagging, what_was_not_applied_is_named_beside_the_result)
{
    EXPECT_THAT(explained(tagged_line + "hook kind=up_ani " + frame_of_vlan_100 + "\n"),
                HasSubstr("passes to GEM port 1025; a rule was learnt\n"
                          "VLAN_TAG_EXTEND_OPERATE 0x0001: an operation exists here and was not "
                          "applied: the UNI of the frame is not known (port=)\n"));
    EXPECT_THAT(explained(good_line +
                          "me create VLAN_TAG_EXTEND_OPERATE 1\n"
                          "hook kind=up_uni port=1 " +
                          untagged),
                HasSubstr("passes into the bridge; a rule was learnt\n"
                          "VLAN_TAG_EXTEND_OPERATE 0x0001: an operation exists here and was not "
                          "applied: its association is not known\n"));
    EXPECT_THAT(explained(good_line + "hook kind=up_uni port=1 " + untagged),
                Not(HasSubstr("operation")));
}

TEST(explain_tagging, a_frame_from_the_fibre_is_rewritten_after_the_hook_call)
{
    EXPECT_THAT(explained(tagged_line + "hook kind=down_ani gem=1025 " + frame_of_vlan_100 + "\n"),
                HasSubstr("passes from GEM port 1025 into the bridge; a rule was learnt\n"
                          "to PPTP_ETHERNET_UNI 0x0101\n"
                          "  arrives as VLAN 100 priority 0\n"
                          "    VLAN_TAG_EXTEND_OPERATE 0x0001 of PPTP_ETHERNET_UNI 0x0101: inverse "
                          "of untagged: add VLAN 100 with priority 0, TPID 0x8100\n"
                          "      set in line 11\n"
                          "  leaves as untagged\n"));
    EXPECT_THAT(explained(good_line +
                          "me create VLAN_TAG_EXTEND_OPERATE 1\n"
                          "hook kind=down_ani gem=1025 " +
                          frame_of_vlan_100 + "\n"),
                HasSubstr("a rule was learnt\nVLAN_TAG_EXTEND_OPERATE 0x0001: an operation exists "
                          "here and was not applied: its association is not known\n"));
}

// Mode 8 discards each frame at UNI 1, the only one of the bridge.
const std::string discarding_line =
    tagged_line + "tagging VLAN_TAG_EXTEND_OPERATE 1 downstream_mode=8\n";

TEST(explain_tagging, a_frame_that_no_uni_receives_is_dropped)
{
    const std::string hook = "hook kind=down_ani gem=1025 " + frame_of_vlan_100 + "\n";
    const std::string tail =
        "to PPTP_ETHERNET_UNI 0x0101\n"
        "  arrives as VLAN 100 priority 0\n"
        "    VLAN_TAG_EXTEND_OPERATE 0x0001 of PPTP_ETHERNET_UNI 0x0101: downstream mode 8: "
        "discard\n"
        "      set in line 14\n"
        "  discarded\n"
        "dropped\n"
        "The tagging operation VLAN_TAG_EXTEND_OPERATE 0x0001 of PPTP_ETHERNET_UNI 0x0101 discards "
        "the frame: downstream mode 8: discard.\n";
    EXPECT_THAT(explained(discarding_line + hook),
                HasSubstr("passes from GEM port 1025 into the bridge; a rule was learnt\n" + tail));
    EXPECT_THAT(
        explained(discarding_line + hook + hook),
        HasSubstr("passes from GEM port 1025 into the bridge; its rule was replayed\n" + tail));
}

TEST(explain_tagging, what_the_onu_decides_is_named_below_the_result)
{
    EXPECT_THAT(explained(tagged_line + "hook kind=down_ani gem=1025 "
                                        "frame=0200000000010200000001018100a06408004500\n"),
                testing::EndsWith("  leaves as VLAN 100 priority 5\n"
                                  "VLAN_TAG_EXTEND_OPERATE 0x0001: in downstream mode 0 the ONU "
                                  "decides which fields of a frame it compares with the rows, and "
                                  "what it does with a frame that matches none\n"));
}

// Line, frame and direction of a frame from a capture.
carried_frame carried(const std::string& text, uint32_t kind, uint32_t port, size_t number)
{
    packet_options options;
    options.kind = kind;
    options.port_word = port << 4;
    captured_frame frame(bytes{2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 1, 1, 8, 0});
    frame.number = number;
    return carry_to_hook(final_entities(parse_good(text)), options, frame);
}

TEST(explain_tagging, a_captured_frame_with_a_port_passes_both_halves)
{
    EXPECT_EQ(carried(tagged_line, 1, 1, 3).steps.size(), 1u);
    EXPECT_EQ(carried(tagged_line, 1, 1, 0).steps.size(), 0u);
    EXPECT_EQ(carried(tagged_line, 1, 0, 3).gaps.size(), 1u);
    EXPECT_EQ(carried(tagged_line, 3, 0, 3).gaps.size(), 0u);
    const carried_frame both =
        carried(tagged_line + "tagging VLAN_TAG_OPERATE 2 association=3 associated=0x1001 "
                              "upstream_mode=1 upstream_tci=0x6064\n",
                1, 1, 3);
    ASSERT_EQ(both.steps.size(), 2u);
    EXPECT_EQ(both.steps[1].row, "upstream mode 1: replace the outer tag by VLAN 100 priority 3");
}

std::string accounted(const std::string& text, std::string& diagnostics)
{
    std::ostringstream out;
    std::ostringstream printed;
    frame_account account;
    const std::unique_ptr<backend> target = make_host_backend();
    EXPECT_EQ(account_scenario(parse_good(text), *target, account, printed), status_ok);
    print_account(account, out);
    diagnostics = printed.str();
    return out.str();
}

TEST(account_of_a_disabled_engine, counts_frames_without_a_gem_port_as_dropped)
{
    std::string diagnostics;
    const std::string text =
        accounted("load\nhook kind=up_ani " + frame_of_vlan_100 + "\nplatform mapping=-1\n" +
                      "hook kind=up_ani " + frame_of_vlan_100 + "\n",
                  diagnostics);
    EXPECT_THAT(
        text,
        HasSubstr("dropped     1  VLAN 100 priority 0: the engine is disabled, and the platform "
                  "found no GEM port\n"));
    EXPECT_THAT(text, HasSubstr("not classified     1  the engine is disabled\n"));
}

TEST(account_tagging, discarded_frames_are_counted_by_row)
{
    std::string diagnostics;
    EXPECT_THAT(accounted(tagged_line + "hook kind=up_uni port=1 " + untagged +
                              "hook kind=up_uni port=1 " + vlan_666,
                          diagnostics),
                HasSubstr("  passed      1  into bridge 1\n"
                          "  dropped     1  VLAN 666 priority 0: VLAN_TAG_EXTEND_OPERATE 0x0001 of "
                          "PPTP_ETHERNET_UNI 0x0101 discards the frame: single-tagged, VLAN 666: "
                          "discard\n"));
    EXPECT_EQ(diagnostics, "");
}

// VLAN 5 becomes VLAN 200 in front of a filter of the UNI's port, which drops every frame.
TEST(account_tagging, a_drop_has_the_received_and_the_rewritten_tags)
{
    std::string diagnostics;
    const std::string line = tagged_line +
                             "me create VLAN_TAG_FILTER_DATA 0x0101 vlanFilterList=100 "
                             "forwardOperation=0x04 vlanFilterNums=1\n";
    const std::string text = accounted(
        line + "hook kind=up_uni port=1 frame=0200000000010200000001018100000508004500\n" +
            "hook kind=up_uni port=1 frame=020000000001020000000101810000c808004500\n",
        diagnostics);
    EXPECT_THAT(text, HasSubstr("  1  VLAN 5 priority 0, rewritten to VLAN 200 priority 0 by "
                                "VLAN_TAG_EXTEND_OPERATE 0x0001: "));
    EXPECT_THAT(text, HasSubstr("  1  VLAN 200 priority 0: "));
}

// Two frames of one path, the second one on the quick path. Mode 5 discards what matches no row.
TEST(account_tagging, frames_that_no_uni_receives_are_dropped)
{
    std::string diagnostics;
    const std::string hook = "hook kind=down_ani gem=1025 " + frame_of_vlan_100 + "\n";
    EXPECT_EQ(accounted(discarding_line + hook + hook, diagnostics),
              "downstream, from the ANI to the bridge: 2 frames, 1 on the quick path\n"
              "  dropped     2  VLAN 100 priority 0: VLAN_TAG_EXTEND_OPERATE 0x0001 of "
              "PPTP_ETHERNET_UNI 0x0101 discards the frame: downstream mode 8: discard\n\n");
    EXPECT_EQ(diagnostics, "");
    EXPECT_THAT(accounted(tagged_line +
                              "tagging VLAN_TAG_EXTEND_OPERATE 1 downstream_mode=5\n"
                              "hook kind=down_ani gem=1025 "
                              "frame=0200000000010200000001018100206408004500\n" +
                              hook,
                          diagnostics),
                HasSubstr("  passed      1  from GEM port 1025 into bridge 1\n"
                          "  dropped     1  VLAN 100 priority 1: VLAN_TAG_EXTEND_OPERATE 0x0001 of "
                          "PPTP_ETHERNET_UNI 0x0101 discards the frame: downstream mode 5: no row "
                          "matches, discard\n"));
}

// The first frame is counted before the operation is known.
TEST(account_tagging, unknown_operations_of_the_downstream_direction_are_warnings)
{
    std::string diagnostics;
    const std::string hook = "hook kind=down_ani gem=1025 " + frame_of_vlan_100 + "\n";
    EXPECT_THAT(accounted(good_line + hook + hook +
                              "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101 "
                              "rows=default downstream_mode=9\n" +
                              hook + hook,
                          diagnostics),
                HasSubstr("  passed      4  from GEM port 1025 into bridge 1\n"));
    EXPECT_EQ(diagnostics,
              "test.scn: warning: VLAN_TAG_EXTEND_OPERATE 0x0001: an operation exists here and was "
              "not applied: downstream mode 9 is not defined (set in line 11)\n");
}

TEST(account_tagging, operations_that_were_not_applied_are_warnings)
{
    std::string diagnostics;
    const std::string hook = "hook kind=up_ani " + frame_of_vlan_100 + "\n";
    accounted(tagged_line + hook + hook, diagnostics);
    EXPECT_EQ(diagnostics,
              "test.scn: warning: VLAN_TAG_EXTEND_OPERATE 0x0001: an operation exists here and was "
              "not applied: the UNI of the frame is not known (port=)\n");
}

TEST(graph_tagging, an_operation_is_drawn_at_its_place)
{
    const auto dot = [](const std::string& text) {
        std::ostringstream out;
        write_dot(final_entities(parse_good(text)), {}, out);
        return out.str();
    };
    EXPECT_THAT(dot(tagged_line),
                HasSubstr("\"VLAN_TAG_EXTEND_OPERATE 0x0001\" -> \"PPTP_ETHERNET_UNI 0x0101\" "
                          "[label=\"tagging\", style=dotted];\n"));
    // Three rows, of which the one for untagged frames replaces a default row.
    EXPECT_THAT(dot(tagged_line), HasSubstr("0x0001\\n5 rows\""));
    EXPECT_THAT(dot(good_line + "me create VLAN_TAG_OPERATE 0x0101\n"),
                HasSubstr("\"VLAN_TAG_OPERATE 0x0101\" -> \"PPTP_ETHERNET_UNI 0x0101\" "
                          "[label=\"same id\", style=dotted];\n"));
    EXPECT_THAT(dot(good_line + "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=9\n"),
                HasSubstr("\"PPTP_ETHERNET_UNI 0x0009\" [label=\"tagging\", style=dotted, "
                          "color=red, fontcolor=red];\n"));
}

TEST(graph_tagging, an_operation_on_the_path_is_bold)
{
    const me_id operation{me_class::evtocd, 1};
    const me_id uni{me_class::pptp, 0x0101};
    const auto dot = [&](const std::vector<me_id>& walked) {
        std::ostringstream out;
        write_dot(final_entities(parse_good(tagged_line)), walked, out);
        return out.str();
    };
    const std::string edge = "[label=\"tagging\", style=dotted, color=\"#d06000\", penwidth=3];\n";
    EXPECT_THAT(dot({operation, uni}), HasSubstr(edge));
    EXPECT_THAT(dot({uni}), Not(HasSubstr(edge)));
}

// The association of the operation 2 is not known, and no UNI has its id.
TEST(graph_tagging, json_has_each_operation_with_its_place)
{
    std::ostringstream out;
    print_graph_json(
        final_entities(parse_good(tagged_line + "tagging VLAN_TAG_OPERATE 2 upstream_mode=2\n")),
        {{me_class::evtocd, 1}}, "test.scn", out);
    const auto operations = nlohmann::json::parse(out.str())["operations"];
    ASSERT_EQ(operations.size(), 2u);
    EXPECT_EQ(operations[0]["instance"], 2);
    EXPECT_EQ(operations[0]["highlighted"], false);
    EXPECT_FALSE(operations[0].contains("at"));
    EXPECT_EQ(operations[1]["highlighted"], true);
    EXPECT_EQ(operations[1]["at"]["class"], "PPTP_ETHERNET_UNI");
    EXPECT_EQ(operations[1]["at"]["instance"], 0x0101);
}

} // namespace

} // namespace gponflow

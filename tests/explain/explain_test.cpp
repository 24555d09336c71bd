// SPDX-License-Identifier: GPL-2.0-only
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tests/tool/scratch_folder.h"
#include "tool/explain/explain_output.h"
#include "tool/model/graph.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"
#include "tool/scenario/open.h"

namespace gponflow {

namespace {

// What is printed about the last frame of a scenario.
std::string explanation_of(const scenario& input)
{
    std::ostringstream out;
    const std::unique_ptr<backend> target = make_host_backend();
    if (const auto found = explain_frame(input, *target, {}, out))
        print_explanation(*found, out);
    return out.str();
}

std::string explanation_of(const std::string& text)
{
    return explanation_of(parse_good(text));
}

bool holds_text(const std::string& text, const std::string& part)
{
    return text.find(part) != text.npos;
}

std::string hook_up_ani(const std::string& frame)
{
    return "hook kind=up_ani " + frame + "\n";
}

TEST(explain, names_each_step_to_the_gem_port)
{
    EXPECT_EQ(explanation_of(good_line + hook_up_ani(frame_of_vlan_100)),
              "upstream, from the bridge to the ANI, 20 bytes\n"
              "  MAC_BRIDGE_SERVICE_PROFILE 0x0001\n"
              "    MAC_BRIDGE_PORT_CON_DATA 0x0101  bridgeID=0x0001 tpType=1 tpPointer=0x0101\n"
              "        x a port on the UNI side, not on the path of this frame\n"
              "    MAC_BRIDGE_PORT_CON_DATA 0x1001  bridgeID=0x0001 tpType=5 tpPointer=0x0011\n"
              "        filter 0x1001: code 0x04, TCI 0x0064 (VLAN 100, priority 0), list "
              "{0x0064}: pass\n"
              "      GEM_INTERWORK_TP 0x0011  gemCTPInstID=0x0001\n"
              "        GEM_PORT_CTP 0x0001  portID=1025 direction=3\n"
              "passes to GEM port 1025; a rule was learnt\n");
}

TEST(explain, a_dropped_frame_ends_with_the_deepest_branch)
{
    const std::string text = explanation_of(good_line + hook_up_ani(frame_of_vlan_101));
    EXPECT_TRUE(holds_text(
        text,
        "dropped\n"
        "deepest branch: MAC_BRIDGE_SERVICE_PROFILE 0x0001 > MAC_BRIDGE_PORT_CON_DATA 0x1001\n"
        "  filter 0x1001: code 0x04, TCI 0x0065 (VLAN 101, priority 0), list {0x0064}: drop\n"
        "The frame reached MAC_BRIDGE_PORT_CON_DATA 0x1001: its VLAN filter drops the "
        "frame.\n"))
        << text;
}

TEST(explain, a_filter_that_is_gone_has_decided_nothing)
{
    const std::string text = explanation_of(good_line + "debug clean raw_data 84 1001\n" +
                                            hook_up_ani(frame_of_vlan_100));
    EXPECT_TRUE(holds_text(text, "MAC_BRIDGE_PORT_CON_DATA 0x1001: its VLAN filter or mapper "
                                 "cannot be read.\n"))
        << text;
    EXPECT_FALSE(holds_text(text, "drops the frame")) << text;
}

TEST(explain, every_branch_of_the_greatest_depth_is_named)
{
    const std::string text = explanation_of(
        good_line +
        "me create MAC_BRIDGE_PORT_CON_DATA 0x1002 bridgeID=1 tpType=5 tpPointer=0x11\n"
        "me create VLAN_TAG_FILTER_DATA 0x1002 vlanFilterList=200 forwardOperation=0x04 "
        "vlanFilterNums=1\n" +
        hook_up_ani(frame_of_vlan_101));
    EXPECT_TRUE(holds_text(
        text,
        "dropped\n"
        "deepest branch: MAC_BRIDGE_SERVICE_PROFILE 0x0001 > MAC_BRIDGE_PORT_CON_DATA 0x1001\n"
        "  filter 0x1001: code 0x04, TCI 0x0065 (VLAN 101, priority 0), list {0x0064}: drop\n"
        "deepest branch: MAC_BRIDGE_SERVICE_PROFILE 0x0001 > MAC_BRIDGE_PORT_CON_DATA 0x1002\n"
        "  filter 0x1002: code 0x04, TCI 0x0065 (VLAN 101, priority 0), list {0x00c8}: drop\n"
        "The frame reached MAC_BRIDGE_PORT_CON_DATA 0x1001 and MAC_BRIDGE_PORT_CON_DATA "
        "0x1002: their VLAN filters drop the frame.\n"))
        << text;
}

TEST(explain, branches_that_end_for_different_reasons_are_distinguished)
{
    walk_record walk;
    walk.steps = {{{me_class::mbsp, 1}, 0, false, {}, {}},
                  {{me_class::mbpcd, 1}, 1, false, {}, "no mapper"},
                  {{me_class::mbpcd, 2}, 1, false, {}, "another side"},
                  {{me_class::mbpcd, 3}, 1, false, {}, "no mapper"},
                  {{me_class::mbpcd, 4}, 1, true, {}, {}}};
    EXPECT_EQ(deepest_dead_ends(walk), (std::vector<size_t>{1, 2, 3}));
    EXPECT_EQ(dead_ends_text(walk),
              "MAC_BRIDGE_PORT_CON_DATA 0x0001 and MAC_BRIDGE_PORT_CON_DATA 0x0003: no mapper; "
              "MAC_BRIDGE_PORT_CON_DATA 0x0002: another side");
    EXPECT_EQ(dead_ends_text(walk, 1), "MAC_BRIDGE_PORT_CON_DATA 0x0001 and 1 more: no mapper; "
                                       "MAC_BRIDGE_PORT_CON_DATA 0x0002: another side");
    EXPECT_EQ(dead_ends_text({}), "");
}

const std::string multicast_line =
    good_line + "me create GEM_PORT_CTP 7 portID=4094 direction=2\n"
                "me create MULTICAST_GEM_INTERWORK_TP 0x61 GemCTPInstID=7\n"
                "me create MAC_BRIDGE_PORT_CON_DATA 0x3001 bridgeID=1 tpType=6 tpPointer=0x61\n"
                "me create VLAN_TAG_FILTER_DATA 0x3001 vlanFilterList=300 forwardOperation=0x04 "
                "vlanFilterNums=1\n";
const std::string multicast_hook =
    "hook kind=down_ani gem=4094 mcast=1 frame=01005e0000010200000001018100006508004500\n";

TEST(explain, a_multicast_frame_that_no_bridge_takes_passes_with_a_reason)
{
    const std::string text = explanation_of(multicast_line + multicast_hook);
    EXPECT_TRUE(holds_text(text, "x its VLAN filter blocks the frame at this port\n")) << text;
    EXPECT_FALSE(holds_text(text, "drops")) << text;
    EXPECT_TRUE(holds_text(text, "passes from GEM port 4094; a rule was learnt\n"
                                 "No branch leads into a bridge, but the frame passes: "))
        << text;
}

TEST(explain, a_replay_that_a_filter_refuses_passes_with_a_reason)
{
    const std::string text = explanation_of(multicast_line + multicast_hook + multicast_hook);
    EXPECT_TRUE(holds_text(text, "its rule was replayed\n"
                                 "MAC_BRIDGE_PORT_CON_DATA 0x3001 refuses the frame, but a replay "
                                 "makes all steps of its rule, and none of them drops a frame.\n"))
        << text;
    EXPECT_FALSE(holds_text(text, "its VLAN filter drops the frame")) << text;
    EXPECT_FALSE(holds_text(text, "The replay ends")) << text;
}

// The instance is cleaned, the rule and the link to it remain.
TEST(explain, a_replay_continues_behind_a_filter_that_is_gone)
{
    const std::string text =
        explanation_of(good_line + hook_up_ani(frame_of_vlan_100) +
                       "proc write \"clean raw_data 84 1001\"\n" + hook_up_ani(frame_of_vlan_100));
    EXPECT_TRUE(holds_text(text, "x its VLAN filter or mapper cannot be read\n")) << text;
    EXPECT_TRUE(holds_text(text, "GEM_PORT_CTP 0x0001  portID=1025")) << text;
    EXPECT_TRUE(holds_text(text, "passes to GEM port 1025; its rule was replayed\n"
                                 "MAC_BRIDGE_PORT_CON_DATA 0x1001 refuses the frame, but "))
        << text;
    EXPECT_FALSE(holds_text(text, "The replay ends")) << text;
}

TEST(explain, says_that_a_rule_was_replayed)
{
    const std::string text =
        explanation_of(good_line + hook_up_ani(frame_of_vlan_100) + hook_up_ani(frame_of_vlan_100));
    EXPECT_TRUE(holds_text(text, "passes to GEM port 1025; its rule was replayed\n")) << text;
    EXPECT_TRUE(holds_text(text, "MAC_BRIDGE_PORT_CON_DATA 0x1001")) << text;
}

TEST(explain, a_missing_link_is_named)
{
    const std::string text =
        explanation_of("load\nhook kind=switch param=1\nme create MAC_BRIDGE_SERVICE_PROFILE 1\n" +
                       hook_up_ani(frame_of_vlan_100));
    EXPECT_TRUE(holds_text(text, "The frame reached MAC_BRIDGE_SERVICE_PROFILE 0x0001: no "
                                 "MAC_BRIDGE_PORT_CON_DATA"))
        << text;
}

TEST(explain, names_the_direction_of_a_gem_port_towards_the_subscriber)
{
    const std::string text = explanation_of(
        good_line + "me set GEM_PORT_CTP 1 portID=1025 tcontID=0x8000 direction=2\n" +
        hook_up_ani(frame_of_vlan_100));
    EXPECT_TRUE(holds_text(text, "reached GEM_PORT_CTP 0x0001: its direction is 2")) << text;
}

TEST(explain, names_a_disabled_engine_and_an_unloaded_module)
{
    EXPECT_TRUE(holds_text(explanation_of("load\n" + hook_up_ani(frame_of_vlan_100)),
                           "the engine is disabled"));
    EXPECT_TRUE(holds_text(explanation_of(hook_up_ani(frame_of_vlan_100)), "not loaded"));
}

TEST(explain, says_that_the_engine_is_disabled_when_a_frame_fails)
{
    const std::string text =
        explanation_of("load\nplatform mapping=-1\n" + hook_up_ani(frame_of_vlan_100));
    EXPECT_TRUE(holds_text(text, "dropped\n  the engine is disabled, and the platform found no GEM "
                                 "port\n"))
        << text;
    EXPECT_TRUE(holds_text(explanation_of(good_line + "hook kind=7 " + frame_of_vlan_100 + "\n"),
                           "dropped\n  a hook call of an unknown kind\n"));
}

TEST(explain, a_scenario_without_a_frame_is_refused)
{
    std::ostringstream out;
    const std::unique_ptr<backend> target = make_host_backend();
    const auto found = explain_frame(parse_good("load\n"), *target, {}, out);
    ASSERT_FALSE(found);
    EXPECT_EQ(found.status(), status_invalid);
    EXPECT_TRUE(out.str().starts_with("test.scn: no frame")) << out.str();
}

// The module reads the two bytes behind the list, and nothing behind the record.
TEST(explain, a_default_priority_above_seven_selects_what_the_module_reads)
{
    std::ostringstream errors;
    const auto line = open_scenario(
        "tests/scenarios/mapper/default-priority-above-seven-reads-the-record.scn", errors);
    ASSERT_TRUE(line) << errors.str();
    const std::string text = explanation_of(*line);
    EXPECT_TRUE(holds_text(text, "mapper 0x0001: untagged, priority 200 selects GEM IW TP 0x0000: "
                                 "no match\n"))
        << text;
}

TEST(explain, the_priority_selects_one_gem_iw_tp_of_the_mapper)
{
    std::ostringstream errors;
    auto line = open_scenario("scenarios/subscriber-line.scn", errors);
    ASSERT_TRUE(line) << errors.str();
    line->lines.push_back(
        parse_good("hook kind=up_ani frame=0200000000010200000001018100a06408004500\n").lines[0]);
    const std::string text = explanation_of(*line);
    EXPECT_TRUE(holds_text(text, "mapper 0x0001: TCI 0xa064, priority 5 selects GEM IW TP 0x0013: "
                                 "no match\n"))
        << text;
    EXPECT_TRUE(holds_text(text, "priority 5 selects GEM IW TP 0x0013: match\n")) << text;
    EXPECT_TRUE(holds_text(text, "passes to GEM port 1027, PRIORITY_QUEUE 0x0001; a rule was "
                                 "learnt\n"))
        << text;
}

TEST(choose_frame, takes_the_numbered_frame_of_a_capture)
{
    const auto frame = choose_frame({{"kind=up_uni", "port=1"}, "captures/upstream-uni1.pcap", 1});
    ASSERT_TRUE(frame);
    EXPECT_FALSE(frame->frame.data.empty());
    EXPECT_EQ(frame->options.port_word, 0x10u);
}

TEST(choose_frame, errors_name_the_fault)
{
    EXPECT_THROW(choose_frame({{"kind=up_uni"}, "", 1}), std::runtime_error);
    EXPECT_THROW(choose_frame({{"kind=sideways", "frame=00"}, "", 1}), std::runtime_error);
    EXPECT_THROW(choose_frame({{"kind=up_uni"}, "captures/upstream-uni1.pcap", 0}),
                 std::runtime_error);
    EXPECT_THROW(choose_frame({{"kind=up_uni"}, "absent.pcap", 1}), std::runtime_error);
    EXPECT_FALSE(choose_frame({}));
}

TEST(choose_frame, accepts_a_capture_that_is_cut_off_after_the_frame)
{
    const scratch_folder folder;
    std::ifstream whole("captures/upstream-uni1.pcap", std::ios::binary);
    std::string start(1000, '\0');
    whole.read(start.data(), static_cast<std::streamsize>(start.size()));
    const std::string file = folder.write("cut.pcap", start).string();
    const auto frame = choose_frame({{"kind=up_uni"}, file, 1});
    const auto same = choose_frame({{"kind=up_uni"}, "captures/upstream-uni1.pcap", 1});
    ASSERT_TRUE(frame && same);
    EXPECT_EQ(frame->frame.data, same->frame.data);
    EXPECT_THROW(choose_frame({{"kind=up_uni"}, file, 100}), std::runtime_error);
}

std::string dot_of(const std::string& text, const std::vector<me_id>& walked = {})
{
    std::ostringstream out;
    write_dot(final_entities(parse_good(text)), walked, out);
    return out.str();
}

TEST(graph, draws_missing_instances_in_red)
{
    const std::string dot = dot_of("me create GEM_INTERWORK_TP 0x11 gemCTPInstID=7\n");
    EXPECT_TRUE(
        holds_text(dot, "\"GEM_PORT_CTP 0x0007\" [label=\"GEM_PORT_CTP 0x0007\", color=red"))
        << dot;
    EXPECT_TRUE(holds_text(dot, "\"GEM_INTERWORK_TP 0x0011\" -> \"GEM_PORT_CTP 0x0007\" "
                                "[label=\"gemCTPInstID\", color=red"))
        << dot;
}

TEST(graph, tagging_operations_are_linked_to_the_instance_with_their_id)
{
    const std::string dot = dot_of(good_line + "me create VLAN_TAG_OPERATE 0x0101\n"
                                               "me create VLAN_TAG_OPERATE 0x1001\n"
                                               "me create VLAN_TAG_OPERATE 0x7777\n"
                                               "me create VLAN_TAG_EXTEND_OPERATE 0x1001\n");
    EXPECT_TRUE(holds_text(dot, "\"VLAN_TAG_OPERATE 0x0101\" -> \"PPTP_ETHERNET_UNI 0x0101\" "
                                "[label=\"same id\", style=dotted]"))
        << dot;
    EXPECT_TRUE(holds_text(dot, "\"VLAN_TAG_OPERATE 0x1001\" -> "
                                "\"MAC_BRIDGE_PORT_CON_DATA 0x1001\" [label=\"same id\""))
        << dot;
    EXPECT_TRUE(holds_text(dot, "\"VLAN_TAG_OPERATE 0x7777\" [")) << dot;
    EXPECT_FALSE(holds_text(dot, "\"VLAN_TAG_OPERATE 0x7777\" ->")) << dot;
    EXPECT_FALSE(holds_text(dot, "\"VLAN_TAG_EXTEND_OPERATE 0x1001\" ->")) << dot;
}

TEST(graph, a_good_line_has_no_red_and_its_path_is_bold)
{
    const std::string plain = dot_of(good_line);
    EXPECT_FALSE(holds_text(plain, "red"));
    EXPECT_FALSE(holds_text(plain, "penwidth"));
    const std::string bold = dot_of(good_line, {{me_class::gemiw, 0x11}, {me_class::gemctp, 1}});
    EXPECT_TRUE(holds_text(bold, "\"GEM_INTERWORK_TP 0x0011\" -> \"GEM_PORT_CTP 0x0001\" "
                                 "[label=\"gemCTPInstID\", color=\"#d06000\", penwidth=3]"))
        << bold;
}

} // namespace

} // namespace gponflow

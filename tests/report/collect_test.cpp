// SPDX-License-Identifier: GPL-2.0-only
#include <sstream>

#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tool/explain/explain_output.h"
#include "tool/report/collect.h"
#include "tool/scenario/host_backend.h"
#include "tool/scenario/open.h"

namespace gponflow {

namespace {

report_data collected(const scenario& input)
{
    report_data data;
    std::ostringstream output;
    const std::unique_ptr<backend> target = make_host_backend();
    EXPECT_EQ(collect_report(input, *target, data, output), status_ok) << output.str();
    return data;
}

report_data collected(const std::string& text)
{
    return collected(parse_good(text));
}

std::string hook(const std::string& frame)
{
    return "hook kind=up_ani " + frame + "\n";
}

TEST(collect_report, frames_alike_are_one_flow)
{
    const report_data data = collected(good_line + hook(frame_of_vlan_100) +
                                       hook(frame_of_vlan_100) + hook(frame_of_vlan_101));
    ASSERT_EQ(data.flows.size(), 2u);
    const flow_row& passed = data.flows[0];
    EXPECT_EQ(passed.frames, 2u);
    EXPECT_EQ(passed.octets, 40u);
    EXPECT_EQ(passed.quick, 1u);
    EXPECT_EQ(passed.outcome, "GEM port 1025 from bridge 1");
    EXPECT_EQ(passed.first, "test.scn:9");
    EXPECT_EQ(passed.path, (std::vector<me_id>{{me_class::mbsp, 1},
                                               {me_class::mbpcd, 0x1001},
                                               {me_class::gemiw, 0x11},
                                               {me_class::gemctp, 1}}));
    EXPECT_EQ(data.flows[1].fate, frame_fate::dropped);
    EXPECT_EQ(data.flows[1].outcome,
              "VLAN_TAG_FILTER_DATA 0x1001 of bridge 1 (forwardOperation 0x04) passes only VLAN "
              "100");
}

TEST(collect_report, drops_are_gathered_by_reason_with_the_first_as_example)
{
    const report_data data = collected(good_line + hook(frame_of_vlan_101) +
                                       hook(frame_of_vlan_100) + hook(frame_of_vlan_101));
    ASSERT_EQ(data.drops.size(), 1u);
    EXPECT_EQ(data.drops[0].frames, 2u);
    EXPECT_EQ(data.drops[0].first, "test.scn:9");
    std::ostringstream output;
    print_explanation(data.drops[0].example, output);
    EXPECT_NE(output.str().find("list {0x0064}: drop"), std::string::npos) << output.str();
}

// Untagged frames of UNI 1 become VLAN 100; the inverse removes the tag.
TEST(collect_report, passed_flow_names_the_operations_that_rewrite_it)
{
    const std::string line =
        good_line + "me create VLAN_TAG_EXTEND_OPERATE 1\n"
                    "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101 "
                    "downstream_mode=0 rows=default\n"
                    "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000f8000000000f000000000324\n";
    const report_data data =
        collected(line +
                  "hook kind=up_uni port=1 frame=02000000000102000000010108004500\n"
                  "hook kind=down_ani gem=1025 frame=02000000010102000000000181000064080045\n" +
                  hook(frame_of_vlan_100));
    ASSERT_EQ(data.flows.size(), 3u);
    EXPECT_EQ(data.flows[0].fate, frame_fate::passed);
    EXPECT_EQ(data.flows[0].rewriting,
              std::vector<std::string>{"VLAN_TAG_EXTEND_OPERATE 0x0001: untagged: add VLAN 100 "
                                       "with priority 0, TPID 0x8100 (set in line 11)"});
    EXPECT_EQ(data.flows[1].fate, frame_fate::passed) << data.flows[1].outcome;
    EXPECT_EQ(data.flows[1].rewriting,
              std::vector<std::string>{
                  "to PPTP_ETHERNET_UNI 0x0101, VLAN_TAG_EXTEND_OPERATE 0x0001: inverse of "
                  "untagged: add VLAN 100 with priority 0, TPID 0x8100 (set in line 11; "
                  "downstream_mode in line 10)"});
    EXPECT_TRUE(data.flows[2].rewriting.empty()); // as it is at the hook call
}

TEST(collect_report, an_example_uses_the_provisioning_of_its_time)
{
    const report_data data =
        collected(good_line + hook(frame_of_vlan_101) +
                  "me set VLAN_TAG_FILTER_DATA 0x1001 vlanFilterList=101 forwardOperation=0x04 "
                  "vlanFilterNums=1\n" +
                  hook(frame_of_vlan_101));
    ASSERT_EQ(data.drops.size(), 1u);
    const auto filter =
        data.drops[0].example.entities.find({me_class::vtfd, 0x1001})->as<gpon_raw_vtfd>();
    EXPECT_EQ(filter.vlanFilterList[0], 100);
    EXPECT_EQ(data.directions[1].passed, 1u);
    EXPECT_EQ(data.directions[1].dropped, 1u);
}

TEST(collect_report, rules_are_those_at_the_end_and_an_unload_there_does_not_hide_them)
{
    const report_data data = collected(good_line + hook(frame_of_vlan_100) + "unload\n");
    ASSERT_TRUE(data.rules);
    ASSERT_EQ(data.rules->rules.size(), 1u);
    EXPECT_EQ(data.rules->rules[0].key.tags, (std::vector<vlan_tag>{{0x8100, 100}}));
}

TEST(collect_report, an_engine_that_is_off_touches_no_frame)
{
    const report_data off = collected("load\n" + hook(frame_of_vlan_100));
    EXPECT_EQ(off.directions[1].untouched, 1u);
    EXPECT_EQ(off.flows.at(0).outcome, "the engine is disabled");
    const report_data gone = collected(hook(frame_of_vlan_100));
    EXPECT_EQ(gone.flows.at(0).outcome, "the module is not loaded");
    EXPECT_FALSE(gone.rules);
}

TEST(collect_report, a_frame_without_a_gem_port_is_dropped_with_the_engine_off)
{
    const report_data data = collected("load\nplatform mapping=-1\n" + hook(frame_of_vlan_100));
    EXPECT_EQ(data.directions[1].dropped, 1u);
    EXPECT_EQ(data.directions[1].untouched, 0u);
    EXPECT_EQ(data.flows.at(0).outcome,
              "the engine is disabled, and the platform found no GEM port");
}

TEST(collect_report, flows_beyond_the_most_are_counted)
{
    std::string text = good_line;
    for (unsigned i = 0; i < most_flows + 5; ++i) {
        char frame[64];
        std::snprintf(frame, sizeof(frame), "frame=02000000000102000000%04x810000640800", i);
        text += hook(frame);
    }
    const report_data data = collected(text);
    EXPECT_EQ(data.flows.size(), most_flows);
    EXPECT_EQ(data.flows_left_out, 5u);
    EXPECT_EQ(data.directions[1].frames, most_flows + 5);
}

TEST(collect_report, drops_with_other_tags_have_an_example_of_their_own)
{
    const std::string untagged = "frame=0200000000010200000001010800450000140000";
    const report_data data = collected(good_line + hook(frame_of_vlan_101) + hook(untagged));
    ASSERT_EQ(data.drops.size(), 2u);
    EXPECT_EQ(to_text(data.drops[0].tags), "101");
    EXPECT_EQ(to_text(data.drops[1].tags), "untagged");
    const std::string filter = "VLAN_TAG_FILTER_DATA 0x1001 of bridge 1 (forwardOperation 0x04) ";
    EXPECT_EQ(data.drops[0].reason, filter + "passes only VLAN 100");
    EXPECT_EQ(data.drops[1].reason, filter + "drops untagged frames");
}

TEST(collect_report, a_drop_names_every_branch_as_deep_as_the_deepest)
{
    const report_data data =
        collected(good_line +
                  "me create MAC_BRIDGE_SERVICE_PROFILE 2\n"
                  "me create MAC_BRIDGE_PORT_CON_DATA 0x2001 bridgeID=2 tpType=5 tpPointer=0x11\n"
                  "me create VLAN_TAG_FILTER_DATA 0x2001 vlanFilterList=200 forwardOperation=0x04 "
                  "vlanFilterNums=1\n" +
                  hook(frame_of_vlan_101));
    ASSERT_EQ(data.drops.size(), 1u);
    EXPECT_EQ(data.drops[0].reason,
              "VLAN_TAG_FILTER_DATA 0x1001 of bridge 1 (forwardOperation 0x04) passes only VLAN "
              "100; VLAN_TAG_FILTER_DATA 0x2001 of bridge 2 (forwardOperation 0x04) passes only "
              "VLAN 200");
}

TEST(collect_report, drops_beyond_the_most_are_counted)
{
    std::string text = good_line;
    for (unsigned vlan = 200; vlan < 200 + most_drops + 3; ++vlan) {
        char frame[64];
        std::snprintf(frame, sizeof(frame), "frame=0200000000010200000001018100%04x08004500", vlan);
        text += hook(frame);
    }
    const report_data data = collected(text);
    EXPECT_EQ(data.drops.size(), most_drops);
    EXPECT_EQ(data.drops_left_out, 3u);
}

TEST(collect_report, a_flow_that_only_replays_has_the_path_of_the_walk)
{
    const report_data data =
        collected(good_line + hook("frame=02000000000102000000010181000064080045") +
                  hook("frame=02000000000102000000010181000064080600"));
    ASSERT_EQ(data.flows.size(), 2u);
    EXPECT_EQ(data.flows[1].quick, 1u);
    EXPECT_EQ(data.flows[1].path, data.flows[0].path);
}

// The sum of the flows equals that of the directions for any traffic.
TEST(collect_report, recorded_traffic_is_counted_whole)
{
    std::ostringstream errors;
    const auto demo = open_scenario("scenarios/demo.scn", errors);
    ASSERT_TRUE(demo) << errors.str();
    const report_data data = collected(*demo);
    std::array<uint64_t, 4> frames{};
    for (const flow_row& flow : data.flows)
        frames.at(flow.kind) += flow.frames;
    for (size_t kind = 0; kind < frames.size(); ++kind) {
        const direction_row& direction = data.directions.at(kind);
        EXPECT_EQ(frames.at(kind), direction.frames);
        EXPECT_EQ(direction.passed + direction.dropped + direction.untouched, direction.frames);
    }
    EXPECT_EQ(data.directions[1].frames, 304u);
    EXPECT_EQ(data.captures.size(), 6u);
}

} // namespace

} // namespace gponflow

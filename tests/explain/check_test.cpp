// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "include/packet_flow.h"
#include "me/registry.h"
#include "tests/explain/lines.h"
#include "tool/check/check.h"
#include "tool/check/check_output.h"
#include "tool/model/class_records.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/open.h"

namespace gponflow {

namespace {

check_result checked(const std::string& text, const check_options& options = {})
{
    return check_provisioning(final_entities(parse_good(text)), options);
}

// Without warnings: most lines of these tests are parts of a line.
std::vector<finding> findings_of(const std::string& text)
{
    std::vector<finding> all = checked(text).findings;
    std::erase_if(all, [](const finding& one) { return one.weight == finding_weight::warning; });
    return all;
}

std::string summary(const finding& one)
{
    return one.rule + " " + to_text(one.id) + " " + std::to_string(one.line);
}

// "rule class instance line" of each finding except warnings.
std::vector<std::string> kinds_of(const std::string& text)
{
    std::vector<std::string> result;
    for (const finding& one : findings_of(text))
        result.push_back(summary(one));
    return result;
}

using names = std::vector<std::string>;

TEST(check, finds_nothing_in_a_good_line)
{
    EXPECT_TRUE(checked(good_line, {true, {}}).findings.empty());
}

TEST(check, the_subscriber_line_has_no_findings_but_capacities_on_request)
{
    for (const char* file : {"scenarios/subscriber-line.scn", "scenarios/demo.scn"}) {
        std::ostringstream errors;
        const auto parsed = open_scenario(file, errors);
        ASSERT_TRUE(parsed) << errors.str();
        const line_model entities = final_entities(*parsed);
        const check_result quiet = check_provisioning(entities, {false, silences_of(*parsed)});
        EXPECT_TRUE(quiet.findings.empty()) << summary(quiet.findings.front());
        EXPECT_EQ(quiet.on_request, 8u);
        const check_result all = check_provisioning(entities, {true, silences_of(*parsed)});
        EXPECT_EQ(all.findings.size(), 8u);
        for (const finding& one : all.findings)
            EXPECT_EQ(one.rule, "capacity") << one.reason;
    }
}

TEST(check, reports_a_pointer_to_nothing)
{
    EXPECT_EQ(kinds_of("load\nme create GEM_INTERWORK_TP 0x11 gemCTPInstID=7\n"),
              names{"missing-instance GEM_INTERWORK_TP 0x0011 2"});
}

TEST(check, reports_a_pointer_that_came_before_its_target)
{
    EXPECT_EQ(kinds_of("me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
                       "me create GEM_PORT_CTP 1 portID=1025 direction=3\n"),
              names{"not-linked GEM_INTERWORK_TP 0x0011 1"});
}

TEST(check, a_set_after_the_target_records_the_pointer)
{
    EXPECT_EQ(kinds_of("me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
                       "me create GEM_PORT_CTP 1 portID=1025 direction=3\n"
                       "me set GEM_INTERWORK_TP 0x11 mask=0x8000 gemCTPInstID=1\n"),
              names{});
}

TEST(check, reports_a_bridge_port_of_no_side)
{
    EXPECT_EQ(kinds_of("me create MAC_BRIDGE_SERVICE_PROFILE 1\n"
                       "me create MAC_BRIDGE_PORT_CON_DATA 5 bridgeID=1 tpType=4\n"),
              names{"no-side MAC_BRIDGE_PORT_CON_DATA 0x0005 2"});
}

TEST(check, reports_a_filter_on_the_uni_side)
{
    EXPECT_EQ(kinds_of(good_line + "me create VLAN_TAG_FILTER_DATA 0x0101 forwardOperation=0\n"),
              names{"filter-on-uni-side VLAN_TAG_FILTER_DATA 0x0101 9"});
}

TEST(check, reports_a_filter_whose_operation_and_count_are_out_of_range)
{
    EXPECT_EQ(kinds_of(good_line + "me set VLAN_TAG_FILTER_DATA 0x1001 forwardOperation=0x22 "
                                   "vlanFilterNums=13\n"),
              (names{"unknown-operation VLAN_TAG_FILTER_DATA 0x1001 9",
                     "list-too-long VLAN_TAG_FILTER_DATA 0x1001 9"}));
}

TEST(check, priorities_without_a_path_are_listed_by_reason)
{
    const std::vector<finding> all = findings_of(
        "me create GEM_PORT_CTP 1 portID=1025 direction=3\n"
        "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
        "me create 802_1P_MAPPER 1 pbit_GemIWTP=0x11,0x11,0x99,0x11,0xffff,0,0x11,0x11\n"
        "me create 802_1P_MAPPER 2 pbit_GemIWTP=0x11,0x11,0x11,0x11,0x11,0x11,0x11,0x11\n");
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0].reason, "priority 2: GEM_INTERWORK_TP 0x0099 does not exist");
    EXPECT_EQ(all[1].reason, "priority 4, 5: no GEM IW TP");
    EXPECT_EQ(all[2].reason, "priority 0, 1, 2, 3, 4, 5, 6, 7: GEM_INTERWORK_TP 0x0011 is used by "
                             "802_1P_MAPPER 0x0001");
    EXPECT_EQ(all[2].line, 4u);
}

TEST(check, reports_a_gem_port_towards_the_subscriber_below_an_upstream_path)
{
    EXPECT_EQ(kinds_of("me create GEM_PORT_CTP 1 portID=1025 direction=2\n"
                       "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"),
              names{"wrong-direction GEM_PORT_CTP 0x0001 1"});
    EXPECT_EQ(kinds_of("me create GEM_PORT_CTP 1 portID=4094 direction=2\n"
                       "me create MULTICAST_GEM_INTERWORK_TP 0x11 GemCTPInstID=1\n"),
              names{});
}

TEST(check, a_gem_port_towards_the_olt_below_a_multicast_point_is_a_note)
{
    const std::vector<finding> all =
        findings_of("me create GEM_PORT_CTP 1 portID=4094 direction=1\n"
                    "me create MULTICAST_GEM_INTERWORK_TP 0x11 GemCTPInstID=1\n");
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].rule, "wrong-direction");
    EXPECT_EQ(all[0].weight, finding_weight::note);
    EXPECT_EQ(to_text(all[0].id), "GEM_PORT_CTP 0x0001");
    EXPECT_EQ(all[0].reason, "direction 1 (upstream only), but MULTICAST_GEM_INTERWORK_TP 0x0011 "
                             "points at it: it carries no downstream stream");
}

TEST(check, a_gem_port_of_no_known_direction_is_a_note)
{
    for (const unsigned direction : {0u, 4u}) {
        const std::vector<finding> all = findings_of(
            "me create GEM_PORT_CTP 1 portID=1025 direction=" + std::to_string(direction) + "\n");
        ASSERT_EQ(all.size(), 1u);
        EXPECT_EQ(all[0].rule, "wrong-direction");
        EXPECT_EQ(all[0].weight, finding_weight::note);
    }
}

TEST(check, of_two_pointers_at_one_place_the_second_is_found)
{
    EXPECT_EQ(kinds_of("me create GEM_PORT_CTP 1 portID=1025 direction=3\n"
                       "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
                       "me create GEM_INTERWORK_TP 0x12 gemCTPInstID=1\n"),
              names{"row-overflow GEM_INTERWORK_TP 0x0012 3"});
}

TEST(check, a_deleted_pointer_frees_its_place)
{
    EXPECT_EQ(kinds_of("me create GEM_PORT_CTP 1 portID=1025 direction=3\n"
                       "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
                       "me delete GEM_INTERWORK_TP 0x11\n"
                       "me create GEM_INTERWORK_TP 0x12 gemCTPInstID=1\n"),
              names{});
}

TEST(check, reports_queues_on_the_wrong_side_of_the_boundary)
{
    const std::string config = "config upstream_queue_num=32 related_port_boundary=0x80000000\n";
    EXPECT_EQ(kinds_of(config + "me set PRIORITY_QUEUE 1 relatedPort=0x01010000 tsPointer=1\n"
                                "me set PRIORITY_QUEUE 2 relatedPort=0x80000000 tsPointer=1\n"
                                "me set PRIORITY_QUEUE 40 relatedPort=0x80010000 tsPointer=1\n"),
              (names{"queue-on-wrong-side PRIORITY_QUEUE 0x0001 2",
                     "queue-on-wrong-side PRIORITY_QUEUE 0x0028 4"}));
}

// Steps of the longest path from a class, in one direction; a cycle has no end.
unsigned longest_path(me_class class_id, uint16_t direction, unsigned so_far = 0)
{
    if (so_far > MAX_RECURSION_NUM)
        return so_far;
    unsigned longest = so_far + 1;
    const auto* entry = std::ranges::find(me_table, class_id, &gpon_me_entry::class_id);
    if (entry == std::end(me_table) || !entry->fwd_op || !entry->fwd_op->next_classes)
        return longest;
    for (const gpon_me_next_class* next = entry->fwd_op->next_classes;
         next->class_id != me_class::none; ++next)
        if (next->flags & direction)
            longest = std::max(longest, longest_path(next->class_id, direction, so_far + 1));
    return longest;
}

// This is why there is no finding for a graph that is too deep for a walk.
TEST(check, no_provisioning_is_deeper_than_a_walk)
{
    unsigned longest = 0;
    for (const class_record& fields : me_classes())
        for (const uint16_t direction : {UP_ANI, UP_UNI, DOWN_ANI, DOWN_UNI})
            longest = std::max(longest, longest_path(fields.id, direction));
    EXPECT_EQ(longest, 5u);
    EXPECT_LT(longest, MAX_RECURSION_NUM);
}

TEST(check, instances_that_the_module_creates_have_no_pointers)
{
    EXPECT_EQ(kinds_of("me create GEM_PORT_CTP 1 portID=1025 direction=3 trafficMgrPtrUp=7\n"),
              names{});
}

TEST(check, counts_are_part_of_the_finding)
{
    const auto last_line = [](const std::string& text) {
        std::ostringstream out;
        print_findings(checked(text), {"a.scn", {}}, out);
        const std::string printed = out.str().substr(0, out.str().size() - 1);
        return printed.substr(printed.rfind('\n') + 1);
    };
    const std::string dangling =
        "me create MAC_BRIDGE_PORT_CON_DATA 5 bridgeID=7 tpType=1 tpPointer=1\n";
    EXPECT_EQ(last_line(""), "0 problems, 0 warnings, 0 notes");
    EXPECT_EQ(last_line(dangling), "1 problem, 0 warnings, 0 notes");
    EXPECT_EQ(last_line(dangling +
                        "me create MAC_BRIDGE_PORT_CON_DATA 6 bridgeID=8 tpType=1 tpPointer=2\n"),
              "2 problems, 0 warnings, 0 notes");
    EXPECT_EQ(last_line("me create GEM_PORT_CTP 1 portID=1 direction=3\n"),
              "0 problems, 1 warning, 0 notes");
}

TEST(check, problems_are_red_where_there_are_colours)
{
    const check_result all =
        checked("me create MAC_BRIDGE_PORT_CON_DATA 5 bridgeID=7 tpType=1 tpPointer=1\n");
    std::ostringstream plain;
    print_findings(all, {"a.scn", {}}, plain);
    EXPECT_EQ(plain.str().find('\033'), std::string::npos);
    std::ostringstream coloured;
    print_findings(all, {"a.scn", {}}, coloured, palette{true});
    EXPECT_TRUE(coloured.str().starts_with("a.scn:1: \033[31mproblem\033[0m: ")) << coloured.str();
    EXPECT_TRUE(coloured.str().ends_with("\033[31m1 problem\033[0m, 0 warnings, 0 notes\n"));
}

TEST(check, json_of_nothing_is_valid)
{
    const json read = findings_json({}, {"a.scn", {}});
    EXPECT_EQ(read["problems"], 0);
    EXPECT_EQ(read["notes"], 0);
    EXPECT_TRUE(read["findings"].is_array());
    EXPECT_TRUE(read["findings"].empty());
}

TEST(check, json_holds_every_finding)
{
    const json read =
        findings_json(checked("me create GEM_INTERWORK_TP 0x11 gemCTPInstID=7\n"), {"a.scn", {}});
    EXPECT_EQ(read["problems"], 1);
    EXPECT_EQ(read["schema"], "gponflow-check-1");
    EXPECT_EQ(read["warnings"], 1);
    ASSERT_EQ(read["findings"].size(), 2u);
    EXPECT_EQ(read["findings"][0]["class_id"], 266);
    EXPECT_EQ(read["findings"][0]["instance"], 0x11);
    EXPECT_EQ(read["findings"][0]["line"], 1);
    EXPECT_EQ(read["findings"][0]["kind"], "missing-instance");
}

TEST(check, text_names_file_and_line)
{
    std::ostringstream out;
    print_findings(checked("me create GEM_INTERWORK_TP 0x11 gemCTPInstID=7\n"), {"a.scn", {}}, out);
    EXPECT_TRUE(out.str().starts_with("a.scn:1: problem: GEM_INTERWORK_TP 0x0011: ")) << out.str();
}

} // namespace

} // namespace gponflow

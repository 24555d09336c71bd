// SPDX-License-Identifier: GPL-2.0-only
// One broken line for each rule of `check`, and one without the mistake next to it.
#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tool/check/check.h"
#include "tool/scenario/final_state.h"

namespace gponflow {

namespace {

using names = std::vector<std::string>;

check_result result_of(const std::string& text, const check_options& options = {true, {}})
{
    return check_provisioning(final_entities(parse_good(text)), options);
}

// "class instance line" of each finding of one rule.
names found(const std::string& rule, const std::string& text)
{
    EXPECT_TRUE(find_rule(rule)) << rule;
    names result;
    for (const finding& one : result_of(text).findings)
        if (one.rule == rule)
            result.push_back(to_text(one.id) + " " + std::to_string(one.line));
    return result;
}

std::string reason(const std::string& rule, const std::string& text)
{
    for (const finding& one : result_of(text).findings)
        if (one.rule == rule)
            return one.reason;
    return "no finding";
}

// Two bridges, each with a UNI, a GEM port and a filter; the lines 2 to 15.
std::string two_services(const std::string& first_filter, const std::string& second_filter)
{
    return "load\n"
           "me create MAC_BRIDGE_SERVICE_PROFILE 1\n"
           "me create MAC_BRIDGE_SERVICE_PROFILE 2\n"
           "me create GEM_PORT_CTP 1 portID=1025 tcontID=0x8000 direction=3\n"
           "me create GEM_PORT_CTP 2 portID=1026 tcontID=0x8000 direction=3\n"
           "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
           "me create GEM_INTERWORK_TP 0x12 gemCTPInstID=2\n"
           "me create MAC_BRIDGE_PORT_CON_DATA 0x0101 bridgeID=1 tpType=1 tpPointer=0x0101\n"
           "me create MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=5 tpPointer=0x11\n"
           "me create MAC_BRIDGE_PORT_CON_DATA 0x0201 bridgeID=2 tpType=1 tpPointer=0x0102\n"
           "me create MAC_BRIDGE_PORT_CON_DATA 0x2001 bridgeID=2 tpType=5 tpPointer=0x12\n" +
           (first_filter.empty() ? "# none\n"
                                 : "me create VLAN_TAG_FILTER_DATA 0x1001 " + first_filter + "\n") +
           (second_filter.empty()
                ? "# none\n"
                : "me create VLAN_TAG_FILTER_DATA 0x2001 " + second_filter + "\n");
}

const std::string vlan_100 = "vlanFilterList=100 forwardOperation=0x10 vlanFilterNums=1";
const std::string vlan_200 = "vlanFilterList=200 forwardOperation=0x10 vlanFilterNums=1";

TEST(check_rules, two_separate_services_have_no_finding)
{
    EXPECT_TRUE(result_of(two_services(vlan_100, vlan_200)).findings.empty());
}

TEST(check_rules, the_first_bridge_without_filter_takes_the_frames_of_the_second)
{
    const std::string line = two_services("", vlan_200);
    EXPECT_EQ(found("bridge-without-filter", line), names{"MAC_BRIDGE_PORT_CON_DATA 0x1001 9"});
    EXPECT_EQ(reason("bridge-without-filter", line),
              "it accepts every VLAN, so frames of MAC_BRIDGE_SERVICE_PROFILE 0x0002 leave here: "
              "MAC_BRIDGE_SERVICE_PROFILE 0x0001 is tried first");
    EXPECT_EQ(result_of(line).findings.at(0).weight, finding_weight::problem);
}

TEST(check_rules, a_last_bridge_without_filter_is_a_warning)
{
    const check_result result = result_of(two_services(vlan_100, ""));
    ASSERT_EQ(result.findings.size(), 1u);
    EXPECT_EQ(result.findings[0].rule, "bridge-without-filter");
    EXPECT_EQ(result.findings[0].weight, finding_weight::warning);
    EXPECT_EQ(to_text(result.findings[0].id), "MAC_BRIDGE_PORT_CON_DATA 0x2001");
}

TEST(check_rules, a_single_bridge_needs_no_filter)
{
    EXPECT_EQ(found("bridge-without-filter", good_line + "me delete VLAN_TAG_FILTER_DATA 0x1001\n"),
              names{});
}

TEST(check_rules, reports_one_vlan_on_two_bridges)
{
    const std::string line =
        two_services(vlan_100, "vlanFilterList=200,100 forwardOperation=0x10 vlanFilterNums=2");
    EXPECT_EQ(found("vlan-on-two-bridges", line), names{"MAC_BRIDGE_PORT_CON_DATA 0x2001 11"});
    EXPECT_EQ(reason("vlan-on-two-bridges", line),
              "VLAN 100 also leaves through MAC_BRIDGE_PORT_CON_DATA 0x1001 of "
              "MAC_BRIDGE_SERVICE_PROFILE 0x0001, which is tried first");
}

// 0xa064 is VLAN 100 with priority 5, 0xc064 with priority 6.
TEST(check_rules, one_vlan_with_different_priorities_is_no_overlap)
{
    EXPECT_EQ(found("vlan-on-two-bridges",
                    two_services("vlanFilterList=0xa064 forwardOperation=0x14 vlanFilterNums=1",
                                 "vlanFilterList=0xc064 forwardOperation=0x14 vlanFilterNums=1")),
              names{});
    EXPECT_EQ(reason("vlan-on-two-bridges",
                     two_services("vlanFilterList=0xa064 forwardOperation=0x14 vlanFilterNums=1",
                                  "vlanFilterList=0xa064 forwardOperation=0x14 vlanFilterNums=1")),
              "VLAN 100 (priority 5) also leaves through MAC_BRIDGE_PORT_CON_DATA 0x1001 of "
              "MAC_BRIDGE_SERVICE_PROFILE 0x0001, which is tried first");
}

TEST(check_rules, untagged_frames_of_two_services_are_no_finding)
{
    EXPECT_TRUE(result_of(two_services("vlanFilterList=100 forwardOperation=0x0f vlanFilterNums=1",
                                       "vlanFilterList=200 forwardOperation=0x0f vlanFilterNums=1"))
                    .findings.empty());
}

TEST(check_rules, reports_a_second_port_of_a_bridge_that_accepts_nothing_new)
{
    const std::string line =
        good_line +
        "me create GEM_PORT_CTP 2 portID=1026 tcontID=0x8000 direction=3\n"
        "me create GEM_INTERWORK_TP 0x12 gemCTPInstID=2\n"
        "me create MAC_BRIDGE_PORT_CON_DATA 0x1002 bridgeID=1 tpType=5 tpPointer=0x12\n"
        "me create VLAN_TAG_FILTER_DATA 0x1002 " +
        vlan_100 + "\n";
    EXPECT_EQ(found("shadowed-port", line), names{"MAC_BRIDGE_PORT_CON_DATA 0x1002 11"});
    EXPECT_EQ(found("shadowed-port",
                    line + "me set VLAN_TAG_FILTER_DATA 0x1002 mask=0xe000 " + vlan_200 + "\n"),
              names{});
}

TEST(check_rules, reports_a_port_id_of_two_gem_ports)
{
    const std::string first = "load\nme create GEM_PORT_CTP 1 portID=1025 direction=3\n";
    EXPECT_EQ(
        found("duplicate-port-id", first + "me create GEM_PORT_CTP 2 portID=1025 direction=2\n"),
        names{"GEM_PORT_CTP 0x0002 3"});
    EXPECT_EQ(
        found("duplicate-port-id", first + "me create GEM_PORT_CTP 2 portID=1026 direction=3\n"),
        names{});
    EXPECT_EQ(found("duplicate-port-id", "load\nme create GEM_PORT_CTP 1 portID=1025 direction=1\n"
                                         "me create GEM_PORT_CTP 2 portID=1025 direction=2\n"),
              names{});
}

TEST(check_rules, reports_a_service_without_uni_or_without_ani)
{
    const std::string bridge = "load\nme create MAC_BRIDGE_SERVICE_PROFILE 1\n";
    const std::string uni =
        "me create MAC_BRIDGE_PORT_CON_DATA 0x0101 bridgeID=1 tpType=1 tpPointer=0x0101\n";
    EXPECT_EQ(found("service-without-ani", bridge + uni),
              names{"MAC_BRIDGE_SERVICE_PROFILE 0x0001 2"});
    EXPECT_EQ(found("service-without-uni", good_line + "me delete MAC_BRIDGE_PORT_CON_DATA 0x0101 "
                                                       "bridgeID=1 tpType=1 tpPointer=0x0101\n"),
              names{"MAC_BRIDGE_SERVICE_PROFILE 0x0001 2"});
    EXPECT_EQ(found("service-without-uni", good_line), names{});
    EXPECT_EQ(found("service-without-ani", good_line), names{});
}

TEST(check_rules, reports_a_gem_port_whose_t_cont_has_no_alloc_id)
{
    const std::string ports = "me create GEM_PORT_CTP 1 portID=1025 tcontID=0x8000 direction=3\n"
                              "me create GEM_PORT_CTP 2 portID=1026 tcontID=0x8001 direction=3\n"
                              "me create GEM_PORT_CTP 3 portID=4094 direction=2\n";
    EXPECT_EQ(found("gem-port-without-alloc-id", ports), names{});
    EXPECT_EQ(found("gem-port-without-alloc-id", "me set T_CONT 0x8000 allocID=256\n" + ports),
              names{"GEM_PORT_CTP 0x0002 3"});
    EXPECT_EQ(reason("gem-port-without-alloc-id", "me set T_CONT 0x8000 allocID=0xffff\n" + ports),
              "T_CONT 0x8000 has allocID 0xffff: the OLT grants no time to upstream frames of this "
              "GEM port");
    EXPECT_EQ(found("gem-port-without-alloc-id", "me set T_CONT 0x8000 allocID=256\n"
                                                 "me set T_CONT 0x8001 allocID=257\n" +
                                                     ports),
              names{});
}

TEST(check_rules, reports_a_t_cont_without_queue)
{
    const std::string line = "me set T_CONT 0x8000 allocID=256\n"
                             "me set T_CONT 0x8001 allocID=257\n"
                             "me create GEM_PORT_CTP 1 portID=1025 tcontID=0x8001 direction=3\n";
    EXPECT_EQ(found("tcont-without-queue", line), names{});
    EXPECT_EQ(found("tcont-without-queue",
                    line + "me set PRIORITY_QUEUE 0 relatedPort=0x80000000 tsPointer=0\n"),
              names{"T_CONT 0x8001 2"});
    EXPECT_EQ(found("tcont-without-queue",
                    line + "me set PRIORITY_QUEUE 0 relatedPort=0x80010000 tsPointer=0\n"),
              names{});
    EXPECT_EQ(found("tcont-without-queue",
                    line + "me set TRAFFIC_SCHEDULER 7 tcontPointer=0x8001\n"
                           "me set PRIORITY_QUEUE 0 relatedPort=0x80000000 tsPointer=7\n"),
              names{});
    EXPECT_EQ(found("tcont-without-queue",
                    "config traffic_mgmt_option=1\n" + line +
                        "me set PRIORITY_QUEUE 0 relatedPort=0x80000000 tsPointer=0\n"),
              names{});
}

TEST(check_rules, reports_a_filter_that_no_frame_passes)
{
    const auto line = [](const std::string& filter) {
        return good_line + "me set VLAN_TAG_FILTER_DATA 0x1001 mask=0xe000 " + filter + "\n";
    };
    EXPECT_EQ(found("filter-passes-nothing",
                    line("vlanFilterList=100 forwardOperation=0x10 vlanFilterNums=0")),
              names{"VLAN_TAG_FILTER_DATA 0x1001 9"});
    // 0x0f passes untagged frames, 0x06 what is not in the list.
    EXPECT_EQ(found("filter-passes-nothing", line("forwardOperation=0x0f vlanFilterNums=0")),
              names{});
    EXPECT_EQ(found("filter-passes-nothing", line("forwardOperation=0x06 vlanFilterNums=0")),
              names{});
}

// 0xa12c is VLAN 300 with priority 5.
TEST(check_rules, reports_a_filter_that_compares_the_priority_too)
{
    const std::string line = good_line +
                             "me set VLAN_TAG_FILTER_DATA 0x1001 mask=0xe000 vlanFilterList=0xa12c "
                             "vlanFilterNums=1 forwardOperation=";
    EXPECT_EQ(reason("filter-compares-priority", line + "0x14\n"),
              "forwardOperation 0x14 compares the whole tag: VLAN 300 passes with priority 5 only");
    EXPECT_EQ(found("filter-compares-priority", line + "0x10\n"), names{});
    // 0x0e drops what is in the list.
    EXPECT_EQ(found("filter-compares-priority", line + "0x0e\n"), names{});
}

TEST(check_rules, priorities_that_another_port_accepts_are_no_finding)
{
    EXPECT_EQ(found("filter-compares-priority",
                    two_services("vlanFilterList=0x2064,0x4064,0x6064,100 forwardOperation=0x14 "
                                 "vlanFilterNums=4",
                                 "vlanFilterList=0x8064,0xa064,0xc064,0xe064 forwardOperation=0x14 "
                                 "vlanFilterNums=4")),
              names{});
}

TEST(check_rules, reports_an_entry_that_repeats_an_earlier_one)
{
    const std::string line =
        good_line +
        "me set VLAN_TAG_FILTER_DATA 0x1001 mask=0xe000 vlanFilterList=0xa064,200,0xc064 "
        "vlanFilterNums=3 forwardOperation=";
    EXPECT_EQ(reason("shadowed-entry", line + "0x10\n"),
              "entry 2 of vlanFilterList (0xc064) equals entry 0 (0xa064) in the bits that "
              "forwardOperation 0x10 compares");
    EXPECT_EQ(found("shadowed-entry", line + "0x14\n"), names{});
}

TEST(check_rules, reports_an_instance_at_which_nothing_points)
{
    const std::string line = "load\nme create GEM_PORT_CTP 1 portID=1025 direction=3\n";
    EXPECT_EQ(found("unreachable", line), names{"GEM_PORT_CTP 0x0001 2"});
    EXPECT_EQ(found("unreachable", line + "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"),
              names{"GEM_INTERWORK_TP 0x0011 3"});
    EXPECT_EQ(found("unreachable", good_line), names{});
}

TEST(check_rules, reports_values_outside_their_range)
{
    EXPECT_EQ(found("out-of-range", "me create GEM_PORT_CTP 1 portID=4096 direction=3\n"
                                    "me set T_CONT 0x8000 allocID=5000 policy=3\n"
                                    "me create TRAFFIC_DESCRIPTOR 1 cir=2000 pir=1000\n"
                                    "me create TRAFFIC_DESCRIPTOR 2 cir=2000 pir=2000\n"
                                    "me set T_CONT 0x8001 allocID=0xffff policy=2\n"),
              (names{"GEM_PORT_CTP 0x0001 1", "T_CONT 0x8000 2", "T_CONT 0x8000 2",
                     "TRAFFIC_DESCRIPTOR 0x0001 3"}));
    EXPECT_EQ(reason("out-of-range", good_line + "me set VLAN_TAG_FILTER_DATA 0x1001 "
                                                 "vlanFilterList=100,0xffff forwardOperation=0x10 "
                                                 "vlanFilterNums=2\n"),
              "entry 1 of vlanFilterList is VLAN 4095, which is reserved");
}

TEST(check_rules, capacities_of_the_module_are_shown_on_request_only)
{
    // A traffic descriptor records one GEM port.
    const std::string line = "load\nme create TRAFFIC_DESCRIPTOR 1 cir=1 pir=1\n"
                             "me create GEM_PORT_CTP 1 portID=1025 direction=3 TDProPtrUp=1\n"
                             "me create GEM_PORT_CTP 2 portID=1026 direction=3 TDProPtrUp=1\n"
                             "me create GEM_INTERWORK_TP 1 gemCTPInstID=1\n";
    EXPECT_EQ(found("capacity", line), names{"GEM_PORT_CTP 0x0002 4"});
    const check_result quiet = result_of(line, {});
    EXPECT_TRUE(std::ranges::none_of(quiet.findings,
                                     [](const finding& one) { return one.rule == "capacity"; }));
    EXPECT_EQ(quiet.on_request, 1u);
}

TEST(check_rules, a_rule_is_silenced_everywhere_for_a_class_or_at_an_instance)
{
    const std::string line = "load\nme create GEM_PORT_CTP 1 portID=1025 direction=3\n"
                             "me create GEM_PORT_CTP 2 portID=1026 direction=3\n"
                             "me create MULTICAST_GEM_INTERWORK_TP 3 GemCTPInstID=1\n";
    const auto left = [&](const std::string& silence) {
        const scenario parsed = parse_good(line + silence);
        const check_result result =
            check_provisioning(final_entities(parsed), {false, silences_of(parsed)});
        EXPECT_EQ(result.findings.size() + result.silenced, 2u);
        return result.findings.size();
    };
    EXPECT_EQ(left(""), 2u);
    EXPECT_EQ(left("silence unreachable\n"), 0u);
    EXPECT_EQ(left("silence unreachable GEM_PORT_CTP\n"), 1u);
    EXPECT_EQ(left("silence unreachable 281 3\n"), 1u);
    EXPECT_EQ(left("silence unreachable GEM_PORT_CTP 1\n"), 2u);
    EXPECT_EQ(left("silence out-of-range\n"), 2u);
}

// A UNI with an operation that produces VLAN 100 only, and a filter; rows as in docs/tagging.md.
const std::string operation_of_uni =
    "me create VLAN_TAG_EXTEND_OPERATE 1\n"
    "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101 rows=default\n"
    "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000f8000000000f000000000324\n"
    "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000e8000000c00f0000000f0000\n"
    "tagging VLAN_TAG_EXTEND_OPERATE 1 row=e8000000e8000000c00f0000000f0000\n";

TEST(check_rules, reports_a_vlan_that_no_row_produces)
{
    const std::string line = good_line + operation_of_uni;
    EXPECT_EQ(found("tagging-no-row", line), names{});
    const std::string expecting = line + "me set VLAN_TAG_FILTER_DATA 0x1001 mask=0xe000 "
                                         "vlanFilterList=100,200 forwardOperation=0x10 "
                                         "vlanFilterNums=2\n";
    EXPECT_EQ(found("tagging-no-row", expecting), names{"VLAN_TAG_EXTEND_OPERATE 0x0001 14"});
    EXPECT_EQ(reason("tagging-no-row", expecting),
              "no row produces VLAN 200, which VLAN_TAG_FILTER_DATA 0x1001 passes");
    // Single-tagged frames of VLAN 5 become VLAN 200.
    EXPECT_EQ(found("tagging-no-row", expecting + "tagging VLAN_TAG_EXTEND_OPERATE 1 "
                                                  "row=f800000080028000400f000000080644\n"),
              names{});
    // A default row that passes tagged frames passes VLAN 200 too.
    EXPECT_EQ(found("tagging-no-row", expecting + "tagging VLAN_TAG_EXTEND_OPERATE 1 "
                                                  "row=f8000000e8000000000f0000000f0000\n"),
              names{});
    // Nobody knows what a row with filter priority 9 produces.
    EXPECT_EQ(found("tagging-no-row", expecting + "tagging VLAN_TAG_EXTEND_OPERATE 1 "
                                                  "row=f800000090038000400f000000000324\n"),
              names{});
    // Another UNI of the bridge has no operation.
    EXPECT_EQ(found("tagging-no-row",
                    expecting + "me create MAC_BRIDGE_PORT_CON_DATA 0x0102 bridgeID=1 tpType=1 "
                                "tpPointer=0x0102\n"),
              names{});
}

// 0x14 compares the whole tag: 0xa0c8 is VLAN 200 with priority 5, 0x60c8 with priority 3. The row
// copies the priority of VLAN 5; the last one writes priority 3 (0x300644 instead of 0x80644).
TEST(check_rules, reports_a_priority_that_no_row_produces)
{
    const std::string line = good_line + operation_of_uni +
                             "me set VLAN_TAG_FILTER_DATA 0x1001 mask=0xe000 "
                             "vlanFilterList=0xa0c8 forwardOperation=0x14 vlanFilterNums=1\n";
    EXPECT_EQ(reason("tagging-no-row", line),
              "no row produces VLAN 200 with priority 5, which VLAN_TAG_FILTER_DATA 0x1001 passes");
    EXPECT_EQ(found("tagging-no-row", line + "tagging VLAN_TAG_EXTEND_OPERATE 1 "
                                             "row=f800000080028000400f000000080644\n"),
              names{});
    // The row for VLAN 5 with priority 2 copies priority 2.
    EXPECT_EQ(found("tagging-no-row", line + "tagging VLAN_TAG_EXTEND_OPERATE 1 "
                                             "row=f800000020028000400f000000080644\n"),
              names{"VLAN_TAG_EXTEND_OPERATE 0x0001 14"});
    EXPECT_EQ(found("tagging-no-row", line + "tagging VLAN_TAG_EXTEND_OPERATE 1 "
                                             "row=f800000080028000400f000000030644\n"),
              names{"VLAN_TAG_EXTEND_OPERATE 0x0001 14"});
}

TEST(check_rules, reports_a_mapper_that_maps_no_untagged_frame)
{
    const auto line = [](const std::string& options) {
        return "me create GEM_PORT_CTP 1 portID=1025 tcontID=0x8000 direction=3\n"
               "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
               "me create 802_1P_MAPPER 1 pbit_GemIWTP=0x11,0x11,0x11,0x11,0x11,0x11,0x11,0x11 " +
               options + "\n";
    };
    EXPECT_EQ(found("untagged-dropped", line("unmark_frame_opt=2")),
              names{"802_1P_MAPPER 0x0001 3"});
    EXPECT_EQ(reason("untagged-dropped", line("unmark_frame_opt=2")),
              "unmark_frame_opt 2 does not map untagged frames");
    EXPECT_EQ(reason("untagged-dropped", line("unmark_frame_opt=1 defaultPbit=8")),
              "defaultPbit 8 is not a priority");
    EXPECT_EQ(found("untagged-dropped", line("unmark_frame_opt=1 defaultPbit=7")), names{});
    EXPECT_EQ(found("untagged-dropped", line("unmark_frame_opt=0 defaultPbit=8")), names{});
}

// The row of operation_of_uni adds VLAN 100 with priority 0, so the GEM IW TP of priorities 5 and 6
// gets no frame. The second row copies the priority of VLAN 5.
TEST(check_rules, reports_a_priority_of_a_mapper_that_no_row_produces)
{
    const auto line = [](const std::string& options) {
        return good_line + operation_of_uni +
               "me create GEM_PORT_CTP 2 portID=1026 tcontID=0x8000 direction=3\n"
               "me create GEM_INTERWORK_TP 0x12 gemCTPInstID=2\n"
               "me create 802_1P_MAPPER 1 "
               "pbit_GemIWTP=0x11,0x11,0x11,0x11,0x11,0x12,0x12,0x11 " +
               options +
               "\nme set MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=3 tpPointer=1\n";
    };
    const std::string by_default_1 = line("unmark_frame_opt=1 defaultPbit=1");
    EXPECT_EQ(reason("tagging-no-row", by_default_1),
              "no row produces priorities 5, 6 for GEM_INTERWORK_TP 0x0012");
    EXPECT_EQ(found("tagging-no-row", by_default_1), names{"802_1P_MAPPER 0x0001 16"});
    EXPECT_EQ(found("tagging-no-row", by_default_1 + "tagging VLAN_TAG_EXTEND_OPERATE 1 "
                                                     "row=f800000080028000400f000000080324\n"),
              names{});
    // A frame without a tag has the default priority, or one by its DSCP.
    EXPECT_EQ(found("tagging-no-row", line("unmark_frame_opt=1 defaultPbit=5")), names{});
    EXPECT_EQ(found("tagging-no-row", line("unmark_frame_opt=0")), names{});
    // A default priority above 7 is none of those.
    EXPECT_EQ(found("tagging-no-row", line("unmark_frame_opt=1 defaultPbit=13")),
              names{"802_1P_MAPPER 0x0001 16"});
}

// VLAN 5 with each of the eight priorities, and VLAN 5 with any priority: inner filter words
// 0x00028000 to 0x70028000 and 0x80028000.
TEST(check_rules, reports_a_row_that_never_applies)
{
    std::string line = good_line + operation_of_uni +
                       "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080028000400f000000080644\n";
    EXPECT_EQ(found("tagging-shadowed-row", line), names{});
    for (int priority = 0; priority < 8; ++priority)
        line += "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000" + std::to_string(priority) +
                "0028000400f000000080644\n";
    EXPECT_EQ(found("tagging-shadowed-row", line), names{"VLAN_TAG_EXTEND_OPERATE 0x0001 14"});
    EXPECT_EQ(
        reason("tagging-shadowed-row", line),
        "the row \"single-tagged, VLAN 5: remove 1 tag, add VLAN 200 with the priority of the "
        "inner tag, TPID 0x8100\" never applies: rows that are tried first apply to all its "
        "frames");
}

TEST(check_rules, a_row_with_a_reserved_value_cannot_be_interpreted)
{
    EXPECT_EQ(
        reason("tagging-shadowed-row",
               good_line + operation_of_uni +
                   "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000090028000400f000000080644\n"),
        "the row \"single-tagged, VLAN 5: remove 1 tag, add VLAN 200 with the priority of the "
        "inner tag, TPID 0x8100\" cannot be interpreted: reserved value: inner filter priority 9");
}

// The reserved EtherType code 5 is tried before any EtherType, with the same VLAN 5.
TEST(check_rules, a_row_with_a_reserved_value_covers_no_other)
{
    EXPECT_EQ(found("tagging-shadowed-row",
                    good_line + operation_of_uni +
                        "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080028005400f000000080644\n"
                        "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080028000400f000000080644\n")
                  .size(),
              1u);
}

TEST(check_rules, reports_an_operation_without_a_place)
{
    EXPECT_EQ(reason("tagging-unassociated", good_line + "me create VLAN_TAG_EXTEND_OPERATE 1\n"),
              "its association is not known: the operation is not applied");
    EXPECT_EQ(found("tagging-unassociated", good_line + operation_of_uni), names{});
    EXPECT_EQ(reason("tagging-unassociated", good_line +
                                                 "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 "
                                                 "associated=0x0109\n"),
              "PPTP_ETHERNET_UNI 0x0109 does not exist: the operation is not applied");
}

TEST(check_rules, every_rule_is_described)
{
    std::set<std::string_view> seen;
    for (const check_rule& rule : check_rules()) {
        EXPECT_TRUE(seen.insert(rule.name).second) << rule.name;
        EXPECT_EQ(find_rule(rule.name), &rule);
        EXPECT_GT(rule.title.size(), 10u) << rule.name;
        EXPECT_TRUE(rule.explanation.ends_with('.')) << rule.name;
        // A rule without a clause is a limit of the module.
        EXPECT_EQ(rule.clause.empty(), rule.on_request) << rule.name;
    }
}

} // namespace

} // namespace gponflow

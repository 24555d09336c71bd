// SPDX-License-Identifier: GPL-2.0-only
// The line that set the attribute or the row at fault, in explain and check.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/explain/lines.h"
#include "tool/check/check.h"
#include "tool/explain/path_output.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {

namespace {

using testing::HasSubstr;
using testing::Not;

// The lines 9 to 14: VLAN 5 becomes VLAN 100, VLAN 6 is discarded, then the input TPID is set.
const std::string rewritten_line =
    good_line + "me create VLAN_TAG_EXTEND_OPERATE 1\n"
                "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101 rows=default\n"
                "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080028000400f000000080324\n"
                "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080030000c00f0000000f0000\n"
                "tagging VLAN_TAG_EXTEND_OPERATE 1 input_tpid=0x8100\n"
                "me set VLAN_TAG_EXTEND_OPERATE 1 mask=0x2000\n";
const std::string discard_vlan_5 =
    "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080028000c00f0000000f0000\n";
const std::string delete_vlan_6 =
    "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080030000ffffffffffffffff\n";

// 0: an untagged frame.
frame_path path_of(const std::string& line, uint16_t tci)
{
    frame_query query;
    query.uni = 1;
    if (tci != 0)
        query.outer =
            query_tag{static_cast<uint16_t>(tci & 0xfff), static_cast<uint8_t>(tci >> 13)};
    const std::unique_ptr<backend> target = make_host_backend();
    explain_session session(*target);
    std::ostringstream out;
    EXPECT_EQ(session.run(parse_good(line), out), status_ok);
    return trace_frame(query, session);
}

std::string text_of(const std::string& line, uint16_t tci)
{
    std::ostringstream out;
    print_path(path_of(line, tci), {.name = "a.scn"}, out);
    return out.str();
}

nlohmann::json json_of(const std::string& line, uint16_t tci, const scenario& input)
{
    std::ostringstream out;
    print_path_json(path_of(line, tci), input, out);
    return nlohmann::json::parse(out.str());
}

TEST(explain_source, each_row_has_the_line_that_set_it)
{
    EXPECT_THAT(text_of(rewritten_line, 6),
                HasSubstr("VLAN_TAG_EXTEND_OPERATE 0x0001 is written in a.scn:12.\n"));
    EXPECT_THAT(text_of(rewritten_line, 6), HasSubstr(": discard\n      set in line 12\n"));
    EXPECT_THAT(text_of(rewritten_line, 5), HasSubstr("\n      set in line 11\n  leaves as"));
    EXPECT_THAT(text_of(rewritten_line, 7), HasSubstr("\n      set in line 10\n  leaves as"));
}

TEST(explain_source, a_replaced_row_has_the_line_of_its_last_write)
{
    EXPECT_THAT(text_of(rewritten_line + discard_vlan_5, 5),
                HasSubstr("VLAN_TAG_EXTEND_OPERATE 0x0001 is written in a.scn:15.\n"));
    EXPECT_THAT(text_of(rewritten_line + discard_vlan_5, 6), HasSubstr("set in line 12\n"));
}

TEST(explain_source, behind_a_deleted_row_the_default_row_decides)
{
    const std::string text = text_of(rewritten_line + delete_vlan_6, 6);
    EXPECT_THAT(text, HasSubstr("set in line 10\n"));
    EXPECT_THAT(text, Not(HasSubstr("line 12")));
}

TEST(explain_source, json_has_the_lines_and_the_frames_of_a_capture)
{
    scenario input{.name = "a.pcap"};
    input.frames_of_lines[12] = "frame 83, response 84";
    const auto document = json_of(rewritten_line, 6, input);
    const auto expected =
        nlohmann::json::parse(R"([{"attribute": "row", "line": 12, "frame": 83}])");
    EXPECT_EQ(document["faults"][0]["sources"], expected);
    EXPECT_EQ(document["faults"][0]["line"], 12);
    EXPECT_EQ(document["halves"][0]["tagging"]["steps"][0]["sources"], expected);
    const auto passed = json_of(rewritten_line, 5, input);
    EXPECT_EQ(passed["halves"][0]["tagging"]["steps"][0]["sources"],
              nlohmann::json::parse(R"([{"attribute": "row", "line": 11}])"));
}

TEST(explain_source, json_of_an_operation_that_was_not_applied_has_what_prevents_it)
{
    const std::string enhanced = rewritten_line +
                                 "tagging VLAN_TAG_EXTEND_OPERATE 1 enhanced_mode=1\n"
                                 "tagging VLAN_TAG_EXTEND_OPERATE 1 output_tpid=0x8100\n";
    const auto document = json_of(enhanced, 5, {.name = "a.scn"});
    EXPECT_EQ(document["halves"][0]["tagging"]["not_applied"][0]["sources"],
              nlohmann::json::parse(R"([{"attribute": "enhanced_mode", "line": 15}])"));
}

// The filter is created in line 7; a set of one attribute repeats the record.
TEST(explain_source, a_filter_has_the_lines_of_the_attributes_that_decided)
{
    const std::string list_changed = good_line + "me set VLAN_TAG_FILTER_DATA 0x1001 mask=0x8000 "
                                                 "vlanFilterList=200 forwardOperation=0x04 "
                                                 "vlanFilterNums=1\n";
    EXPECT_THAT(text_of(good_line, 300),
                HasSubstr("\nVLAN_TAG_FILTER_DATA 0x1001 is written in a.scn:7.\n"));
    EXPECT_THAT(text_of(list_changed, 300),
                HasSubstr("\nvlanFilterList of VLAN_TAG_FILTER_DATA 0x1001 is written in a.scn:9, "
                          "vlanFilterNums in a.scn:7, forwardOperation in a.scn:7.\n"));
    const auto document = json_of(list_changed, 300, {.name = "a.scn"});
    EXPECT_EQ(document["faults"][0]["line"], 9);
    EXPECT_EQ(document["faults"][0]["sources"][2]["attribute"], "forwardOperation");
    // Untagged frames depend on the operation alone.
    const std::string tagged_only = list_changed + "me set VLAN_TAG_FILTER_DATA 0x1001 mask=0x4000 "
                                                   "vlanFilterList=200 forwardOperation=0x10 "
                                                   "vlanFilterNums=1\n"
                                                   "me set VLAN_TAG_FILTER_DATA 0x1001 mask=0x8000 "
                                                   "vlanFilterList=201 forwardOperation=0x10 "
                                                   "vlanFilterNums=1\n";
    EXPECT_THAT(text_of(tagged_only, 0),
                HasSubstr("\nVLAN_TAG_FILTER_DATA 0x1001 is written in a.scn:10.\n"));
}

// Line 4 creates the mapper, line 6 empties the entry of priority 0, line 7 sets another one.
TEST(explain_source, a_mapper_has_the_line_of_the_entry_that_the_priority_selects)
{
    const auto mapper = [](const std::string& verb, const std::string& entries) {
        return "me " + verb + " 802_1P_MAPPER 1 tpPointer=0xffff pbit_GemIWTP=" + entries +
               " unmark_frame_opt=1\n";
    };
    const std::string line =
        "load\nme create MAC_BRIDGE_SERVICE_PROFILE 1\n"
        "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n" +
        mapper("create", "0x11,0x11,0x11,0x11,0x11,0x11,0x11,0x11") +
        "me create MAC_BRIDGE_PORT_CON_DATA 0x0101 bridgeID=1 tpType=1 tpPointer=0x0101\n" +
        mapper("set", "0xffff,0x11,0x11,0x11,0x11,0x11,0x11,0x11") +
        mapper("set", "0xffff,0x11,0x11,0x11,0x11,0x11,0x11,0xffff") +
        "me create MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=3 tpPointer=1\n"
        "hook kind=switch param=1\n";
    EXPECT_THAT(text_of(line, 100), HasSubstr("802_1P_MAPPER 0x0001 is written in a.scn:6.\n"));
}

// A set with the value that the attribute has already is the message to correct.
TEST(explain_source, an_attribute_has_the_line_of_its_last_write)
{
    const std::string filter = "me set VLAN_TAG_FILTER_DATA 0x1001 mask=0x8000 vlanFilterList=100 "
                               "forwardOperation=0x04 vlanFilterNums=1\n";
    EXPECT_THAT(text_of(good_line + filter, 300),
                HasSubstr("\nvlanFilterList of VLAN_TAG_FILTER_DATA 0x1001 is written in a.scn:9, "
                          "vlanFilterNums in a.scn:7, forwardOperation in a.scn:7.\n"));
    EXPECT_THAT(text_of(good_line + filter + filter, 300), HasSubstr(" in a.scn:10, "));
    EXPECT_EQ(json_of(good_line + filter, 300, {.name = "a.scn"})["faults"][0]["line"], 9);
}

// Attribute 6 of a mapper is the entry of priority 4; line 8 writes it again, line 9 another one.
TEST(explain_source, an_entry_of_a_list_has_the_line_of_its_own_last_write)
{
    const std::string entries = "tpPointer=0xffff pbit_GemIWTP=0xffff,0xffff,0xffff,0xffff,0xffff,"
                                "0xffff,0xffff,0xffff unmark_frame_opt=1\n";
    const std::string line =
        "load\nme create MAC_BRIDGE_SERVICE_PROFILE 1\n"
        "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
        "me create 802_1P_MAPPER 1 " +
        entries +
        "me create MAC_BRIDGE_PORT_CON_DATA 0x0101 bridgeID=1 tpType=1 tpPointer=0x0101\n"
        "me create MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=3 tpPointer=1\n"
        "hook kind=switch param=1\n"
        "me set 802_1P_MAPPER 1 mask=0x0400 " +
        entries + "me set 802_1P_MAPPER 1 mask=0x0200 " + entries;
    EXPECT_THAT(text_of(line, 4 << 13 | 100), HasSubstr("802_1P_MAPPER 0x0001 is written in "
                                                        "a.scn:8."));
    EXPECT_THAT(text_of(line, 100), HasSubstr("802_1P_MAPPER 0x0001 is written in a.scn:4."));
}

std::vector<unsigned> lines_of(const std::string& rule, const std::string& text)
{
    std::vector<unsigned> lines;
    for (const finding& one :
         check_provisioning(final_entities(parse_good(text)), {true, {}}).findings)
        if (one.rule == rule)
            lines.push_back(one.line);
    return lines;
}

using line_numbers = std::vector<unsigned>;

TEST(check_source, findings_about_tagging_have_the_line_of_their_row_or_attribute)
{
    const std::string shadowing = "tagging VLAN_TAG_EXTEND_OPERATE 1 "
                                  "row=f800000090028000400f000000080644\n"
                                  "tagging VLAN_TAG_EXTEND_OPERATE 1 dscp_map=" +
                                  std::string(48, '0') + "\n";
    EXPECT_EQ(lines_of("tagging-shadowed-row", rewritten_line + shadowing), line_numbers{15});
    EXPECT_EQ(lines_of("tagging-unassociated",
                       rewritten_line +
                           "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0109\n" +
                           delete_vlan_6),
              line_numbers{15});
}

TEST(check_source, a_row_that_is_missing_has_the_line_of_the_entry_that_needs_it)
{
    const std::string filter = "me set VLAN_TAG_FILTER_DATA 0x1001 mask=0xe000 ";
    const std::string only_rows =
        rewritten_line + "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000e8000000c00f0000000f0000\n"
                         "tagging VLAN_TAG_EXTEND_OPERATE 1 row=e8000000e8000000c00f0000000f0000\n";
    EXPECT_EQ(lines_of("tagging-no-row", only_rows), line_numbers{});
    EXPECT_EQ(lines_of("tagging-no-row",
                       only_rows + filter +
                           "vlanFilterList=100,200 forwardOperation=0x10 vlanFilterNums=2\n" +
                           filter +
                           "vlanFilterList=100,200,300 forwardOperation=0x10 vlanFilterNums=3\n"),
              (line_numbers{18, 18}));
}

TEST(check_source, findings_about_an_attribute_have_the_line_that_set_it)
{
    const std::string port = "me create GEM_PORT_CTP 5 portID=4096 tcontID=0x8000 direction=3\n"
                             "me set GEM_PORT_CTP 5 portID=4096 tcontID=0x8000 direction=9\n"
                             "me set GEM_PORT_CTP 5 portID=4096 tcontID=0x8001 direction=9\n";
    EXPECT_EQ(lines_of("out-of-range", good_line + port), line_numbers{9});
    EXPECT_EQ(lines_of("wrong-direction", good_line + port), line_numbers{10});
    const std::string downstream = "me set GEM_PORT_CTP 1 portID=1025 tcontID=0x8000 direction=2\n";
    EXPECT_EQ(lines_of("wrong-direction", good_line + downstream), line_numbers{9});
    const std::string filter = "me set VLAN_TAG_FILTER_DATA 0x1001 vlanFilterList=";
    const std::string twice = filter + "100,100 forwardOperation=0x04 vlanFilterNums=2\n" + filter +
                              "100,100 forwardOperation=0x10 vlanFilterNums=2\n";
    EXPECT_EQ(lines_of("shadowed-entry", good_line + twice), line_numbers{9});
    // A create describes the instance anew.
    EXPECT_EQ(lines_of("out-of-range",
                       good_line + port +
                           "me create GEM_PORT_CTP 5 portID=4096 tcontID=0x8001 direction=3\n"),
              line_numbers{12});
}

} // namespace

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
// Differences between two lines.
#include <sstream>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tool/parsing.h"
#include "tool/model/line_diff.h"
#include "tool/scenario/final_state.h"

namespace gponflow {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string operation =
    "me create VLAN_TAG_EXTEND_OPERATE 1\n"
    "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101 rows=default\n";
const std::string translation = "tagging VLAN_TAG_EXTEND_OPERATE 1 row=";

std::vector<std::string> differences(const std::string& left, const std::string& right)
{
    std::vector<std::string> texts;
    for (const changed_attribute& one :
         difference_of(final_entities(parse_good(left)), final_entities(parse_good(right))).changed)
        texts.push_back(to_text(one.id) + " " + one.name + ": " + one.left + " -> " + one.right);
    return texts;
}

TEST(line_difference, finds_none_between_equal_operations)
{
    const std::string text = operation + translation + "f800000080320000400f000000080320\n";
    EXPECT_THAT(differences(text, text), IsEmpty());
}

// VLAN 100 to VLAN 100, and to VLAN 104.
TEST(line_difference, contains_changed_rows)
{
    EXPECT_THAT(
        differences(operation + translation + "f800000080320000400f000000080320\n",
                    operation + translation + "f800000080320000400f000000080340\n"),
        ElementsAre("VLAN_TAG_EXTEND_OPERATE 0x0001 row single-tagged, VLAN 100: remove 1 tag, add "
                    "VLAN 100 with the priority of the inner tag (400f000000080320) -> remove 1 "
                    "tag, add VLAN 104 with the priority of the inner tag (400f000000080340)"));
}

// The instance is in line 1, its table in line 2; later lines set other attributes.
TEST(line_difference, contains_the_lines_that_set_the_values)
{
    const std::string later = "tagging VLAN_TAG_EXTEND_OPERATE 1 input_tpid=0x8100\n";
    const std::string left = operation + translation + "f800000080320000400f000000080320\n" + later;
    const std::string right =
        operation + later + translation + "f800000080320000400f000000080340\n" +
        "tagging VLAN_TAG_EXTEND_OPERATE 1 downstream_mode=1\n" + later +
        "me create TRAFFIC_DESCRIPTOR 1 cir=1 pir=2\nme set TRAFFIC_DESCRIPTOR 1 cir=1 pir=3\n";
    const line_difference found = difference_of(
        final_entities(parse_good(left + "me create TRAFFIC_DESCRIPTOR 1 cir=1 pir=1\n")),
        final_entities(parse_good(right)));
    std::vector<std::tuple<std::string, unsigned, unsigned>> lines;
    for (const changed_attribute& one : found.changed)
        lines.emplace_back(one.name.substr(0, 15), one.left_line, one.right_line);
    EXPECT_THAT(lines, ElementsAre(std::tuple("pir", 5u, 8u), std::tuple("downstream_mode", 0u, 5u),
                                   std::tuple("row single-tagg", 3u, 4u)));
    std::ostringstream out;
    print_difference_json(found, {"a.scn", {}}, {"b.pcap", {{8, "frame 41, response 42"}}}, out);
    const auto document = nlohmann::json::parse(out.str());
    EXPECT_EQ(document["changed"][0]["first_line"], 5);
    EXPECT_EQ(document["changed"][0]["second_frame"], 41);
    EXPECT_FALSE(document["changed"][1].contains("first_line"));
}

// Attribute 1 of a traffic descriptor is its CIR, attribute 2 its PIR. Line 2 repeats the value.
TEST(line_difference, contains_the_lines_of_the_last_writes)
{
    const line_difference found =
        difference_of(final_entities(parse_good("me create TRAFFIC_DESCRIPTOR 1 cir=1 pir=2\n"
                                                "me set TRAFFIC_DESCRIPTOR 1 mask=0x4000 cir=1 "
                                                "pir=2\n")),
                      final_entities(parse_good("me create TRAFFIC_DESCRIPTOR 1 cir=5 pir=3\n")));
    ASSERT_EQ(found.changed.size(), 2u);
    EXPECT_EQ(found.changed[0].left_line, 1u);
    EXPECT_EQ(found.changed[1].left_line, 2u);
}

TEST(line_difference, contains_rows_of_one_side)
{
    const std::string more = operation + translation + "f8000000f8000000000f000000000324\n" +
                             translation + "f800000080320000c00f0000000f0000\n";
    EXPECT_THAT(differences(operation, more),
                ElementsAre("VLAN_TAG_EXTEND_OPERATE 0x0001 row untagged: no change "
                            "(000f0000000f0000) -> add VLAN 100 with priority 0, TPID 0x8100 "
                            "(000f000000000324)",
                            "VLAN_TAG_EXTEND_OPERATE 0x0001 row single-tagged, VLAN 100: none -> "
                            "discard (c00f0000000f0000)"));
}

TEST(line_difference, contains_attributes_of_operations)
{
    EXPECT_THAT(differences(operation, "me create VLAN_TAG_EXTEND_OPERATE 1\n"
                                       "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 "
                                       "associated=0x0102 output_tpid=0x88a8 downstream_mode=5 "
                                       "rows=unknown\n"),
                ElementsAre("VLAN_TAG_EXTEND_OPERATE 0x0001 associated: 0x0101 -> 0x0102",
                            "VLAN_TAG_EXTEND_OPERATE 0x0001 downstream_mode: 0 -> 5",
                            "VLAN_TAG_EXTEND_OPERATE 0x0001 output_tpid: 0x8100 -> 0x88a8",
                            "VLAN_TAG_EXTEND_OPERATE 0x0001 rows: known -> known in part",
                            testing::_, testing::_, testing::_));
    const std::string plain = "me create VLAN_TAG_OPERATE 1\ntagging VLAN_TAG_OPERATE 1 ";
    EXPECT_THAT(differences(plain + "upstream_mode=1 upstream_tci=100\n",
                            plain + "upstream_mode=2 upstream_tci=200\n"),
                ElementsAre("VLAN_TAG_OPERATE 0x0001 upstream_mode: 1 -> 2",
                            "VLAN_TAG_OPERATE 0x0001 upstream_tci: 0x0064 -> 0x00c8"));
}

TEST(line_difference, finds_no_differing_rows_of_a_missing_instance)
{
    const line_difference found =
        difference_of(final_entities(parse_good("load\n")), final_entities(parse_good(operation)));
    EXPECT_THAT(found.changed, IsEmpty());
    EXPECT_THAT(found.only_right, ElementsAre(me_id{me_class::evtocd, 1}));
}

} // namespace

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
// Attributes of tagging operations in OMCI messages become facts of the scenario.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/omci/line_builder.h"

namespace gponflow::omci::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::vector<std::string> facts(const line& session)
{
    std::vector<std::string> all = session.commands();
    std::erase_if(all, [](const std::string& text) { return !text.starts_with("tagging "); });
    return all;
}

TEST(omci_tagging, a_create_starts_the_table_and_names_the_association)
{
    line session;
    session.done(create, 171, 1, "02 0101");
    EXPECT_THAT(facts(session), ElementsAre("tagging VLAN_TAG_EXTEND_OPERATE 0x0001 association=2 "
                                            "associated=0x0101 rows=default"));
    EXPECT_THAT(session.converted().scenario, Not(HasSubstr("not mirrored: association")));
}

// Mask 0x3c00: input TPID, output TPID, downstream mode and a row in one message.
TEST(omci_tagging, each_attribute_is_an_option)
{
    line session;
    session.done(create, 171, 1, "02 0101");
    session.done(set, 171, 1, "3800 88a8 8100 02");
    session.done(set, 171, 1, "0400 f8000000 80320000 400f0000 00080320");
    session.done(set, 171, 1, "0100 000000000000000000000000000000000028000000000000");
    EXPECT_THAT(
        facts(session),
        ElementsAre(testing::_,
                    "tagging VLAN_TAG_EXTEND_OPERATE 0x0001 input_tpid=0x88a8 output_tpid=0x8100 "
                    "downstream_mode=2",
                    "tagging VLAN_TAG_EXTEND_OPERATE 0x0001 row=f800000080320000400f000000080320",
                    "tagging VLAN_TAG_EXTEND_OPERATE 0x0001 "
                    "dscp_map=000000000000000000000000000000000028000000000000"));
}

// Rows that were set before the capture began are not in it.
TEST(omci_tagging, a_row_without_a_create_is_a_part_of_the_table)
{
    line session;
    session.done(set, 171, 1, "0400 f8000000 80320000 400f0000 00080320");
    session.done(set, 171, 1, "0400 f8000000 80640000 400f0000 00080640");
    EXPECT_THAT(facts(session), ElementsAre("tagging VLAN_TAG_EXTEND_OPERATE 0x0001 "
                                            "row=f800000080320000400f000000080320 rows=unknown",
                                            "tagging VLAN_TAG_EXTEND_OPERATE 0x0001 "
                                            "row=f800000080640000400f000000080640"));
}

TEST(omci_tagging, a_row_is_described_and_all_ones_delete)
{
    line session;
    session.done(set, 171, 1, "0400 f8000000 80320000 400f0000 00080320");
    session.done(set, 171, 1, "0400 f8000000 80320000 ffffffff ffffffff");
    const std::string scenario = session.converted().scenario;
    EXPECT_THAT(scenario, HasSubstr("#   row: single-tagged, VLAN 100: remove 1 tag, add VLAN 100 "
                                    "with the priority of the inner tag\ntagging "));
    EXPECT_THAT(scenario, HasSubstr("#   deletes the row: single-tagged, VLAN 100\ntagging "));
}

TEST(omci_tagging, class_78_has_modes_and_a_tag)
{
    line session;
    session.done(create, 78, 2, "02 6064 01 0a 0603");
    session.done(set, 78, 2, "4000 00c8");
    EXPECT_THAT(facts(session),
                ElementsAre("tagging VLAN_TAG_OPERATE 0x0002 upstream_mode=2 upstream_tci=0x6064 "
                            "downstream_mode=1 association=10 associated=0x0603",
                            "tagging VLAN_TAG_OPERATE 0x0002 upstream_tci=0x00c8"));
}

TEST(omci_tagging, attributes_of_other_kinds_stay_comments)
{
    line session;
    session.done(set, 171, 1, "4000 0040");
    EXPECT_TRUE(facts(session).empty());
    EXPECT_THAT(session.converted().scenario, HasSubstr("table max size 0x0040"));
}

TEST(omci_tagging, enhanced_mode_is_a_fact)
{
    line session;
    session.done(set, 171, 1, "0080 01");
    EXPECT_THAT(facts(session),
                ElementsAre("tagging VLAN_TAG_EXTEND_OPERATE 0x0001 enhanced_mode=1"));
}

TEST(omci_tagging, a_refused_row_is_no_fact)
{
    line session;
    session.replied(set, 171, 1, "0400 f8000000 80320000 400f0000 00080320", "03");
    EXPECT_TRUE(facts(session).empty());
}

} // namespace
} // namespace gponflow::omci::test

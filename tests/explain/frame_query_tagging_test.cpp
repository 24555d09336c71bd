// SPDX-License-Identifier: GPL-2.0-only
// One query from the UNI to the GEM port on a line with tagging operations. Untagged frames get
// VLAN 100, VLAN 5 becomes 200, VLAN 666 is discarded.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/explain/lines.h"
#include "tool/explain/path_output.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {

namespace {

using testing::HasSubstr;
using testing::Not;

const std::string carried_line =
    good_line + "me create VLAN_TAG_EXTEND_OPERATE 1\n"
                "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101 rows=default\n"
                "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000f8000000000f000000000324\n"
                "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080028000400f000000080644\n"
                "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f8000000814d0000c00f0000000f0000\n";

std::string answer_text(const std::string& text, const frame_query& query)
{
    const std::unique_ptr<backend> target = make_host_backend();
    explain_session session(*target);
    std::ostringstream out;
    EXPECT_EQ(session.run(parse_good(text), out), status_ok);
    print_path(trace_frame(query, session), {.name = "test.scn"}, out);
    return out.str();
}

frame_query from_uni_1(std::optional<query_tag> tag)
{
    frame_query query;
    query.uni = 1;
    query.outer = tag;
    return query;
}

TEST(query_tagging, an_untagged_frame_leaves_with_the_tag_of_the_row)
{
    const std::string text = answer_text(carried_line, from_uni_1({}));
    EXPECT_THAT(text, HasSubstr("passes from UNI 1 through bridge 1 to GEM port 1025"));
    EXPECT_THAT(text, HasSubstr("upstream, from the UNI to the bridge\n"
                                "  arrives as untagged\n"
                                "    VLAN_TAG_EXTEND_OPERATE 0x0001 of PPTP_ETHERNET_UNI 0x0101: "
                                "untagged: add VLAN 100 with priority 0, TPID 0x8100\n"
                                "      set in line 11\n"
                                "  leaves as VLAN 100 priority 0\n"));
    // The operation of the UNI is not repeated in the second half.
    EXPECT_THAT(text, HasSubstr("upstream, from the bridge to the ANI\n"
                                "  MAC_BRIDGE_SERVICE_PROFILE 0x0001\n"));
}

// The line 12 sets the row.
TEST(query_tagging, a_drop_names_the_operation_that_rewrote_the_tags)
{
    const std::string text = answer_text(carried_line, from_uni_1(query_tag{5, 3}));
    EXPECT_THAT(text, HasSubstr("; the frame has VLAN 200 priority 3, rewritten by "
                                "VLAN_TAG_EXTEND_OPERATE 0x0001.\n"
                                "VLAN_TAG_FILTER_DATA 0x1001 is written in test.scn:7.\n"
                                "VLAN_TAG_EXTEND_OPERATE 0x0001 is written in test.scn:12.\n"));
    // VLAN 7 passes the operation unchanged.
    const std::string same = answer_text(carried_line, from_uni_1(query_tag{7, 0}));
    EXPECT_THAT(same, HasSubstr("; the frame has VLAN 7 priority 0.\n"));
    EXPECT_THAT(same, Not(HasSubstr("VLAN_TAG_EXTEND_OPERATE 0x0001 is written")));
}

TEST(query_tagging, json_of_a_drop_has_the_operation_that_rewrote_the_tags)
{
    const std::unique_ptr<backend> target = make_host_backend();
    explain_session session(*target);
    std::ostringstream out;
    ASSERT_EQ(session.run(parse_good(carried_line), out), status_ok);
    print_path_json(trace_frame(from_uni_1(query_tag{5, 3}), session), {.name = "test.scn"}, out);
    const auto faults = nlohmann::json::parse(out.str())["faults"];
    ASSERT_EQ(faults.size(), 2u);
    EXPECT_EQ(faults[0]["class"], "VLAN_TAG_FILTER_DATA");
    EXPECT_EQ(faults[1]["class"], "VLAN_TAG_EXTEND_OPERATE");
    EXPECT_EQ(faults[1]["reason"], "VLAN_TAG_EXTEND_OPERATE 0x0001 of PPTP_ETHERNET_UNI 0x0101 "
                                   "rewrote the frame: single-tagged, VLAN 5: remove 1 tag, add "
                                   "VLAN 200 with the priority of the inner tag, TPID 0x8100");
    EXPECT_EQ(faults[1]["line"], 12);
}

// The operation of the port towards the ANI acts before the second hook call.
TEST(query_tagging, a_drop_names_the_operations_of_both_halves)
{
    const std::string text =
        answer_text(carried_line + "tagging VLAN_TAG_OPERATE 2 association=3 associated=0x0101 "
                                   "upstream_mode=1 upstream_tci=300 downstream_mode=1\n",
                    from_uni_1({}));
    EXPECT_THAT(text, HasSubstr("; the frame has VLAN 300 priority 0, rewritten by "
                                "VLAN_TAG_EXTEND_OPERATE 0x0001 and VLAN_TAG_OPERATE 0x0002.\n"));
}

TEST(query_tagging, a_discarding_row_is_named)
{
    EXPECT_THAT(answer_text(carried_line, from_uni_1(query_tag{666, 0})),
                HasSubstr("The frame from UNI 1 is dropped: the tagging operation "
                          "VLAN_TAG_EXTEND_OPERATE 0x0001 of "
                          "PPTP_ETHERNET_UNI 0x0101 discards the frame: single-tagged, VLAN 666: "
                          "discard."));
}

TEST(query_tagging, operations_of_the_bridge_act_between_the_halves)
{
    const std::string text = answer_text(
        good_line + "tagging VLAN_TAG_OPERATE 2 association=3 associated=0x1001 upstream_mode=1 "
                    "upstream_tci=100 downstream_mode=1\n",
        from_uni_1({}));
    EXPECT_THAT(text, HasSubstr("upstream, from the bridge to the ANI\n"
                                "  arrives as untagged\n"
                                "    VLAN_TAG_OPERATE 0x0002 of MAC_BRIDGE_PORT_CON_DATA 0x1001: "
                                "upstream mode 1: add VLAN 100 priority 0\n"
                                "      set in line 9\n"
                                "  leaves as VLAN 100 priority 0\n"));
}

// Port 0x0101 leads to the UNI: its operation acts after the first half, whose walk meets the
// port.
TEST(query_tagging, an_operation_that_acts_between_the_halves_is_no_gap)
{
    const std::string text = answer_text(
        good_line + "tagging VLAN_TAG_OPERATE 2 association=3 associated=0x0101 upstream_mode=1 "
                    "upstream_tci=100 downstream_mode=1\n",
        from_uni_1({}));
    EXPECT_THAT(text, HasSubstr("VLAN_TAG_OPERATE 0x0002 of MAC_BRIDGE_PORT_CON_DATA 0x0101: "
                                "upstream mode 1: add VLAN 100 priority 0\n"));
    EXPECT_THAT(text, testing::Not(HasSubstr("was not applied")));
}

TEST(query_tagging, a_frame_from_the_fibre_leaves_untagged)
{
    frame_query query;
    query.gem = 1025;
    query.outer = query_tag{100, 0};
    EXPECT_THAT(answer_text(carried_line, query),
                HasSubstr("to PPTP_ETHERNET_UNI 0x0101\n"
                          "  arrives as VLAN 100 priority 0\n"
                          "    VLAN_TAG_EXTEND_OPERATE 0x0001 of PPTP_ETHERNET_UNI 0x0101: inverse "
                          "of untagged: add VLAN 100 with priority 0, TPID 0x8100\n"
                          "      set in line 11\n"
                          "  leaves as untagged\n"));
}

frame_query from_gem_1025(query_tag tag)
{
    frame_query query;
    query.gem = 1025;
    query.outer = tag;
    return query;
}

// Mode 8 discards each frame at UNI 1, the only one of bridge 1.
const std::string discarded_downstream =
    carried_line + "tagging VLAN_TAG_EXTEND_OPERATE 1 downstream_mode=8\n";

TEST(query_tagging, a_frame_that_no_uni_receives_is_dropped)
{
    const std::string text = answer_text(discarded_downstream, from_gem_1025({100, 0}));
    EXPECT_THAT(text, HasSubstr("The frame from GEM port 1025 is dropped: the tagging operation "
                                "VLAN_TAG_EXTEND_OPERATE 0x0001 of PPTP_ETHERNET_UNI 0x0101 "
                                "discards the frame: downstream mode 8: discard.\n"));
    EXPECT_THAT(text, testing::Not(HasSubstr("passes")));
    EXPECT_THAT(text, testing::EndsWith("  discarded\n"));
    // Mode 5 discards priority 5, which no row produces.
    const std::string strict =
        carried_line + "tagging VLAN_TAG_EXTEND_OPERATE 1 downstream_mode=5\n";
    EXPECT_THAT(answer_text(strict, from_gem_1025({100, 5})),
                HasSubstr("discards the frame: downstream mode 5: no row matches, discard.\n"));
    EXPECT_THAT(answer_text(strict, from_gem_1025({100, 0})),
                HasSubstr("The frame passes from GEM port 1025 into bridge 1, towards UNI 1.\n"));
}

TEST(query_tagging, a_frame_that_one_of_two_unis_receives_passes)
{
    const std::string text = answer_text(
        discarded_downstream + "me create MAC_BRIDGE_PORT_CON_DATA 0x0102 bridgeID=1 tpType=1 "
                               "tpPointer=0x0102\n",
        from_gem_1025({100, 0}));
    EXPECT_THAT(text, HasSubstr("The frame passes from GEM port 1025 into bridge 1, towards UNI "
                                "2.\n"
                                "The frame does not leave by PPTP_ETHERNET_UNI 0x0101: the tagging "
                                "operation VLAN_TAG_EXTEND_OPERATE 0x0001 of PPTP_ETHERNET_UNI "
                                "0x0101 discards the frame: downstream mode 8: discard.\n"));
}

// VLAN 5 with the reserved filter priority 9: both directions may be concerned.
TEST(query_tagging, a_row_that_cannot_be_interpreted_is_a_note)
{
    const std::string line =
        carried_line + "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000090028000400f000000000324\n";
    const std::string note =
        "VLAN_TAG_EXTEND_OPERATE 0x0001: an operation exists here and was not applied: the row "
        "\"single-tagged, VLAN 5: remove 1 tag, add VLAN 100 with priority 0, TPID 0x8100\" cannot "
        "be interpreted: reserved value: inner filter priority 9 (set in line 14).\n";
    const std::string text = answer_text(
        line + "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080028000ffffffffffffffff\n",
        from_uni_1(query_tag{5, 0}));
    EXPECT_THAT(text, HasSubstr(note));
    // Untagged -> 100:0 is tried after the row, whose result 100:0 may be, too.
    EXPECT_THAT(answer_text(line, from_gem_1025({100, 0})), HasSubstr(note));
}

TEST(query_tagging, what_the_onu_decides_is_a_note)
{
    const std::string passes =
        "The frame passes from GEM port 1025 into bridge 1, towards UNI 1.\n";
    EXPECT_THAT(answer_text(carried_line, from_gem_1025({100, 5})),
                HasSubstr(passes +
                          "VLAN_TAG_EXTEND_OPERATE 0x0001: in downstream mode 0 the ONU decides "
                          "which fields of a frame it compares with the rows, and what it does "
                          "with a frame that matches none.\n"));
    EXPECT_THAT(answer_text(carried_line, from_gem_1025({100, 0})),
                testing::Not(HasSubstr("the ONU decides")));
}

TEST(query_tagging, prints_json_of_a_frame_that_no_uni_receives)
{
    const std::unique_ptr<backend> target = make_host_backend();
    explain_session session(*target);
    std::ostringstream out;
    EXPECT_EQ(session.run(parse_good(discarded_downstream), out), status_ok);
    print_path_json(trace_frame(from_gem_1025({100, 0}), session), {.name = "test.scn"}, out);
    const auto document = nlohmann::json::parse(out.str());
    EXPECT_EQ(document["outcome"], "dropped");
    EXPECT_EQ(document["faults"][0]["class"], "VLAN_TAG_EXTEND_OPERATE");
    ASSERT_EQ(document["halves"].size(), 1u);
    EXPECT_EQ(document["halves"][0]["outcome"], "dropped");
    EXPECT_EQ(document["halves"][0]["leaving"][0]["tagging"]["discarded"], true);
}

TEST(query_tagging, an_operation_without_a_place_is_a_note)
{
    EXPECT_THAT(answer_text(good_line + "me create VLAN_TAG_EXTEND_OPERATE 1\n",
                            from_uni_1(query_tag{100, 0})),
                HasSubstr("VLAN_TAG_EXTEND_OPERATE 0x0001: an operation exists here and was not "
                          "applied: its association is not known.\n"));
}

} // namespace

} // namespace gponflow

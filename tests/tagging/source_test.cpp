// SPDX-License-Identifier: GPL-2.0-only
// The lines of a scenario that set the rows and attributes of a tagging operation.
#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tests/tagging/rows.h"
#include "tool/model/carry.h"
#include "tool/scenario/final_state.h"
#include "tool/tagging/apply.h"
#include "tool/text/line_places.h"

namespace gponflow {

namespace {

using sources = std::vector<attribute_source>;

constexpr row_tag vlan_5{any_priority, 5, 0};
constexpr row_tag vlan_6{any_priority, 6, 0};
constexpr row_tag add_vlan_9{0, 9, 4};

tag_facts with_row(const tag_row& row)
{
    tag_facts facts;
    facts.rows.push_back(encode_row(row));
    return facts;
}

// The instance from line 10, a row for VLAN 5 from line 11 and one for VLAN 6 from line 12.
tag_operation two_rows()
{
    tag_operation operation;
    tag_facts begin;
    begin.default_rows = true;
    apply(begin, operation, 10);
    apply(with_row(single_row(vlan_5, 1, add_nothing, add_vlan_9)), operation, 11);
    apply(with_row(single_row(vlan_6, 1, add_nothing, add_vlan_9)), operation, 12);
    return operation;
}

sources upstream(const tag_operation& operation, std::initializer_list<frame_tag> tags)
{
    return rewrite_upstream(operation, frame_with(tags)).sources;
}

sources downstream(const tag_operation& operation, std::initializer_list<frame_tag> tags)
{
    return rewrite_downstream(operation, frame_with(tags)).sources;
}

TEST(tag_source, each_row_has_the_line_that_set_it)
{
    const tag_operation operation = two_rows();
    EXPECT_EQ(upstream(operation, {vlan(5)}), (sources{{"row", 11}}));
    EXPECT_EQ(upstream(operation, {vlan(6)}), (sources{{"row", 12}}));
    EXPECT_EQ(upstream(operation, {vlan(7)}), (sources{{"row", 10}}));
}

TEST(tag_source, a_replaced_row_has_the_line_of_its_last_write)
{
    tag_operation operation = two_rows();
    apply(with_row(single_row(vlan_5, discard_frame, add_nothing, add_nothing)), operation, 20);
    EXPECT_EQ(upstream(operation, {vlan(5)}), (sources{{"row", 20}}));
    EXPECT_EQ(upstream(operation, {vlan(6)}), (sources{{"row", 12}}));
    EXPECT_EQ(operation.rows.size(), 5u);
}

TEST(tag_source, a_deleted_row_leaves_the_frame_to_the_default_row)
{
    tag_operation operation = two_rows();
    tag_row_image image = encode_row(single_row(vlan_5, 1, add_nothing, add_vlan_9));
    std::fill(image.begin() + tag_row_bytes / 2, image.end(), uint8_t{0xff});
    set_row(operation, image, 21);
    EXPECT_EQ(upstream(operation, {vlan(5)}), (sources{{"row", 10}}));
    EXPECT_EQ(operation.line_of(tag_attribute::table), 21u);
}

// Without a line that begins the table, the ONU created the default rows.
TEST(tag_source, default_rows_of_a_new_instance_have_no_line)
{
    tag_operation operation;
    apply(with_row(single_row(vlan_5, 1, add_nothing, add_vlan_9)), operation, 30);
    EXPECT_EQ(upstream(operation, {vlan(5)}), (sources{{"row", 30}}));
    EXPECT_EQ(upstream(operation, {vlan(6)}), (sources{{"row", 0}}));
}

TEST(tag_source, attributes_that_a_row_uses_follow_it)
{
    tag_operation operation = two_rows();
    tag_facts facts;
    facts.dscp_map.emplace();
    apply(facts, operation, 40);
    facts = {};
    facts.output_tpid = 0x88a8;
    facts.input_tpid = 0x9100;
    apply(facts, operation, 41);
    EXPECT_EQ(upstream(operation, {vlan(5)}), (sources{{"row", 11}}));
    const row_tag dscp_priority{priority_of_dscp, 9, 6};
    apply(with_row(single_row({any_priority, 5, 5}, 1, add_nothing, dscp_priority)), operation, 42);
    EXPECT_EQ(upstream(operation, {vlan(5, 0, 0x9100)}),
              (sources{{"row", 42}, {"input_tpid", 41}, {"output_tpid", 41}, {"dscp_map", 40}}));
}

TEST(tag_source, downstream_the_mode_follows_the_row_or_precedes_the_table)
{
    tag_operation operation = two_rows();
    EXPECT_EQ(downstream(operation, {vlan(9)}), (sources{{"row", 11}}));
    tag_facts facts;
    facts.downstream_mode = uint8_t{5};
    apply(facts, operation, 50);
    EXPECT_EQ(downstream(operation, {vlan(9)}), (sources{{"row", 11}, {"downstream_mode", 50}}));
    EXPECT_EQ(downstream(operation, {vlan(8)}), (sources{{"downstream_mode", 50}, {"rows", 12}}));
    facts.downstream_mode = uint8_t{8};
    apply(facts, operation, 51);
    EXPECT_EQ(downstream(operation, {vlan(9)}), (sources{{"downstream_mode", 51}}));
}

TEST(tag_source, modes_of_class_78_have_their_own_lines)
{
    tag_operation operation;
    tag_facts facts;
    facts.class_id = me_class::vtocd;
    facts.upstream_mode = uint8_t{2};
    apply(facts, operation, 60);
    facts.upstream_mode.reset();
    facts.upstream_tci = uint16_t{7};
    apply(facts, operation, 61);
    facts.upstream_tci.reset();
    facts.downstream_mode = uint8_t{1};
    apply(facts, operation, 62);
    EXPECT_EQ(upstream(operation, {}), (sources{{"upstream_mode", 60}, {"upstream_tci", 61}}));
    EXPECT_EQ(downstream(operation, {vlan(7)}), (sources{{"downstream_mode", 62}}));
}

TEST(tag_source, an_unknown_effect_has_the_line_of_its_reason)
{
    tag_operation operation = two_rows();
    apply(with_row(single_row({9, 5, 0}, 1, add_nothing, add_vlan_9)), operation, 70);
    operation.rows.erase(std::ranges::find(operation.rows, 11u, &table_row::line));
    EXPECT_EQ(upstream(operation, {vlan(5, 1)}), (sources{{"row", 70}}));
    tag_facts facts;
    facts.enhanced_mode = uint8_t{1};
    apply(facts, operation, 71);
    EXPECT_EQ(upstream(operation, {vlan(5)}), (sources{{"enhanced_mode", 71}}));
    facts.enhanced_mode = uint8_t{0};
    apply(facts, operation, 72);
    EXPECT_EQ(rewrite_upstream(operation, octets{1, 2}).sources, sources{});
}

// Line 9 creates the instance; nothing else sets the row for untagged frames.
TEST(tag_source, a_default_row_of_a_line_has_the_line_that_created_the_instance)
{
    const line_model line = final_entities(parse_good(
        good_line + "me create VLAN_TAG_EXTEND_OPERATE 1\n"
                    "tagging VLAN_TAG_EXTEND_OPERATE 1 association=2 associated=0x0101\n"
                    "tagging VLAN_TAG_EXTEND_OPERATE 1 row=f800000080028000400f000000080644\n"
                    "me set VLAN_TAG_EXTEND_OPERATE 1 mask=0x0400\n"));
    const auto sources_for = [&](std::initializer_list<frame_tag> tags) {
        return carry_from_uni(line, {me_class::pptp, 0x0101}, frame_with(tags)).steps.at(0).sources;
    };
    EXPECT_EQ(sources_for({}), (sources{{"row", 9}}));
    EXPECT_EQ(sources_for({vlan(5)}), (sources{{"row", 11}}));
}

TEST(line_places, a_converted_line_is_named_by_its_frames)
{
    const line_places places{"a.pcap", {{3, "frame 41, response 42"}, {5, "frames 50 to 60"}}};
    EXPECT_EQ(places.text(3), "a.pcap, frame 41, response 42");
    EXPECT_EQ(places.text(4), "a.pcap:4");
    EXPECT_EQ(places.short_text(4), "line 4");
    EXPECT_EQ(places.frame(3), 41u);
    EXPECT_EQ(places.frame(4), std::nullopt);
    EXPECT_EQ(places.frame(5), 50u);
    EXPECT_EQ(sources_text({{"row", 3}, {"dscp_map", 4}}, places),
              "frame 41, response 42; dscp_map in line 4");
    EXPECT_EQ(sources_text({{"row", 0}}, places), "");
}

} // namespace

} // namespace gponflow

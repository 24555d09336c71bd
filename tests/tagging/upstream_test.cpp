// SPDX-License-Identifier: GPL-2.0-only
// Frames worked out by hand: in the comments S is the outer and C the inner tag of the received
// frame, written VLAN:priority, and the tags of a frame are written from the outer to the inner
// one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tagging/rewritten.h"

namespace gponflow {

namespace {

// Treatments as G.988 table 9.3.13-1 lists them.

// untagged -> 100:3
TEST(tagging_upstream, untagged_gets_a_tag)
{
    const tag_operation op = table_of({untagged_row(0, add_nothing, {3, 100, 4})});
    EXPECT_EQ(up(op, frame_with({})), "VLAN 100 priority 3");
    EXPECT_EQ(down(op, frame_with({vlan(100, 3)})), "untagged");
    // Another priority or VLAN is not what the row produces: the default row passes it.
    EXPECT_EQ(down(op, frame_with({vlan(100, 4)})), "VLAN 100 priority 4");
    EXPECT_EQ(down(op, frame_with({vlan(101, 3)})), "VLAN 101 priority 3");
}

// untagged -> 10:1 (outer), 100:3 (inner)
TEST(tagging_upstream, untagged_gets_two_tags)
{
    const tag_operation op = table_of({untagged_row(0, {1, 10, 4}, {3, 100, 4})});
    EXPECT_EQ(up(op, frame_with({})), "VLAN 10 priority 1, VLAN 100 priority 3");
    EXPECT_EQ(down(op, frame_with({vlan(10, 1), vlan(100, 3)})), "untagged");
}

// The bytes of the example of a tag: 8100, then priority 3 = 011, DEI 0, VID 100 = 0x064: 6064.
TEST(tagging_upstream, an_added_tag_has_its_bytes_at_their_place)
{
    const tag_operation op = table_of({untagged_row(0, add_nothing, {3, 100, 4})});
    const octets frame = frame_with({});
    const octets done = rewrite_upstream(op, frame).frame;
    ASSERT_EQ(done.size(), frame.size() + 4);
    EXPECT_EQ(octets(done.begin() + 12, done.begin() + 18),
              (octets{0x81, 0x00, 0x60, 0x64, 0x08, 0x00}));
    EXPECT_EQ(rewrite_downstream(op, done).frame, frame);
}

// C 5:2 -> 100:6, 5:2
TEST(tagging_upstream, a_tag_is_added_outside_the_single_one)
{
    const tag_operation op = table_of({single_row(any_tag, 0, add_nothing, {6, 100, 4})});
    EXPECT_EQ(up(op, frame_with({vlan(5, 2)})), "VLAN 100 priority 6, VLAN 5 priority 2");
    EXPECT_EQ(down(op, frame_with({vlan(100, 6), vlan(5, 2)})), "VLAN 5 priority 2");
}

// C 5:2 -> 10:0, 100:2, 5:2
TEST(tagging_upstream, two_tags_are_added_outside_the_single_one)
{
    const tag_operation op =
        table_of({single_row(any_tag, 0, {0, 10, 4}, {copy_inner_priority, 100, 4})});
    EXPECT_EQ(up(op, frame_with({vlan(5, 2)})),
              "VLAN 10 priority 0, VLAN 100 priority 2, VLAN 5 priority 2");
}

// C 5:2 -> 100:2. Downstream 100:2 -> 5:2, and 100:4 -> 5:4 because the priority is copied.
TEST(tagging_upstream, the_vlan_is_translated_and_the_priority_copied)
{
    const tag_operation op =
        table_of({single_row({8, 5, 0}, 1, add_nothing, {copy_inner_priority, 100, 4})});
    EXPECT_EQ(up(op, frame_with({vlan(5, 2)})), "VLAN 100 priority 2");
    EXPECT_EQ(up(op, frame_with({vlan(6, 2)})), "VLAN 6 priority 2");
    EXPECT_EQ(down(op, frame_with({vlan(100, 2)})), "VLAN 5 priority 2");
    EXPECT_EQ(down(op, frame_with({vlan(100, 4)})), "VLAN 5 priority 4");
}

// C 5:2 -> 5:7: the VLAN is copied, the priority is set.
TEST(tagging_upstream, the_priority_is_changed_and_the_vlan_copied)
{
    const tag_operation op =
        table_of({single_row(any_tag, 1, add_nothing, {7, copy_inner_vid, 4})});
    EXPECT_EQ(up(op, frame_with({vlan(5, 2)})), "VLAN 5 priority 7");
    // The priority before is not known downstream: it becomes 0.
    EXPECT_EQ(down(op, frame_with({vlan(5, 7)})), "VLAN 5 priority 0");
}

// C 5:2 -> untagged. Downstream untagged -> 5:0, with the VLAN of the filter.
TEST(tagging_upstream, a_tag_is_removed)
{
    const tag_operation op = table_of({single_row({8, 5, 0}, 1, add_nothing, add_nothing)});
    EXPECT_EQ(up(op, frame_with({vlan(5, 2)})), "untagged");
    // The default row of untagged frames comes after it.
    EXPECT_EQ(down(op, frame_with({})), "VLAN 5 priority 0");
}

// S 10:1, C 5:2 -> 100:1, 5:2: only the outer tag is replaced.
TEST(tagging_upstream, the_outer_of_two_tags_is_translated)
{
    const tag_operation op =
        table_of({double_row({8, 10, 0}, any_tag, 1, add_nothing, {copy_outer_priority, 100, 4})});
    EXPECT_EQ(up(op, frame_with({vlan(10, 1), vlan(5, 2)})),
              "VLAN 100 priority 1, VLAN 5 priority 2");
    EXPECT_EQ(down(op, frame_with({vlan(100, 1), vlan(5, 2)})),
              "VLAN 10 priority 1, VLAN 5 priority 2");
}

// S 10:1, C 5:2 -> 20:3, 6:4: both tags are replaced.
TEST(tagging_upstream, both_tags_are_translated)
{
    const tag_operation op =
        table_of({double_row({1, 10, 0}, {2, 5, 0}, 2, {3, 20, 4}, {4, 6, 4})});
    EXPECT_EQ(up(op, frame_with({vlan(10, 1), vlan(5, 2)})),
              "VLAN 20 priority 3, VLAN 6 priority 4");
    EXPECT_EQ(down(op, frame_with({vlan(20, 3), vlan(6, 4)})),
              "VLAN 10 priority 1, VLAN 5 priority 2");
}

// S 10:1, C 5:2 -> 5:2, 10:1: the tags are swapped, both ways.
TEST(tagging_upstream, both_tags_are_swapped)
{
    const tag_operation op =
        table_of({double_row(any_tag, any_tag, 2, {copy_inner_priority, copy_inner_vid, 0},
                             {copy_outer_priority, copy_outer_vid, 1})});
    const octets frame = frame_with({vlan(10, 1, 0x88a8), vlan(5, 2)});
    EXPECT_EQ(up(op, frame), "VLAN 5 priority 2, VLAN 10 priority 1 (0x88a8)");
    EXPECT_EQ(down(op, rewrite_upstream(op, frame).frame),
              "VLAN 10 priority 1 (0x88a8), VLAN 5 priority 2");
}

// S 10:1, C 5:2 -> C 5:2, and -> untagged.
TEST(tagging_upstream, one_or_both_of_two_tags_are_removed)
{
    const octets frame = frame_with({vlan(10, 1), vlan(5, 2)});
    EXPECT_EQ(up(table_of({double_row(any_tag, any_tag, 1, add_nothing, add_nothing)}), frame),
              "VLAN 5 priority 2");
    EXPECT_EQ(up(table_of({double_row(any_tag, any_tag, 2, add_nothing, add_nothing)}), frame),
              "untagged");
}

// A third tag inside stays: 10:1, 5:2, 7:3 -> 100:1, 5:2, 7:3.
TEST(tagging_upstream, tags_below_the_second_stay)
{
    const tag_operation op =
        table_of({double_row(any_tag, any_tag, 1, add_nothing, {copy_outer_priority, 100, 4})});
    const octets frame = frame_with({vlan(10, 1), vlan(5, 2), vlan(7, 3)});
    EXPECT_EQ(up(op, frame), "VLAN 100 priority 1, VLAN 5 priority 2, VLAN 7 priority 3");
    EXPECT_EQ(tags_text(rewrite_downstream(op, rewrite_upstream(op, frame).frame).frame),
              "VLAN 0 priority 1, VLAN 5 priority 2, VLAN 7 priority 3");
}

TEST(tagging_upstream, a_row_may_discard)
{
    tag_row drop = single_row({8, 666, 0}, discard_frame, add_nothing, add_nothing);
    const tag_operation op = table_of({drop});
    EXPECT_EQ(up(op, frame_with({vlan(666)})), "discarded by single-tagged, VLAN 666: discard");
    EXPECT_EQ(up(op, frame_with({vlan(667)})), "VLAN 667 priority 0");
}

// Default rows that discard, as OLTs often set them: only the listed VLAN passes.
TEST(tagging_upstream, default_rows_come_last)
{
    tag_row rest = single_row({default_rule, any_vid, 0}, discard_frame, add_nothing, add_nothing);
    tag_row rest_of_double = double_row({default_rule, any_vid, 0}, {default_rule, any_vid, 0},
                                        discard_frame, add_nothing, add_nothing);
    const tag_operation op =
        table_of({rest, rest_of_double,
                  single_row({8, 100, 0}, 1, add_nothing, {copy_inner_priority, 100, 0})});
    EXPECT_EQ(up(op, frame_with({vlan(100, 5)})), "VLAN 100 priority 5");
    EXPECT_EQ(up(op, frame_with({vlan(101)})), "discarded by other single-tagged: discard");
    EXPECT_EQ(up(op, frame_with({vlan(100), vlan(5)})),
              "discarded by other double-tagged: discard");
    EXPECT_EQ(up(op, frame_with({})), "untagged");
}

// VLAN 100 alone, VLAN 100 with priority 3, priority 3 alone: each frame takes the most specific.
TEST(tagging_upstream, the_most_specific_row_wins)
{
    const tag_operation op = table_of({single_row({8, 100, 0}, 1, add_nothing, {0, 201, 4}),
                                       single_row({3, 100, 0}, 1, add_nothing, {0, 202, 4}),
                                       single_row({3, any_vid, 0}, 1, add_nothing, {0, 203, 4}),
                                       single_row(any_tag, 1, add_nothing, {0, 204, 4})});
    EXPECT_EQ(up(op, frame_with({vlan(100, 1)})), "VLAN 201 priority 0");
    EXPECT_EQ(up(op, frame_with({vlan(100, 3)})), "VLAN 202 priority 0");
    EXPECT_EQ(up(op, frame_with({vlan(99, 3)})), "VLAN 203 priority 0");
    EXPECT_EQ(up(op, frame_with({vlan(99, 1)})), "VLAN 204 priority 0");
}

TEST(tagging_upstream, rows_distinguish_ethertypes)
{
    tag_row ip = untagged_row(0, add_nothing, {0, 10, 4});
    ip.ethertype = 1;
    tag_row pppoe = untagged_row(0, add_nothing, {0, 20, 4});
    pppoe.ethertype = 2;
    tag_row arp = untagged_row(0, add_nothing, {0, 30, 4});
    arp.ethertype = 3;
    tag_row ipv6 = untagged_row(0, add_nothing, {0, 40, 4});
    ipv6.ethertype = 4;
    const tag_operation op =
        table_of({untagged_row(0, add_nothing, {0, 50, 4}), ip, pppoe, arp, ipv6});
    EXPECT_EQ(up(op, frame_with({}, 0x0800)), "VLAN 10 priority 0");
    EXPECT_EQ(up(op, frame_with({}, 0x8863)), "VLAN 20 priority 0");
    EXPECT_EQ(up(op, frame_with({}, 0x8864)), "VLAN 20 priority 0");
    EXPECT_EQ(up(op, frame_with({}, 0x0806)), "VLAN 30 priority 0");
    EXPECT_EQ(up(op, frame_with({}, 0x86dd)), "VLAN 40 priority 0");
    EXPECT_EQ(up(op, frame_with({}, 0x88cc)), "VLAN 50 priority 0");
    EXPECT_EQ(down(op, frame_with({vlan(20)}, 0x8864)), "untagged");
    EXPECT_EQ(down(op, frame_with({vlan(20)}, 0x0800)), "VLAN 20 priority 0");
}

// Codes 4 to 7 of the filter: 0x8100, input TPID, input TPID with DEI 0, with DEI 1.
TEST(tagging_upstream, filters_compare_tpid_and_dei)
{
    const auto first_match = [](uint8_t code, uint16_t tpid, bool dei) {
        tag_operation op = table_of({single_row({8, any_vid, code}, 1, add_nothing, {0, 9, 4})});
        op.input_tpid = 0x88a8;
        return up(op, frame_with({vlan(5, 0, tpid, dei)})) == "VLAN 9 priority 0";
    };
    EXPECT_TRUE(first_match(4, 0x8100, false));
    EXPECT_FALSE(first_match(4, 0x88a8, false));
    EXPECT_FALSE(first_match(5, 0x8100, false));
    EXPECT_TRUE(first_match(5, 0x88a8, true));
    EXPECT_TRUE(first_match(6, 0x88a8, false));
    EXPECT_FALSE(first_match(6, 0x88a8, true));
    EXPECT_FALSE(first_match(7, 0x88a8, false));
    EXPECT_TRUE(first_match(7, 0x88a8, true));
}

// The input TPID makes a tag out of any type: 0x1234 is none without it.
TEST(tagging_upstream, the_input_tpid_is_a_tag)
{
    tag_operation op = table_of({single_row({8, 5, 0}, 1, add_nothing, {0, 9, 4})});
    const octets frame = frame_with({vlan(5, 0, 0x1234)});
    EXPECT_EQ(rewrite_upstream(op, frame).row, "untagged: no change");
    op.input_tpid = 0x1234;
    EXPECT_EQ(up(op, frame), "VLAN 9 priority 0");
}

// Codes of the treatment, with S 10:1 0x88a8 DEI 1, C 5:2 0x8100 DEI 0 and the output TPID 0x9100.
TEST(tagging_upstream, treatments_choose_tpid_and_dei)
{
    const auto added = [](uint8_t code) {
        tag_operation op = table_of({double_row(any_tag, any_tag, 2, add_nothing, {0, 7, code})});
        op.output_tpid = 0x9100;
        return up(op, frame_with({vlan(10, 1, 0x88a8, true), vlan(5, 2)}));
    };
    EXPECT_EQ(added(0), "VLAN 7 priority 0");
    EXPECT_EQ(added(1), "VLAN 7 priority 0 DEI (0x88a8)");
    EXPECT_EQ(added(2), "VLAN 7 priority 0 (0x9100)");
    EXPECT_EQ(added(3), "VLAN 7 priority 0 DEI (0x9100)");
    EXPECT_EQ(added(4), "VLAN 7 priority 0");
    EXPECT_EQ(added(6), "VLAN 7 priority 0 (0x9100)");
    EXPECT_EQ(added(7), "VLAN 7 priority 0 DEI (0x9100)");
}

// DSCP 46: 46 = 5 * 8 + 6, so bits 23 - 3 * 6 = 5 to 3 of the sixth 24-bit word: 5 = 101 gives
// 0x000028.
TEST(tagging_upstream, the_priority_comes_from_the_dscp)
{
    tag_operation op = table_of({untagged_row(0, add_nothing, {priority_of_dscp, 100, 4})});
    op.dscp_map[17] = 0x28;
    EXPECT_EQ(up(op, frame_with({})), "VLAN 100 priority 5");
    EXPECT_EQ(up(op, frame_with({}, 0x0806)), "VLAN 100 priority 0");
    EXPECT_EQ(down(op, frame_with({vlan(100, 5)})), "untagged");
    EXPECT_EQ(down(op, frame_with({vlan(100, 1)})), "untagged");
}

// An IPv6 header with traffic class 0xb8 = DSCP 46 begins 6b 80.
TEST(tagging_upstream, the_dscp_of_ipv6_is_read)
{
    tag_operation op = table_of({untagged_row(0, add_nothing, {priority_of_dscp, 100, 4})});
    op.dscp_map[17] = 0x28;
    octets frame = frame_with({}, 0x86dd);
    frame[14] = 0x6b;
    frame[15] = 0x80;
    EXPECT_EQ(up(op, frame), "VLAN 100 priority 5");
}

TEST(tagging_upstream, what_is_not_known_changes_nothing)
{
    const octets frame = frame_with({vlan(100)});
    EXPECT_EQ(up({}, frame), "unknown: its table is not known");
    EXPECT_EQ(
        up(table_of({single_row({8, 100, 0}, 0, add_nothing, {12, 1, 4})}), frame),
        "unknown: the row \"single-tagged, VLAN 100: add VLAN 1 with priority 12, TPID 0x8100\" "
        "cannot be interpreted: reserved value: inner treatment priority 12");
    EXPECT_EQ(up(table_of({}), octets(11)), "unknown: the frame ends within its addresses");
}

// Addresses, then 8100 0064 0800: until the two bytes of the EtherType are there, the capture may
// have cut a tag.
TEST(tagging_upstream, a_frame_cut_before_its_ethertype_has_unknown_tags)
{
    octets frame = frame_with({vlan(100)}, 0x0800, {});
    ASSERT_EQ(frame.size(), 18u);
    EXPECT_EQ(up(table_of({}), frame), "VLAN 100 priority 0");
    for (const size_t size : {17u, 16u, 15u, 14u, 13u, 12u}) {
        frame.resize(size);
        EXPECT_EQ(up(table_of({}), frame), "unknown: the frame ends before its EtherType") << size;
        EXPECT_EQ(down(table_of({}), frame), "unknown: the frame ends before its EtherType");
    }
}

// Class 78 and the downstream modes 1 and 8 read less.
TEST(tagging, a_cut_frame_passes_an_operation_that_does_not_need_its_end)
{
    tag_operation plain;
    plain.class_id = me_class::vtocd;
    plain.upstream_mode = 2;
    plain.downstream_mode = 1;
    tag_operation discarding = table_of({});
    discarding.downstream_mode = 8;
    octets frame = frame_with({vlan(100)}, 0x0800, {});
    for (const size_t size : {17u, 16u}) {
        frame.resize(size);
        EXPECT_EQ(up(plain, frame), "VLAN 0 priority 0, VLAN 100 priority 0") << size;
        EXPECT_EQ(down(plain, frame), "untagged") << size;
        EXPECT_EQ(down(discarding, frame), "discarded by downstream mode 8: discard") << size;
    }
    frame.resize(15);
    EXPECT_EQ(up(plain, frame), "unknown: the frame ends before its EtherType");
    EXPECT_TRUE(rewrite_upstream(plain, frame).frame_ends);
    EXPECT_TRUE(rewrite_upstream(table_of({}), frame).frame_ends);
    EXPECT_FALSE(rewrite_upstream({}, frame).frame_ends);
}

// The DSCP is in the second byte of an IPv4 header and the first two of an IPv6 header.
TEST(tagging_upstream, a_frame_cut_before_its_dscp_has_an_unknown_priority)
{
    const tag_operation op = table_of({untagged_row(0, add_nothing, {priority_of_dscp, 100, 4})});
    const std::string why =
        "unknown: the row \"untagged: add VLAN 100 with the priority of the DSCP, TPID 0x8100\" "
        "applies: the frame ends before its DSCP";
    EXPECT_EQ(up(op, frame_with({}, 0x0800, {0x45})), why);
    EXPECT_EQ(up(op, frame_with({}, 0x0800, {0x45, 0})), "VLAN 100 priority 0");
    EXPECT_EQ(up(op, frame_with({}, 0x86dd, {0x60})), why);
    EXPECT_EQ(up(op, frame_with({}, 0x0806, {})), "VLAN 100 priority 0");
}

TEST(tagging_upstream, a_table_that_is_not_whole_changes_nothing)
{
    tag_facts row;
    row.unknown_rows = true;
    row.rows.push_back(encode_row(single_row({8, 5, 0}, 1, add_nothing, {0, 9, 4})));
    tag_operation op;
    apply(row, op);
    EXPECT_EQ(op.rows.size(), 1u);
    EXPECT_EQ(up(op, frame_with({vlan(5)})), "unknown: only a part of its table is known");
    EXPECT_EQ(down(op, frame_with({vlan(9)})), "unknown: only a part of its table is known");
    // Without a table, two downstream modes are known all the same.
    op.downstream_mode = 1;
    EXPECT_EQ(down(op, frame_with({vlan(9)})), "VLAN 9 priority 0");
    op.downstream_mode = 8;
    EXPECT_EQ(down(op, frame_with({vlan(9)})), "discarded by downstream mode 8: discard");
    tag_facts whole;
    whole.default_rows = true;
    apply(whole, op);
    EXPECT_EQ(table_fault(op), "");
    EXPECT_EQ(up(op, frame_with({vlan(5)})), "VLAN 5 priority 0");
}

TEST(tagging_upstream, the_table_does_not_apply_in_enhanced_mode)
{
    tag_operation op = table_of({single_row({8, 5, 0}, 1, add_nothing, {0, 9, 4})});
    op.enhanced_mode = 1;
    EXPECT_EQ(up(op, frame_with({vlan(5)})),
              "unknown: it is in enhanced mode, whose table is not read");
}

// Every DSCP has its priority: a 24-bit word holds 8 priorities of three bits. With
// priority = DSCP / 8, the words are 000000, 249249, 492492, ... : eight times 001 is 249249.
TEST(tagging_upstream, the_whole_dscp_map_is_read)
{
    tag_operation op = table_of({untagged_row(0, add_nothing, {priority_of_dscp, 100, 4})});
    for (unsigned word = 0; word < 8; ++word) {
        const unsigned bits = 0x249249 * word;
        op.dscp_map[word * 3] = static_cast<uint8_t>(bits >> 16);
        op.dscp_map[word * 3 + 1] = static_cast<uint8_t>(bits >> 8);
        op.dscp_map[word * 3 + 2] = static_cast<uint8_t>(bits);
    }
    for (unsigned dscp = 0; dscp < 64; ++dscp)
        EXPECT_EQ(up(op, frame_with({}, 0x0800, {0x45, static_cast<uint8_t>(dscp << 2), 0, 20})),
                  "VLAN 100 priority " + std::to_string(dscp / 8));
}

} // namespace

} // namespace gponflow

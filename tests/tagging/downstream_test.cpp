// SPDX-License-Identifier: GPL-2.0-only
// Frames worked out by hand: in the comments S is the outer and C the inner tag of the received
// frame, written VLAN:priority, and the tags of a frame are written from the outer to the inner
// one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tagging/rewritten.h"

namespace gponflow {

namespace {

// C 5:any with a reserved priority 9 -> 100:6. Downstream, 100:6 may be its result, 100:5 is not.
TEST(tagging_downstream, a_row_that_cannot_be_interpreted_is_not_inverted)
{
    const auto outcome = [](const tag_row& row, frame_tag tag) {
        tag_operation op = table_of({row});
        op.downstream_mode = 5;
        return down(op, frame_with({tag}));
    };
    const tag_row filter = single_row({9, 5, 0}, 1, add_nothing, {6, 100, 4});
    EXPECT_EQ(
        outcome(filter, vlan(100, 6)),
        "unknown: the row \"single-tagged, VLAN 5: remove 1 tag, add VLAN 100 with priority 6, "
        "TPID 0x8100\" cannot be interpreted: reserved value: inner filter priority 9");
    EXPECT_EQ(outcome(filter, vlan(100, 5)),
              "discarded by downstream mode 5: no row matches, discard");
    tag_row discarding = filter;
    discarding.remove = discard_frame;
    EXPECT_EQ(outcome(discarding, vlan(100, 6)),
              "discarded by downstream mode 5: no row matches, discard");
    // The result of a reserved treatment is not known.
    EXPECT_EQ(
        outcome(single_row({8, 5, 0}, 1, add_nothing, {12, 100, 4}), vlan(7, 1)),
        "unknown: the row \"single-tagged, VLAN 5: remove 1 tag, add VLAN 100 with priority "
        "12, TPID 0x8100\" cannot be interpreted: reserved value: inner treatment priority 12");
}

// Downstream modes, with the rule C 5:2 <-> 100:6.
tag_operation translation(uint8_t mode)
{
    tag_operation op = table_of({single_row({2, 5, 0}, 1, add_nothing, {6, 100, 4})});
    op.downstream_mode = mode;
    return op;
}

TEST(tagging_downstream, mode_0_is_the_inverse)
{
    EXPECT_EQ(up(translation(0), frame_with({vlan(5, 2)})), "VLAN 100 priority 6");
    EXPECT_EQ(down(translation(0), frame_with({vlan(100, 6)})), "VLAN 5 priority 2");
    EXPECT_EQ(down(translation(0), frame_with({vlan(100, 1)})), "VLAN 100 priority 1");
}

TEST(tagging_downstream, mode_1_changes_nothing)
{
    EXPECT_EQ(down(translation(1), frame_with({vlan(100, 6)})), "VLAN 100 priority 6");
}

// Modes 2 and 5 compare VLAN and priority, 3 and 6 the VLAN, 4 and 7 the priority; the other field
// passes. Without a match the first of each pair passes the frame, the second discards it: default
// rows are no match.
TEST(tagging_downstream, modes_2_to_7_compare_vlan_priority_or_both)
{
    const auto outcome = [](unsigned mode, uint16_t vid, uint8_t priority) {
        return down(translation(static_cast<uint8_t>(mode)), frame_with({vlan(vid, priority)}));
    };
    for (const unsigned mode : {2, 5}) {
        EXPECT_EQ(outcome(mode, 100, 6), "VLAN 5 priority 2");
    }
    for (const unsigned mode : {3, 6}) {
        EXPECT_EQ(outcome(mode, 100, 6), "VLAN 5 priority 6");
        EXPECT_EQ(outcome(mode, 100, 1), "VLAN 5 priority 1");
    }
    for (const unsigned mode : {4, 7}) {
        EXPECT_EQ(outcome(mode, 100, 6), "VLAN 100 priority 2");
        EXPECT_EQ(outcome(mode, 101, 6), "VLAN 101 priority 2");
    }
    EXPECT_EQ(outcome(2, 100, 1), "VLAN 100 priority 1");
    EXPECT_EQ(outcome(3, 101, 6), "VLAN 101 priority 6");
    EXPECT_EQ(outcome(4, 100, 1), "VLAN 100 priority 1");
    EXPECT_EQ(outcome(5, 100, 1), "discarded by downstream mode 5: no row matches, discard");
    EXPECT_EQ(outcome(6, 101, 6), "discarded by downstream mode 6: no row matches, discard");
    EXPECT_EQ(outcome(7, 100, 1), "discarded by downstream mode 7: no row matches, discard");
}

// Row: untagged -> 100:3. Where one field is compared, the other one of the added tag is ignored.
TEST(tagging_downstream, modes_2_to_7_remove_an_added_tag)
{
    const auto outcome = [](unsigned mode, uint16_t vid, uint8_t priority) {
        tag_operation op = table_of({untagged_row(0, add_nothing, {3, 100, 4})});
        op.downstream_mode = static_cast<uint8_t>(mode);
        return down(op, frame_with({vlan(vid, priority)}));
    };
    for (const unsigned mode : {0, 2, 3, 4, 5, 6, 7})
        EXPECT_EQ(outcome(mode, 100, 3), "untagged") << mode;
    EXPECT_EQ(outcome(0, 100, 1), "VLAN 100 priority 1");
    EXPECT_EQ(outcome(2, 100, 1), "VLAN 100 priority 1");
    EXPECT_EQ(outcome(3, 100, 1), "untagged");
    EXPECT_EQ(outcome(6, 100, 1), "untagged");
    EXPECT_EQ(outcome(4, 101, 3), "untagged");
    EXPECT_EQ(outcome(7, 101, 3), "untagged");
    EXPECT_EQ(outcome(5, 100, 1), "discarded by downstream mode 5: no row matches, discard");
}

// Row f8000000 88000000 00088004 000f0000: C -> S with the VLAN and the priority of C, then C. Both
// tags of its frames have the same VLAN and priority.
TEST(tagging_downstream, a_tag_that_stays_agrees_with_the_copy)
{
    const auto outcome = [](unsigned mode, frame_tag s, frame_tag c) {
        tag_operation op = table_of(
            {single_row(any_tag, 0, {copy_inner_priority, copy_inner_vid, 4}, add_nothing)});
        op.downstream_mode = static_cast<uint8_t>(mode);
        return down(op, frame_with({s, c}));
    };
    const std::string unmatched = "no row matches, discard";
    EXPECT_EQ(outcome(5, vlan(10, 2), vlan(10, 2)), "VLAN 10 priority 2");
    EXPECT_EQ(outcome(5, vlan(999), vlan(10)), "discarded by downstream mode 5: " + unmatched);
    EXPECT_EQ(outcome(5, vlan(10, 3), vlan(10, 2)), "discarded by downstream mode 5: " + unmatched);
    // The field that a mode does not compare may differ.
    EXPECT_EQ(outcome(6, vlan(10, 3), vlan(10, 2)), "VLAN 10 priority 2");
    EXPECT_EQ(outcome(6, vlan(999), vlan(10)), "discarded by downstream mode 6: " + unmatched);
    EXPECT_EQ(outcome(7, vlan(999, 2), vlan(10, 2)), "VLAN 10 priority 2");
}

// An untagged frame would match only the row that the ONU creates for untagged frames. A row of the
// OLT with this filter and a treatment is a match: untagged -> 100:3.
TEST(tagging_downstream, the_default_row_of_untagged_frames_is_no_match)
{
    for (const unsigned mode : {2, 3, 4})
        EXPECT_EQ(down(translation(static_cast<uint8_t>(mode)), frame_with({})), "untagged");
    EXPECT_EQ(down(translation(5), frame_with({})),
              "discarded by downstream mode 5: no row matches, discard");
    EXPECT_EQ(down(translation(6), frame_with({})),
              "discarded by downstream mode 6: no row matches, discard");
    EXPECT_EQ(down(translation(7), frame_with({})),
              "discarded by downstream mode 7: no row matches, discard");
    EXPECT_EQ(rewrite_downstream(translation(2), frame_with({})).row,
              "downstream mode 2: no row matches, no change");
    EXPECT_EQ(rewrite_downstream(translation(0), frame_with({})).row,
              "inverse of untagged: no change");
}

// Row untagged -> 100:0 in mode 0: an ONU that compares only the VLAN removes the tag of 100:5.
TEST(tagging_downstream, what_the_onu_decides_is_noted)
{
    const auto note = [](unsigned mode, const tag_operation& operation, frame_tag tag) {
        tag_operation op = operation;
        op.downstream_mode = static_cast<uint8_t>(mode);
        return rewrite_downstream(op, frame_with({tag})).note;
    };
    const tag_operation added = table_of({untagged_row(0, add_nothing, {0, 100, 4})});
    const std::string left = "in downstream mode 0 the ONU decides which fields of a frame it "
                             "compares with the rows, and what it does with a frame that matches "
                             "none";
    EXPECT_EQ(note(0, added, vlan(100, 0)), "");
    EXPECT_EQ(note(0, added, vlan(100, 5)), left);
    EXPECT_EQ(note(0, added, vlan(101, 0)), left);
    // Modes 2 and 5 define both.
    EXPECT_EQ(note(2, added, vlan(100, 5)), "");
    EXPECT_EQ(note(5, added, vlan(100, 5)), "");
    // Nothing to compare: the table passes each frame unchanged.
    EXPECT_EQ(note(0, table_of({}), vlan(100, 5)), "");
    // Without the default row of single-tagged frames: no row matches.
    tag_operation bare = added;
    std::erase_if(bare.rows, [](const tag_row& row) { return is_default(row); });
    EXPECT_EQ(note(0, bare, vlan(100, 5)), left);
}

// Row: untagged -> 100:3. Modes 4 and 7 remove the tag of VLAN 101, too.
TEST(tagging_downstream, a_row_that_applies_to_another_vlan_is_noted)
{
    for (const unsigned mode : {4, 7}) {
        tag_operation op = table_of({untagged_row(0, add_nothing, {3, 100, 4})});
        op.downstream_mode = static_cast<uint8_t>(mode);
        EXPECT_EQ(rewrite_downstream(op, frame_with({vlan(100, 3)})).note, "");
        EXPECT_EQ(rewrite_downstream(op, frame_with({vlan(101, 3)})).note,
                  "downstream mode " + std::to_string(mode) +
                      " compares only the priority: the row applies to a frame of another VLAN, "
                      "too");
    }
}

// S-tag with the output TPID 0x88a8 around the tag of the subscriber, with the input TPID 0x9100:
// C 5:2 (0x9100) -> S 10:2 (0x88a8), C 5:2 (0x9100), and back.
TEST(tagging_downstream, both_tpids_are_used)
{
    tag_operation op =
        table_of({single_row({8, 5, 5}, 0, add_nothing, {copy_inner_priority, 10, 6})});
    op.input_tpid = 0x9100;
    op.output_tpid = 0x88a8;
    const octets received = frame_with({vlan(5, 2, 0x9100)});
    const octets sent = rewrite_upstream(op, received).frame;
    EXPECT_EQ(tags_text(sent), "VLAN 10 priority 2 (0x88a8), VLAN 5 priority 2 (0x9100)");
    EXPECT_EQ(rewrite_downstream(op, sent).frame, received);
    EXPECT_EQ(up(op, frame_with({vlan(5, 2)})), "VLAN 5 priority 2");
}

TEST(tagging_downstream, mode_8_discards_and_others_are_not_defined)
{
    EXPECT_EQ(down(translation(8), frame_with({})), "discarded by downstream mode 8: discard");
    EXPECT_EQ(down(translation(9), frame_with({})), "unknown: downstream mode 9 is not defined");
    EXPECT_EQ(down({}, frame_with({})), "unknown: its table is not known");
}

// VLANs 5 and 6 both become 100: the row that is tried first defines the inverse.
TEST(tagging_downstream, the_first_of_several_rows_is_inverted)
{
    const tag_operation op = table_of({single_row({8, 6, 0}, 1, add_nothing, {0, 100, 4}),
                                       single_row({8, 5, 0}, 1, add_nothing, {0, 100, 4})});
    EXPECT_EQ(down(op, frame_with({vlan(100)})), "VLAN 5 priority 0");
}

// Each translation of VLANs 1 to 50 by 100, with all priorities: the inverse restores the frame.
TEST(tagging_downstream, one_to_one_translations_are_restored)
{
    tag_facts facts;
    facts.default_rows = true;
    for (uint16_t vid = 1; vid <= 50; ++vid)
        facts.rows.push_back(
            encode_row(single_row({8, vid, 0}, 1, add_nothing,
                                  {copy_inner_priority, static_cast<uint16_t>(vid + 100), 0})));
    tag_operation op;
    apply(facts, op);
    for (uint16_t vid = 1; vid <= 50; ++vid)
        for (uint8_t priority = 0; priority < 8; ++priority)
            for (const bool dei : {false, true}) {
                const octets frame = frame_with({vlan(vid, priority, 0x8100, dei)});
                const octets sent = rewrite_upstream(op, frame).frame;
                EXPECT_EQ(sent, frame_with({vlan(static_cast<uint16_t>(vid + 100), priority, 0x8100,
                                                 dei)}));
                EXPECT_EQ(rewrite_downstream(op, sent).frame, frame);
            }
}

} // namespace

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
#include <random>

#include <gtest/gtest.h>

#include "tests/tagging/rows.h"

namespace gponflow {

namespace {

// Single-tagged, VLAN 100: outer filter word f8000000 = priority 1111, VID 1000000000000 (4096);
// inner filter word 80320000 = priority 1000, VID 0000001100100 (100), TPID 000.
// Treatment 400f0000 = remove 01, outer priority 1111; 00080320 = inner priority 1000, VID 100,
// TPID 000.
constexpr tag_row_image keep_vlan_100 = {0xf8, 0x00, 0x00, 0x00, 0x80, 0x32, 0x00, 0x00,
                                         0x40, 0x0f, 0x00, 0x00, 0x00, 0x08, 0x03, 0x20};
// Default row of single-tagged frames: inner filter word e8000000 = priority 1110, VID 4096;
// c00f0000 = remove 11, that is discard.
constexpr tag_row_image discard_single = {0xf8, 0x00, 0x00, 0x00, 0xe8, 0x00, 0x00, 0x00,
                                          0xc0, 0x0f, 0x00, 0x00, 0x00, 0x0f, 0x00, 0x00};

TEST(tag_row, is_read_bit_by_bit)
{
    const tag_row row = decode_row(keep_vlan_100);
    EXPECT_EQ(row.filter_outer, (row_tag{15, 4096, 0}));
    EXPECT_EQ(row.filter_inner, (row_tag{8, 100, 0}));
    EXPECT_EQ(row.ethertype, 0);
    EXPECT_EQ(row.remove, 1);
    EXPECT_EQ(row.outer, (row_tag{15, 0, 0}));
    EXPECT_EQ(row.inner, (row_tag{8, 100, 0}));
    EXPECT_EQ(row_text(row),
              "single-tagged, VLAN 100: remove 1 tag, add VLAN 100 with the priority "
              "of the inner tag");
}

// Outer: priority 5 = 0101, VID 10 = 0000000001010, TPID 101: 0x50055000.
// Inner: priority 3 = 0011, VID 20 = 0000000010100, TPID 100, extended criteria 00000010, EtherType
// 0010: 0x300a4022.
// Remove 10, outer priority 9 = 1001, VID 4097 = 1000000000001, TPID 110: 0x8009800e.
// Inner priority 10 = 1010, VID 4094 = 0111111111110, TPID 011: 0x000a7ff3.
TEST(tag_row, has_every_field_at_its_place)
{
    const tag_row_image image = {0x50, 0x05, 0x50, 0x00, 0x30, 0x0a, 0x40, 0x22,
                                 0x80, 0x09, 0x80, 0x0e, 0x00, 0x0a, 0x7f, 0xf3};
    const tag_row row = decode_row(image);
    EXPECT_EQ(row, (tag_row{{5, 10, 5}, {3, 20, 4}, 2, 2, 2, {9, 4097, 6}, {10, 4094, 3}}));
    EXPECT_EQ(encode_row(row), image);
    EXPECT_EQ(
        row_text(row),
        "double-tagged, outer tag VLAN 10, priority 5, input TPID, inner tag VLAN 20, priority "
        "3, TPID 0x8100, PPPoE, DHCPv6: remove 2 tags, add the VLAN of the outer tag with the "
        "priority of the outer tag, output TPID with DEI 0, add VLAN 4094 with the priority "
        "of the DSCP, output TPID");
}

TEST(tag_row, is_the_same_after_writing_and_reading)
{
    std::mt19937 random(1);
    for (int i = 0; i < 10000; ++i) {
        tag_row_image image;
        for (uint8_t& byte : image)
            byte = static_cast<uint8_t>(random());
        const tag_row row = decode_row(image);
        EXPECT_EQ(decode_row(encode_row(row)), row);
        EXPECT_FALSE(row_text(row).empty());
        EXPECT_EQ(fault_of(row), fault_of(decode_row(encode_row(row))));
    }
}

TEST(tag_row, all_ones_in_the_treatment_delete)
{
    tag_row_image image = keep_vlan_100;
    EXPECT_FALSE(is_deletion(image));
    std::fill(image.begin() + 8, image.end(), 0xff);
    EXPECT_TRUE(is_deletion(image));
    image[15] = 0xfe;
    EXPECT_FALSE(is_deletion(image));
}

TEST(tag_row, reserved_values_have_no_meaning)
{
    EXPECT_EQ(fault_of(decode_row(keep_vlan_100)), "");
    EXPECT_EQ(fault_of(decode_row(discard_single)), "");
    EXPECT_EQ(fault_of(single_row({9, 100, 0}, 0, add_nothing, add_nothing)),
              "reserved value: inner filter priority 9");
    EXPECT_EQ(fault_of(single_row({8, 4095, 0}, 0, add_nothing, add_nothing)),
              "reserved value: inner filter VID 4095");
    EXPECT_EQ(fault_of(single_row({8, 100, 2}, 0, add_nothing, add_nothing)),
              "reserved value: inner filter TPID code 2");
    EXPECT_EQ(fault_of(untagged_row(0, add_nothing, {11, 100, 4})),
              "reserved value: inner treatment priority 11");
    EXPECT_EQ(fault_of(untagged_row(0, add_nothing, {0, 4098, 4})),
              "reserved value: inner treatment VID 4098");
    EXPECT_EQ(fault_of(untagged_row(0, {0, 100, 5}, add_nothing)),
              "reserved value: outer treatment TPID code 5");
    EXPECT_EQ(fault_of(untagged_row(1, add_nothing, add_nothing)),
              "removes 1 tags of frames with 0");
    EXPECT_EQ(fault_of(double_row(any_tag, no_filter, 0, add_nothing, add_nothing)),
              "filters of an outer tag without an inner one");
}

TEST(tag_table, starts_with_the_default_rows)
{
    const tag_operation operation = table_of({});
    ASSERT_EQ(operation.rows.size(), 3u);
    for (const tag_row& row : operation.rows)
        EXPECT_EQ(treatment_text(row), "no change");
}

TEST(tag_table, a_row_with_the_same_filter_replaces_and_all_ones_delete)
{
    tag_operation operation = table_of({decode_row(keep_vlan_100)});
    EXPECT_EQ(operation.rows.size(), 4u);
    tag_row_image changed = keep_vlan_100;
    changed[15] = 0x40; // VLAN 104
    set_row(operation, changed);
    ASSERT_EQ(operation.rows.size(), 4u);
    EXPECT_EQ(std::ranges::count_if(operation.rows,
                                    [](const tag_row& row) { return row.inner.vid == 104; }),
              1);
    std::fill(changed.begin() + 8, changed.end(), 0xff);
    set_row(operation, changed);
    EXPECT_EQ(operation.rows.size(), 3u);
}

// The default row of single-tagged frames keeps its place at the end.
TEST(tag_table, a_default_row_can_be_changed)
{
    const tag_operation operation = table_of({decode_row(discard_single)});
    ASSERT_EQ(operation.rows.size(), 3u);
    EXPECT_EQ(std::ranges::count_if(operation.rows,
                                    [](const tag_row& row) { return row.remove == discard_frame; }),
              1);
}

// Priority 3 and VLAN 100; priority 3; VLAN 100; VLAN 100 with PPPoE; any single-tagged frame.
TEST(tag_table, is_in_the_order_of_the_filters_with_the_specific_first)
{
    tag_row pppoe = single_row({8, 100, 0}, 0, add_nothing, add_nothing);
    pppoe.ethertype = 2;
    const tag_operation operation =
        table_of({single_row(any_tag, 0, add_nothing, add_nothing),
                  single_row({8, 100, 0}, 0, add_nothing, add_nothing), pppoe,
                  single_row({3, any_vid, 0}, 0, add_nothing, add_nothing),
                  single_row({8, 100, 4}, 0, add_nothing, add_nothing),
                  single_row({3, 100, 0}, 0, add_nothing, add_nothing)});
    std::vector<std::string> order;
    for (const tag_row& row : operation.rows)
        if (!is_default(row))
            order.push_back(filter_text(row));
    EXPECT_EQ(order, (std::vector<std::string>{
                         "single-tagged, VLAN 100, priority 3", "single-tagged, priority 3",
                         "single-tagged, VLAN 100, TPID 0x8100", "single-tagged, VLAN 100, PPPoE",
                         "single-tagged, VLAN 100", "single-tagged", "untagged"}));
}

} // namespace

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
#include "tool/model/omci_attributes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "tests/omci/line_builder.h"
#include "tool/model/class_records.h"
#include "tool/omci/mib.h"

namespace gponflow::omci::test {
namespace {

using testing::HasSubstr;

TEST(omci_attributes, the_mirrored_classes_are_those_of_the_module)
{
    std::set<me_class> ours;
    for (const attribute_class& cls : attribute_classes())
        ours.insert(cls.id);
    std::set<me_class> module;
    for (const class_record& cls : me_classes())
        module.insert(cls.id);
    EXPECT_EQ(ours, module);
    EXPECT_EQ(ours.size(), attribute_classes().size());
}

TEST(omci_attributes, each_element_of_each_raw_field_comes_from_one_attribute)
{
    for (const attribute_class& cls : attribute_classes()) {
        const class_record* fields = find_me_class(cls.id);
        ASSERT_NE(fields, nullptr);
        std::map<std::string_view, size_t> filled;
        for (const attribute& attr : cls.attributes) {
            if (!attr.is_stored())
                continue;
            const gpon_me_field* field = find_field(fields->fields, attr.field.name);
            ASSERT_NE(field, nullptr) << class_title(cls.id) << ": " << attr.field.name;
            EXPECT_EQ(field->offset, attr.field.offset)
                << class_title(cls.id) << ": " << field->name;
            const bool whole_list = field->count > 1 && attr.bytes > field->width;
            filled[attr.field.name] += whole_list ? attr.bytes / field->width : 1;
        }
        for (const gpon_me_field& field : fields->fields.subspan(1))
            EXPECT_EQ(filled[field.name], field.count) << class_title(cls.id) << ": " << field.name;
        EXPECT_EQ(filled.size(), fields->fields.size() - 1) << class_title(cls.id);
    }
}

TEST(omci_attributes, create_masks_hold_exactly_the_attributes_of_a_create)
{
    const std::map<uint16_t, uint16_t> masks = {
        {11, 0},       {45, 0xffc0},  {47, 0xff88},  {78, 0xf800},  {84, 0xe000},
        {130, 0xffd8}, {171, 0x8200}, {262, 0},      {266, 0xf200}, {268, 0xfac0},
        {277, 0},      {278, 0},      {280, 0xff00}, {281, 0xf300}, {329, 0}};
    for (const attribute_class& cls : attribute_classes())
        EXPECT_EQ(set_by_create_mask(cls), masks.at(gpon::class_number(cls.id)))
            << class_title(cls.id);
}

TEST(omci_attributes, the_attributes_of_a_create_fit_a_baseline_message)
{
    for (const attribute_class& cls : attribute_classes()) {
        size_t total = 0;
        for (const attribute& attr : cls.attributes)
            total += attr.set_by_create ? attr.bytes : 0;
        EXPECT_LE(total, 32u) << class_title(cls.id);
        EXPECT_LE(cls.attributes.size(), attributes_per_mask) << class_title(cls.id);
    }
}

TEST(omci_attributes, classes_have_titles)
{
    EXPECT_EQ(class_title(me_class::gemctp), "GEM port network CTP");
    EXPECT_EQ(class_title(gpon::to_me_class(272)), "GAL Ethernet profile");
    EXPECT_EQ(class_title(gpon::to_me_class(999)), "class 999");
}

TEST(omci_values, are_in_attribute_order_without_gaps)
{
    const attribute_class* cls = find_attribute_class(me_class::gemctp);
    const bytes content = from_hex("03e9 03 0001");
    const value_list list = split_values(*cls, 0xa080, content);
    ASSERT_EQ(list.values.size(), 3u);
    EXPECT_EQ(list.values[0].index, 0u);
    EXPECT_EQ(list.values[1].index, 2u);
    EXPECT_EQ(list.values[1].bytes[0], 3);
    EXPECT_EQ(list.values[2].index, 8u);
    EXPECT_EQ(list.values[2].bytes[1], 1);
}

TEST(omci_values, missing_bytes_are_a_fault_that_names_the_attribute)
{
    const bytes content = from_hex("03e9 80");
    const value_list list = split_values(*find_attribute_class(me_class::gemctp), 0xc000, content);
    EXPECT_TRUE(list.values.empty());
    EXPECT_THAT(list.fault, HasSubstr("attribute 2 ends at byte 4"));
}

TEST(omci_values, attributes_behind_the_known_ones_are_reported)
{
    const bytes content = from_hex("03e9 ffff");
    const value_list list = split_values(*find_attribute_class(me_class::tcont), 0x8100, content);
    EXPECT_TRUE(list.fault.empty());
    EXPECT_EQ(list.values.size(), 1u);
    EXPECT_EQ(list.unknown_mask, 0x0100);
}

TEST(omci_values, too_great_a_value_is_clamped_and_reported)
{
    const class_record* fields = find_me_class(me_class::mbsp);
    const attribute_class* cls = find_attribute_class(me_class::mbsp);
    record_store store;
    record& rec = store.at(*fields, 1);
    const gpon_me_field* field = find_field(fields->fields, "dynFilterAgingTime");
    EXPECT_EQ(write_attribute(rec, cls->attributes[9], from_hex("0000ffff")), "");
    EXPECT_THAT(write_attribute(rec, cls->attributes[9], from_hex("00010000")),
                HasSubstr("65536 is stored as 65535"));
    EXPECT_EQ(rec.raw[field->offset], 0xff);
    EXPECT_EQ(rec.raw[field->offset + 1u], 0xff);
}

TEST(omci_values, records_are_little_endian_in_memory)
{
    const class_record* fields = find_me_class(me_class::pq);
    record_store store;
    record& rec = store.at(*fields, 0x8007);
    EXPECT_EQ(write_attribute(rec, find_attribute_class(me_class::pq)->attributes[5],
                              from_hex("80010007")),
              "");
    EXPECT_EQ(rec.raw, from_hex("0780 0000 07000180 0000 0000"));
}

} // namespace
} // namespace gponflow::omci::test

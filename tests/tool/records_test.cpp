// SPDX-License-Identifier: GPL-2.0-only
// The commands me and config, and the table of fields behind them.
#include <algorithm>
#include <cstring>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "include/uapi/gpon_flow.h"
#include "tests/tool/parsing.h"
#include "tool/model/class_records.h"

namespace gponflow {
namespace {

using testing::Each;
using testing::HasSubstr;

bytes raw_of(std::string_view line)
{
    return parse_only<me_command>(line).raw.value();
}

TEST(class_fields, classes_are_found_by_id_and_by_name_in_any_letter_case)
{
    EXPECT_EQ(me_classes().size(), 15u);
    for (const class_record& row : me_classes()) {
        EXPECT_EQ(find_me_class(row.id), &row);
        EXPECT_EQ(find_me_class(row.name), &row);
    }
    EXPECT_EQ(find_me_class("802_1p_mapper")->id, me_class::mapper);
    EXPECT_EQ(find_me_class(me_class::none), nullptr);
    EXPECT_EQ(find_me_class("802_1P"), nullptr);
    EXPECT_EQ(find_me_class(""), nullptr);
}

void expect_sound_fields(std::span<const gpon_me_field> fields, size_t record_bytes)
{
    std::set<std::string_view> names;
    size_t end = 0;
    std::vector<gpon_me_field> by_place(fields.begin(), fields.end());
    std::ranges::sort(by_place, {}, &gpon_me_field::offset);
    for (const gpon_me_field& field : by_place) {
        EXPECT_TRUE(names.insert(field.name).second) << field.name;
        EXPECT_GE(field.offset, end) << field.name;
        EXPECT_EQ(field.offset % field.width, 0) << field.name;
        end = field.offset + size_t{field.width} * field.count;
    }
    EXPECT_LE(end, record_bytes);
}

TEST(class_fields, fields_lie_in_their_record_without_overlap)
{
    for (const class_record& row : me_classes()) {
        expect_sound_fields(row.fields, row.raw_size);
        EXPECT_STREQ(row.fields[0].name, "instID");
        EXPECT_EQ(row.fields[0].offset, 0);
    }
    expect_sound_fields(cfg_fields(), sizeof(gpon_flow_cfg_data));
}

TEST(me_command, message_class_and_instance_are_names_or_numbers)
{
    const auto named = parse_only<me_command>("me create Mac_Bridge_Service_Profile 0x12");
    EXPECT_EQ(named.message, 4);
    EXPECT_EQ(named.class_id, me_class::mbsp);
    EXPECT_EQ(named.instance, 0x12);
    EXPECT_EQ(named.mask, 0xffff);
    EXPECT_EQ(parse_only<me_command>("me set 802_1p_mapper 0").class_id, me_class::mapper);
    EXPECT_EQ(parse_only<me_command>("me set 802_1p_mapper 0").message, 8);
    EXPECT_EQ(parse_only<me_command>("me delete 45 1").message, 6);
    const auto numbers = parse_only<me_command>("me 255 65535 65535 mask=0x8000");
    EXPECT_EQ(numbers.message, 255);
    EXPECT_EQ(numbers.class_id, gpon::to_me_class(65535));
    EXPECT_EQ(numbers.mask, 0x8000);
}

TEST(me_command, numbers_beyond_their_field_are_refused)
{
    EXPECT_THAT(error_of("me 256 45 1"), HasSubstr("message '256': out of range 0 to 255"));
    EXPECT_THAT(error_of("me set 65536 1"), HasSubstr("class '65536': out of range"));
    EXPECT_THAT(error_of("me set 45 65536"), HasSubstr("instance id '65536': out of range"));
    EXPECT_THAT(error_of("me set 45 1 mask=65536"), HasSubstr("mask '65536': out of range"));
    EXPECT_THAT(error_of("me set 47 1 tpType=256"), HasSubstr("tpType '256': out of range"));
    EXPECT_THAT(error_of("me set 280 1 cir=4294967296"), HasSubstr("cir '4294967296': out of"));
}

TEST(me_command, the_record_starts_zeroed_with_the_instance_id)
{
    EXPECT_EQ(raw_of("me create 45 0x1234"), (bytes{0x34, 0x12, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(raw_of("me create 45 1 instID=7")[0], 7);
}

TEST(me_command, fields_lie_where_the_record_has_them)
{
    const bytes raw = raw_of("me create 47 1 bridgeID=0x0203 tpType=11 tpPointer=0xfffe");
    gpon_raw_mbpcd record;
    ASSERT_EQ(raw.size(), sizeof(record));
    std::memcpy(&record, raw.data(), sizeof(record));
    EXPECT_EQ(record.instID, 1);
    EXPECT_EQ(record.bridgeID, 0x0203);
    EXPECT_EQ(record.tpType, 11);
    EXPECT_EQ(record.tpPointer, 0xfffe);
    const bytes queue = raw_of("me set 277 2 relatedPort=0x80010003 weight=9");
    EXPECT_EQ(queue, (bytes{2, 0, 0, 0, 3, 0, 1, 0x80, 0, 0, 9, 0}));
}

TEST(me_command, array_fields_take_up_to_their_length)
{
    gpon_raw_mapper record;
    const bytes raw = raw_of("me create 130 1 pbit_GemIWTP=0x101,2,65535 defaultPbit=5");
    ASSERT_EQ(raw.size(), sizeof(record));
    std::memcpy(&record, raw.data(), sizeof(record));
    EXPECT_THAT(record.pbit_GemIWTP, testing::ElementsAre(0x101, 2, 65535, 0, 0, 0, 0, 0));
    EXPECT_EQ(record.defaultPbit, 5);
    EXPECT_THAT(error_of("me set 130 1 pbit_GemIWTP=1,2,3,4,5,6,7,8,9"),
                HasSubstr("takes at most 8 numbers"));
    EXPECT_THAT(error_of("me set 130 1 tpPointer=1,2"), HasSubstr("takes one number"));
    for (const char* bad : {"", ",", "1,", ",1", "1,,2"})
        EXPECT_THAT(error_of(std::string("me set 130 1 pbit_GemIWTP=") + bad), HasSubstr("number"))
            << bad;
    EXPECT_THAT(error_of("me set 84 1 vlanFilterList=1,70000"),
                HasSubstr("column 30: vlanFilterList '70000': out of range 0 to 65535"));
}

TEST(me_command, the_dscp_map_is_24_bytes_of_hex)
{
    gpon_raw_mapper record;
    const std::string map = "000102030405060708090a0b0c0d0e0f1011121314151617";
    const bytes raw = raw_of("me create 130 1 dscp2pbitMap=" + map);
    std::memcpy(&record, raw.data(), sizeof(record));
    for (uint8_t i = 0; i < 24; ++i)
        EXPECT_EQ(record.dscp2pbitMap[i], i);
    EXPECT_THAT(error_of("me create 130 1 dscp2pbitMap=0001"),
                HasSubstr("needs 24 bytes of HEX, not 2"));
}

TEST(me_command, raw_bytes_are_the_whole_record)
{
    EXPECT_EQ(raw_of("me set 45 1 raw=0102:03-0405060708"), (bytes{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_FALSE(parse_only<me_command>("me set 45 1 raw=null").raw);
    EXPECT_THAT(error_of("me set 45 1 raw=010203"), HasSubstr("the record has 8 bytes, not 3"));
    EXPECT_THAT(error_of("me set 45 1 raw=0102030405060708 helloTime=1"),
                HasSubstr("cannot be used together"));
    EXPECT_THAT(error_of("me set 45 1 raw=null helloTime=1"), HasSubstr("cannot be used together"));
}

TEST(me_command, a_class_without_known_fields_takes_64_zero_bytes_or_raw)
{
    const bytes zeros = raw_of("me create 12 3");
    EXPECT_EQ(zeros.size(), 64u);
    EXPECT_THAT(zeros, Each(0));
    EXPECT_EQ(raw_of("me create 12 3 raw=ffee").size(), 2u);
    EXPECT_THAT(error_of("me create 12 3 bridgeID=1"), HasSubstr("has no option 'bridgeID'"));
}

TEST(hex, digits_come_in_pairs_with_separators_between_bytes)
{
    const auto frame = [](const std::string& hex) {
        return parse_only<hook_command>("hook kind=0 frame=" + hex).frame.value();
    };
    EXPECT_EQ(frame("aA:bB-0c0D"), (bytes{0xaa, 0xbb, 0x0c, 0x0d}));
    EXPECT_TRUE(frame("").empty());
    for (const char* bad :
         {"1", "123", "0x12", "1g", ":12", "12:", "12::34", "1:2", "12 34", "12.34"})
        EXPECT_THAT(error_of(std::string("hook kind=0 frame=") + bad), HasSubstr("test.scn:1: "))
            << bad;
    EXPECT_THAT(error_of("hook kind=0 frame=123"), HasSubstr("an odd number"));
    EXPECT_THAT(error_of("hook kind=0 frame=120g"), HasSubstr("'0g' is not a byte"));
}

TEST(config_command, takes_fields_raw_bytes_or_a_null_pointer)
{
    gpon_flow_cfg_data record;
    const bytes fields = parse_only<config_command>("config upstream_queue_num=0x102 "
                                                    "related_port_boundary=0x80000000 "
                                                    "traffic_mgmt_option=1")
                             .raw.value();
    ASSERT_EQ(fields.size(), sizeof(record));
    std::memcpy(&record, fields.data(), sizeof(record));
    EXPECT_EQ(record.upstream_queue_num, 0x102);
    EXPECT_EQ(record.related_port_boundary, 0x80000000u);
    EXPECT_EQ(record.traffic_mgmt_option, 1);
    EXPECT_THAT(parse_only<config_command>("config").raw.value(), Each(0));
    EXPECT_FALSE(parse_only<config_command>("config null").raw);
    const std::string raw(80, 'e');
    EXPECT_THAT(parse_only<config_command>("config raw=" + raw).raw.value(), Each(0xee));
    EXPECT_THAT(error_of("config raw=00"), HasSubstr("the record has 40 bytes, not 1"));
    EXPECT_THAT(error_of("config null tcont_base=1"), HasSubstr("'null' is not an option"));
    EXPECT_THAT(error_of("config default_weight=256"), HasSubstr("out of range 0 to 255"));
}

} // namespace
} // namespace gponflow

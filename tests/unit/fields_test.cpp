// SPDX-License-Identifier: GPL-2.0-only
#include <algorithm>
#include <cstring>
#include <map>

#include "tests/support/loaded_module.h"

#include "me/dump.h"
#include "me/registry.h"

namespace {

// The expected output of a printer for one raw record, with enough room.
struct printed {
    std::vector<u8> raw;
    std::string titles;
    std::string values;
    std::string extra;
};

template <typename Raw> std::vector<u8> image(const Raw& raw)
{
    const u8* bytes = reinterpret_cast<const u8*>(&raw);
    return {bytes, bytes + sizeof(raw)};
}

// By class number.
const std::map<u16, printed> EVERY_CLASS = {
    {11, {image(gpon_raw_pptp{0x101}), "    instID | ", "    0x0101 | ", ""}},
    {45,
     {image(gpon_raw_mbsp{1, 255, 512, 65535}),
      "    instID | uniBridgingEnable |  helloTime | dynFilterAgingTime | ",
      "    0x0001 |               255 |        512 |              65535 | ", ""}},
    {47,
     {image(gpon_raw_mbpcd{0xffff, 0, 11, 0x1a}),
      "    instID |   bridgeID |     tpType |  tpPointer | ",
      "    0xffff |     0x0000 |         11 |     0x001a | ", ""}},
    {78, {image(gpon_raw_vtocd{0}), "    instID | ", "    0x0000 | ", ""}},
    {84,
     {image(gpon_raw_vtfd{2, {100, 200, 3, 65535, 0, 0, 0, 0, 0, 0, 11, 12}, 0xa, 2}),
      "    instID | forwardOperation | vlanFilterNums | ",
      "    0x0002 |             0x0a |              2 | ",
      "vlanFilterList =   100   200     3 65535     0     0     0     0     0     0    11    12 "
      "\n"}},
    {130,
     {image(gpon_raw_mapper{5,
                            0xffff,
                            {0x11, 0x12, 0, 0xffff, 5, 6, 7, 8},
                            1,
                            {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,    10,   11,
                             12, 13, 14, 15, 16, 17, 18, 19, 20, 0x7f, 0x80, 0xff},
                            7,
                            255}),
      "    instID |     tpType |  tpPointer | unmark_frame_opt | defaultPbit | ",
      "    0x0005 |        255 |     0xffff |                1 |           7 | ",
      "pbit_GemIWTP = 0x0011 0x0012 0x0000 0xffff 0x0005 0x0006 0x0007 0x0008 \n"
      "dscp2pbitMap = 0x00 0x01 0x02 0x03 0x04 0x05 0x06 0x07 0x08 0x09 0x0a 0x0b 0x0c 0x0d "
      "0x0e 0x0f 0x10 0x11 0x12 0x13 0x14 0x7f 0x80 0xff \n"}},
    {171, {image(gpon_raw_evtocd{0xabcd}), "    instID | ", "    0xabcd | ", ""}},
    {262,
     {image(gpon_raw_tcont{0x8000, 65535, 2}), "    instID |    allocID |     policy | ",
      "    0x8000 |      65535 |          2 | ", ""}},
    {266,
     {image(gpon_raw_gemiw{0x11, 0x401}), "    instID | gemCTPInstID | ",
      "    0x0011 |       0x0401 | ", ""}},
    {268,
     {image(gpon_raw_gemctp{1, 4095, 0x8000, 3, 0x8001, 0, 0xffff}),
      "    instID |     portID |    tcontID |  direction | trafficMgrPtrUp | TDProPtrUp | "
      "TDProPtrDown | ",
      "    0x0001 |       4095 |     0x8000 |          3 |          0x8001 |     0x0000 |       "
      "0xffff | ",
      ""}},
    {277,
     {image(gpon_raw_pq{7, 0x80000001, 0x8000, 255}),
      "    instID | relatedPort |  tsPointer |     weight | ",
      "    0x0007 |  0x80000001 |     0x8000 |        255 | ", ""}},
    {278,
     {image(gpon_raw_ts{0x8000, 0x8001, 0, 1, 2}),
      "    instID | tcontPointer |  tsPointer |     policy |     weight | ",
      "    0x8000 |       0x8001 |     0x0000 |          1 |          2 | ", ""}},
    {280,
     {image(gpon_raw_td{1, 1250000, 2147483647, 0, 4294967295u, 1, 2, 3, 4}),
      "    instID |        cir |        pir |        cbs |        pbs | colourMode | "
      "ingressColourMode | egressColourMode |  meterType | ",
      "    0x0001 |    1250000 | 2147483647 |          0 |         -1 |          1 |               "
      "  2 |                3 |          4 | ",
      ""}},
    {281,
     {image(gpon_raw_multigemiw{0x21, 0}), "    instID | GemCTPInstID | ",
      "    0x0021 |       0x0000 | ", ""}},
    {329, {image(gpon_raw_veip{0x501}), "    instID | ", "    0x0501 | ", ""}},
};

constexpr char UNTOUCHED = '\x7e';

// The three texts after one call; beyond its end each is unchanged.
struct texts {
    std::string values = std::string(600, UNTOUCHED), titles = values, extra = values;
    i32 result;

    texts(u16 class_id, const std::vector<u8>& raw, i32 length)
    {
        values[0] = titles[0] = extra[0] = '\0';
        const gpon_me_list_info& info =
            *gpon::mirrored_class(gpon::to_me_class(class_id))->list_info;
        result =
            info.dump_raw(info, raw.data(), values.data(), titles.data(), extra.data(), length);
    }
    static std::string of(const std::string& buffer) { return buffer.c_str(); }
    static size_t end_of_writes(const std::string& buffer)
    {
        const size_t last = buffer.find_last_not_of(UNTOUCHED);
        return last + 1;
    }
};

// One class; what it prints is in the table above.
class field_printer : public loaded_module, public testing::WithParamInterface<u16> {
protected:
    u16 class_id = GetParam();
    const printed& wanted = EVERY_CLASS.at(class_id);
};

TEST(field_printers, exist_for_each_mirrored_class)
{
    EXPECT_EQ(EVERY_CLASS.size(), GPON_ME_ROWS - 1u);
}

TEST_P(field_printer, writes_its_columns_and_returns_their_length)
{
    const texts found(class_id, wanted.raw, GPON_DUMP_BUFFER);
    EXPECT_EQ(texts::of(found.titles), wanted.titles);
    EXPECT_EQ(texts::of(found.values), wanted.values);
    EXPECT_EQ(texts::of(found.extra), wanted.extra);
    EXPECT_EQ(found.result, static_cast<i32>(wanted.titles.size()));
    EXPECT_EQ(wanted.titles.size(), wanted.values.size());
}

TEST_P(field_printer, cuts_everything_two_characters_before_any_length)
{
    const auto cut = [](const std::string& whole, i32 length) {
        return whole.substr(0, length < 2 ? 0 : static_cast<size_t>(length - 2));
    };
    for (i32 length = 0; length <= GPON_DUMP_BUFFER; ++length) {
        SCOPED_TRACE("length " + std::to_string(length));
        const texts found(class_id, wanted.raw, length);
        ASSERT_EQ(texts::of(found.titles), cut(wanted.titles, length));
        ASSERT_EQ(texts::of(found.values), cut(wanted.values, length));
        ASSERT_EQ(texts::of(found.extra), cut(wanted.extra, length));
        ASSERT_EQ(found.result, static_cast<i32>(cut(wanted.titles, length).size()));
        const size_t room = static_cast<size_t>(std::max(length, 1));
        ASSERT_LE(texts::end_of_writes(found.titles), room);
        ASSERT_LE(texts::end_of_writes(found.values), room);
        ASSERT_LE(texts::end_of_writes(found.extra), room);
    }
}

TEST_P(field_printer, writes_nothing_without_room)
{
    for (i32 length : {0, -1, -512}) {
        const texts found(class_id, wanted.raw, length);
        EXPECT_EQ(found.result, 0);
        EXPECT_EQ(texts::end_of_writes(found.titles), 1u);
        EXPECT_EQ(texts::end_of_writes(found.values), 1u);
        EXPECT_EQ(texts::end_of_writes(found.extra), 1u);
    }
}

TEST_P(field_printer, returns_0_and_writes_nothing_when_a_pointer_is_null)
{
    const gpon_me_list_info& info = *gpon::mirrored_class(gpon::to_me_class(class_id))->list_info;
    const auto print = info.dump_raw;
    char a[8] = "a", b[8] = "b", c[8] = "c";
    EXPECT_EQ(print(info, nullptr, a, b, c, 8), 0);
    EXPECT_EQ(print(info, wanted.raw.data(), nullptr, b, c, 8), 0);
    EXPECT_EQ(print(info, wanted.raw.data(), a, nullptr, c, 8), 0);
    EXPECT_EQ(print(info, wanted.raw.data(), a, b, nullptr, 8), 0);
    EXPECT_STREQ(a, "a");
    EXPECT_STREQ(b, "b");
    EXPECT_STREQ(c, "c");
}

TEST_P(field_printer, prefixes_zero_as_well)
{
    const texts found(class_id, std::vector<u8>(wanted.raw.size()), GPON_DUMP_BUFFER);
    EXPECT_EQ(texts::of(found.values).substr(0, 13), "    0x0000 | ");
}

std::vector<u16> every_class_id()
{
    std::vector<u16> ids;
    for (const auto& [class_id, wanted] : EVERY_CLASS)
        ids.push_back(class_id);
    return ids;
}

INSTANTIATE_TEST_SUITE_P(each, field_printer, testing::ValuesIn(every_class_id()),
                         [](const auto& class_id) {
                             return "class_" + std::to_string(class_id.param);
                         });

class field_printer_of_one_class : public loaded_module {};

TEST_F(field_printer_of_one_class, writes_a_column_and_the_start_of_the_next_into_twenty_characters)
{
    const texts found(47, EVERY_CLASS.at(47).raw, 20);
    EXPECT_EQ(texts::of(found.titles), "    instID |   bri");
    EXPECT_EQ(texts::of(found.values), "    0xffff |     0");
    EXPECT_EQ(found.result, 18);
}

TEST_F(field_printer_of_one_class, prefixes_zero_of_32_bits)
{
    const texts found(277, std::vector<u8>(sizeof(gpon_raw_pq)), GPON_DUMP_BUFFER);
    EXPECT_EQ(texts::of(found.values), "    0x0000 |  0x00000000 |     0x0000 |          0 | ");
}

} // namespace

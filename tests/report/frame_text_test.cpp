// SPDX-License-Identifier: GPL-2.0-only
#include <gtest/gtest.h>

#include "tool/report/frame_text.h"

namespace gponflow {

namespace {

bytes frame_of(std::initializer_list<uint8_t> behind_addresses)
{
    bytes frame(12, 0x02);
    frame.insert(frame.end(), behind_addresses);
    return frame;
}

TEST(type_text, names_the_type_behind_all_tags)
{
    EXPECT_EQ(type_text(frame_of({0x08, 0x06})), "ARP");
    EXPECT_EQ(type_text(frame_of({0x81, 0x00, 0x00, 0x64, 0x88, 0x64})), "PPPoE");
    EXPECT_EQ(type_text(frame_of({0x88, 0xa8, 1, 2, 0x81, 0x00, 3, 4, 0x88, 0xcc})), "type 0x88cc");
}

TEST(type_text, names_the_protocol_of_ip_when_the_frame_holds_it)
{
    bytes frame = frame_of({0x08, 0x00});
    EXPECT_EQ(type_text(frame), "IPv4");
    frame.resize(14 + 9);
    EXPECT_EQ(type_text(frame), "IPv4");
    frame.push_back(17);
    EXPECT_EQ(type_text(frame), "IPv4 UDP");
    frame.back() = 200;
    EXPECT_EQ(type_text(frame), "IPv4");
}

TEST(type_text, marks_a_frame_that_ends_before_its_type)
{
    EXPECT_EQ(type_text({}), "cut short");
    EXPECT_EQ(type_text(frame_of({0x81, 0x00, 0x00})), "cut short");
    EXPECT_EQ(type_text(frame_of({0x08})), "cut short");
}

TEST(hex_dump, has_sixteen_bytes_a_line_and_their_text)
{
    bytes frame(16, 'A');
    frame.push_back(0x00);
    frame.push_back('<');
    EXPECT_EQ(hex_dump(frame),
              "0000  41 41 41 41 41 41 41 41 41 41 41 41 41 41 41 41  AAAAAAAAAAAAAAAA\n"
              "0010  00 3c" +
                  std::string(14 * 3, ' ') + "  .<\n");
    EXPECT_EQ(hex_dump({}), "");
}

} // namespace

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
#include "tool/capture/frame_header.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace gponflow {
namespace {

captured_frame frame_of(std::initializer_list<uint8_t> behind_addresses)
{
    bytes frame(12, 0x02);
    frame.insert(frame.end(), behind_addresses);
    return captured_frame(frame);
}

std::string type_of(const captured_frame& frame)
{
    return type_text(read_header(frame));
}

TEST(frame_header, names_the_type_behind_all_tags)
{
    EXPECT_EQ(type_of(frame_of({0x08, 0x06})), "ARP");
    EXPECT_EQ(type_of(frame_of({0x81, 0x00, 0x00, 0x64, 0x88, 0x64})), "PPPoE");
    EXPECT_EQ(type_of(frame_of({0x88, 0xa8, 1, 2, 0x81, 0x00, 3, 4, 0x88, 0xcc})), "type 0x88cc");
    EXPECT_EQ(type_of(frame_of({0x00, 0x26})), "IEEE 802.3");
}

TEST(frame_header, names_the_protocol_of_ip_when_the_frame_holds_it)
{
    captured_frame frame = frame_of({0x08, 0x00});
    EXPECT_EQ(type_of(frame), "IPv4");
    frame = frame_of({0x08, 0x00, 0x45, 0, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(type_of(frame), "IPv4");
    frame.data.push_back(17);
    EXPECT_EQ(type_of(frame), "IPv4 UDP");
    frame.data.back() = 200;
    EXPECT_EQ(type_of(frame), "IPv4");
}

TEST(frame_header, a_short_frame_has_no_type_and_is_not_cut)
{
    for (const captured_frame& frame :
         {captured_frame(bytes{}), frame_of({0x81, 0x00, 0x00}), frame_of({0x08})}) {
        EXPECT_EQ(type_of(frame), "no type");
        EXPECT_FALSE(read_header(frame).cut);
    }
}

TEST(frame_header, says_which_fields_are_not_in_the_capture)
{
    captured_frame frame = frame_of({0x81, 0x00, 0x01});
    frame.wire_length = 298;
    EXPECT_TRUE(read_header(frame).cut);
    EXPECT_EQ(header_text(read_header(frame)),
              "02:02:02:02:02:02 to 02:02:02:02:02:02, tags not in the capture, type not in the "
              "capture, 298 bytes");
    frame.data.resize(10);
    EXPECT_EQ(header_text(read_header(frame)),
              "source not in the capture to 02:02:02:02:02:02, tags not in the capture, type not "
              "in the capture, 298 bytes");
}

// Addresses, 8100 0064, then an inner tag 8100 0005 of which the capture holds less and less.
TEST(frame_header, says_that_an_inner_tag_is_not_in_the_capture)
{
    captured_frame frame = frame_of({0x81, 0, 0, 100, 0x81, 0, 0, 5});
    frame.wire_length = 64;
    const std::string outer = "VLAN 100 priority 0";
    EXPECT_EQ(tags_text(read_header(frame)), outer + ", inner VLAN 5 priority 0");
    EXPECT_EQ(type_of(frame), "inner tag or type not in the capture");
    for (const size_t size : {19u, 18u}) {
        frame.data.resize(size);
        EXPECT_EQ(tags_text(read_header(frame)), outer + ", inner tag not in the capture") << size;
        EXPECT_EQ(type_of(frame), "type not in the capture") << size;
    }
    for (const size_t size : {17u, 16u}) {
        frame.data.resize(size);
        EXPECT_EQ(tags_text(read_header(frame)), outer) << size;
        EXPECT_EQ(type_of(frame), "inner tag or type not in the capture") << size;
    }
    frame = frame_of({0x81, 0, 0, 100, 0x81, 0});
    EXPECT_EQ(tags_text(read_header(frame)), outer);
    EXPECT_EQ(type_of(frame), "no type");
}

TEST(frame_header, a_capture_of_the_headers_that_the_walk_reads_is_not_cut)
{
    captured_frame frame = frame_of({0x08, 0x00, 0x45, 0xb8});
    frame.wire_length = 298;
    EXPECT_FALSE(read_header(frame).cut);
    EXPECT_EQ(read_header(frame).dscp, 46);
    frame.data.pop_back();
    EXPECT_TRUE(read_header(frame).cut);
}

TEST(frame_header, shows_addresses_and_ports)
{
    const captured_frame frame =
        frame_of({0x88, 0xa8, 0x01, 0xf4, 0x81, 0x00, 0xc0, 0x0a, 0x08, 0x00, 0x45, 0xb8,
                  0,    32,   0,    0,    0,    0,    64,   17,   0,    0,    192,  0,
                  2,    1,    198,  51,   100,  5,    0x17, 0x70, 0x4e, 0x20});
    EXPECT_EQ(header_text(read_header(frame)),
              "02:02:02:02:02:02 to 02:02:02:02:02:02, VLAN 500 priority 0 (TPID 0x88a8), inner "
              "VLAN 10 priority 6, IPv4 UDP 192.0.2.1 port 6000 to 198.51.100.5 port 20000, DSCP "
              "46, 46 bytes");
    const json object = header_json(read_header(frame));
    EXPECT_EQ(object["tags"][1]["priority"], 6);
    EXPECT_EQ(object["to"], "198.51.100.5 port 20000");
}

TEST(frame_header, shows_ipv6)
{
    bytes data(12, 0x02);
    const bytes head = {0x86, 0xdd, 0x6b, 0x80, 0, 0, 0, 4, 58, 64};
    data.insert(data.end(), head.begin(), head.end());
    data.insert(data.end(), {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    data.insert(data.end(), {0xff, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    EXPECT_EQ(header_text(read_header(captured_frame(data))),
              "02:02:02:02:02:02 to 02:02:02:02:02:02, untagged, IPv6 ICMPv6 2001:db8::1 to "
              "ff02::1, DSCP 46, 54 bytes");
}

TEST(frame_header, a_cooked_frame_has_no_destination)
{
    captured_frame frame = frame_of({0x08, 0x06});
    frame.cooked = true;
    EXPECT_EQ(header_text(read_header(frame)),
              "02:02:02:02:02:02 to destination not in the capture, untagged, ARP, 14 bytes");
    EXPECT_FALSE(header_json(read_header(frame)).contains("destination"));
}

} // namespace
} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
// The commands hook and pcap.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tool/parsing.h"

namespace gponflow {
namespace {

using testing::HasSubstr;

packet_options options_of(std::string_view line)
{
    return parse_only<hook_command>(line).options;
}

TEST(hook_command, kinds_have_names_and_numbers)
{
    EXPECT_EQ(options_of("hook kind=up_uni").kind, 0u);
    EXPECT_EQ(options_of("hook kind=up_ani").kind, 1u);
    EXPECT_EQ(options_of("hook kind=down_uni").kind, 2u);
    EXPECT_EQ(options_of("hook kind=down_ani").kind, 3u);
    EXPECT_EQ(options_of("hook kind=switch").kind, 4u);
    EXPECT_EQ(options_of("hook kind=0xffffffff").kind, 0xffffffffu);
    EXPECT_THAT(error_of("hook"),
                HasSubstr("missing option: kind=up_uni|up_ani|down_ani|down_uni"));
    EXPECT_THAT(error_of("hook kind="), HasSubstr("not a kind of hook call (up_uni, up_ani"));
}

TEST(hook_command, without_frame_there_is_no_packet)
{
    EXPECT_FALSE(parse_only<hook_command>("hook kind=4 param=1").frame);
    EXPECT_EQ(parse_only<hook_command>("hook kind=0 frame=0102").frame, (bytes{1, 2}));
    EXPECT_TRUE(parse_only<hook_command>("hook kind=0 frame=").frame);
}

TEST(hook_command, every_packet_field_can_be_set)
{
    const packet_options options =
        options_of("hook kind=3 param=7 port_word=0xffffffff mark_word=0x01020304 gem=65535 "
                   "mcast=1 flags=0x100007 frame=00");
    EXPECT_EQ(options.param, 7u);
    EXPECT_EQ(options.port_word, 0xffffffffu);
    EXPECT_EQ(options.mark_word, 0x01020304u);
    EXPECT_EQ(options.gem, 65535);
    EXPECT_EQ(options.multicast, 1);
    EXPECT_EQ(options.flags, 0x100007u);
}

TEST(hook_command, the_port_takes_its_four_bits_of_the_port_word_in_any_order)
{
    EXPECT_EQ(options_of("hook kind=0 port=1").port_word, 0x10u);
    EXPECT_EQ(options_of("hook kind=0 port=15").port_word, 0xf0u);
    EXPECT_EQ(options_of("hook kind=0 port=2 port_word=0xffffffff").port_word, 0xffffff2fu);
    EXPECT_EQ(options_of("hook kind=0 port_word=0xffffffff port=2").port_word, 0xffffff2fu);
    EXPECT_THAT(error_of("hook kind=0 port=16"), HasSubstr("port '16': out of range 0 to 15"));
}

TEST(hook_command, options_are_strict)
{
    EXPECT_THAT(error_of("hook kind=0 kind=0"), HasSubstr("kind is duplicate"));
    EXPECT_THAT(error_of("hook 0"), HasSubstr("'0' is not an option (name=value) of hook"));
    EXPECT_THAT(error_of("hook kind=0 =1"), HasSubstr("hook has no option ''"));
    EXPECT_THAT(error_of("hook kind=0 mcast=65536"), HasSubstr("out of range"));
    EXPECT_THAT(error_of("hook kind=0x100000000"), HasSubstr("out of range"));
}

TEST(pcap_command, takes_a_file_and_packet_options_but_no_frame)
{
    const auto command = parse_only<pcap_command>("pcap \"a b.pcap\" kind=up_uni port=3 gem=9");
    EXPECT_EQ(command.file, "a b.pcap");
    EXPECT_EQ(command.options.port_word, 0x30u);
    EXPECT_EQ(command.options.gem, 9);
    EXPECT_TRUE(command.frames.empty());
    EXPECT_THAT(error_of("pcap x.pcap"),
                HasSubstr("missing option: kind=up_uni|up_ani|down_ani|down_uni"));
    EXPECT_THAT(error_of("pcap x.pcap kind=0 frame=00"), HasSubstr("pcap has no option 'frame'"));
    EXPECT_THAT(error_of("pcap \"\" kind=0"), HasSubstr("missing argument: the capture file"));
}

} // namespace
} // namespace gponflow

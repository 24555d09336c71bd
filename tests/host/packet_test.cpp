// SPDX-License-Identifier: GPL-2.0-only
#include <cstring>

#include "tests/host/fake_module.h"

namespace {

constexpr uint8_t bytes_of_frame[] = {1, 2, 3, 4, 5, 6};

sk_buff packet_with_frame()
{
    sk_buff packet;
    packet.data = bytes_of_frame;
    packet.bytes = sizeof(bytes_of_frame);
    return packet;
}

TEST(packet, the_frame_is_that_of_the_caller)
{
    const sk_buff packet = packet_with_frame();
    EXPECT_EQ(skb_frame(&packet).first, bytes_of_frame);
    EXPECT_EQ(skb_frame(&packet).bytes, sizeof(bytes_of_frame));
}

TEST(packet, the_mac_frame_begins_at_its_offset_and_never_goes_beyond)
{
    sk_buff packet = packet_with_frame();
    packet.mac_offset = 4;
    EXPECT_EQ(skb_mac_frame(&packet).first, bytes_of_frame + 4);
    EXPECT_EQ(skb_mac_frame(&packet).bytes, 2u);
    for (const uint32_t outside : {6u, 7u, UINT32_MAX}) {
        packet.mac_offset = outside;
        EXPECT_EQ(skb_mac_frame(&packet).bytes, 0u);
    }
}

TEST(packet, without_a_frame_nothing_may_be_read)
{
    sk_buff packet;
    packet.bytes = 20;
    packet.mac_offset = 3;
    EXPECT_EQ(skb_frame(&packet).bytes, 0u);
    EXPECT_EQ(skb_mac_frame(&packet).bytes, 0u);
}

TEST(packet, has_platform_fields)
{
    sk_buff packet;
    packet.flag_word = 0x100004;
    packet.port_word = 0x30;
    packet.mark_word = 0xdeadbeef;
    packet.multicast = 1;
    uint32_t flag_word = 0;
    std::memcpy(&flag_word, reinterpret_cast<const char*>(&packet) + skb_flag_word_offset,
                sizeof(flag_word));
    EXPECT_EQ(flag_word, 0x100004u);
    EXPECT_EQ(skb_port_word(&packet), 0x30u);
    EXPECT_EQ(skb_mark_word(&packet), 0xdeadbeefu);
    EXPECT_EQ(skb_multicast(&packet), 1u);
    skb_set_gemport_id(&packet, 1025);
    EXPECT_EQ(skb_gemport_id(&packet), 1025u);
    EXPECT_EQ(packet.gemport_id, 1025u);
}

} // namespace

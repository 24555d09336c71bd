// SPDX-License-Identifier: GPL-2.0-only
#include "tests/support/loaded_module.h"
#include "tests/support/vlan_tag.h"

#include <random>

#include "pkt/header.h"

namespace {

using bytes = std::vector<u8>;
using gpon::test::vlan_tag;

bytes frame_with(std::initializer_list<vlan_tag> tags, bytes rest = {0x08, 0x00, 0x45, 0x00})
{
    bytes f = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    for (const vlan_tag& t : tags)
        f.insert(f.end(), {static_cast<u8>(t.tpid >> 8), static_cast<u8>(t.tpid),
                           static_cast<u8>(t.tci >> 8), static_cast<u8>(t.tci)});
    f.insert(f.end(), rest.begin(), rest.end());
    return f;
}

class header : public loaded_module {
protected:
    sk_buff packet(const bytes& f)
    {
        frame = f;
        sk_buff skb;
        skb.data = frame.data();
        skb.bytes = static_cast<u32>(frame.size());
        skb.port_word = 0x30;
        skb.mark_word = 0x1234;
        return skb;
    }

    u8 tag_count(const bytes& f)
    {
        const sk_buff skb = packet(f);
        u8 count = 0xee;
        EXPECT_EQ(gpon_pkt_get_vlan_tag_num(&skb, &count), 0);
        return count;
    }

    u16 outer_tci(const bytes& f)
    {
        const sk_buff skb = packet(f);
        u16 tci = 0xeeee;
        EXPECT_EQ(gpon_pkt_get_outer_vlan_tci(&skb, &tci), 0);
        return tci;
    }

    i32 pbit(const bytes& f)
    {
        const sk_buff skb = packet(f);
        return gpon_pkt_get_pbit(&skb);
    }

    i32 dscp(const bytes& f, u32 mac_offset = 0)
    {
        sk_buff skb = packet(f);
        skb.mac_offset = mac_offset;
        return gpon_pkt_get_dscp(&skb);
    }

    bytes frame;
};

TEST_F(header, untagged_frame_has_no_tag_no_tci_no_priority)
{
    EXPECT_EQ(tag_count(frame_with({})), 0);
    EXPECT_EQ(outer_tci(frame_with({})), 0);
    EXPECT_EQ(pbit(frame_with({})), -1);
}

TEST_F(header, an_outer_9100_tag_counts_but_has_no_tci)
{
    EXPECT_EQ(tag_count(frame_with({{0x9100, 0xa00c}})), 1);
    EXPECT_EQ(outer_tci(frame_with({{0x9100, 0xa00c}})), 0);
    EXPECT_EQ(pbit(frame_with({{0x9100, 0xa00c}})), -1);
}

TEST_F(header, priority_is_the_top_of_the_outer_tci)
{
    EXPECT_EQ(pbit(frame_with({{0x8100, 0xa00c}})), 5);
    EXPECT_EQ(pbit(frame_with({{0x88a8, 0xe001}, {0x8100, 0x2001}})), 7);
    EXPECT_EQ(pbit(frame_with({{0x8100, 0x0001}})), 0);
    EXPECT_EQ(pbit(frame_with({{0x8100, 0}})), -1);
}

TEST_F(header, summary_holds_four_tags_and_counts_all)
{
    bytes f = frame_with({}, {});
    for (u16 i = 0; i < 100; ++i)
        f.insert(f.end(), {0x88, 0xa8, static_cast<u8>(i), 7});
    const sk_buff skb = packet(f);
    gpon_pkt_info info;
    EXPECT_EQ(gpon_pkt_form_info(&skb, &info), 0);
    EXPECT_EQ(info.tag_num, 100);
    for (u16 i = 0; i < 4; ++i) {
        EXPECT_EQ(u16{info.tpid[i]}, 0x88a8);
        EXPECT_EQ(u16{info.tci[i]}, i << 8 | 7);
    }
    EXPECT_EQ(u32{info.port_word}, 0x30u);
    EXPECT_EQ(u32{info.mark_word}, 0x1234u);
    EXPECT_EQ(u16{info.port_id}, 0);
    EXPECT_EQ(info.dst_mac[0], 1);
    EXPECT_EQ(info.src_mac[5], 12);
}

TEST_F(header, tag_count_wraps_at_256)
{
    bytes f = frame_with({}, {});
    for (int i = 0; i < 258; ++i)
        f.insert(f.end(), {0x81, 0x00, 0, 1});
    EXPECT_EQ(tag_count(f), 2);
}

TEST_F(header, missing_bytes_of_a_short_frame_read_as_zero)
{
    const bytes whole = frame_with({{0x8100, 0xa00c}});
    for (size_t length = 0; length <= 20; ++length) {
        const bytes cut(whole.begin(),
                        whole.begin() + static_cast<long>(std::min(length, whole.size())));
        const sk_buff skb = packet(cut);
        gpon_pkt_info info;
        EXPECT_EQ(gpon_pkt_form_info(&skb, &info), 0);
        EXPECT_EQ(info.dst_mac[5], length > 5 ? 6 : 0);
        // One byte of the type, 0x81, and the 0 behind the end make a TPID.
        EXPECT_EQ(info.tag_num, length > 12 ? 1 : 0) << length;
        EXPECT_EQ(pbit(cut), length > 14 ? 5 : -1) << length;
        EXPECT_EQ(dscp(cut), -1);
    }
}

TEST_F(header, ordinary_frames_have_no_dscp)
{
    EXPECT_EQ(dscp(frame_with({}, {0x08, 0x00, 0x45, 0xb8})), -1);
    EXPECT_EQ(dscp(frame_with({}, {0x86, 0xdd, 0x6b, 0x80})), -1);
    EXPECT_EQ(dscp(frame_with({}, {0x88, 0x64, 0x11, 0, 0, 1, 0, 8, 0, 0x21, 0x45, 0xb8})), -1);
}

TEST_F(header, frames_with_reversed_type_bytes_have_a_dscp)
{
    for (int d = 0; d < 64; ++d) {
        const u8 tos = static_cast<u8>(d << 2);
        const u8 six0 = static_cast<u8>(0x60 | d >> 2);
        const u8 six1 = static_cast<u8>(d << 6);
        EXPECT_EQ(dscp(frame_with({}, {0x00, 0x08, 0x45, tos})), d);
        EXPECT_EQ(dscp(frame_with({{0x88a8, 5}, {0x9100, 6}}, {0x00, 0x08, 0x45, tos})), d);
        EXPECT_EQ(dscp(frame_with({}, {0xdd, 0x86, six0, six1})), d - 128);
        EXPECT_EQ(dscp(frame_with({}, {0x64, 0x88, 0x11, 0, 0, 1, 0, 8, 0x21, 0, 0x45, tos})), d);
        EXPECT_EQ(dscp(frame_with({}, {0x64, 0x88, 0x11, 0, 0, 1, 0, 8, 0x57, 0, six0, six1})),
                  d - 128);
    }
    EXPECT_EQ(dscp(frame_with({}, {0x00, 0x08, 0x55, 0xb8})), -1);
    EXPECT_EQ(dscp(frame_with({}, {0xdd, 0x86, 0x4b, 0x80})), -1);
    EXPECT_EQ(dscp(frame_with({}, {0x64, 0x88, 0x11, 0, 0, 1, 0, 8, 0xc0, 0x21, 0x45, 0xb8})), -1);
}

TEST_F(header, dscp_is_read_behind_the_mac_header)
{
    bytes f = frame_with({}, {0x08, 0x00, 0x00, 0x08, 0x45, 0xb8});
    EXPECT_EQ(dscp(f, 2), 46);
    EXPECT_EQ(dscp(f, 0), -1);
    EXPECT_EQ(dscp(f, static_cast<u32>(f.size())), -1);
}

TEST_F(header, ethertypes_are_compared_in_memory_order)
{
    for (u32 type = 0; type <= 0xffff; ++type)
        EXPECT_EQ(gpon_flow_is_valid_ether_type(static_cast<u16>(type)),
                  type == 0x0081 || type == 0x0091 || type == 0xa888);
}

TEST_F(header, null_arguments_are_reported_by_each_function)
{
    const sk_buff skb = packet(frame_with({}));
    u8 count = 7;
    u16 tci = 7;
    gpon_pkt_info info;
    gponDebugLevel = 1;
    EXPECT_EQ(gpon_pkt_get_vlan_tag_num(nullptr, &count), -1);
    EXPECT_EQ(gpon_pkt_get_vlan_tag_num(&skb, nullptr), -1);
    EXPECT_EQ(gpon_pkt_form_info(nullptr, &info), -1);
    EXPECT_EQ(gpon_pkt_get_outer_vlan_tci(nullptr, &tci), -1);
    EXPECT_EQ(gpon_pkt_get_pbit(nullptr), -1);
    EXPECT_EQ(gpon_pkt_get_dscp(nullptr), -1);
    EXPECT_EQ(count, 7);
    const auto line = [](const std::string& name) {
        return "***ERROR***[" + name + "][0] end, Parameter is NULL: Fail";
    };
    EXPECT_THAT(log_lines(),
                testing::ElementsAre(line("gpon_pkt_get_vlan_tag_num"),
                                     line("gpon_pkt_get_vlan_tag_num"), line("gpon_pkt_form_info"),
                                     line("gpon_pkt_get_outer_vlan_tci"), line("gpon_pkt_get_pbit"),
                                     line("gpon_pkt_get_dscp")));
}

TEST_F(header, entry_lines_are_traces)
{
    gponDebugLevel = 4;
    pbit(frame_with({{0x8100, 0xa00c}}));
    EXPECT_THAT(log_lines(),
                testing::ElementsAre("***TRACE***[gpon_pkt_get_pbit][0]: Enter",
                                     "***TRACE***[gpon_pkt_get_outer_vlan_tci][0] enter, "
                                     "eth_type=0x0",
                                     "***TRACE***[gpon_pkt_get_outer_vlan_tci][0] end, "
                                     "vlanTci=0xa00c"));
}

} // namespace

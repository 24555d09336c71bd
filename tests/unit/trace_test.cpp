// SPDX-License-Identifier: GPL-2.0-only
#include <array>
#include <cstring>
#include <memory>

#include "tests/support/loaded_module.h"
#include "tests/support/vlan_tag.h"

#include "debug/trace.h"

namespace {

using testing::ElementsAre;
using bytes = std::vector<u8>;
using gpon::test::vlan_tag;

constexpr std::array<u8, 6> OUR_DST = {2, 0, 0, 0, 0, 1};
constexpr std::array<u8, 6> OUR_SRC = {2, 0, 0, 0, 0, 2};
constexpr u16 OUTER = 0x2064, INNER = 0x00c8;

bytes frame_of(const std::array<u8, 6>& dst, const std::array<u8, 6>& src,
               const std::vector<vlan_tag>& tags)
{
    bytes frame(dst.begin(), dst.end());
    frame.insert(frame.end(), src.begin(), src.end());
    const auto put = [&](u16 value) {
        frame.push_back(static_cast<u8>(value >> 8));
        frame.push_back(static_cast<u8>(value));
    };
    for (const vlan_tag& t : tags) {
        put(t.tpid);
        put(t.tci);
    }
    put(0x0800);
    return frame;
}

// A packet whose bytes end where its block ends, so that a read behind them is found.
struct exact_packet {
    explicit exact_packet(const bytes& frame) : block(new u8[frame.size()])
    {
        std::copy(frame.begin(), frame.end(), block.get());
        skb.data = block.get();
        skb.bytes = static_cast<u32>(frame.size());
    }
    std::unique_ptr<u8[]> block;
    sk_buff skb;
};

class trace_filter : public loaded_module {
protected:
    static void set(u16 mask)
    {
        std::copy(OUR_DST.begin(), OUR_DST.end(), trace_cfg.dst_mac);
        std::copy(OUR_SRC.begin(), OUR_SRC.end(), trace_cfg.src_mac);
        trace_cfg.outer_vlan = OUTER;
        trace_cfg.inner_vlan = INNER;
        trace_cfg.valid_mask = mask;
    }
    static i32 matches(const bytes& frame)
    {
        const exact_packet packet(frame);
        return gpon_flow_is_trace_skb(&packet.skb);
    }
};

TEST_F(trace_filter, compares_every_combination_of_fields_with_every_kind_of_frame)
{
    const std::array<u8, 6> other = {2, 0, 0, 0, 0, 9};
    const std::vector<std::vector<vlan_tag>> taggings = {
        {},
        {{0x8100, OUTER}},
        {{0x9100, INNER}},
        {{0x88a8, 100}},
        {{0x88a8, OUTER}, {0x8100, INNER}},
        {{0x8100, INNER}, {0x88a8, OUTER}},
        {{0x8100, OUTER}, {0x9100, OUTER}},
        {{0x9100, INNER}, {0x9100, INNER}},
        {{0x9200, OUTER}, {0x8100, INNER}},
        {{0x8100, OUTER}, {0x9200, INNER}},
        {{0x8100, OUTER}, {0x88a8, INNER}, {0x8100, 7}},
    };
    const auto is_tag = [](const std::vector<vlan_tag>& tags, size_t at, u16 tci) {
        return at < tags.size() && tags[at].tci == tci &&
               (tags[at].tpid == 0x8100 || tags[at].tpid == 0x9100 || tags[at].tpid == 0x88a8);
    };
    int marked = 0;
    for (u16 mask = 0; mask < 16; ++mask)
        for (const auto& dst : {OUR_DST, other})
            for (const auto& src : {OUR_SRC, other})
                for (const auto& tags : taggings) {
                    const bool outer = mask & TRACE_OUTER_VLAN;
                    const bool wanted =
                        mask != 0 && (!(mask & TRACE_DST_MAC) || dst == OUR_DST) &&
                        (!(mask & TRACE_SRC_MAC) || src == OUR_SRC) &&
                        (!outer || is_tag(tags, 0, OUTER)) &&
                        (!(mask & TRACE_INNER_VLAN) || is_tag(tags, outer ? 1 : 0, INNER));
                    set(mask);
                    EXPECT_EQ(matches(frame_of(dst, src, tags)), wanted ? 1 : 0)
                        << "mask " << mask << ", tags " << tags.size();
                    marked += wanted;
                }
    EXPECT_GT(marked, 100);
}

TEST_F(trace_filter, each_byte_of_a_mac_counts)
{
    for (size_t at = 0; at < 6; ++at) {
        std::array<u8, 6> near_dst = OUR_DST, near_src = OUR_SRC;
        near_dst[at] ^= 0x80;
        near_src[at] ^= 0x01;
        set(TRACE_DST_MAC);
        EXPECT_EQ(matches(frame_of(near_dst, OUR_SRC, {})), 0) << at;
        EXPECT_EQ(matches(frame_of(OUR_DST, near_src, {})), 1) << at;
        set(TRACE_SRC_MAC);
        EXPECT_EQ(matches(frame_of(near_dst, OUR_SRC, {})), 1) << at;
        EXPECT_EQ(matches(frame_of(OUR_DST, near_src, {})), 0) << at;
    }
}

TEST_F(trace_filter, each_bit_of_a_tci_counts)
{
    for (u16 bit = 1; bit != 0; bit = static_cast<u16>(bit << 1)) {
        set(TRACE_OUTER_VLAN);
        EXPECT_EQ(matches(frame_of(OUR_DST, OUR_SRC, {{0x8100, static_cast<u16>(OUTER ^ bit)}})),
                  0);
        set(TRACE_INNER_VLAN);
        EXPECT_EQ(matches(frame_of(OUR_DST, OUR_SRC, {{0x8100, static_cast<u16>(INNER ^ bit)}})),
                  0);
    }
}

TEST_F(trace_filter, no_packet_and_no_filter_mark_nothing)
{
    set(TRACE_DST_MAC);
    EXPECT_EQ(gpon_flow_is_trace_skb(nullptr), 0);
    set(0);
    EXPECT_EQ(gpon_flow_is_trace_skb(nullptr), 0);
    EXPECT_EQ(matches(frame_of(OUR_DST, OUR_SRC, {{0x8100, OUTER}})), 0);
}

TEST_F(trace_filter, bits_of_the_mask_without_a_field_let_every_packet_pass)
{
    set(0x10);
    EXPECT_EQ(matches(frame_of(OUR_DST, OUR_SRC, {})), 1);
    EXPECT_EQ(matches({}), 1);
}

TEST_F(trace_filter, takes_bytes_behind_the_frame_as_zero)
{
    const bytes whole = frame_of(OUR_DST, OUR_SRC, {{0x8100, OUTER}, {0x8100, INNER}});
    for (size_t length = 0; length <= whole.size(); ++length) {
        bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        bytes filled = cut;
        filled.resize(64);
        for (u16 mask = 0; mask < 16; ++mask) {
            set(mask);
            EXPECT_EQ(matches(cut), matches(filled)) << length << " bytes, mask " << mask;
        }
    }
}

TEST_F(trace_filter, a_packet_without_data_is_a_frame_of_no_byte)
{
    const sk_buff empty;
    set(TRACE_DST_MAC);
    EXPECT_EQ(gpon_flow_is_trace_skb(&empty), 0);
    std::memset(trace_cfg.dst_mac, 0, sizeof(trace_cfg.dst_mac));
    EXPECT_EQ(gpon_flow_is_trace_skb(&empty), 1);
}

bytes counted(size_t count)
{
    bytes all(count);
    for (size_t i = 0; i < count; ++i)
        all[i] = static_cast<u8>(0xf0 + i);
    return all;
}

class hex_dump : public loaded_module {
protected:
    std::vector<std::string> offsets(const bytes& frame, i32 count)
    {
        const exact_packet packet(frame);
        gpon_flow_dump_skb(&packet.skb, count);
        return log_lines();
    }
    std::vector<std::string> plain(const bytes& frame, i32 count)
    {
        const exact_packet packet(frame);
        gpon_flow_dump_skb_data(&packet.skb, count);
        return log_lines();
    }
};

TEST_F(hex_dump, is_a_line_feed_for_no_byte)
{
    for (i32 count : {0, -1, -2147483647 - 1}) {
        EXPECT_THAT(offsets(counted(20), count), ElementsAre("")) << count;
        EXPECT_THAT(plain(counted(20), count), ElementsAre("")) << count;
    }
}

TEST_F(hex_dump, starts_each_line_of_sixteen_with_its_offset_and_parts_it_in_two)
{
    EXPECT_THAT(offsets(counted(20), 1), ElementsAre(" ", "0000: f0 "));
    EXPECT_THAT(offsets(counted(20), 8), ElementsAre(" ", "0000: f0 f1 f2 f3 f4 f5 f6 f7 "));
    EXPECT_THAT(offsets(counted(20), 9), ElementsAre(" ", "0000: f0 f1 f2 f3 f4 f5 f6 f7  f8 "));
    EXPECT_THAT(offsets(counted(20), 16),
                ElementsAre(" ", "0000: f0 f1 f2 f3 f4 f5 f6 f7  f8 f9 fa fb fc fd fe ff "));
    EXPECT_THAT(
        offsets(counted(20), 17),
        ElementsAre(" ", "0000: f0 f1 f2 f3 f4 f5 f6 f7  f8 f9 fa fb fc fd fe ff  ", "0010: 00 "));
}

TEST_F(hex_dump, offsets_have_four_digits_at_least)
{
    const std::vector<std::string> lines = offsets(bytes(0x10001), 0x10001);
    ASSERT_EQ(lines.size(), 0x1002u);
    EXPECT_EQ(lines[0x1000].substr(0, 6), "fff0: ");
    EXPECT_EQ(lines[0x1001], "10000: 00 ");
}

TEST_F(hex_dump, is_plain_with_sixteen_bytes_a_line)
{
    EXPECT_THAT(plain(counted(20), 1), ElementsAre("f0 "));
    EXPECT_THAT(plain(counted(20), 15),
                ElementsAre("f0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe "));
    EXPECT_THAT(plain(counted(20), 16),
                ElementsAre("f0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff ", ""));
    EXPECT_THAT(plain(counted(20), 17),
                ElementsAre("f0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff ", "00 "));
}

TEST_F(hex_dump, shows_bytes_behind_the_frame_as_zero)
{
    EXPECT_THAT(offsets(counted(2), 4), ElementsAre(" ", "0000: f0 f1 00 00 "));
    EXPECT_THAT(plain(counted(2), 4), ElementsAre("f0 f1 00 00 "));
}

TEST_F(hex_dump, is_an_error_for_a_packet_without_data_when_plain)
{
    const sk_buff empty;
    gpon_flow_dump_skb(&empty, 2);
    EXPECT_THAT(log_lines(), ElementsAre(" ", "0000: 00 00 "));
    gpon_flow_dump_skb_data(&empty, 2);
    EXPECT_THAT(log_lines(), testing::IsEmpty());
    gponDebugLevel = LOG_ERROR;
    gpon_flow_dump_skb_data(&empty, 2);
    gpon_flow_dump_skb_data(nullptr, 2);
    EXPECT_THAT(log_lines(), ElementsAre("***ERROR***[gpon_flow_dump_skb_data][0]skb is NULL",
                                         "***ERROR***[gpon_flow_dump_skb_data][0]skb is NULL"));
}

} // namespace

// SPDX-License-Identifier: GPL-2.0-only
// Every combination of tags, types and lengths: the module's header readers return the same values
// as a packet library.
#include "tests/support/loaded_module.h"

#include <cstdio>
#include <random>

#include "pkt/header.h"
#include "tests/property/reference.h"

namespace {

using namespace gpon::reference;

constexpr u16 tpids[] = {0x8100, 0x9100, 0x88a8};
// One of each bit field at its edges; 0 is a tag without priority.
constexpr u16 tcis[] = {0, 0xa00c, 0xffff};
constexpr inner kinds[] = {inner::ipv4,       inner::ipv4_options,    inner::ipv6,
                           inner::arp,        inner::pppoe_discovery, inner::pppoe_ipv4,
                           inner::pppoe_ipv6, inner::pppoe_lcp,       inner::other};

std::string mac_text(const u8* mac)
{
    char text[18];
    (std::snprintf)(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                    mac[3], mac[4], mac[5]);
    return text;
}

class header_property : public loaded_module {
protected:
    // The frame in a block of its own: a read past its end is found by the address sanitizer.
    static sk_buff packet(const octets& frame)
    {
        sk_buff skb;
        skb.data = frame.data();
        skb.bytes = static_cast<u32>(frame.size());
        return skb;
    }

    // The readers of tags and addresses on the frame as it is.
    static void expect_tags(const octets& frame)
    {
        const sk_buff skb = packet(frame);
        const std::vector<tag> wanted = tags(frame);
        u8 count = 0xee;
        ASSERT_EQ(gpon_pkt_get_vlan_tag_num(&skb, &count), 0);
        ASSERT_EQ(count, static_cast<u8>(wanted.size()));
        expect_summary(skb, frame, wanted);
        // The outer TCI is read behind two of the three TPIDs.
        const bool read = !wanted.empty() && wanted[0].tpid != 0x9100;
        const u16 outer = read ? wanted[0].tci : u16{0};
        u16 tci = 0xeeee;
        ASSERT_EQ(gpon_pkt_get_outer_vlan_tci(&skb, &tci), 0);
        ASSERT_EQ(tci, outer);
        ASSERT_EQ(gpon_pkt_get_pbit(&skb), outer == 0 ? -1 : outer / 0x2000);
    }

    static void expect_summary(const sk_buff& skb, const octets& frame,
                               const std::vector<tag>& wanted)
    {
        gpon_pkt_info info;
        ASSERT_EQ(gpon_pkt_form_info(&skb, &info), 0);
        ASSERT_EQ(mac_text(info.dst_mac), destination(frame));
        ASSERT_EQ(mac_text(info.src_mac), source(frame));
        ASSERT_EQ(info.tag_num, static_cast<u8>(wanted.size()));
        for (size_t i = 0; i < GPON_MAX_TAGS; ++i) {
            const tag held = i < wanted.size() ? wanted[i] : tag{0, 0};
            ASSERT_EQ(u16{info.tpid[i]}, held.tpid);
            ASSERT_EQ(u16{info.tci[i]}, held.tci);
        }
    }

    // `whole` is the frame before it was cut, both from the MAC header.
    static void expect_dscp(const octets& frame, const octets& whole)
    {
        const sk_buff skb = packet(frame);
        const auto wanted = dscp(frame, whole, tags(frame).size());
        const i32 bias = wanted && wanted->version_6 ? -128 : 0;
        ASSERT_EQ(gpon_pkt_get_dscp(&skb), wanted ? wanted->dscp + bias : -1);
    }

    // Every stack of 0 to 3 tags.
    template <typename Visit> static void for_each_stack(Visit visit)
    {
        std::vector<std::vector<tag>> stacks = {{}};
        for (size_t done = 0; done < stacks.size(); ++done) {
            visit(stacks[done]);
            if (stacks[done].size() == 3)
                continue;
            for (const u16 tpid : tpids)
                for (const u16 tci : tcis) {
                    stacks.push_back(stacks[done]);
                    stacks.back().push_back({tpid, tci});
                }
        }
    }

    static octets cut(const octets& frame, size_t length)
    {
        octets shorter(frame.begin(), frame.begin() + static_cast<long>(length));
        shorter.shrink_to_fit();
        return shorter;
    }

    static description described(const std::vector<tag>& stack, inner kind, int reversed,
                                 u8 code_point)
    {
        return {stack, kind, code_point, (reversed & 1) != 0, (reversed & 2) != 0};
    }
};

TEST_F(header_property, every_stack_of_tags_before_every_type_agrees_with_the_packet_library)
{
    size_t frames = 0;
    for_each_stack([&](const std::vector<tag>& stack) {
        for (const inner kind : kinds)
            for (int reversed = 0; reversed < 4 && !HasFatalFailure(); ++reversed) {
                const description content =
                    described(stack, kind, reversed, static_cast<u8>(frames % 64));
                SCOPED_TRACE(content.text());
                const octets frame = build(content);
                ASSERT_EQ(tags(frame), stack) << "the reference reads what it wrote";
                expect_tags(frame);
                expect_dscp(frame, frame);
                ++frames;
            }
    });
    EXPECT_EQ(frames, (1u + 9 + 81 + 729) * 9 * 4);
}

TEST_F(header_property, every_code_point_is_found_only_behind_reversed_types)
{
    size_t found = 0;
    for (const inner kind : kinds)
        for (int reversed = 0; reversed < 4; ++reversed)
            for (u8 code_point = 0; code_point < 64 && !HasFatalFailure(); ++code_point) {
                const description content = described({}, kind, reversed, code_point);
                SCOPED_TRACE(content.text());
                const octets frame = build(content);
                expect_dscp(frame, frame);
                const sk_buff skb = packet(frame);
                found += gpon_pkt_get_dscp(&skb) != -1;
            }
    // Three kinds whatever the PPP protocol is, two more where it is reversed as well.
    EXPECT_EQ(found, (3u * 2 + 2) * 64);
}

TEST_F(header_property, frames_cut_at_every_byte_read_as_if_zeros_followed)
{
    const std::vector<std::vector<tag>> stacks = {
        {},
        {{0x8100, 0xa00c}},
        {{0x9100, 0xffff}},
        {{0x88a8, 0x2001}, {0x8100, 0x4002}},
        {{0x8100, 0x8100}, {0x9100, 0x88a8}, {0x88a8, 0x9100}}};
    for (const auto& stack : stacks)
        for (const inner kind : kinds)
            for (int reversed = 0; reversed < 4; ++reversed) {
                const description content = described(stack, kind, reversed, 46);
                const octets whole = build(content);
                for (size_t length = 0; length <= whole.size() && !HasFatalFailure(); ++length) {
                    SCOPED_TRACE(testing::Message() << content.text() << " cut to " << length);
                    expect_tags(cut(whole, length));
                    expect_dscp(cut(whole, length), whole);
                }
            }
}

TEST_F(header_property, reversed_tag_types_are_no_tags)
{
    for (const u16 tpid : tpids) {
        const u16 reversed = static_cast<u16>(tpid << 8 | tpid >> 8);
        const octets frame = build({{{reversed, 0xa00c}}, inner::ipv4, 46, true, false});
        EXPECT_TRUE(tags(frame).empty());
        expect_tags(frame);
        expect_dscp(frame, frame);
    }
}

TEST_F(header_property, the_dscp_is_read_behind_the_leading_tags_of_the_frame)
{
    for (const inner kind : kinds)
        for (size_t offset = 0; offset <= 20; ++offset) {
            const description content =
                described({{0x8100, 0xa00c}, {0x88a8, 1}}, kind, 3, static_cast<u8>(offset));
            SCOPED_TRACE(testing::Message() << content.text() << " at " << offset);
            const octets frame = build(content);
            // The frame proper with two tags; its MAC header, with what the reader looks for
            // behind two tags, lies further on.
            octets buffer = cut(build({content.tags, inner::other, 0, false, false}), 20);
            buffer.resize(offset, 0);
            buffer.insert(buffer.end(), frame.begin(), frame.end());
            sk_buff skb = packet(buffer);
            skb.mac_offset = static_cast<u32>(offset);
            const size_t counted = tags(buffer).size();
            const auto wanted = dscp(frame, frame, counted);
            const i32 bias = wanted && wanted->version_6 ? -128 : 0;
            EXPECT_EQ(gpon_pkt_get_dscp(&skb), wanted ? wanted->dscp + bias : -1);
        }
}

TEST_F(header_property, tags_of_random_frames_agree_with_the_packet_library)
{
    std::mt19937 random(20240601);
    const auto below = [&](u32 limit) { return static_cast<u32>(random() % limit); };
    size_t tagged = 0;
    for (int round = 0; round < 50000 && !HasFatalFailure(); ++round) {
        octets frame(below(64));
        for (u8& byte : frame)
            byte = static_cast<u8>(random());
        // Bytes at random are hardly ever tags.
        for (size_t at = 12; at + 1 < frame.size() && below(4) != 0; at += 4) {
            const u16 tpid = tpids[below(3)];
            frame[at] = static_cast<u8>(tpid >> 8);
            frame[at + 1] = static_cast<u8>(tpid);
        }
        expect_tags(frame);
        tagged += !tags(frame).empty();
    }
    EXPECT_GT(tagged, 10000u);
}

} // namespace

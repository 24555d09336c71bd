// SPDX-License-Identifier: GPL-2.0-only
// The key of a frame's rule, and storing and reading its steps.
#include "tests/support/loaded_module.h"
#include "tests/support/vlan_tag.h"

#include <array>
#include <cstring>

#include "pkt/header.h"
#include "pkt/rule.h"

namespace {

using bytes = std::vector<u8>;
using gpon::test::vlan_tag;

// TCIs differ in both bytes, so none can be taken for another.
const std::vector<vlan_tag> TAGS = {{0x8100, 0x2064}, {0x88a8, 0x40c8}, {0x9100, 0x612c},
                                    {0x8100, 0x8190}, {0x88a8, 0xa1f4}, {0x8100, 0xc258}};

std::vector<vlan_tag> first_tags(size_t count)
{
    return {TAGS.begin(), TAGS.begin() + static_cast<std::ptrdiff_t>(count)};
}

class rule : public loaded_module {
protected:
    // Good until the next call.
    sk_buff packet(const std::vector<vlan_tag>& tags)
    {
        frame = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
        for (const vlan_tag& t : tags)
            frame.insert(frame.end(), {static_cast<u8>(t.tpid >> 8), static_cast<u8>(t.tpid),
                                       static_cast<u8>(t.tci >> 8), static_cast<u8>(t.tci)});
        frame.insert(frame.end(), {0x08, 0x00, 0x45, 0x00});
        sk_buff skb;
        skb.data = frame.data();
        skb.bytes = static_cast<u32>(frame.size());
        skb.port_word = 0x30;
        return skb;
    }

    // The whole buffer of a key: nothing may be written behind the length.
    bytes key_of(const std::vector<vlan_tag>& tags, u16 fwd_flag, u16& length)
    {
        const sk_buff skb = packet(tags);
        gpon_pkt_info info;
        EXPECT_EQ(gpon_pkt_form_info(&skb, &info), 0);
        bytes key(GPON_RULE_KEY_BUFFER);
        gpon_rule_generate_key(&info, fwd_flag, key.data(), &length);
        return key;
    }

    i32 learn(const sk_buff& skb, u16 fwd_flag, u16 number)
    {
        gpon_walk_result walked = {};
        walked.trace.step[0] = {me_class::pptp, number};
        walked.trace.step[9] = {me_class::gemctp, number};
        return gpon_rule_generate_trace(&skb, fwd_flag, &walked);
    }

    // The number that the rule was learnt with, or -1 with every step cleared.
    i32 learnt(const sk_buff& skb, u16 fwd_flag)
    {
        gpon_rule_trace trace;
        std::memset(&trace, 0xee, sizeof(trace));
        const i32 result = gpon_rule_lookup_trace(&skb, fwd_flag, &trace);
        const u16 number = trace.step[0].instId;
        gpon_rule_trace wanted = {};
        if (result == 0) {
            wanted.step[0] = {me_class::pptp, number};
            wanted.step[9] = {me_class::gemctp, number};
        }
        EXPECT_EQ(std::memcmp(&trace, &wanted, sizeof(trace)), 0);
        return result == 0 ? number : result;
    }

    bytes frame;
};

TEST_F(rule, the_key_has_the_addresses_the_direction_and_up_to_four_tags)
{
    for (size_t tags = 0; tags <= TAGS.size(); ++tags) {
        const size_t held = std::min<size_t>(tags, 4);
        std::vector<u16> words = {0, DOWN_ANI}; // no rule knows its port
        for (const vlan_tag& t : first_tags(held))
            words.insert(words.end(), {t.tpid, t.tci});
        bytes wanted = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
        wanted.resize(GPON_RULE_KEY_BUFFER);
        std::memcpy(wanted.data() + 12, words.data(), words.size() * sizeof(u16));
        u16 length = 0xeeee;
        EXPECT_EQ(key_of(first_tags(tags), DOWN_ANI, length), wanted) << tags << " tags";
        EXPECT_EQ(length, 16 + 4 * held);
    }
}

TEST_F(rule, frames_that_differ_in_one_tag_have_a_rule_each)
{
    for (size_t tags = 1; tags <= 4; ++tags)
        for (size_t changed = 0; changed < tags; ++changed) {
            std::vector<vlan_tag> other = first_tags(tags);
            other[changed].tci ^= 1;
            EXPECT_EQ(learn(packet(first_tags(tags)), UP_UNI, 5), 0);
            EXPECT_EQ(learnt(packet(first_tags(tags)), UP_UNI), 5);
            EXPECT_EQ(learnt(packet(other), UP_UNI), -1) << "tag " << changed << " of " << tags;
        }
}

TEST_F(rule, directions_and_tag_counts_have_rules_of_their_own_and_ports_share_one)
{
    EXPECT_EQ(learn(packet(first_tags(2)), UP_UNI, 5), 0);
    sk_buff elsewhere = packet(first_tags(2));
    elsewhere.port_word = 0x70;
    EXPECT_EQ(learnt(elsewhere, UP_UNI), 5);
    EXPECT_EQ(learn(elsewhere, UP_UNI, 6), 0);
    EXPECT_EQ(learnt(packet(first_tags(2)), UP_UNI), 6);
    for (const u16 direction : u16s{UP_ANI, DOWN_ANI, DOWN_UNI})
        EXPECT_EQ(learnt(packet(first_tags(2)), direction), -1);
    for (const size_t tags : {0u, 1u, 3u})
        EXPECT_EQ(learnt(packet(first_tags(tags)), UP_UNI), -1);
}

TEST_F(rule, a_packet_without_data_has_the_rule_of_a_frame_of_zeros)
{
    const std::array<u8, 60> zeros = {};
    sk_buff filled;
    filled.data = zeros.data();
    filled.bytes = zeros.size();
    const sk_buff empty;
    EXPECT_EQ(learnt(empty, UP_UNI), -1);
    EXPECT_EQ(learn(empty, UP_UNI, 5), 0);
    EXPECT_EQ(learnt(empty, UP_UNI), 5);
    EXPECT_EQ(learnt(filled, UP_UNI), 5);
}

TEST_F(rule, learning_without_memory_succeeds_and_stores_nothing)
{
    const sk_buff skb = packet(first_tags(1));
    gponDebugLevel = LOG_ERROR;
    gpon::host::arm_fault(gpon::host::fault::alloc);
    EXPECT_EQ(learn(skb, UP_UNI, 5), 0);
    EXPECT_TRUE(gpon::host::fault_fired(gpon::host::fault::alloc));
    EXPECT_THAT(log_lines(),
                testing::ElementsAre("***ERROR***[gpon_hash_add_node][0] end, kzalloc fail"));
    EXPECT_EQ(learnt(skb, UP_UNI), -1);
    EXPECT_EQ(learn(skb, UP_UNI, 5), 0);
    EXPECT_EQ(learnt(skb, UP_UNI), 5);
}

TEST_F(rule, learning_and_look_up_trace_each_step_by_name)
{
    const sk_buff skb = packet({});
    gponDebugLevel = LOG_TRACE;
    gpon_rule_trace trace = {};
    EXPECT_EQ(gpon_rule_lookup_trace(&skb, UP_UNI, &trace), -1);
    const auto enter = [](const std::string& name) {
        return "***TRACE***[" + name + "][0]: Enter";
    };
    EXPECT_THAT(log_lines(), testing::ElementsAre(
                                 enter("gpon_pkt_form_info"), enter("gpon_pkt_get_vlan_tag_num"),
                                 enter("gpon_rule_get_inst"), enter("gpon_rule_generate_key")));
    EXPECT_EQ(learn(skb, UP_UNI, 5), 0);
    const std::vector<std::string> lines = log_lines();
    ASSERT_GE(lines.size(), 4u);
    EXPECT_EQ(lines[0], enter("gpon_pkt_form_info"));
    EXPECT_EQ(lines[1], enter("gpon_pkt_get_vlan_tag_num"));
    EXPECT_EQ(lines[2], enter("gpon_rule_add_inst"));
    EXPECT_EQ(lines[3], enter("gpon_rule_generate_key"));
}

} // namespace

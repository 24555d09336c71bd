// SPDX-License-Identifier: GPL-2.0-only
// Remembered outcomes: which frames have one, and where it is kept.
#include "tests/unit/outcome_fixture.h"

#include <algorithm>
#include <map>
#include <vector>

#include "hash/outcome_table.h"

namespace {

using gpon::test::apply;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

TEST_F(outcome, a_known_frame_makes_no_allocation_and_has_its_queue_chosen_each_time)
{
    learn(frame(1), 1);
    EXPECT_GT(send(frame(1)).allocations, 0u) << "the replay";
    calls.clear();
    for (int i = 0; i < 3; ++i) {
        const sent_frame known = send(frame(1));
        EXPECT_EQ(known.result, 0);
        EXPECT_EQ(known.port, port_of(1));
        EXPECT_EQ(known.allocations, 0u);
    }
    EXPECT_EQ(calls, std::vector<std::string>(3, "gpon_queue_mapping_hook gem=1001 = 0"));
    gpon::host::set_queue_mapping(1);
    EXPECT_EQ(send(frame(1)).result, -1);
    gpon::host::set_queue_mapping(std::nullopt);
    EXPECT_EQ(send(frame(1)).result, -1);
    EXPECT_EQ(send(frame(1)).port, port_of(1)) << "it is written before the queue is chosen";
}

TEST_F(outcome, frames_of_up_to_two_tags_and_their_third_type_have_one)
{
    struct shape {
        size_t tags, length;
        bool remembered;
    };
    for (const shape& each :
         {shape{0, 22, true}, shape{1, 22, true}, shape{2, 22, true}, shape{0, 21, false},
          shape{2, 21, false}, shape{0, 2000, true}, shape{1, 2000, true}, shape{2, 2000, true},
          shape{3, 2000, false}, shape{4, 2000, false}, shape{256, 2000, false},
          shape{257, 2000, false}}) {
        SCOPED_TRACE(testing::Message() << each.tags << " tags, " << each.length << " bytes");
        gpon_hash_clean_all_safe();
        const bytes sent = frame(each.tags, each.length);
        learn(sent, 3);
        EXPECT_EQ(send(sent).port, port_of(3));
        EXPECT_EQ(is_remembered(sent), each.remembered);
        EXPECT_EQ(send(sent).port, port_of(3));
    }
}

TEST_F(outcome, frames_that_share_a_rule_keep_it_and_others_do_not)
{
    // The tag count wraps: 256 tags have the rule of none, 257 that of the first of them.
    make_known(frame(0), 1);
    EXPECT_EQ(send(frame(256)).port, port_of(1));
    make_known(frame(1), 2);
    EXPECT_EQ(send(frame(257)).port, port_of(2));
    make_known(frame(2), 3);
    EXPECT_EQ(send(frame(258)).port, port_of(3));
    learn(frame(3), 4);
    learn(frame(4), 5);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(send(frame(0)).port, port_of(1));
        EXPECT_EQ(send(frame(1)).port, port_of(2));
        EXPECT_EQ(send(frame(2)).port, port_of(3));
        EXPECT_EQ(send(frame(3)).port, port_of(4));
        EXPECT_EQ(send(frame(4)).port, port_of(5));
        EXPECT_EQ(send(frame(256)).port, port_of(1));
        EXPECT_EQ(send(frame(257)).port, port_of(2));
        EXPECT_EQ(send(frame(258)).port, port_of(3));
    }
}

TEST_F(outcome, each_byte_of_the_key_counts)
{
    const bytes known = frame(2);
    make_known(known, 1);
    for (size_t at = 0; at < 20; ++at) {
        bytes other = known;
        other[at] ^= at == 12 || at == 16 ? 0x80 ^ 0x88 : 2;
        if (at == 12 || at == 16)
            other[at + 1] = 0xa8; // from one TPID to another
        EXPECT_NE(send(other).port, port_of(1)) << "byte " << at;
    }
    EXPECT_EQ(send(known).port, port_of(1));
}

TEST_F(outcome, directions_have_their_own)
{
    const bytes sent = frame(1);
    learn(sent, 1, UP_UNI);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(send(sent, UP_UNI).port, 9) << "the port is written towards the ANI alone";
    EXPECT_TRUE(is_remembered(sent, UP_UNI));
    make_known(sent, 2);
    EXPECT_EQ(send(sent, UP_UNI).port, 9);
    for (const u16 direction : u16s{DOWN_ANI, DOWN_UNI}) {
        learn(sent, 3, direction);
        send(sent, direction);
        EXPECT_TRUE(is_remembered(sent, direction));
        EXPECT_EQ(send(sent, direction).port, 9);
    }
    EXPECT_EQ(send(sent).port, port_of(2));
    // A rule of no direction is replayed and fails each time.
    learn(sent, 1, 3);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(send(sent, 3).result, -1);
}

TEST_F(outcome, is_not_used_when_the_replay_would_be_logged)
{
    make_known(frame(1), 1);
    log_lines();
    gponDebugLevel = LOG_TRACE;
    send(frame(1));
    EXPECT_THAT(log_lines(), Contains(HasSubstr("Rule already exist!")));
    gponDebugLevel = 0;
    send(frame(1), UP_ANI, GPON_FLOW_TRACE_MARK);
    EXPECT_THAT(log_lines(), Contains(HasSubstr("Rule already exist!")));
    send(frame(1), UP_ANI, LOG_ERROR | LOG_WARNING | LOG_TRACE);
    EXPECT_THAT(log_lines(), IsEmpty()) << "a level of the packet alone prints nothing";
    EXPECT_TRUE(is_remembered(frame(1)));
}

TEST_F(outcome, the_hook_removes_a_mark_of_the_sender_before_the_outcome_is_used)
{
    const bytes sent = frame(1);
    make_known(sent, 1);
    sk_buff skb = packet_of(sent);
    skb.flag_word = 0xffffffff;
    const uint64_t before = gpon::host::memory().allocations;
    gpon::host::hook(GPON_API_UP_ANI, 0, &skb);
    EXPECT_EQ(gpon::host::memory().allocations, before);
    EXPECT_EQ(skb.gemport_id, port_of(1));
    EXPECT_EQ(skb.flag_word, ~GPON_FLOW_TRACE_MARK);
}

TEST_F(outcome, a_replay_that_ran_out_of_memory_is_not_remembered)
{
    gpon::test::create_bridge(1);
    const gpon_raw_gemiw gem_iw = {.instID = 0x11, .gemCTPInstID = 1};
    apply(ZR_OMCI_MSG_TYPE_CREAT, me_class::gemiw, 0x11, &gem_iw);
    gpon::test::create_port(0x1001, 1, 5, 0x11);
    for (u64 nth = 1;; ++nth) {
        SCOPED_TRACE(testing::Message() << "allocation " << nth);
        gpon_hash_clean_all_safe();
        EXPECT_EQ(send(frame(1)).port, port_of(1)) << "the walk";
        gpon::host::arm_fault(gpon::host::fault::alloc, nth);
        EXPECT_EQ(send(frame(1)).result, 0);
        const bool fired = gpon::host::fault_fired(gpon::host::fault::alloc);
        gpon::host::disarm_faults();
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(send(frame(1)).port, port_of(1));
        if (!fired) {
            EXPECT_EQ(nth, 5u) << "each allocation of the replay failed once";
            break;
        }
    }
}

TEST_F(outcome, a_full_set_takes_no_more_and_loses_none)
{
    // Stations whose outcomes have the same set.
    std::vector<bytes> rivals;
    const gpon::outcome_set* wanted = nullptr;
    for (u32 number = 1; rivals.size() < 4; ++number) {
        bytes sent = frame(0, 60);
        for (u32 i = 0; i < 3; ++i)
            sent[9 + i] = static_cast<u8>(number >> 8 * i);
        const gpon::outcome_key key = {gpon::load_unaligned<u64>(sent.data()),
                                       gpon::load_unaligned<u32>(sent.data() + 8),
                                       u64{UP_ANI} << 32};
        const gpon::outcome_set* set = &gpon::outcome_set_of(key);
        if (!wanted)
            wanted = set;
        if (set == wanted)
            rivals.push_back(sent);
    }
    u64 replays = 0;
    for (int round = 0; round < 3; ++round)
        for (u16 i = 0; i < rivals.size(); ++i) {
            if (round == 0)
                learn(rivals[i], static_cast<u16>(i + 1));
            const sent_frame got = send(rivals[i]);
            // Rules collide on their own account.
            if (got.result == 0) {
                EXPECT_EQ(got.port, port_of(static_cast<u16>(i + 1)));
                EXPECT_EQ(got.allocations == 0, round > 0 && i < gpon::OUTCOME_PLACES);
                replays += got.allocations != 0;
            }
        }
    EXPECT_EQ(gpon::host::counter_value("outcomes_remembered"), gpon::OUTCOME_PLACES);
    EXPECT_GT(replays, gpon::OUTCOME_PLACES);
    EXPECT_EQ(gpon::host::counter_value("outcomes_no_place"), replays - gpon::OUTCOME_PLACES);
}

// Addresses of one vendor, one after the other, and eight VLANs: 512 outcomes of 128 flows. Random
// keys keep 458 of them (scripts/outcome-sets.py).
TEST_F(outcome, ordinary_addresses_spread_over_the_sets)
{
    std::map<const gpon::outcome_set*, u32> used;
    u32 kept = 0;
    for (u8 station = 0; station < 128; ++station)
        for (const u16 direction : u16s{UP_UNI, UP_ANI, DOWN_ANI, DOWN_UNI}) {
            bytes sent = {
                0x00, 0x1b, 0x21, 0x3c,    0x4d, 0x01, 0x3c, 0x6a,
                0x9d, 0x00, 0x10, station, 0x81, 0x00, 0x00, static_cast<u8>(station % 8)};
            if (direction & (DOWN_ANI | DOWN_UNI))
                std::rotate(sent.begin(), sent.begin() + 6, sent.begin() + 12);
            const u64 tag = gpon::load_unaligned<u32>(&sent[12]);
            const gpon::outcome_key key = {gpon::load_unaligned<u64>(sent.data()),
                                           gpon::load_unaligned<u32>(&sent[8]) | tag << 32,
                                           u64{direction} << 32};
            kept += ++used[&gpon::outcome_set_of(key)] <= gpon::OUTCOME_PLACES;
        }
    EXPECT_GT(kept, 440u);
}

TEST_F(outcome, can_be_switched_off_on_the_host)
{
    make_known(frame(1), 1);
    gpon::host::set_remembered_outcomes(false);
    EXPECT_FALSE(is_remembered(frame(1)));
    EXPECT_EQ(send(frame(1)).port, port_of(1));
}

} // namespace

// SPDX-License-Identifier: GPL-2.0-only
// The generation and the outcome table on CPUs that see the writes of others late and in another
// order. This is the code of the module (hash/generation.cpp, hash/outcome_table.cpp,
// pkt/outcome.cpp, pkt/flow.cpp), compiled with simulated accesses. Frames read the state of the
// store of frame.h.
#include <gtest/gtest.h>

#include <cstring>

#include "tests/order/frame.h"
#include "tests/order/memory_model.h"

#include "base/memory.h"
#include "hash/outcome_table.h"
#include "pkt/outcome.h"

namespace {

using order::explore;
using order::path;
using order::PORTS_OF_A_FLOW;

// Flows whose outcomes have the same set; their keys differ in one word.
enum flow : u16 { FLOW = 1, OTHER_DESTINATION, OTHER_SOURCE };

struct addresses {
    u64 first;
    u32 middle;
};

gpon::outcome_key key_with(const addresses& of)
{
    return {of.first, of.middle, u64{UP_ANI} << 32};
}

addresses find_rival(u64 first_step, u32 middle_step)
{
    addresses rival = {};
    do {
        rival.first += first_step;
        rival.middle += middle_step;
    } while (&gpon::outcome_set_of(key_with(rival)) != &gpon::outcome_set_of(key_with({})));
    return rival;
}

const addresses& addresses_of(flow which)
{
    static const addresses all[] = {{}, find_rival(1, 0), find_rival(0, 1)};
    return all[which - FLOW];
}

// The state of the store that a frame reads.
u16 send(flow which, path of_frame = path::replay)
{
    sk_buff skb = {};
    const addresses& of = addresses_of(which);
    std::memcpy(skb.bytes.data(), &of.first, sizeof(of.first));
    std::memcpy(&skb.bytes[sizeof(of.first)], &of.middle, sizeof(of.middle));
    skb.flow = which;
    skb.path = of_frame;
    const i32 failed = of_frame == path::failing_walk ? -1 : 0;
    EXPECT_EQ(gpon_pkt_general_flow_func(&skb, UP_ANI), failed);
    EXPECT_EQ(skb.gemport_id / PORTS_OF_A_FLOW, which) << "the outcome of another flow";
    return skb.gemport_id % PORTS_OF_A_FLOW;
}

void remember(flow which)
{
    gpon::remember_outcome(key_with(addresses_of(which)), gpon::current_generation(),
                           static_cast<u16>(which * PORTS_OF_A_FLOW), {});
}

void begin()
{
    order::store_state = 0;
    for (gpon::outcome_set& set : gpon::outcome_sets)
        set = {};
    gpon::generation_word = gpon::store_word = gpon::FIRST_GENERATION;
}

void change_store_to(u64 state)
{
    const gpon::store_change change;
    gpon::store_relaxed(order::store_state, state);
}

void lose_a_rule()
{
    const gpon::bh_lock lock(gpon_hash_lock);
    gpon::begin_generation();
}

TEST(order, a_cpu_does_not_see_an_older_store_than_before)
{
    const u64 runs = explore({begin,
                              {[] { change_store_to(1); }, [] { send(FLOW); },
                               [] {
                                   const u16 seen = send(FLOW, path::failing_replay);
                                   EXPECT_GE(send(FLOW, path::failing_replay), seen);
                               }}});
    EXPECT_GT(runs, 10000u);
}

TEST(order, a_frame_after_a_walk_does_not_see_an_older_store)
{
    const u64 runs = explore({[] {
                                  begin();
                                  remember(FLOW);
                              },
                              {[] { change_store_to(1); },
                               [] {
                                   const u16 seen = send(OTHER_SOURCE, path::failing_walk);
                                   EXPECT_GE(send(FLOW, path::failing_replay), seen);
                               }}});
    EXPECT_GT(runs, 50u);
}

// The second frame is sent because of the first one, for example its reply.
TEST(order, a_frame_that_another_cpu_caused_does_not_see_an_older_store)
{
    static u64 seen_before;
    for (const path first : {path::replay, path::failing_replay, path::failing_walk}) {
        const u64 runs = explore({[] {
                                      begin();
                                      remember(FLOW);
                                      seen_before = 0;
                                  },
                                  {[] { change_store_to(1); },
                                   [=] {
                                       const u64 seen = send(OTHER_SOURCE, first);
                                       gpon::store_release(seen_before, seen);
                                   },
                                   [] {
                                       const u64 seen = gpon::load_acquire(seen_before);
                                       EXPECT_GE(send(FLOW, path::failing_replay), seen);
                                   }}});
        EXPECT_GT(runs, 100u);
    }
}

TEST(order, the_cpu_that_changed_the_store_sees_the_change)
{
    const u64 runs = explore({begin,
                              {[] {
                                   change_store_to(1);
                                   EXPECT_EQ(send(FLOW), 1);
                               },
                               [] { send(FLOW); }}});
    EXPECT_GT(runs, 100u);
}

// The second flow takes the place of the first one if a rule is lost between the two.
TEST(order, a_place_that_is_filled_for_another_flow_is_not_used)
{
    for (const flow rival : {OTHER_DESTINATION, OTHER_SOURCE})
        for (const flow read : {FLOW, rival}) {
            const u64 runs = explore({begin,
                                      {lose_a_rule,
                                       [=] {
                                           remember(FLOW);
                                           remember(rival);
                                       },
                                       [=] { send(read, path::failing_replay); }}});
            EXPECT_GT(runs, 1000u);
        }
}

} // namespace

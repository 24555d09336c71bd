// SPDX-License-Identifier: GPL-2.0-only
// The generation and the outcome table on CPUs that see the writes of others late and in another
// order. This is the code of the module (hash/generation.cpp, hash/outcome_table.cpp,
// pkt/outcome.cpp), compiled with simulated accesses; around it are a rule that is always found and
// a store of one word, which a replay adds to the GEM port.
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>

#include "tests/order/memory_model.h"

#include "base/memory.h"
#include "base/switches.h"
#include "hash/outcome_table.h"
#include "hash/rule_use.h"
#include "pkt/flow.h"
#include "pkt/frame_events.h"
#include "pkt/outcome.h"
#include "pkt/rule.h"

struct sk_buff {
    std::array<u8, 24> bytes;
    u32 flag_word;
    u16 gemport_id;
    u16 flow;
    bool last_step_fails;
};

u32 gponDebugLevel = 0;
bool gpon_host_remembers_outcomes = true;
unsigned int tracepoints_on = 0;
const unsigned int skb_flag_word_offset = offsetof(sk_buff, flag_word);

namespace {

u64 store_data;

// Flow n has the GEM ports from 100 * n.
constexpr u16 PORTS_OF_A_FLOW = 100;

} // namespace

gpon_frame_bytes skb_frame(const sk_buff* skb)
{
    return {skb->bytes.data(), skb->bytes.size()};
}

// The platform finds a queue for each frame.
int (*gpon_queue_mapping_hook)(sk_buff*) = [](sk_buff*) { return 0; };

void skb_set_gemport_id(sk_buff* skb, unsigned short gemport_id)
{
    skb->gemport_id = gemport_id;
}

i32 gpon::report_missing_queue(const sk_buff*, bool)
{
    std::abort();
}

// The look-up of a rule takes the lock; the replay reads the store without it.
i32 gpon::classify(sk_buff* skb, u16 fwd_flag, u64 generation, const outcome_key* key)
{
    {
        const bh_lock lookup(gpon_hash_lock);
    }
    const u16 port =
        static_cast<u16>(skb->flow * PORTS_OF_A_FLOW + static_cast<u16>(load_relaxed(store_data)));
    remember_replay(key, {}, fwd_flag, generation, !skb->last_step_fails, port);
    return choose_queue(skb, port);
}

gpon::rule_key gpon::rule_key::of(const gpon_pkt_info&, u16)
{
    return {};
}

// No event and no message is on.
void gpon::send_frame_event(gpon_tracepoint, const sk_buff*, u16, gpon_frame_end, u16, bool)
{
    std::abort();
}

extern "C" void gpon_log(u32, const char*, ...)
{
    std::abort();
}

// The uses of rules are not part of the protocol.
gpon_flow_rule* gpon::find_rule(std::span<const u8>)
{
    return nullptr;
}

void gpon::take_place(const outcome&, u16, gpon_flow_rule*) {}
void gpon::add_failed_use(size_t) {}
void count_use(unsigned long) {}
void count_many(gpon_counter, unsigned long) {}

namespace {

using order::explore;

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

enum class replay { succeeds, fails };

// The state of the store that the result of a frame shows.
u16 send(flow which, replay of_frame = replay::succeeds)
{
    sk_buff skb = {};
    const addresses& of = addresses_of(which);
    std::memcpy(skb.bytes.data(), &of.first, sizeof(of.first));
    std::memcpy(&skb.bytes[sizeof(of.first)], &of.middle, sizeof(of.middle));
    skb.flow = which;
    skb.last_step_fails = of_frame == replay::fails;
    EXPECT_EQ(gpon_pkt_general_flow_func(&skb, UP_ANI), 0);
    EXPECT_EQ(skb.gemport_id / PORTS_OF_A_FLOW, which) << "the outcome of another flow";
    return skb.gemport_id % PORTS_OF_A_FLOW;
}

void remember(flow which)
{
    gpon::remember_outcome(key_with(addresses_of(which)), gpon::current_generation(),
                           static_cast<u16>(which * PORTS_OF_A_FLOW));
}

void begin()
{
    store_data = 0;
    for (gpon::outcome_set& set : gpon::outcome_sets)
        set = {};
    gpon::generation_word = gpon::store_word = gpon::FIRST_GENERATION;
}

void change_store_to(u64 state)
{
    const gpon::store_change change;
    gpon::store_relaxed(store_data, state);
}

void lose_a_rule()
{
    const gpon::bh_lock lock(gpon_hash_lock);
    gpon::begin_generation();
}

// A failing replay remembers nothing and does not take the lock for it.
TEST(order, a_cpu_does_not_see_an_older_store_than_before)
{
    const u64 runs = explore({begin,
                              {[] { change_store_to(1); }, [] { send(FLOW); },
                               [] {
                                   const u16 seen = send(FLOW, replay::fails);
                                   EXPECT_GE(send(FLOW, replay::fails), seen);
                               }}});
    EXPECT_GT(runs, 10000u);
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
                                       [=] { send(read, replay::fails); }}});
            EXPECT_GT(runs, 1000u);
        }
}

} // namespace

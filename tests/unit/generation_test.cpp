// SPDX-License-Identifier: GPL-2.0-only
// Every interleaving of packets, a change of the store and a sweep, at the level of the module's
// own steps. Each step is one atomic access or one critical section, so a run of the steps on one
// thread is equivalent to a run on several CPUs in the same order. The store is one number, which
// is the result of a replay, or two words.
//
// Not covered: accesses that become visible in another order than that of the program
// (tests/order).
#include "tests/support/loaded_module.h"
#include "tests/unit/explorer.h"

#include <algorithm>

#include "base/memory.h"
#include "hash/aging.h"
#include "hash/crc32.h"
#include "hash/outcome_table.h"
#include "hash/rule_table.h"

namespace {

void sweep_once()
{
    const gpon::bh_lock lock(gpon_hash_lock);
    gpon_hash_delete_aging_node();
}

class generation : public loaded_module {
protected:
    static constexpr u8 KEY[GPON_RULE_KEY_HEAD] = {1, 0, 0, 0, 0, 0, 0,     0,
                                                   0, 0, 0, 0, 0, 0, UP_ANI};
    static constexpr gpon::outcome_key PACKED = {1, 0, u64{UP_ANI} << 32};
    static constexpr u16 ABSENT = 0xffff;

    // One frame: it uses its remembered outcome, or looks its rule up, replays it and remembers.
    struct frame {
        u64 generation = 0;
        bool known = false, found = false;
        u16 port = ABSENT;
        gpon_rule_trace trace = {};
    };

    generation() { gpon_hash_clean_all_safe(); }

    void begin(u16 number)
    {
        store = number;
        oldest = number;
        change.reset();
        gpon_hash_clean_all_safe();
        learn(1, gpon::ANY_STORE);
    }

    static void learn(u16 number, u64 walked_in)
    {
        const gpon_rule_trace trace = {{{me_class::gemctp, number}}};
        gpon_hash_add_node_safe(KEY, sizeof(KEY), &trace, walked_in);
    }

    // The port contains the numbers of the store and of the rule.
    static u16 port_of(u16 rule, u16 number) { return static_cast<u16>(rule * 100 + number); }

    access_list of_frame(frame& it)
    {
        return {[&] {
                    it = {};
                    it.generation = gpon::current_generation();
                    at_start(it);
                },
                [&] { it.known = find(it.generation, it.port); },
                [&] {
                    if (!it.known)
                        it.found = gpon_hash_get_rule_safe(KEY, sizeof(KEY), &it.trace) == 0;
                },
                [&] {
                    if (it.found)
                        it.port = port_of(it.trace.step[0].instId, store);
                },
                [&] {
                    if (it.found)
                        gpon::remember_outcome(PACKED, it.generation, it.port, KEY);
                    at_end(it);
                }};
    }

    static bool find(u64 generation, u16& port)
    {
        gpon::known_outcome known = {};
        if (!gpon::find_outcome(PACKED, generation, &known))
            return false;
        port = known.gemport_id;
        return true;
    }

    // The number in a result is one that the store had while the frame was in progress.
    void at_start(frame& it) { it.trace.step[1] = {me_class::none, oldest}; }

    void at_end(const frame& it)
    {
        if (!it.known && !it.found)
            return;
        const u16 number = it.port % 100;
        EXPECT_GE(number, it.trace.step[1].instId) << "older than what an earlier frame saw";
        EXPECT_LE(number, store);
        oldest = std::max(oldest, number);
    }

    access_list of_change()
    {
        return {[&] { change.emplace(); }, [&] { ++store; },
                [&] {
                    change.reset();
                    oldest = store;
                }};
    }

    // Nothing that is remembered may differ from what a replay does.
    void expect_exact()
    {
        expect_exact([this](u16 rule) { return port_of(rule, store); });
    }

    template <typename Replay> static void expect_exact(Replay port_by_replay)
    {
        u16 port = 0;
        if (!find(gpon::current_generation(), port))
            return;
        bool used = false;
        gpon_rule_trace trace = {};
        {
            const gpon::bh_lock lock(gpon_hash_lock);
            for (u32 i = 0; i < gpon_hash_table_record.table_size; ++i)
                gpon::for_each_rule(gpon_hash_table_record.buckets[i], [&](gpon_flow_rule* rule) {
                    used = rule->hit == 1;
                    trace = *rule->trace;
                });
        }
        EXPECT_TRUE(used) << "the rule is there and marked";
        EXPECT_EQ(port, port_by_replay(trace.step[0].instId));
    }

    u16 store = 0;
    u16 oldest = 0; // lowest number that a frame that begins now may see
    std::optional<gpon::store_change> change;
};

TEST_F(generation, no_frame_sees_an_old_store_again)
{
    frame first, second;
    access_list two_frames = of_frame(first);
    for (auto& step : of_frame(second))
        two_frames.push_back(step);
    frame third;
    access_list twice = of_change();
    for (auto& step : of_change())
        twice.push_back(step);
    const u64 orders =
        explorer([&] { begin(0); }, {two_frames, of_change()}, [&] { expect_exact(); }).run() +
        explorer([&] { begin(0); }, {of_frame(first), of_frame(third), of_change()},
                 [&] { expect_exact(); })
            .run() +
        explorer([&] { begin(0); }, {two_frames, twice}, [&] { expect_exact(); }).run();
    EXPECT_EQ(orders, 286u + 72072u + 8008u);
}

TEST_F(generation, after_a_sweep_the_rule_of_a_remembered_outcome_is_marked)
{
    frame first, second;
    const access_list sweeps = {sweep_once, sweep_once};
    const u64 orders = explorer([&] { begin(0); }, {of_frame(first), of_frame(second), sweeps},
                                [&] { expect_exact(); })
                           .run();
    EXPECT_EQ(orders, 16632u);
}

TEST_F(generation, what_is_remembered_is_what_the_rule_says_now)
{
    frame first, second;
    const access_list others = {
        [] { learn(2, gpon::ANY_STORE); },
        [] { gpon_hash_delete_node_safe(gpon_hash_calc_key(KEY, sizeof(KEY)), 0); },
        [] { learn(3, gpon::ANY_STORE); }};
    const u64 orders = explorer([&] { begin(0); }, {of_frame(first), of_frame(second), others},
                                [&] { expect_exact(); })
                           .run();
    EXPECT_EQ(orders, 72072u);
}

// A store of two words, which a change writes and a replay reads one after the other. A replay
// beside a change may see one word of each state; what is remembered may not.
class generation_of_two_words : public generation {
protected:
    struct words {
        u16 first = 0, second = 0;
    };

    struct replaying_frame {
        u64 generation = 0;
        bool known = false, found = false;
        u16 port = 0;
        gpon_rule_trace trace = {};
        words seen, at_least;
    };

    static u16 port_of(u16 rule, words of)
    {
        return static_cast<u16>(rule * 100 + of.first * 10 + of.second);
    }

    void begin_with_two_words()
    {
        now = oldest_words = {};
        begin(0);
    }

    void look_up(replaying_frame& it)
    {
        if (!it.known)
            it.found = gpon_hash_get_rule_safe(KEY, sizeof(KEY), &it.trace) == 0;
    }

    void finish(replaying_frame& it)
    {
        if (it.found) {
            it.port = port_of(it.trace.step[0].instId, it.seen);
            gpon::remember_outcome(PACKED, it.generation, it.port, KEY);
        } else if (it.known) {
            it.seen = {static_cast<u16>(it.port / 10 % 10), static_cast<u16>(it.port % 10)};
            EXPECT_EQ(it.seen.first, it.seen.second) << "remembered in the middle of a change";
        } else {
            return;
        }
        EXPECT_GE(it.seen.first, it.at_least.first) << "older than what an earlier frame saw";
        EXPECT_GE(it.seen.second, it.at_least.second) << "older than what an earlier frame saw";
        oldest_words.first = std::max(oldest_words.first, it.seen.first);
        oldest_words.second = std::max(oldest_words.second, it.seen.second);
    }

    access_list of_recorder(replaying_frame& it)
    {
        return {[&] {
                    it = {};
                    it.at_least = oldest_words;
                    it.generation = gpon::current_generation();
                },
                [&] { it.known = find(it.generation, it.port); },
                [&] { look_up(it); },
                [&] { it.seen.first = now.first; },
                [&] { it.seen.second = now.second; },
                [&] { finish(it); }};
    }

    // A frame for which only the moment of its first step and that of its others differ.
    access_list of_reader(replaying_frame& it)
    {
        return {[&] {
                    it = {};
                    it.at_least = oldest_words;
                    it.generation = gpon::current_generation();
                },
                [&] {
                    it.known = find(it.generation, it.port);
                    look_up(it);
                    it.seen = now;
                    finish(it);
                }};
    }

    access_list of_two_writes()
    {
        return {[&] { change.emplace(); }, [&] { ++now.first; }, [&] { ++now.second; },
                [&] {
                    change.reset();
                    oldest_words = now;
                }};
    }

    // In every order with that step of another context.
    u64 orders_with(const std::function<void()>& event)
    {
        replaying_frame recorder, reader;
        return explorer([&] { begin_with_two_words(); },
                        {of_recorder(recorder), of_two_writes(), of_reader(reader), {event}},
                        [&] { expect_exact([this](u16 rule) { return port_of(rule, now); }); })
            .run();
    }

    // 13 steps: six, four, two and one.
    static constexpr u64 ORDERS = 180180;

    words now, oldest_words;
};

TEST_F(generation_of_two_words, a_sweep_beside_a_change_and_two_frames_reuses_no_old_outcome)
{
    EXPECT_EQ(orders_with(sweep_once), ORDERS);
}

TEST_F(generation_of_two_words, a_flush_beside_a_change_and_two_frames_reuses_no_old_outcome)
{
    EXPECT_EQ(orders_with([] { gpon_hash_clean_all_safe(); }), ORDERS);
}

TEST_F(generation_of_two_words, an_overwrite_beside_a_change_and_two_frames_reuses_no_old_outcome)
{
    EXPECT_EQ(orders_with([] { learn(2, gpon::ANY_STORE); }), ORDERS);
}

// The next rule of any table that is not empty makes it grow.
void grow_once()
{
    const gpon::bh_lock lock(gpon_hash_lock);
    gpon_hash_table_record.threshold = gpon_hash_table_record.total_num;
    EXPECT_EQ(gpon_hash_expand_table(), 0);
    EXPECT_EQ(gpon_hash_table_record.table_size, 2u * GPON_HASH_MIN_SIZE);
}

// Without the reader: each run makes two tables, and the sanitizers slow that down.
TEST_F(generation_of_two_words, a_growth_beside_a_change_and_a_frame_reuses_no_old_outcome)
{
    replaying_frame recorder;
    const auto begin_in_the_smallest_table = [this] {
        {
            const gpon::bh_lock lock(gpon_hash_lock);
            gpon_hash_destroy_table(&gpon_hash_table_record);
            EXPECT_EQ(gpon_hash_inflate_table(GPON_HASH_MIN_SIZE), 0);
        }
        begin_with_two_words();
    };
    const u64 orders =
        explorer(begin_in_the_smallest_table, {of_recorder(recorder), of_two_writes(), {grow_once}},
                 [&] { expect_exact([this](u16 rule) { return port_of(rule, now); }); })
            .run();
    EXPECT_EQ(orders, 2310u);
}

TEST_F(generation, an_outcome_is_checked_again_under_the_lock)
{
    learn(1, gpon::ANY_STORE);
    gpon::host::call_before_next_lock([] { const gpon::store_change command; });
    gpon::remember_outcome(PACKED, gpon::current_generation(), 5, KEY);
    const gpon::outcome_set& set = gpon::outcome_set_of(PACKED);
    for (const gpon::outcome& place : set.place)
        EXPECT_NE(place.key[2] >> gpon::GEM_PORT_SHIFT, 5u) << "of a generation that was over";
    gpon::host::call_before_next_lock(
        [] { gpon::remember_outcome(PACKED, gpon::current_generation(), 6, KEY); });
    gpon::remember_outcome(PACKED, gpon::current_generation(), 6, KEY);
    EXPECT_EQ(std::ranges::count_if(set.place,
                                    [](const gpon::outcome& place) {
                                        return place.generation == gpon::current_generation();
                                    }),
              1)
        << "once, though another CPU remembered the same flow meanwhile";
}

TEST_F(generation, no_rule_outlives_the_store_it_was_walked_in)
{
    u64 stores[2] = {};
    u16 walked[2] = {};
    const auto of_walk = [&](int i) -> access_list {
        return {[&, i] { stores[i] = gpon::current_store(); }, [&, i] { walked[i] = store; },
                [&, i] { learn(walked[i], stores[i]); }};
    };
    const access_list command = {[&] { change.emplace(); }, [] { gpon_hash_clean_all_safe(); },
                                 [&] { ++store; }, [&] { change.reset(); }};
    const u64 orders = explorer([&] { begin(7); }, {of_walk(0), of_walk(1), command},
                                [&] {
                                    gpon_rule_trace trace = {};
                                    if (gpon_hash_get_rule_safe(KEY, sizeof(KEY), &trace) == 0) {
                                        EXPECT_EQ(trace.step[0].instId, store);
                                    }
                                })
                           .run();
    EXPECT_EQ(orders, 4200u);
}

} // namespace

// SPDX-License-Identifier: GPL-2.0-only
// Every interleaving of packets, a change of the store and a sweep, at the level of the module's
// own steps. Each step is one atomic access or one critical section, so a run of the steps on one
// thread is equivalent to a run on several CPUs in the same order. The store is one number, which
// is the result of a replay.
#include "tests/support/loaded_module.h"

#include <algorithm>
#include <functional>

#include "base/memory.h"
#include "hash/aging.h"
#include "hash/crc32.h"
#include "hash/outcome_table.h"
#include "hash/rule_table.h"

namespace {

// What one context does, step by step.
using access_list = std::vector<std::function<void()>>;

// Runs the steps of all contexts in every order that keeps each context's own.
class explorer {
public:
    explorer(std::function<void()> begin, std::vector<access_list> contexts,
             std::function<void()> end)
        : begin_(std::move(begin)), contexts_(std::move(contexts)), end_(std::move(end))
    {
        for (const access_list& each : contexts_)
            length_ += each.size();
    }

    /// Returns the number of interleavings.
    u64 run()
    {
        std::vector<size_t> order;
        std::vector<size_t> done(contexts_.size(), 0);
        extend(order, done);
        return orders_;
    }

private:
    void extend(std::vector<size_t>& order, std::vector<size_t>& done)
    {
        if (testing::Test::HasFailure())
            return;
        if (order.size() == length_)
            return replay(order);
        for (size_t i = 0; i < contexts_.size(); ++i) {
            if (done[i] == contexts_[i].size())
                continue;
            ++done[i];
            order.push_back(i);
            extend(order, done);
            order.pop_back();
            --done[i];
        }
    }

    void replay(const std::vector<size_t>& order)
    {
        ++orders_;
        begin_();
        std::vector<size_t> next(contexts_.size(), 0);
        for (const size_t context : order)
            contexts_[context][next[context]++]();
        end_();
        if (testing::Test::HasFailure()) {
            std::string text;
            for (const size_t context : order)
                text += static_cast<char>('A' + context);
            ADD_FAILURE() << "in the order " << text;
        }
    }

    std::function<void()> begin_;
    std::vector<access_list> contexts_;
    std::function<void()> end_;
    size_t length_ = 0;
    u64 orders_ = 0;
};

class generation : public loaded_module {
protected:
    static constexpr u8 KEY[GPON_RULE_KEY_HEAD] = {1};
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
        const gpon_rule_trace trace = {{{268, number}}};
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
                        gpon::remember_outcome(PACKED, it.generation, it.port);
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
    void at_start(frame& it) { it.trace.step[1] = {0, oldest}; }

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
        EXPECT_EQ(port, port_of(trace.step[0].instId, store));
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
    const access_list sweeps = {[] {
                                    const gpon::bh_lock lock(gpon_hash_lock);
                                    gpon_hash_delete_aging_node();
                                },
                                [] {
                                    const gpon::bh_lock lock(gpon_hash_lock);
                                    gpon_hash_delete_aging_node();
                                }};
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

TEST_F(generation, an_outcome_is_checked_again_under_the_lock)
{
    gpon::host::call_before_next_lock([] { const gpon::store_change command; });
    gpon::remember_outcome(PACKED, gpon::current_generation(), 5);
    const gpon::outcome_set& set = gpon::outcome_set_of(PACKED);
    for (const gpon::outcome& place : set.place)
        EXPECT_NE(place.key[2] >> gpon::GEM_PORT_SHIFT, 5u) << "of a generation that was over";
    gpon::host::call_before_next_lock(
        [] { gpon::remember_outcome(PACKED, gpon::current_generation(), 6); });
    gpon::remember_outcome(PACKED, gpon::current_generation(), 6);
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

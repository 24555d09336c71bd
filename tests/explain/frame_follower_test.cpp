// SPDX-License-Identifier: GPL-2.0-only
// Frames that are printed while their events come.
#include <algorithm>
#include <functional>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>

#include "include/packet_flow.h"
#include "tool/explain/frame_follower.h"
#include "tool/scenario/backend.h"

namespace gponflow {

namespace follower {

inline gpon_trace_record record_of(gpon_tracepoint point, size_t frame)
{
    gpon_trace_record record{};
    record.point = point;
    record.frame.packet = reinterpret_cast<const void*>(frame + 1);
    record.frame.direction = UP_UNI;
    return record;
}

// The events of a look, of one CPU.
class scripted_source : public event_source {
public:
    void read(const sink& take) override
    {
        for (const gpon_trace_record& record : std::exchange(coming, {}))
            if (!take({record, 0, false}))
                return;
    }
    uint64_t dropped() const override { return drops; }

    std::vector<gpon_trace_record> coming;
    uint64_t drops = 0;
};

// Frames as fast as they are read.
class endless_source final : public event_source {
public:
    void read(const sink& take) override
    {
        for (bool wanted = true; wanted;) {
            const size_t frame = events_++ / 2;
            const auto point = events_ % 2 ? GPON_TRACEPOINT_WALK_START : GPON_TRACEPOINT_WALK_END;
            wanted = take({record_of(point, frame), 0, false, events_});
        }
    }
    uint64_t dropped() const override { return 0; }

    size_t events() const { return events_; }

private:
    size_t events_ = 0;
};

// A module without entities, whose commands a test counts.
class commanded_module final : public module_reader {
public:
    explicit commanded_module(std::shared_ptr<uint64_t> store) : store_(std::move(store)) {}

    std::vector<counter_value> counters() override { return {}; }
    engine_state state() override
    {
        if (*store_ == gone)
            throw refusal("the module is not loaded");
        engine_state now;
        now.store = *store_;
        return now;
    }
    std::vector<seen_rule> rules() override { return {}; }
    std::vector<dumped_instance> instances() override
    {
        if (while_read)
            std::exchange(while_read, {})();
        return {};
    }

    static constexpr uint64_t gone = UINT64_MAX;
    std::function<void()> while_read;

private:
    std::shared_ptr<uint64_t> store_;
};

} // namespace follower

namespace {

using namespace follower;

bool never()
{
    return false;
}

class follow_frames : public testing::Test {
protected:
    frame_follower follow(event_source& events)
    {
        auto reader = std::make_unique<commanded_module>(store);
        module = reader.get();
        return {limits, events, std::move(reader), out, colours};
    }

    bool has(const std::string& text) const { return out.str().find(text) != std::string::npos; }

    size_t lines() const
    {
        const std::string text = out.str();
        return static_cast<size_t>(std::ranges::count(text, '\n'));
    }

    trace_limits limits{.json = true};
    palette colours{};
    std::ostringstream out;
    std::shared_ptr<uint64_t> store = std::make_shared<uint64_t>(1);
    commanded_module* module = nullptr;
    scripted_source source;
};

TEST_F(follow_frames, prints_during_a_flood_up_to_the_limit)
{
    limits.frames = 3;
    endless_source flood;
    frame_follower frames = follow(flood);
    EXPECT_TRUE(frames.look(never));
    EXPECT_EQ(lines(), 3u);
    EXPECT_EQ(flood.events(), frame_follower::most_events);
}

TEST_F(follow_frames, ends_a_flood_on_request)
{
    endless_source flood;
    frame_follower frames = follow(flood);
    int asked = 0;
    const bool ended = frames.look([&] {
        EXPECT_GT(lines(), 0u);
        return ++asked == 3;
    });
    EXPECT_TRUE(ended);
    EXPECT_EQ(flood.events(), 3 * frame_follower::most_events);
    frames.finish();
    EXPECT_EQ(lines(), flood.events() / 2);
}

// As a hook call that is traced discards the events before it.
TEST(event_source, is_read_up_to_a_time_during_a_flood)
{
    endless_source flood;
    size_t taken = 0;
    flood.read_until(100, [&](const event_source::event& one) {
        EXPECT_LE(one.nanoseconds, 100u);
        ++taken;
        return true;
    });
    EXPECT_EQ(taken, 100u);
    EXPECT_EQ(flood.events(), 101u);
    flood.read_until(1000, [&](const event_source::event&) { return false; });
    EXPECT_EQ(flood.events(), 102u);
}

TEST_F(follow_frames, keeps_the_number_of_lost_events_at_an_unload)
{
    frame_follower frames = follow(source);
    source.drops = 7;
    EXPECT_FALSE(frames.look(never));
    source.drops = 0;
    *store = commanded_module::gone;
    source.coming = {record_of(GPON_TRACEPOINT_WALK_START, 1),
                     record_of(GPON_TRACEPOINT_WALK_END, 1)};
    EXPECT_FALSE(frames.look(never));
    frames.finish();
    EXPECT_EQ(frames.lost(), 7u);
    EXPECT_TRUE(has("\"lost_events\":7")) << out.str();
}

TEST_F(follow_frames, notes_a_change_while_a_frame_is_open)
{
    frame_follower frames = follow(source);
    source.coming = {record_of(GPON_TRACEPOINT_WALK_START, 1)};
    EXPECT_FALSE(frames.look(never));
    ++*store;
    for (int looks = 0; looks < 5; ++looks)
        EXPECT_FALSE(frames.look(never));
    source.coming = {record_of(GPON_TRACEPOINT_WALK_END, 1)};
    EXPECT_FALSE(frames.look(never));
    EXPECT_FALSE(frames.look(never));
    ASSERT_EQ(lines(), 1u);
    EXPECT_TRUE(has("\"entities_changed\":true")) << out.str();
}

// The events of the next look may be older than the change that this look has found.
TEST_F(follow_frames, notes_a_change_before_the_events_are_read)
{
    frame_follower frames = follow(source);
    const std::vector<gpon_trace_record> frame = {record_of(GPON_TRACEPOINT_WALK_START, 1),
                                                  record_of(GPON_TRACEPOINT_WALK_END, 1)};
    ++*store;
    EXPECT_FALSE(frames.look(never));
    source.coming = frame;
    EXPECT_FALSE(frames.look(never));
    source.coming = frame;
    EXPECT_FALSE(frames.look(never));
    frames.finish();
    ASSERT_EQ(lines(), 2u);
    EXPECT_TRUE(has("\"entities_changed\":true")) << out.str();
    EXPECT_EQ(out.str().find("entities_changed"), out.str().rfind("entities_changed"));
}

TEST_F(follow_frames, notes_a_change_while_the_entities_are_read)
{
    frame_follower frames = follow(source);
    EXPECT_FALSE(frames.look(never));
    ++*store;
    module->while_read = [this] { ++*store; };
    source.coming = {record_of(GPON_TRACEPOINT_WALK_START, 1),
                     record_of(GPON_TRACEPOINT_WALK_END, 1)};
    EXPECT_FALSE(frames.look(never));
    frames.finish();
    EXPECT_TRUE(has("\"entities_changed\":true")) << out.str();
    // The last reading was of entities that did not change meanwhile.
    EXPECT_FALSE(frames.look(never));
    out.str("");
    source.coming = {record_of(GPON_TRACEPOINT_WALK_START, 2),
                     record_of(GPON_TRACEPOINT_WALK_END, 2)};
    EXPECT_FALSE(frames.look(never));
    frames.finish();
    EXPECT_EQ(lines(), 1u);
    EXPECT_FALSE(has("entities_changed")) << out.str();
}

} // namespace

} // namespace gponflow

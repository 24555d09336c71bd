// SPDX-License-Identifier: GPL-2.0-only
// Frames of a trace: events are sorted by frame and converted to walks.
#include <algorithm>
#include <functional>
#include <span>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tool/explain/decision_texts.h"
#include "tool/explain/event_reader.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/trace_scenario.h"
#include "tool/live/event_frames.h"
#include "tool/live/watch.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {
namespace {

// The frame between the first and last lines, its VLAN passing or not.
const std::string passing = "hook kind=up_ani " + frame_of_vlan_100 + "\n";
const std::string dropped = "hook kind=up_ani " + frame_of_vlan_101 + "\n";
const std::string entering = "hook kind=up_uni port=1 " + frame_of_vlan_100 + "\n";

// The frames behind a line, as a platform with several CPUs reports them: the frame with this
// number is handled by this CPU.
std::vector<std::vector<gpon_trace_record>> calls_of(const std::string& text)
{
    struct recorder final : captured_run {
        using captured_run::captured_run;
        void on_frame(const packet_options& options, const captured_frame& frame) override
        {
            calls.push_back(traced_hook(options, frame.data).events);
            for (gpon_trace_record& event : calls.back())
                if (event.frame.packet)
                    event.frame.packet = reinterpret_cast<const void*>(calls.size());
        }
        std::vector<std::vector<gpon_trace_record>> calls;
    };
    const auto host = make_host_backend();
    recorder run(*host);
    std::ostringstream diagnostics;
    EXPECT_EQ(run.run(parse_good(text), diagnostics), status_ok) << diagnostics.str();
    return run.calls;
}

const line_model& good_entities()
{
    static const line_model entities = final_entities(parse_good(good_line));
    return entities;
}

// One letter for each frame: dropped, replayed or walked; a capital if events are missing.
class letters {
public:
    void operator()(const frame_events& frame)
    {
        const walk_record walk = read_events(frame.events, good_entities());
        const char letter = walk.dropped ? 'd' : walk.replayed ? 'r' : 'w';
        text += frame.lost || walk.incomplete ? static_cast<char>(letter - 'a' + 'A') : letter;
    }

    std::string text;
};

TEST(frames_of_events, of_one_cpu_follow_each_other)
{
    letters seen;
    event_frames frames(std::ref(seen));
    for (const auto& call : calls_of(good_line + entering + dropped + passing + passing + entering +
                                     dropped + dropped))
        for (const gpon_trace_record& event : call)
            frames.event(event, 0, false);
    EXPECT_EQ(seen.text, "wdwrrd");
    frames.flush();
    EXPECT_EQ(seen.text, "wdwrrd");
    frames.flush();
    EXPECT_EQ(seen.text, "wdwrrdd");
    frames.finish();
    EXPECT_EQ(seen.text, "wdwrrdd");
}

TEST(frames_of_events, with_the_same_packet_are_distinguished)
{
    letters seen;
    event_frames frames(std::ref(seen));
    for (auto& call : calls_of(good_line + passing + passing + dropped + dropped))
        for (gpon_trace_record& event : call) {
            if (event.frame.packet)
                event.frame.packet = &seen;
            frames.event(event, 0, false);
        }
    frames.finish();
    EXPECT_EQ(seen.text, "wrdd");
}

TEST(frames_of_events, of_two_cpus_are_separated)
{
    const auto calls = calls_of(good_line + passing + dropped);
    ASSERT_EQ(calls.size(), 2u);
    letters seen;
    event_frames frames(std::ref(seen));
    for (size_t i = 0; i < std::max(calls[0].size(), calls[1].size()); ++i)
        for (int cpu = 0; cpu < 2; ++cpu)
            if (const auto& call = calls[static_cast<size_t>(cpu)]; i < call.size())
                frames.event(call[i], cpu, false);
    frames.finish();
    std::ranges::sort(seen.text);
    EXPECT_EQ(seen.text, "dw");
}

TEST(frames_of_events, without_their_beginning_or_end_are_incomplete)
{
    const auto calls = calls_of(good_line + passing + passing);
    ASSERT_EQ(calls.size(), 2u);
    for (const auto& call : calls) {
        letters seen;
        event_frames frames(std::ref(seen));
        for (size_t i = 0; i < call.size() / 2; ++i)
            frames.event(call[i], 0, false);
        frames.finish();
        for (size_t i = call.size() / 2; i < call.size(); ++i)
            frames.event(call[i], 0, i == call.size() / 2);
        frames.finish();
        EXPECT_TRUE(seen.text == "WW" || seen.text == "RR") << seen.text;
    }
}

TEST(frames_of_events, know_what_was_learnt)
{
    std::vector<walk_record> walks;
    event_frames frames([&](const frame_events& one) {
        walks.push_back(read_events(one.events, good_entities()));
    });
    for (const auto& call : calls_of(good_line + passing + passing))
        for (const gpon_trace_record& event : call)
            frames.event(event, 0, false);
    frames.finish();
    ASSERT_EQ(walks.size(), 2u);
    EXPECT_TRUE(walks[0].learnt);
    EXPECT_FALSE(walks[1].learnt);
}

TEST(marked_frames, show_the_reason_of_a_drop)
{
    const auto calls = calls_of(good_line + dropped);
    ASSERT_EQ(calls.size(), 1u);
    std::ostringstream out;
    print_marked_frame(read_events(calls[0], good_entities()), good_entities(), out);
    EXPECT_NE(out.str().find("upstream, from the bridge to the ANI\n"), std::string::npos);
    EXPECT_NE(out.str().find("x a port on the UNI side"), std::string::npos) << out.str();
    EXPECT_NE(out.str().find("x its VLAN filter drops the frame"), std::string::npos);
    EXPECT_EQ(out.str().find("missing"), std::string::npos) << out.str();
}

TEST(marked_frames, without_some_events_say_so)
{
    const auto calls = calls_of(good_line + dropped);
    ASSERT_EQ(calls.size(), 1u);
    std::ostringstream out;
    print_marked_frame(read_events(std::span(calls[0]).subspan(1), good_entities()),
                       good_entities(), out);
    EXPECT_NE(out.str().find("Events of this frame are missing"), std::string::npos) << out.str();
}

TEST(walk_of_events, deeper_than_the_limit_names_the_step)
{
    std::vector<gpon_trace_record> events(4);
    events[0].point = GPON_TRACEPOINT_WALK_START;
    events[1].point = events[2].point = GPON_TRACEPOINT_WALK_STEP;
    events[1].step = {me_class::mbsp, 1, 9, GPON_DECISION_NONE, GPON_STEP_CONTINUES};
    events[2].step = {me_class::mbpcd, 0x1001, 10, GPON_DECISION_NONE, GPON_STEP_TOO_DEEP};
    events[3].point = GPON_TRACEPOINT_WALK_END;
    events[3].end = GPON_END_TOO_DEEP;
    const walk_record walk = read_events(events, good_entities());
    ASSERT_EQ(walk.steps.size(), 2u);
    EXPECT_TRUE(walk.dropped);
    EXPECT_FALSE(walk.incomplete);
    EXPECT_EQ(walk.steps[0].dead_end, "");
    EXPECT_EQ(walk.steps[1].at, (me_id{me_class::mbpcd, 0x1001}));
    EXPECT_EQ(walk.steps[1].dead_end, "the graph is deeper than the limit of a walk");
}

TEST(walk_of_events, without_a_queue_fails_behind_the_egress)
{
    const auto calls = calls_of(good_line + "platform queue=-1\n" + passing);
    ASSERT_EQ(calls.size(), 1u);
    const walk_record walk = read_events(calls[0], good_entities());
    EXPECT_TRUE(walk.dropped);
    EXPECT_TRUE(walk.learnt);
    EXPECT_TRUE(walk.steps.back().passed);
    EXPECT_EQ(walk.later_failure, no_queue);
}

TEST(walk_of_events, needs_no_module_in_this_process)
{
    const auto calls = calls_of(
        "load\nhook kind=switch param=1\nme create MAC_BRIDGE_SERVICE_PROFILE 1\n" + dropped);
    ASSERT_EQ(calls.size(), 1u);
    const walk_record walk = read_events(calls[0], good_entities());
    ASSERT_EQ(walk.steps.size(), 1u);
    EXPECT_EQ(walk.steps[0].dead_end, "no MAC_BRIDGE_PORT_CON_DATA");
}

std::string traced(const std::string& text, const std::string& filter, uint64_t most = 0)
{
    std::ostringstream out;
    EXPECT_EQ(trace_scenario(parse_good(text), *make_host_backend(), read_trace_filter(filter),
                             most, out, out, {}),
              status_ok);
    return out.str();
}

TEST(trace_of_a_scenario, shows_the_frames_that_match)
{
    const std::string text = good_line + passing + dropped + passing;
    EXPECT_NE(traced(text, "outer_vlan=101").find("1 of 3 frames match"), std::string::npos);
    EXPECT_NE(traced(text, "src_mac=02:00:00:00:01:01").find("frame 3, upstream"),
              std::string::npos);
    EXPECT_NE(traced(text, "outer_vlan=100p1").find("0 of 3 frames match"), std::string::npos);
    EXPECT_EQ(traced(text, "outer_vlan=100", 1).find("frame 3"), std::string::npos);
}

TEST(replay, is_explained_by_the_instances_of_its_rule)
{
    const std::string printed = traced(good_line + passing + passing, "outer_vlan=100");
    const std::string replay = printed.substr(printed.find("frame 2"));
    EXPECT_NE(replay.find("MAC_BRIDGE_SERVICE_PROFILE 0x0001"), std::string::npos) << replay;
    EXPECT_NE(replay.find("GEM_PORT_CTP 0x0001  portID=1025"), std::string::npos) << replay;
    EXPECT_NE(replay.find("its rule was replayed"), std::string::npos) << replay;
}

TEST(trace_filter, errors_name_the_fault)
{
    for (const char* text : {"", "vlan=1", "src_mac=02:00", "outer_vlan=65536", "outer_vlan=1p8",
                             "outer_vlan=4096p0", "outer_vlan=", "src_mac", "\"outer_vlan=1"})
        EXPECT_THROW(std::ignore = read_trace_filter(text), std::runtime_error) << text;
    EXPECT_EQ(read_trace_filter("outer_vlan=100p5").outer, 0xa064);
}

TEST(watch_of_a_scenario, counts_replays_and_age)
{
    exit_status status = status_ok;
    std::ostringstream diagnostics;
    const auto lines =
        watch_scenario(parse_good(good_line + passing + passing + passing + "advance 50\n"),
                       *make_host_backend(), diagnostics, status);
    ASSERT_TRUE(lines) << diagnostics.str();
    ASSERT_EQ(lines->size(), 3u);
    EXPECT_TRUE(lines->at(1).starts_with("50             2 ")) << lines->at(1);
    EXPECT_EQ(lines->at(2), "1 rule");
}

TEST(dscp, of_a_frame_equals_the_one_the_module_reads)
{
    // Types are compared as the processor stores them.
    EXPECT_EQ(dscp_of({2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 1, 1, 0x00, 0x08, 0x45, 0xb8}), 46);
    EXPECT_EQ(dscp_of({2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 1, 1, 0x08, 0x00, 0x45, 0xb8}), -1);
    EXPECT_EQ(dscp_of({}), -1);
}

} // namespace
} // namespace gponflow

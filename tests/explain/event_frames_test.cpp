// SPDX-License-Identifier: GPL-2.0-only
// Events of a trace are sorted by frame.
#include <algorithm>
#include <functional>
#include <span>
#include <sstream>

#include <gtest/gtest.h>

#include "include/packet_flow.h"
#include "platform/host/host.h"
#include "tests/explain/traced_frames.h"
#include "tool/explain/event_reader.h"
#include "tool/explain/explain_output.h"
#include "tool/live/event_frames.h"

namespace gponflow {
namespace {

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

TEST(frames_of_events, follow_each_other_on_one_cpu)
{
    letters seen;
    event_frames frames(std::ref(seen));
    for (const auto& call :
         calls_of(good_line + entering_frame + dropped_frame + passing_frame + passing_frame +
                  entering_frame + dropped_frame + dropped_frame))
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

TEST(frames_of_events, are_distinguished_even_with_the_same_packet)
{
    letters seen;
    event_frames frames(std::ref(seen));
    for (auto& call :
         calls_of(good_line + passing_frame + passing_frame + dropped_frame + dropped_frame))
        for (gpon_trace_record& event : call) {
            if (event.frame.packet)
                event.frame.packet = &seen;
            frames.event(event, 0, false);
        }
    frames.finish();
    EXPECT_EQ(seen.text, "wrdd");
}

TEST(frames_of_events, are_separated_by_cpu)
{
    const auto calls = calls_of(good_line + passing_frame + dropped_frame);
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

// The log of a step may keep a CPU busy for longer than the time between two looks.
TEST(frames_of_events, are_one_frame_despite_pauses_between_them)
{
    const auto calls = calls_of(good_line + dropped_frame);
    ASSERT_EQ(calls.size(), 1u);
    letters seen;
    event_frames frames(std::ref(seen));
    for (const gpon_trace_record& event : calls[0]) {
        EXPECT_EQ(seen.text, "");
        for (int looks = 0; looks < 5 && event.point != GPON_TRACEPOINT_DROP; ++looks)
            frames.flush();
        frames.event(event, 0, false);
    }
    frames.finish();
    EXPECT_EQ(seen.text, "d");
}

// The log between the end of the path and the drop may be slow, too.
TEST(frames_of_events, are_one_frame_despite_a_pause_before_the_drop_for_lack_of_a_queue)
{
    const auto calls = calls_of(good_line + "platform queue=-1\n" + passing_frame + passing_frame);
    ASSERT_EQ(calls.size(), 2u);
    for (const auto& call : calls) {
        ASSERT_EQ(call.back().end, GPON_END_NO_QUEUE);
        letters seen;
        event_frames frames(std::ref(seen));
        for (const gpon_trace_record& event : call) {
            for (unsigned looks = 0; looks < event_frames::queue_quiet_reads; ++looks)
                frames.flush();
            frames.event(event, 0, false);
        }
        frames.finish();
        EXPECT_EQ(seen.text, "d");
    }
}

// The kernel uses the address of a packet again while a frame with a lost end is open.
TEST(frames_of_events, are_not_joined_with_those_of_another_path)
{
    const auto calls =
        calls_of(good_line + passing_frame + passing_frame + "platform mapping=-1\n" +
                 "hook kind=switch param=0\n" + passing_frame);
    ASSERT_EQ(calls.size(), 3u);
    const gpon_trace_record walk_start = calls[0].front();
    const gpon_trace_record hit = calls[1].back();
    const gpon_trace_record no_mapping = calls[2].back();
    ASSERT_EQ(walk_start.point, GPON_TRACEPOINT_WALK_START);
    ASSERT_EQ(hit.point, GPON_TRACEPOINT_RULE_HIT);
    ASSERT_EQ(no_mapping.end, GPON_END_NO_MAPPING);
    gpon_trace_record downstream = calls[0].back();
    for (const gpon_trace_record& event : calls[0])
        if (event.point == GPON_TRACEPOINT_WALK_END)
            downstream = event;
    downstream.frame.direction = DOWN_ANI;
    for (gpon_trace_record next : {hit, no_mapping, downstream}) {
        next.frame.packet = walk_start.frame.packet;
        std::vector<size_t> sizes;
        event_frames frames([&](const frame_events& one) { sizes.push_back(one.events.size()); });
        frames.event(walk_start, 0, false);
        frames.event(next, 1, false);
        frames.finish();
        EXPECT_EQ(sizes, (std::vector<size_t>{1, 1})) << next.point;
    }
}

TEST(frames_of_events, end_when_their_cpu_begins_another_path_if_their_end_is_lost)
{
    const auto calls = calls_of(good_line + passing_frame + dropped_frame);
    ASSERT_EQ(calls.size(), 2u);
    letters seen;
    event_frames frames(std::ref(seen));
    frames.event(calls[0][0], 0, false);
    frames.event(calls[0][1], 0, false);
    frames.event(calls[1][0], 0, true);
    EXPECT_EQ(seen.text, "W");
    frames.event(calls[1][1], 0, false);
    EXPECT_EQ(seen.text, "W");
}

TEST(frames_of_events, are_passed_on_in_the_end_if_their_end_is_lost)
{
    const auto calls = calls_of(good_line + passing_frame);
    ASSERT_EQ(calls.size(), 1u);
    letters seen;
    event_frames frames(std::ref(seen));
    frames.event(calls[0].front(), 0, false);
    for (unsigned looks = 0; looks < event_frames::most_quiet_reads; ++looks)
        frames.flush();
    EXPECT_EQ(seen.text, "");
    frames.flush();
    EXPECT_EQ(seen.text, "W");
}

// The platform makes several hook calls with one packet.
TEST(frames_of_events, a_drop_of_the_next_call_is_another_frame)
{
    const auto calls =
        calls_of(good_line + "me create PPTP_ETHERNET_UNI 0x0101\n" + entering_frame +
                 "platform mapping=-1\nhook kind=switch param=0\n" + passing_frame);
    ASSERT_EQ(calls.size(), 2u);
    ASSERT_EQ(calls[1].size(), 1u);
    for (const unsigned short direction : {UP_ANI, UP_UNI}) {
        letters seen;
        event_frames frames(std::ref(seen));
        for (auto call : calls)
            for (gpon_trace_record& event : call) {
                event.frame.packet = event.frame.packet ? &seen : nullptr;
                event.frame.direction =
                    event.end == GPON_END_NO_MAPPING ? direction : event.frame.direction;
                frames.event(event, 0, false);
            }
        frames.finish();
        EXPECT_EQ(seen.text, "wd");
    }
}

// Without a gap the events were enabled while the frame was in progress.
TEST(frames_of_events, are_incomplete_without_their_beginning_or_end)
{
    const auto calls = calls_of(good_line + passing_frame + passing_frame);
    ASSERT_EQ(calls.size(), 2u);
    for (const auto& call : calls)
        for (const size_t split : {size_t{1}, call.size() / 2})
            for (const bool gap : {true, false}) {
                letters seen;
                event_frames frames(std::ref(seen));
                for (size_t i = 0; i < split; ++i)
                    frames.event(call[i], 0, false);
                frames.finish();
                for (size_t i = split; i < call.size(); ++i)
                    frames.event(call[i], 0, gap && i == split);
                frames.finish();
                EXPECT_EQ(seen.text, &call == &calls[0] ? "WW" : "RR") << split << ' ' << gap;
            }
}

TEST(frames_of_events, know_what_was_learnt)
{
    std::vector<walk_record> walks;
    event_frames frames([&](const frame_events& one) {
        walks.push_back(read_events(one.events, good_entities()));
    });
    for (const auto& call : calls_of(good_line + passing_frame + passing_frame))
        for (const gpon_trace_record& event : call)
            frames.event(event, 0, false);
    frames.finish();
    ASSERT_EQ(walks.size(), 2u);
    EXPECT_TRUE(walks[0].learnt);
    EXPECT_FALSE(walks[1].learnt);
}

TEST(marked_frames, show_the_reason_of_a_drop)
{
    const auto calls = calls_of(good_line + dropped_frame);
    ASSERT_EQ(calls.size(), 1u);
    std::ostringstream out;
    print_marked_frame(read_events(calls[0], good_entities()), good_entities(), out);
    EXPECT_NE(out.str().find("upstream, from the bridge to the ANI\n"), std::string::npos);
    EXPECT_NE(out.str().find("x a port on the UNI side"), std::string::npos) << out.str();
    EXPECT_NE(out.str().find("x its VLAN filter drops the frame"), std::string::npos);
    EXPECT_EQ(out.str().find("missing"), std::string::npos) << out.str();
}

TEST(marked_frames, say_that_events_are_missing)
{
    const auto calls = calls_of(good_line + dropped_frame);
    ASSERT_EQ(calls.size(), 1u);
    std::ostringstream out;
    print_marked_frame(read_events(std::span(calls[0]).subspan(1), good_entities()),
                       good_entities(), out);
    EXPECT_NE(out.str().find("Events of this frame are missing"), std::string::npos) << out.str();
}

TEST(marked_frames, are_dropped_if_they_fail_without_a_walk)
{
    const auto calls = calls_of(good_line + "platform mapping=-1\nhook kind=switch param=0\n" +
                                passing_frame + "hook kind=7 " + frame_of_vlan_100 + "\n");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(marked(calls[0]), "upstream, from the bridge to the ANI\n"
                                "dropped\n"
                                "  the engine is disabled, and the platform found no GEM port\n"
                                "The frame entered no managed entity.\n");
    EXPECT_EQ(marked(calls[1]), "a hook call without a direction\n"
                                "dropped\n"
                                "  a hook call of an unknown kind\n"
                                "The frame entered no managed entity.\n");
    EXPECT_NE(json_of_call(calls[0]).find("\"kind\":\"up_ani\""), std::string::npos);
    EXPECT_NE(json_of_call(calls[1]).find("\"kind\":\"other\""), std::string::npos);
    for (const auto& call : calls) {
        const std::string text = json_of_call(call);
        EXPECT_NE(text.find("\"outcome\":\"dropped\""), text.npos) << text;
        EXPECT_NE(
            text.find("\"reason\":\"" + read_events(call, good_entities()).other_failure + '"'),
            text.npos)
            << text;
    }
}

TEST(marked_frames, claim_neither_an_end_nor_a_rule_that_they_do_not_know)
{
    auto calls = calls_of(good_line + passing_frame);
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_NE(marked(calls[0]).find("passes to GEM port 1025; a rule was learnt\n"),
              std::string::npos);
    std::erase_if(calls[0], [](const gpon_trace_record& event) {
        return event.point == GPON_TRACEPOINT_RULE_LEARN;
    });
    EXPECT_NE(marked(calls[0]).find("passes to GEM port 1025\n"), std::string::npos);
    std::erase_if(calls[0], [](const gpon_trace_record& event) {
        return event.point == GPON_TRACEPOINT_WALK_END;
    });
    EXPECT_EQ(marked(calls[0]).find("passes"), std::string::npos) << marked(calls[0]);
    EXPECT_NE(json_of_call(calls[0]).find("\"outcome\":\"unknown\""), std::string::npos);
}

} // namespace
} // namespace gponflow

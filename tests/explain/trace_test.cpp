// SPDX-License-Identifier: GPL-2.0-only
// Frames of a trace: events are sorted by frame and converted to walks.
#include <algorithm>
#include <functional>
#include <span>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

#include "include/packet_flow.h"
#include "pkt/header.h"
#include "platform/host/host.h"
#include "tests/explain/lines.h"
#include "tests/support/forwarding_backend.h"
#include "tool/explain/account.h"
#include "tool/explain/decision_texts.h"
#include "tool/explain/event_reader.h"
#include "tool/explain/explain_frame.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/fault.h"
#include "tool/explain/path_output.h"
#include "tool/explain/trace_output.h"
#include "tool/explain/trace_scenario.h"
#include "tool/live/event_frames.h"
#include "tool/live/watch.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"
#include "tool/scenario/open.h"
#include "tool/tagging/frame_priority.h"

namespace gponflow {
namespace {

// The frame between the first and last lines, its VLAN passing or not.
const std::string passing = "hook kind=up_ani " + frame_of_vlan_100 + "\n";
const std::string dropped = "hook kind=up_ani " + frame_of_vlan_101 + "\n";
const std::string entering = "hook kind=up_uni port=1 " + frame_of_vlan_100 + "\n";

// The frames after a line, as a platform with several CPUs reports them: the frame with this
// number is handled by this CPU.
std::vector<std::vector<gpon_trace_record>> calls_of(const scenario& input)
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
    EXPECT_EQ(run.run(input, diagnostics), status_ok) << diagnostics.str();
    return run.calls;
}

std::vector<std::vector<gpon_trace_record>> calls_of(const std::string& text)
{
    return calls_of(parse_good(text));
}

scenario opened(const std::string& file)
{
    std::ostringstream errors;
    const auto found = open_scenario(file, errors);
    EXPECT_TRUE(found) << errors.str();
    return found.value_or(scenario{});
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

TEST(frames_of_events, follow_each_other_on_one_cpu)
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

TEST(frames_of_events, are_distinguished_even_with_the_same_packet)
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

TEST(frames_of_events, are_separated_by_cpu)
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

// The log of a step may keep a CPU busy for longer than the time between two looks.
TEST(frames_of_events, are_one_frame_despite_pauses_between_them)
{
    const auto calls = calls_of(good_line + dropped);
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
    const auto calls = calls_of(good_line + "platform queue=-1\n" + passing + passing);
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
    const auto calls = calls_of(good_line + passing + passing + "platform mapping=-1\n" +
                                "hook kind=switch param=0\n" + passing);
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
    const auto calls = calls_of(good_line + passing + dropped);
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
    const auto calls = calls_of(good_line + passing);
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
    const auto calls = calls_of(good_line + "me create PPTP_ETHERNET_UNI 0x0101\n" + entering +
                                "platform mapping=-1\nhook kind=switch param=0\n" + passing);
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

TEST(frames_of_events, are_incomplete_without_their_beginning_or_end)
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

TEST(marked_frames, say_that_events_are_missing)
{
    const auto calls = calls_of(good_line + dropped);
    ASSERT_EQ(calls.size(), 1u);
    std::ostringstream out;
    print_marked_frame(read_events(std::span(calls[0]).subspan(1), good_entities()),
                       good_entities(), out);
    EXPECT_NE(out.str().find("Events of this frame are missing"), std::string::npos) << out.str();
}

std::string marked(const std::vector<gpon_trace_record>& call)
{
    std::ostringstream out;
    print_marked_frame(read_events(call, good_entities()), good_entities(), out);
    return out.str();
}

std::string json_of_call(const std::vector<gpon_trace_record>& call)
{
    std::ostringstream out;
    const walk_record walk = read_events(call, good_entities());
    print_trace_json({1, kind_of_direction(walk.fwd_flag), walk, {}, 0}, out);
    return out.str();
}

TEST(marked_frames, are_dropped_if_they_fail_without_a_walk)
{
    const auto calls = calls_of(good_line + "platform mapping=-1\nhook kind=switch param=0\n" +
                                passing + "hook kind=7 " + frame_of_vlan_100 + "\n");
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
    auto calls = calls_of(good_line + passing);
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

TEST(walk_of_events, deeper_than_the_limit_names_the_step)
{
    std::vector<gpon_trace_record> events(4);
    events[0].point = GPON_TRACEPOINT_WALK_START;
    events[1].point = events[2].point = GPON_TRACEPOINT_WALK_STEP;
    events[1].step = {gpon::class_number(me_class::mbsp), 1, 9, GPON_DECISION_NONE,
                      GPON_STEP_CONTINUES};
    events[2].step = {gpon::class_number(me_class::mbpcd), 0x1001, 10, GPON_DECISION_NONE,
                      GPON_STEP_TOO_DEEP};
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

TEST(walk_of_events, fails_after_the_egress_without_a_queue)
{
    const auto calls = calls_of(good_line + "platform queue=-1\n" + passing);
    ASSERT_EQ(calls.size(), 1u);
    const walk_record walk = read_events(calls[0], good_entities());
    EXPECT_TRUE(walk.dropped);
    EXPECT_TRUE(walk.learnt);
    EXPECT_TRUE(walk.steps.back().passed);
    EXPECT_EQ(walk.other_failure, no_queue);
}

// A rule may outlive an instance of its steps.
TEST(walk_of_events, ends_at_the_step_of_a_replay_that_fails)
{
    const auto calls =
        calls_of(good_line + passing + "proc write \"clean raw_data 268 1\"\n" + passing);
    ASSERT_EQ(calls.size(), 2u);
    const walk_record walk = read_events(calls[1], good_entities());
    EXPECT_TRUE(walk.replayed);
    ASSERT_EQ(walk.steps.size(), 4u);
    EXPECT_TRUE(walk.steps[2].passed);
    EXPECT_FALSE(walk.steps[3].passed);
    EXPECT_EQ(walk.steps[3].dead_end, step_failed);
    const std::string text = marked(calls[1]);
    EXPECT_NE(text.find("The replay ends at GEM_PORT_CTP 0x0001, but the frame passes"),
              std::string::npos)
        << text;
    EXPECT_EQ(text.find("GEM port"), std::string::npos) << text;
}

std::vector<me_id> replayed_steps(const std::vector<gpon_trace_record>& call)
{
    std::vector<me_id> steps;
    for (const gpon_trace_record& event : call)
        if (event.point == GPON_TRACEPOINT_REPLAY_STEP)
            steps.push_back({gpon::to_me_class(event.step.class_id), event.step.inst_id});
    return steps;
}

std::vector<me_id> steps_of(const walk_record& walk)
{
    std::vector<me_id> steps;
    for (const walk_step& step : walk.steps)
        steps.push_back(step.at);
    return steps;
}

// Untagged frames of one flow have one rule, and their DSCP selects the priority.
const std::string line_by_dscp =
    "load\n"
    "me create MAC_BRIDGE_SERVICE_PROFILE 1\n"
    "me create GEM_PORT_CTP 1 portID=1025 tcontID=0x8000 direction=3\n"
    "me create GEM_PORT_CTP 2 portID=1026 tcontID=0x8000 direction=3\n"
    "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
    "me create GEM_INTERWORK_TP 0x12 gemCTPInstID=2\n"
    "me create 802_1P_MAPPER 0x21 unmark_frame_opt=0 "
    "pbit_GemIWTP=0x11,0x12,0x12,0x12,0x12,0x12,0x12,0x12 "
    "dscp2pbitMap=0000002492494924926db6db924924b6db6ddb6db6ffffff\n"
    "me create MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=3 tpPointer=0x21\n"
    "hook kind=switch param=1\n";

std::string frame_with_dscp(const std::string& type_of_service)
{
    return "hook kind=up_ani frame=020000000001020000000101000845" + type_of_service + "\n";
}

// A later frame may be refused where the first one was not.
TEST(walk_of_events, has_all_steps_of_a_replay_up_to_the_egress)
{
    const std::string gone = "proc write \"clean raw_data 84 1001\"\n";
    for (const std::string& text : {good_line + passing + gone + passing,
                                    line_by_dscp + frame_with_dscp("00") + frame_with_dscp("b8")}) {
        const auto calls = calls_of(text);
        ASSERT_EQ(calls.size(), 2u);
        const walk_record walk = read_events(calls[1], final_entities(parse_good(text)));
        ASSERT_TRUE(walk.replayed);
        EXPECT_EQ(steps_of(walk), replayed_steps(calls[1]));
        EXPECT_GE(walk.steps.size(), 4u);
        EXPECT_TRUE(walk.steps.back().passed);
        EXPECT_EQ(walk.gem_port, 1025u);
        EXPECT_EQ(std::ranges::count_if(
                      walk.steps, [](const walk_step& step) { return !step.dead_end.empty(); }),
                  1);
        const std::string printed = marked(calls[1]);
        EXPECT_NE(printed.find("passes to GEM port 1025; its rule was replayed\n"), printed.npos)
            << printed;
        EXPECT_NE(printed.find(" refuses the frame, but a replay makes all steps"), printed.npos)
            << printed;
        EXPECT_EQ(printed.find("The replay ends"), printed.npos) << printed;
        EXPECT_NE(json_of_call(calls[1]).find("\"gem_port\":1025"), printed.npos);
    }
}

// Some events of a frame are lost, among them its steps.
TEST(walk_of_events, claims_no_cause_without_steps)
{
    const std::string entering_fibre =
        "hook kind=down_ani gem=1025 frame=0200000001010200000000018100006408004500\n";
    auto calls =
        calls_of(good_line + entering_fibre + dropped + "platform queue=-1\n" + passing + passing);
    ASSERT_EQ(calls.size(), 4u);
    for (auto& call : calls)
        std::erase_if(call, [](const gpon_trace_record& event) {
            return event.point == GPON_TRACEPOINT_WALK_STEP ||
                   event.point == GPON_TRACEPOINT_REPLAY_STEP;
        });
    for (const auto& call : calls) {
        const walk_record walk = read_events(call, good_entities(), nullptr, true);
        EXPECT_TRUE(walk.incomplete);
        std::ostringstream out;
        print_marked_frame(walk, good_entities(), out);
        for (const char* claim : {"No branch leads", "entered no managed", "takes frames"}) {
            EXPECT_EQ(out.str().find(claim), std::string::npos) << out.str();
            EXPECT_EQ(drop_text(walk).find(claim), std::string::npos) << drop_text(walk);
            EXPECT_EQ(drop_reason(walk, good_entities()).find(claim), std::string::npos);
        }
        EXPECT_NE(out.str().find("Events of this frame are missing"), std::string::npos);
    }
    EXPECT_EQ(drop_text(read_events(calls[1], good_entities(), nullptr, true)), events_missing);
}

TEST(walk_of_events, does_not_say_that_a_bridge_whose_steps_are_missing_has_no_port)
{
    auto calls = calls_of(good_line + dropped);
    ASSERT_EQ(calls.size(), 1u);
    std::erase_if(calls[0], [](const gpon_trace_record& event) {
        return event.point == GPON_TRACEPOINT_WALK_STEP &&
               event.step.class_id == gpon::class_number(me_class::mbpcd);
    });
    const walk_record whole = read_events(calls[0], good_entities());
    EXPECT_EQ(whole.steps.back().dead_end, "no MAC_BRIDGE_PORT_CON_DATA");
    const walk_record walk = read_events(calls[0], good_entities(), nullptr, true);
    EXPECT_EQ(walk.steps.back().dead_end, "");
    EXPECT_EQ(drop_reason(walk, good_entities()), events_missing);
}

TEST(walk_of_events, does_not_call_a_replay_without_a_queue_a_walk)
{
    const auto calls = calls_of(good_line + passing + "platform queue=-1\n" + passing);
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_NE(marked(calls[1]).find("The replay succeeded, a later step failed.\n"),
              std::string::npos)
        << marked(calls[1]);
}

TEST(walk_of_events, has_no_steps_of_a_replay_behind_the_egress)
{
    const scenario stale =
        opened("tests/scenarios/walk/second-bridge-wins-and-stale-steps-are-learnt.scn");
    const auto calls = calls_of(stale);
    ASSERT_EQ(calls.size(), 2u);
    const walk_record walk = read_events(calls[1], final_entities(stale));
    ASSERT_TRUE(walk.replayed);
    std::vector<me_id> path;
    for (const walk_step& step : walk.steps)
        path.push_back(step.at);
    EXPECT_EQ(path, (std::vector<me_id>{{me_class::mbsp, 2},
                                        {me_class::mbpcd, 0x2001},
                                        {me_class::gemiw, 0x12},
                                        {me_class::gemctp, 2}}));
}

// Which of the reasons a walk has is the module's choice; what is printed must not contradict it.
TEST(walk_of_events, has_the_cause_that_the_module_has)
{
    const scenario without_memory =
        opened("tests/scenarios/walk/lost-memory-ends-the-walk-or-a-branch.scn");
    const line_model entities = final_entities(without_memory);
    size_t failed = 0;
    for (const auto& call : calls_of(without_memory)) {
        const bool step =
            call.back().point == GPON_TRACEPOINT_DROP && call.back().end == GPON_END_STEP_FAILED;
        failed += step;
        const walk_record walk = read_events(call, entities);
        if (!walk.dropped)
            continue;
        const std::string reason = drop_reason(walk, entities);
        const bool named =
            reason.find("step failed, for") != reason.npos || reason.ends_with(unreadable);
        EXPECT_EQ(named, step) << reason;
    }
    EXPECT_GT(failed, 4u);
}

// A cleaned instance leaves its links behind.
TEST(walk_of_events, does_not_blame_the_list_of_a_filter_that_is_gone)
{
    const auto calls = calls_of(good_line + "proc write \"clean raw_data 84 1001\"\n" + passing);
    ASSERT_EQ(calls.size(), 1u);
    const walk_record walk = read_events(calls[0], good_entities());
    EXPECT_TRUE(walk.dropped);
    EXPECT_EQ(drop_reason(walk, good_entities()),
              std::string("MAC_BRIDGE_PORT_CON_DATA 0x1001 of bridge 1: ") + unreadable);
    EXPECT_EQ(marked(calls[0]).find("list {"), std::string::npos) << marked(calls[0]);
}

TEST(walk_of_events, names_a_step_that_ended_the_walk_before_deeper_ends)
{
    std::vector<gpon_trace_record> events(6);
    events[0].point = GPON_TRACEPOINT_WALK_START;
    for (size_t i = 1; i < 5; ++i)
        events[i].point = GPON_TRACEPOINT_WALK_STEP;
    events[1].step = {gpon::class_number(me_class::mbsp), 1, 1, GPON_DECISION_NONE,
                      GPON_STEP_CONTINUES};
    events[2].step = {gpon::class_number(me_class::mbpcd), 0x1001, 2, GPON_DECISION_NONE,
                      GPON_STEP_CONTINUES};
    events[3].step = {gpon::class_number(me_class::gemiw), 0x11, 3, GPON_DECISION_MAPPER_REFUSES,
                      GPON_STEP_ENDS_BRANCH};
    events[4].step = {gpon::class_number(me_class::mbpcd), 0x1002, 2, GPON_DECISION_NONE,
                      GPON_STEP_FAILED};
    events[5].point = GPON_TRACEPOINT_WALK_END;
    events[5].end = GPON_END_STEP_FAILED;
    const walk_record walk = read_events(events, good_entities());
    EXPECT_EQ(drop_reason(walk, good_entities()),
              "MAC_BRIDGE_PORT_CON_DATA 0x1002 of bridge 1: it does not exist");
    EXPECT_EQ(deepest_dead_ends(walk), std::vector<size_t>{3});
}

TEST(walk_of_events, blames_no_step_without_a_queue)
{
    const auto calls = calls_of(good_line + "platform queue=-1\n" + passing);
    ASSERT_EQ(calls.size(), 1u);
    const walk_record walk = read_events(calls[0], good_entities());
    EXPECT_TRUE(faults_of(walk, good_entities()).empty());
    EXPECT_EQ(drop_reason(walk, good_entities()),
              "a path exists, but the platform found no priority queue");
    EXPECT_EQ(marked(calls[0]).find("The frame reached"), std::string::npos) << marked(calls[0]);
}

// Filters read neither a TPID of 0x9100 nor a TCI of 0 as a tag.
TEST(walk_of_events, calls_a_frame_untagged_whose_tag_filters_do_not_read)
{
    for (const char* tag : {"91000064", "81000000"}) {
        const auto calls = calls_of(good_line + "hook kind=up_ani frame=020000000001020000000101" +
                                    tag + "08004500\n");
        ASSERT_EQ(calls.size(), 1u);
        const walk_record walk = read_events(calls[0], good_entities());
        EXPECT_EQ(drop_reason(walk, good_entities()),
                  "VLAN_TAG_FILTER_DATA 0x1001 of bridge 1 (forwardOperation 0x04) drops untagged "
                  "frames");
        EXPECT_NE(marked(calls[0]).find("untagged, list {0x0064}: drop"), std::string::npos);
    }
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

TEST(trace_of_a_scenario, has_the_kind_and_outcome_of_frames_without_events)
{
    for (const bool loaded : {true, false}) {
        std::ostringstream out;
        const std::string text =
            (loaded ? good_line + "hook kind=switch param=0\n" : std::string()) + passing;
        EXPECT_EQ(trace_scenario(parse_good(text), *make_host_backend(),
                                 read_trace_filter("outer_vlan=100"), 0, out, out, {}, true),
                  status_ok);
        EXPECT_NE(out.str().find("\"kind\":\"up_ani\""), std::string::npos) << out.str();
        EXPECT_NE(out.str().find("\"outcome\":\"not classified\""), std::string::npos) << out.str();
    }
}

// The module of another machine, whose trace buffer loses the events of each frame.
class unseen_frames final : public forwarding_backend {
public:
    explicit unseen_frames(int result) : result_(result) {}

    traced_call traced_hook(const packet_options& options, const bytes& frame) override
    {
        traced_call call{host_->hook(options, &frame), {}};
        call.returned->api_result = result_;
        call.unseen = true;
        return call;
    }

private:
    int result_;
};

std::string explained_unseen(int result, bool as_json)
{
    unseen_frames target(result);
    std::ostringstream out;
    exit_status status = status_ok;
    const scenario line = parse_good(good_line + passing);
    const auto found = explain_frame(line, target, {}, out, status);
    EXPECT_EQ(status, status_ok) << out.str();
    if (found && as_json)
        print_explanation_json(*found, line, out);
    else if (found)
        print_explanation(*found, out);
    return out.str();
}

// The engine is enabled: the frame is classified, whether or not its events arrive.
TEST(frames_without_events, are_not_those_of_a_disabled_engine)
{
    EXPECT_EQ(explained_unseen(0, false), "upstream, from the bridge to the ANI, 20 bytes\n"
                                          "passes to GEM port 1025\n" +
                                              std::string(nothing_seen) + '\n');
    EXPECT_EQ(explained_unseen(1, false), "upstream, from the bridge to the ANI, 20 bytes\n"
                                          "dropped\n" +
                                              std::string(nothing_seen) + '\n');
    const std::string json = explained_unseen(0, true);
    EXPECT_NE(json.find("\"outcome\": \"passed\""), json.npos) << json;
    EXPECT_NE(json.find("The frame passes to GEM port 1025; its path is unknown."), json.npos)
        << json;
    EXPECT_NE(json.find(nothing_seen), json.npos) << json;
    EXPECT_EQ(json.find("engine"), json.npos) << json;
    EXPECT_NE(explained_unseen(1, true).find(events_missing), json.npos);
}

TEST(frames_without_events, are_counted_as_passed_or_dropped)
{
    for (const int result : {0, 1}) {
        unseen_frames target(result);
        frame_account account{};
        std::ostringstream out;
        EXPECT_EQ(account_scenario(parse_good(good_line + passing), target, account, out),
                  status_ok);
        print_account(account, out);
        EXPECT_EQ(out.str().find("not classified"), std::string::npos) << out.str();
        EXPECT_NE(
            out.str().find(result == 0 ? "GEM port 1025 from an unknown bridge" : events_missing),
            std::string::npos)
            << out.str();
    }
}

// The module in this process, of which the events of the first call are lost. Like each backend
// that looks into the rule table, it lets frames of one path share their events.
class once_unseen final : public forwarding_backend {
public:
    traced_call traced_hook(const packet_options& options, const bytes& frame) override
    {
        traced_call call = host_->traced_hook(options, frame);
        if (calls_++ == 0) {
            call.events.clear();
            call.unseen = true;
        }
        return call;
    }
    std::optional<rule_place> find_rule(const packet_options& options, const bytes& frame) override
    {
        return host_->find_rule(options, frame);
    }

private:
    int calls_ = 0;
};

TEST(frames_without_events, do_not_hide_the_path_of_the_next_frames)
{
    once_unseen target;
    frame_account account{};
    std::ostringstream notes;
    EXPECT_EQ(account_scenario(parse_good(good_line + dropped + dropped + dropped), target, account,
                               notes),
              status_ok);
    std::ostringstream out;
    print_account(account, out);
    EXPECT_NE(out.str().find("dropped     2  VLAN 101 priority 0: VLAN_TAG_FILTER_DATA 0x1001"),
              std::string::npos)
        << out.str();
    EXPECT_NE(out.str().find("dropped     1  "), std::string::npos) << out.str();
    EXPECT_NE(notes.str().find("warning: trace events of 1 hook call may be missing"),
              std::string::npos)
        << notes.str();
    EXPECT_EQ(std::ranges::count(notes.str(), '\n'), 1);
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

TEST(trace_json, has_a_change_of_entities_only_if_there_was_one)
{
    const walk_record walk;
    const auto text_of = [&](bool changed) {
        std::ostringstream out;
        print_trace_json(
            {.number = 1, .kind = 0, .walk = walk, .frame = {}, .entities_changed = changed}, out);
        return out.str();
    };
    EXPECT_NE(text_of(true).find("\"entities_changed\":true"), std::string::npos);
    EXPECT_EQ(text_of(false).find("entities_changed"), std::string::npos);
}

rule_table table_with_hits(uint64_t hits)
{
    dumped_rule rule{};
    rule.hits = hits;
    return {1, 64, 48, {rule}};
}

// The clock of updates is finer than the unit: an interval is never a whole number of seconds.
TEST(watch_of_a_module, has_the_rate_of_the_exact_interval)
{
    rule_watch watch(1000);
    watch.update(table_with_hits(0), 1990);
    watch.update(table_with_hits(100), 3000);
    const std::vector<std::string> lines = watch.lines(3000, "s");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_NE(lines[0].find("AGE (s)"), std::string::npos);
    EXPECT_TRUE(lines[1].starts_with(">1 ")) << lines[1];
    EXPECT_NE(lines[1].find(" 99.0 "), std::string::npos) << lines[1];
    watch.update(table_with_hits(100), 3000);
    EXPECT_NE(watch.lines(3000, "s")[1].find(" 0.0 "), std::string::npos);
}

TEST(dscp, equals_the_one_that_the_module_reads)
{
    // Types are compared as the processor stores them.
    EXPECT_EQ(dscp_of({2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 1, 1, 0x00, 0x08, 0x45, 0xb8}), 46);
    EXPECT_EQ(dscp_of({2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 1, 1, 0x08, 0x00, 0x45, 0xb8}), -1);
    EXPECT_EQ(dscp_of({}), -1);
}

TEST(dscp, is_read_behind_tags_counted_in_8_bits)
{
    const auto of_tags = [](size_t tags) {
        bytes frame(12);
        for (size_t at = 0; at < tags; ++at)
            frame.insert(frame.end(), {0x81, 0x00, 0x00, 0x64});
        frame.insert(frame.end(), {0x00, 0x08, 0x45, 0xb8});
        const sk_buff packet = {.data = frame.data(), .bytes = static_cast<uint32_t>(frame.size())};
        EXPECT_EQ(dscp_of(frame), gpon_pkt_get_dscp(&packet)) << tags;
        return dscp_of(frame);
    };
    EXPECT_EQ(of_tags(255), 46);
    EXPECT_EQ(of_tags(256), -1);
    EXPECT_EQ(of_tags(257), -1);
}

} // namespace
} // namespace gponflow

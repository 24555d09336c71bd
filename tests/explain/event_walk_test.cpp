// SPDX-License-Identifier: GPL-2.0-only
// Events of a frame are converted to its walk.
#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

#include "platform/host/host.h"
#include "tests/explain/traced_frames.h"
#include "tool/explain/decision_texts.h"
#include "tool/explain/event_reader.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/fault.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/open.h"

namespace gponflow {
namespace {

scenario opened(const std::string& file)
{
    std::ostringstream errors;
    const auto found = open_scenario(file, errors);
    EXPECT_TRUE(found) << errors.str();
    return found.value_or(scenario{});
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
    const auto calls = calls_of(good_line + "platform queue=-1\n" + passing_frame);
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
    const auto calls = calls_of(good_line + passing_frame +
                                "proc write \"clean raw_data 268 1\"\n" + passing_frame);
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
    for (const std::string& text : {good_line + passing_frame + gone + passing_frame,
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
    auto calls = calls_of(good_line + entering_fibre + dropped_frame + "platform queue=-1\n" +
                          passing_frame + passing_frame);
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
    auto calls = calls_of(good_line + dropped_frame);
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
    const auto calls = calls_of(good_line + passing_frame + "platform queue=-1\n" + passing_frame);
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
    const auto calls =
        calls_of(good_line + "proc write \"clean raw_data 84 1001\"\n" + passing_frame);
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
    const auto calls = calls_of(good_line + "platform queue=-1\n" + passing_frame);
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
        "load\nhook kind=switch param=1\nme create MAC_BRIDGE_SERVICE_PROFILE 1\n" + dropped_frame);
    ASSERT_EQ(calls.size(), 1u);
    const walk_record walk = read_events(calls[0], good_entities());
    ASSERT_EQ(walk.steps.size(), 1u);
    EXPECT_EQ(walk.steps[0].dead_end, "no MAC_BRIDGE_PORT_CON_DATA");
}

} // namespace
} // namespace gponflow

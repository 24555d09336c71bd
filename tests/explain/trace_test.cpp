// SPDX-License-Identifier: GPL-2.0-only
// Marked frames: their log is split into frames and converted to walks.
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tool/explain/decision_texts.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/trace_scenario.h"
#include "tool/explain/walk_reader.h"
#include "tool/explain/walk_splitter.h"
#include "tool/live/watch.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"
#include "tool/text/lines.h"

namespace gponflow {
namespace {

// The frame between the first and last lines, its VLAN passing or not.
const std::string passing = "hook kind=up_ani " + frame_of_vlan_100 + "\n";
const std::string dropped = "hook kind=up_ani " + frame_of_vlan_101 + "\n";
const std::string entering = "hook kind=up_uni port=1 " + frame_of_vlan_100 + "\n";
const std::string mark = "proc write \"set trace src_mac 02:00:00:00:01:01\"\n";

std::vector<std::string> walks_of(const std::string& text)
{
    const auto host = make_host_backend();
    captured_run run(*host);
    std::ostringstream diagnostics;
    EXPECT_EQ(run.run(parse_good(text), diagnostics), status_ok) << diagnostics.str();
    std::vector<std::string> walks;
    walk_splitter splitter([&](const std::string& one) { walks.push_back(one); });
    for_each_line(run.log(), [&](std::string_view line) { splitter.line(line); });
    splitter.flush();
    return walks;
}

TEST(marked_frames, without_a_gap_are_distinguished)
{
    const auto walks = walks_of(good_line + mark + entering + dropped + passing + passing +
                                entering + dropped + dropped);
    ASSERT_EQ(walks.size(), 7u);
    const line_model entities = final_entities(parse_good(good_line));
    std::string printed;
    for (const std::string& walk : walks) {
        const walk_story story = read_walk(walk, entities);
        printed += story.dropped ? 'd' : story.replayed ? 'r' : 'w';
    }
    EXPECT_EQ(printed, "wdwrrdd");
}

TEST(marked_frames, show_the_reason_of_a_drop)
{
    const auto walks = walks_of(good_line + mark + dropped);
    ASSERT_EQ(walks.size(), 1u);
    const line_model entities = final_entities(parse_good(good_line));
    const walk_story story = read_walk(walks[0], entities);
    std::ostringstream out;
    print_marked_frame(story, entities, out);
    EXPECT_NE(out.str().find("upstream, from the bridge to the ANI\n"), std::string::npos);
    EXPECT_NE(out.str().find("x a port on the UNI side"), std::string::npos) << out.str();
    EXPECT_NE(out.str().find("x its VLAN filter drops the frame"), std::string::npos);
}

TEST(marked_frames, walk_as_they_do_at_full_detail)
{
    const line_model entities = final_entities(parse_good(good_line));
    const walk_story marked = read_walk(walks_of(good_line + mark + dropped).at(0), entities);
    exit_status status = status_ok;
    std::ostringstream diagnostics;
    const auto full = explain_frame(parse_good(good_line + dropped), *make_host_backend(), {},
                                    diagnostics, status);
    ASSERT_TRUE(full);
    ASSERT_EQ(marked.steps.size(), full->story.steps.size());
    for (size_t i = 0; i < marked.steps.size(); ++i) {
        EXPECT_EQ(marked.steps[i].at, full->story.steps[i].at);
        EXPECT_EQ(marked.steps[i].depth, full->story.steps[i].depth);
        EXPECT_EQ(marked.steps[i].dead_end, full->story.steps[i].dead_end);
        EXPECT_EQ(marked.steps[i].decisions, full->story.steps[i].decisions);
    }
}

// Two logs as two processors write them at the same moment: a line of each in turn.
std::string mixed(const std::string& left, const std::string& right)
{
    std::istringstream from_left(left);
    std::istringstream from_right(right);
    std::string all;
    std::string line;
    for (bool more = true; more;) {
        more = false;
        for (std::istringstream* from : {&from_left, &from_right})
            if (std::getline(*from, line)) {
                all += line + '\n';
                more = true;
            }
    }
    return all;
}

TEST(marked_frames, of_two_processors_at_once_are_reported_as_uncertain)
{
    const line_model entities = final_entities(parse_good(good_line));
    const auto printed = [&](const std::string& log) {
        std::ostringstream out;
        print_marked_frame(read_walk(log, entities), entities, out);
        return out.str();
    };
    const std::string doubt = "These lines are inconsistent";
    const auto walks = walks_of(good_line + mark + dropped + passing + passing);
    ASSERT_EQ(walks.size(), 3u);
    for (const std::string& walk : walks)
        EXPECT_EQ(printed(walk).find(doubt), std::string::npos) << printed(walk);
    EXPECT_NE(printed(mixed(walks[0], walks[1])).find(doubt), std::string::npos);
    EXPECT_NE(printed(mixed(walks[0], walks[0])).find(doubt), std::string::npos);
    EXPECT_NE(printed(mixed(walks[1], walks[2])).find(doubt), std::string::npos);
}

TEST(marked_frames, without_their_beginning_or_end_are_reported_as_uncertain)
{
    const line_model entities = final_entities(parse_good(good_line));
    const std::string walk = walks_of(good_line + mark + dropped).at(0);
    const size_t half = walk.find('\n', walk.size() / 2) + 1;
    EXPECT_FALSE(read_walk(walk, entities).inconsistent);
    EXPECT_TRUE(read_walk(walk.substr(0, half), entities).inconsistent);
    EXPECT_TRUE(read_walk(walk.substr(half), entities).inconsistent);
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

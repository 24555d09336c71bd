// SPDX-License-Identifier: GPL-2.0-only
// Frames that a trace or a watch of a scenario shows.
#include <algorithm>
#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

#include "pkt/header.h"
#include "tests/explain/traced_frames.h"
#include "tests/support/forwarding_backend.h"
#include "tool/explain/account.h"
#include "tool/explain/decision_texts.h"
#include "tool/explain/explain_frame.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/path_output.h"
#include "tool/explain/trace_output.h"
#include "tool/explain/trace_scenario.h"
#include "tool/live/watch.h"
#include "tool/scenario/host_backend.h"
#include "tool/tagging/frame_priority.h"

namespace gponflow {
namespace {

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
    const std::string text = good_line + passing_frame + dropped_frame + passing_frame;
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
            (loaded ? good_line + "hook kind=switch param=0\n" : std::string()) + passing_frame;
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
    const scenario line = parse_good(good_line + passing_frame);
    const auto found = explain_frame(line, target, {}, out);
    EXPECT_TRUE(found) << out.str();
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
        EXPECT_EQ(account_scenario(parse_good(good_line + passing_frame), target, account, out),
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
    EXPECT_EQ(
        account_scenario(parse_good(good_line + dropped_frame + dropped_frame + dropped_frame),
                         target, account, notes),
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
    const std::string printed = traced(good_line + passing_frame + passing_frame, "outer_vlan=100");
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
    std::ostringstream diagnostics;
    const watched_scenario watched = watch_scenario(
        parse_good(good_line + passing_frame + passing_frame + passing_frame + "advance 50\n"),
        *make_host_backend(), diagnostics);
    ASSERT_EQ(watched.status, status_ok) << diagnostics.str();
    ASSERT_EQ(watched.lines.size(), 3u);
    EXPECT_TRUE(watched.lines[1].starts_with("50             2 ")) << watched.lines[1];
    EXPECT_EQ(watched.lines[2], "1 rule");
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

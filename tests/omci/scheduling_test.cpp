// SPDX-License-Identifier: GPL-2.0-only
// Queues and schedulers of a capture, and the tree of them.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/omci/line_builder.h"
#include "tool/model/bandwidth_tree.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/parse.h"

namespace gponflow::omci::test {
namespace {

using testing::HasSubstr;
using testing::Not;

// Two T-CONTs with two queues each, one queue of UNI 0x0101, one scheduler; the OLT uses the first
// T-CONT for two GEM ports.
line reported_line()
{
    line session;
    const auto part = [&](const std::string& content) {
        session.replied(mib_upload_next, 2, 0, "0000", content);
    };
    part("0106 8000 e000 ffff 01 01");
    part("0106 8001 e000 ffff 01 02");
    part("0115 8000 0700 80000000 0000 04");
    part("0115 8001 0700 80000007 8000 01");
    part("0115 8002 0700 80010000 0000 01");
    part("0115 0003 0700 01010005 0000 01");
    part("0116 8000 f000 8000 0000 02 09");
    session.done(set, 262, 0x8000, "8000 03e8");
    session.done(create, 280, 1, "00003e80 00bebc20 00000000 00000000 00 00 00 01");
    session.done(create, 268, 1, "03e9 8000 03 8001 0001 0003 0000 00");
    session.done(create, 268, 2, "03ea 8000 03 8002 0000 0000 0000 00");
    return session;
}

line_model model_of(const conversion& from)
{
    return final_entities(parse_scenario(from.scenario, "x.scn").input);
}

std::string tree_text(const line& session)
{
    const conversion from = session.converted();
    std::ostringstream out;
    print_bandwidth_tree(model_of(from), from.queues, out);
    return out.str();
}

TEST(bandwidth_tree, has_schedulers_queues_and_gem_ports)
{
    EXPECT_EQ(tree_text(reported_line()),
              "T_CONT 0x8000  alloc-ID 1000, strict priority\n"
              "  TRAFFIC_SCHEDULER 0x8000  weighted round robin, priority or weight 9\n"
              "  PRIORITY_QUEUE 0x8001  priority 7, weight 1, by TRAFFIC_SCHEDULER 0x8000\n"
              "    GEM port 1001  GEM_PORT_CTP 0x0001, both directions, upstream committed 128 "
              "kbit/s, peak 100 Mbit/s, downstream PRIORITY_QUEUE 0x0003 (priority 5)\n"
              "  PRIORITY_QUEUE 0x8002  priority 0, weight 1, of T_CONT 0x8001\n"
              "    GEM port 1002  GEM_PORT_CTP 0x0002, both directions\n"
              "  1 queue without a GEM port: priority 0\n"
              "without an alloc-ID: T_CONT 0x8001\n");
}

TEST(bandwidth_tree, follows_what_the_olt_sets)
{
    line session = reported_line();
    session.done(set, 277, 0x8001, "0100 08").done(set, 262, 0x8001, "8000 03e9");
    EXPECT_THAT(tree_text(session), HasSubstr("PRIORITY_QUEUE 0x8001  priority 7, weight 8, by"));
    EXPECT_THAT(tree_text(session), HasSubstr("T_CONT 0x8001  alloc-ID 1001, weighted round robin\n"
                                              "  1 queue without a GEM port: priority 0\n"));
}

TEST(bandwidth_tree, is_complete_without_reports)
{
    line session;
    session.done(set, 262, 0x8000, "a000 03e8 01");
    session.done(create, 268, 1, "03e9 8000 03 8001 0000 0000 0000 00");
    session.done(create, 268, 2, "03ea 9000 02 0000 0000 0000 0000 00");
    EXPECT_EQ(tree_text(session), "T_CONT 0x8000  alloc-ID 1000, strict priority\n"
                                  "  PRIORITY_QUEUE 0x8001\n"
                                  "    GEM port 1001  GEM_PORT_CTP 0x0001, both directions\n"
                                  "T_CONT 0x9000  no alloc-ID\n"
                                  "  GEM port 1002  GEM_PORT_CTP 0x0002, downstream\n");
}

// The rule is that of explain: see query.a_pointer_to_the_tcont_is_no_queue.
TEST(bandwidth_tree, a_pointer_to_the_tcont_is_no_queue)
{
    const std::string ctp = "03e9 8000 03 8000 0000 0000 0000 00";
    line session;
    session.done(set, 262, 0x8000, "8000 03e8").done(create, 268, 1, ctp);
    EXPECT_THAT(tree_text(session), Not(HasSubstr("PRIORITY_QUEUE")));
    session.done(create, 268, 2, "03ea 8000 03 8007 0000 0000 0000 00");
    EXPECT_THAT(tree_text(session), HasSubstr("\n  PRIORITY_QUEUE 0x8000\n    GEM port 1001  "));
    EXPECT_THAT(tree_text(reported_line().done(create, 268, 3, ctp)),
                HasSubstr("\n  PRIORITY_QUEUE 0x8000  priority 0, weight 4\n"));
}

// ONU-G reports traffic management option 1: the pointer of a GEM port names a T-CONT.
TEST(bandwidth_tree, has_no_upstream_queues_if_the_onu_controls_rates)
{
    line session = reported_line();
    session.replied(get, 256, 0, "1000", "00 1000 01");
    EXPECT_THAT(tree_text(session), HasSubstr("\n  GEM port 1001  "));
    EXPECT_THAT(tree_text(session), Not(HasSubstr("\n  PRIORITY_QUEUE")));
}

TEST(bandwidth_tree, is_the_same_as_json)
{
    const conversion from = reported_line().converted();
    const json tree = bandwidth_json(model_of(from), from.queues);
    ASSERT_EQ(tree.size(), 1u);
    EXPECT_EQ(tree[0]["policy"], 1);
    EXPECT_EQ(tree[0]["schedulers"][0]["weight"], 9);
    EXPECT_EQ(tree[0]["queues"].size(), 3u);
    EXPECT_EQ(tree[0]["queues"][1]["instance"], 0x8001);
    EXPECT_EQ(tree[0]["queues"][1]["priority"], 7);
    EXPECT_EQ(tree[0]["queues"][1]["scheduler"], 0x8000);
    EXPECT_EQ(tree[0]["gem_ports"][0]["queue"], 0x8001);
    EXPECT_EQ(tree[0]["gem_ports"][0]["downstream_queue"], 3);
}

} // namespace
} // namespace gponflow::omci::test

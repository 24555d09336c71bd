// SPDX-License-Identifier: GPL-2.0-only
// The bridge of a frame is the same in all commands.
#include <sstream>

#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tool/explain/account.h"
#include "tool/explain/explain_output.h"
#include "tool/explain/frame_query.h"
#include "tool/explain/path_output.h"
#include "tool/explain/verdict.h"
#include "tool/report/collect.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {

namespace {

// After the first frame, its port cannot read its filter: a replay refuses the frame and passes
// on.
const std::string filter_is_gone = "proc write \"clean raw_data 84 1001\"\n";
const std::string leaving = "hook kind=up_ani " + frame_of_vlan_100 + "\n";
const std::string arriving =
    "hook kind=down_ani gem=1025 frame=0200000000010200000000028100006408004500\n";

std::string outcomes_of_report(const std::string& text)
{
    report_data data;
    std::ostringstream errors;
    EXPECT_EQ(collect_report(parse_good(text), *make_host_backend(), data, errors), status_ok);
    std::string outcomes;
    for (const flow_row& flow : data.flows)
        outcomes += flow.outcome + " x " + std::to_string(flow.frames) + '\n';
    return outcomes;
}

std::map<std::string, uint64_t> destinations_of_account(const std::string& text, size_t kind)
{
    frame_account account{};
    std::ostringstream errors;
    EXPECT_EQ(account_scenario(parse_good(text), *make_host_backend(), account, errors), status_ok);
    return account.directions.at(kind).destinations;
}

using counts = std::map<std::string, uint64_t>;

TEST(replay_with_a_refusal, leaves_the_same_bridge_in_each_command)
{
    const std::string text = good_line + leaving + filter_is_gone + leaving;
    EXPECT_EQ(outcomes_of_report(text), "GEM port 1025 from bridge 1 x 2\n");
    EXPECT_EQ(destinations_of_account(text, 1), (counts{{"GEM port 1025 from bridge 1", 2}}));
}

TEST(replay_with_a_refusal, enters_the_same_bridge_in_each_command)
{
    const std::string before = good_line + arriving + filter_is_gone;
    EXPECT_EQ(outcomes_of_report(before + arriving), "into bridge 1 x 2\n");
    EXPECT_EQ(destinations_of_account(before + arriving, 3),
              (counts{{"from GEM port 1025 into bridge 1", 2}}));

    const std::unique_ptr<backend> target = make_host_backend();
    explain_session session(*target);
    std::ostringstream out;
    ASSERT_EQ(session.run(parse_good(before), out), status_ok) << out.str();
    frame_query query;
    query.gem = 1025;
    query.outer = query_tag{100, 0};
    const frame_path path = trace_frame(query, session);
    ASSERT_TRUE(path.halves.front().walk.replayed);
    EXPECT_EQ(verdict_of(path).sentence,
              "The frame passes from GEM port 1025 into bridge 1, towards UNI 1.");
    print_explanation(path.halves.front(), out);
    EXPECT_NE(out.str().find("passes from GEM port 1025 into the bridge; its rule was replayed"),
              std::string::npos)
        << out.str();
}

// A rule of a multicast GEM port ends at the port that refused the frame of its walk.
TEST(replay_with_a_refusal, enters_no_bridge_if_the_walk_entered_none)
{
    const std::string frame =
        "hook kind=down_ani gem=4094 mcast=1 frame=01005e0000010200000001018100006508004500\n";
    const std::string text =
        good_line +
        "me create GEM_PORT_CTP 7 portID=4094 direction=2\n"
        "me create MULTICAST_GEM_INTERWORK_TP 0x61 GemCTPInstID=7\n"
        "me create MAC_BRIDGE_PORT_CON_DATA 0x3001 bridgeID=1 tpType=6 tpPointer=0x61\n"
        "me create VLAN_TAG_FILTER_DATA 0x3001 vlanFilterList=300 "
        "forwardOperation=0x04 vlanFilterNums=1\n" +
        frame;
    EXPECT_EQ(outcomes_of_report(text + frame), "into no bridge x 2\n");
    EXPECT_EQ(destinations_of_account(text + frame, 3),
              (counts{{"from GEM port 4094 into no bridge", 2}}));

    const std::unique_ptr<backend> target = make_host_backend();
    std::ostringstream out;
    const auto again = explain_frame(parse_good(text + frame), *target, {}, out);
    ASSERT_TRUE(again) << out.str();
    print_explanation(*again, out);
    EXPECT_NE(out.str().find("passes from GEM port 4094; its rule was replayed"), std::string::npos)
        << out.str();
}

} // namespace

} // namespace gponflow

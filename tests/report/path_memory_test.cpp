// SPDX-License-Identifier: GPL-2.0-only
// Calls that are left out change no result.
#include <sstream>

#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tests/support/forwarding_backend.h"
#include "tests/support/generated_line.h"
#include "tool/explain/account.h"
#include "tool/report/collect.h"
#include "tool/scenario/host_backend.h"
#include "tool/scenario/open.h"

namespace gponflow {

namespace {

// Forwards each call, and does not look into the rule table: no frame is like another.
class forgetful_backend final : public forwarding_backend {
public:
    std::optional<hook_return> hook(const packet_options& options, const bytes* frame) override
    {
        ++calls;
        return host_->hook(options, frame);
    }
    traced_call traced_hook(const packet_options& options, const bytes& frame) override
    {
        ++calls;
        return host_->traced_hook(options, frame);
    }

    uint64_t calls = 0;
};

report_data report_of(const scenario& input, backend& target)
{
    report_data data;
    std::ostringstream printed;
    EXPECT_EQ(collect_report(input, target, data, printed), status_ok) << printed.str();
    return data;
}

std::string account_of(const scenario& input, backend& target)
{
    frame_account account;
    std::ostringstream text;
    EXPECT_EQ(account_scenario(input, target, account, text), status_ok) << text.str();
    print_account(account, text);
    return text.str();
}

std::string rules_text(const report_data& data)
{
    std::ostringstream text;
    for (const dumped_rule& rule : data.rules->rules)
        text << rule.hash << ' ' << to_text(rule.key.source) << ' ' << to_text(rule.key.tags) << ' '
             << rule.key.direction << '\n';
    return text.str();
}

std::string flows_text(const report_data& data)
{
    std::ostringstream text;
    for (const flow_row& flow : data.flows) {
        text << flow.entry << ' ' << to_text(flow.key.source) << ' ' << to_text(flow.key.tags)
             << ' ' << flow.type << ' ' << flow.outcome << ' ' << flow.frames << ' ' << flow.octets
             << ' ' << flow.quick << ' ' << flow.first << '\n';
        for (const me_id at : flow.path)
            text << to_text(at) << '\n';
    }
    for (const drop_row& drop : data.drops)
        text << drop.reason << ' ' << drop.frames << ' ' << drop.first << '\n';
    return text.str();
}

void expect_the_same(const scenario& input)
{
    std::string expected, expected_flows, expected_rules;
    {
        forgetful_backend plain;
        expected = account_of(input, plain);
    }
    {
        forgetful_backend plain;
        const report_data data = report_of(input, plain);
        expected_flows = flows_text(data);
        expected_rules = rules_text(data);
    }
    EXPECT_EQ(account_of(input, *make_host_backend()), expected);
    const report_data data = report_of(input, *make_host_backend());
    EXPECT_EQ(flows_text(data), expected_flows);
    EXPECT_EQ(rules_text(data), expected_rules);
}

TEST(path_memory, leaves_the_results_of_recorded_traffic_as_they_are)
{
    std::ostringstream errors;
    const auto demo = open_scenario("scenarios/demo.scn", errors);
    ASSERT_TRUE(demo) << errors.str();
    expect_the_same(*demo);
}

// More flows than the rule table has places: rules collide, the table grows and is swept.
TEST(path_memory, leaves_the_results_of_a_full_table_as_they_are)
{
    expect_the_same(test::generated_scenario(
        {.bridges = 2, .services = 3, .frames = 6000, .stations = 300, .foreign = 50, .seed = 7}));
}

TEST(path_memory, ends_at_a_change_of_the_line)
{
    const std::string frame = "hook kind=up_ani " + frame_of_vlan_101 + "\n";
    const scenario changed =
        parse_good(good_line + frame + frame +
                   "me set VLAN_TAG_FILTER_DATA 0x1001 vlanFilterList=101 forwardOperation=0x04 "
                   "vlanFilterNums=1\n" +
                   frame + frame + "hook kind=switch param=0\n" + frame +
                   "hook kind=switch param=1\n" + frame);
    expect_the_same(changed);
    EXPECT_NE(account_of(changed, *make_host_backend()).find("passed      3"), std::string::npos);
}

} // namespace

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
#include <cstdlib>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tool/report/page.h"
#include "tool/report/picture.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {

namespace {

using testing::HasSubstr;
using testing::Not;

report_data collected(const std::string& text)
{
    report_data data;
    std::ostringstream output;
    const std::unique_ptr<backend> target = make_host_backend();
    EXPECT_EQ(collect_report(parse_good(text), *target, data, output), status_ok) << output.str();
    return data;
}

TEST(report_page, text_from_outside_is_escaped)
{
    report_data data = collected(good_line + "hook kind=up_ani " + frame_of_vlan_101 + "\n");
    const std::string attack = "\"><script>alert('x')</script>{{{style}}}";
    data.scenario = attack;
    data.captures = {attack};
    data.flows.at(0).first = attack;
    data.flows.at(0).outcome = attack;
    data.drops.at(0).reason = attack;
    data.findings.push_back({finding_weight::note, "kind", {45, 1}, 1, attack, attack});
    const std::string page = report_page(data, "", attack);
    EXPECT_THAT(page, Not(HasSubstr("<script>alert")));
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert(&apos;x&apos;)&lt;/script&gt;{{{style}}}"));
}

TEST(report_page, bytes_outside_ascii_do_not_break_the_page)
{
    report_data data = collected("load\n");
    data.scenario = "caf\xc3\x28\x01.scn";
    EXPECT_THAT(report_page(data, "", "none"), HasSubstr("caf\\xc3(\\x01.scn"));
}

TEST(report_page, loads_nothing_from_a_network)
{
    const std::string page = report_page(
        collected(good_line + "hook kind=up_ani " + frame_of_vlan_100 + "\n"), "", "none");
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    for (const char* reference : {"src=\"", "url(", "@import", "http://", "https://"})
        EXPECT_THAT(page, Not(HasSubstr(reference)));
}

TEST(report_page, an_empty_scenario_is_a_page_that_says_so)
{
    const std::string page = report_page(collected("load\n"), "", "no drawing");
    for (const char* text : {"No frames.", "No frame was dropped.", "The module has no rules.",
                             "No problems found.", "no drawing"})
        EXPECT_THAT(page, HasSubstr(text));
}

TEST(report_page, every_value_of_the_template_is_filled)
{
    const report_data data = collected(good_line + "hook kind=up_ani " + frame_of_vlan_100 +
                                       "\nhook kind=up_ani " + frame_of_vlan_101 + "\n");
    const std::string page = report_page(data, "<svg></svg>", "");
    for (const char* text :
         {"<svg></svg>", "GEM port 1025 from bridge 1", "list {0x0064}: drop",
          "MAC_BRIDGE_SERVICE_PROFILE 0x0001 &gt; MAC_BRIDGE_PORT_CON_DATA 0x1001",
          "02:00:00:00:01:01"})
        EXPECT_THAT(page, HasSubstr(text));
    EXPECT_THAT(page, Not(HasSubstr("{{")));
}

TEST(svg_of, is_one_element_with_a_title_for_each_instance)
{
    if (std::system("dot -V >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "there is no dot here";
    const report_data data = collected(good_line);
    const std::string svg = svg_of(data.entities);
    EXPECT_TRUE(svg.starts_with("<svg"));
    EXPECT_THAT(svg, HasSubstr("<title>VLAN_TAG_FILTER_DATA 0x1001</title>"));
}

} // namespace

} // namespace gponflow

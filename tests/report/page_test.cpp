// SPDX-License-Identifier: GPL-2.0-only
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tests/support/generated_line.h"
#include "tool/report/drawing.h"
#include "tool/report/entity_text.h"
#include "tool/report/page.h"
#include "tool/report/sentence.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {

namespace {

using testing::HasSubstr;
using testing::Not;

report_data page_data(const std::string& text)
{
    report_data data;
    std::ostringstream output;
    const std::unique_ptr<backend> target = make_host_backend();
    EXPECT_EQ(collect_report(parse_good(text), *target, data, output), status_ok) << output.str();
    return data;
}

TEST(report_page, text_from_outside_is_escaped)
{
    report_data data = page_data(good_line + "hook kind=up_ani " + frame_of_vlan_101 + "\n");
    const std::string attack = "\"><script>alert('x')</script>{{{style}}}";
    data.scenario = attack;
    data.captures = {attack};
    data.flows.at(0).first = attack;
    data.flows.at(0).outcome = attack;
    data.drops.at(0).reason = attack;
    data.findings.push_back({finding_weight::note, "kind", {me_class::mbsp, 1}, 1, attack, attack});
    const std::string page = report_page(data);
    EXPECT_THAT(page, Not(HasSubstr("<script>alert")));
    EXPECT_THAT(page, HasSubstr("&lt;script&gt;alert(&apos;x&apos;)&lt;/script&gt;{{{style}}}"));
}

TEST(report_page, bytes_outside_ascii_do_not_break_the_page)
{
    report_data data = page_data("load\n");
    data.scenario = "caf\xc3\x28\x01.scn";
    EXPECT_THAT(report_page(data), HasSubstr("caf\\xc3(\\x01.scn"));
}

TEST(report_page, loads_nothing_from_a_network)
{
    const std::string page =
        report_page(page_data(good_line + "hook kind=up_ani " + frame_of_vlan_100 + "\n"));
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    for (const char* reference : {"src=\"", "url(", "@import", "http://", "https://"})
        EXPECT_THAT(page, Not(HasSubstr(reference)));
}

TEST(report_page, an_empty_scenario_is_a_page_that_says_so)
{
    const std::string page = report_page(page_data("load\n"));
    for (const char* text : {"No frames.", "No frame was dropped.", "The module has no rules.",
                             "No problems found.", "The line has no managed entities."})
        EXPECT_THAT(page, HasSubstr(text));
}

TEST(report_page, every_value_of_the_template_is_filled)
{
    const report_data data = page_data(good_line + "hook kind=up_ani " + frame_of_vlan_100 +
                                       "\nhook kind=up_ani " + frame_of_vlan_101 + "\n");
    const std::string page = report_page(data);
    for (const char* text :
         {"<svg width=", "GEM port 1025 from bridge 1", "list {0x0064}: drop",
          "MAC_BRIDGE_SERVICE_PROFILE 0x0001 &gt; MAC_BRIDGE_PORT_CON_DATA 0x1001",
          "02:00:00:00:01:01"})
        EXPECT_THAT(page, HasSubstr(text));
    EXPECT_THAT(page, Not(HasSubstr("{{")));
}

TEST(report_page, a_large_line_takes_two_megabytes_at_most)
{
    report_data data;
    std::ostringstream printed;
    const std::unique_ptr<backend> target = make_host_backend();
    const scenario large = test::generated_scenario(
        {.bridges = 25, .services = 19, .frames = 1300, .stations = 2, .foreign = 20, .seed = 1});
    ASSERT_EQ(collect_report(large, *target, data, printed), status_ok) << printed.str();
    EXPECT_EQ(data.flows.size(), most_flows);
    EXPECT_LT(report_page(data).size(), 2'000'000u);
}

TEST(services_of, put_each_entity_into_a_service_or_into_the_rest)
{
    const report_data data = page_data(good_line + "me create MAC_BRIDGE_SERVICE_PROFILE 9\n");
    const std::vector<service> services = services_of(data.entities);
    ASSERT_EQ(services.size(), 2u);
    EXPECT_EQ(services[0].title, "VLAN 100: UNI 0x0101, bridge 1, GEM port 1025");
    EXPECT_EQ(services[1].title, "Entities of no service");
    EXPECT_EQ(services[1].members, (std::vector<me_id>{{me_class::mbsp, 9}}));
}

TEST(draw_service, draws_equal_entries_of_a_mapper_as_one_line_with_its_priorities)
{
    const report_data data = page_data(
        "load\nme create MAC_BRIDGE_SERVICE_PROFILE 1\n"
        "me create GEM_PORT_CTP 1 portID=1025 direction=3\n"
        "me create GEM_INTERWORK_TP 0x11 gemCTPInstID=1\n"
        "me create 802_1P_MAPPER 1 tpPointer=0xffff pbit_GemIWTP=0x11,0x11,0x11,0x11,9,0,0,0x11\n"
        "me create MAC_BRIDGE_PORT_CON_DATA 0x1001 bridgeID=1 tpType=3 tpPointer=1\n");
    const std::vector<service> services = services_of(data.entities);
    const entity_numbers numbers = number_entities(data.entities);
    const std::string svg = draw_service(data.entities, services.at(0), numbers);
    EXPECT_THAT(svg, HasSubstr(">0-3, 7</text>"));
    EXPECT_THAT(svg, HasSubstr("class=gone"));
    EXPECT_THAT(svg, HasSubstr("does not exist"));
    const std::string line = "data-e=" + std::to_string(numbers.at({me_class::mapper, 1})) + "-" +
                             std::to_string(numbers.at({me_class::gemiw, 0x11})) + " ";
    EXPECT_EQ(svg.find(line), svg.rfind(line));
    EXPECT_THAT(svg, HasSubstr(line));
}

TEST(entity_text, has_all_attributes_with_units)
{
    const report_data data = page_data(
        "load\nme create TRAFFIC_DESCRIPTOR 1 cir=1250000 pir=12500000 cbs=1000 pbs=2000\n"
        "me create VLAN_TAG_FILTER_DATA 2 vlanFilterList=100,0xa12c forwardOperation=0x10 "
        "vlanFilterNums=2\n");
    const std::string descriptor = attribute_text(*data.entities.find({me_class::td, 1}));
    EXPECT_THAT(descriptor, HasSubstr("cir 1250000 byte/s, pir 12500000 byte/s, cbs 1000 byte"));
    EXPECT_EQ(known_by(*data.entities.find({me_class::td, 1})), "100 Mbit/s");
    EXPECT_THAT(attribute_text(*data.entities.find({me_class::vtfd, 2})),
                HasSubstr("VLAN 100, 300 p5"));
}

TEST(drop_sentence, names_the_filter_that_decides_and_its_values)
{
    const report_data data = page_data(good_line + "hook kind=up_ani " + frame_of_vlan_101 + "\n");
    EXPECT_EQ(
        drop_sentence(data.drops.at(0)),
        "Frames of VLAN 101 with priority 0 are dropped upstream, from the bridge to the ANI: "
        "VLAN filter 0x1001 (VLAN 100, forward operation 0x04) drops them.");
    EXPECT_EQ(deciding_entities(data.drops.at(0).example),
              (std::vector<me_id>{{me_class::vtfd, 0x1001}}));
}

TEST(drop_sentence, names_the_pointer_whose_target_does_not_exist)
{
    const report_data data = page_data(good_line + "me delete GEM_PORT_CTP 1\nhook kind=up_ani " +
                                       frame_of_vlan_100 + "\n");
    EXPECT_THAT(drop_sentence(data.drops.at(0)),
                HasSubstr("0x0011: gemCTPInstID 0x0001 names GEM_PORT_CTP 0x0001, which does not "
                          "exist."));
    EXPECT_EQ(deciding_entities(data.drops.at(0).example),
              (std::vector<me_id>{{me_class::gemiw, 0x11}}));
}

TEST(drop_sentence, names_the_port_of_a_bridge_that_does_not_exist)
{
    const report_data data =
        page_data(good_line + "me delete MAC_BRIDGE_SERVICE_PROFILE 1\nhook kind=up_ani " +
                  frame_of_vlan_100 + "\n");
    EXPECT_THAT(drop_sentence(data.drops.at(0)),
                HasSubstr("MAC_BRIDGE_PORT_CON_DATA 0x0101: bridgeID 0x0001 names "
                          "MAC_BRIDGE_SERVICE_PROFILE 0x0001, which does not exist."));
    EXPECT_EQ(deciding_entities(data.drops.at(0).example),
              (std::vector<me_id>{{me_class::mbpcd, 0x0101}}));
}

} // namespace

} // namespace gponflow

// SPDX-License-Identifier: GPL-2.0-only
// The dumps of the module, parsed as data.
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/explain/lines.h"
#include "tool/live/show_json.h"
#include "tool/live/show_table.h"
#include "tool/model/class_records.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"

namespace gponflow {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

// The module's result after a scenario.
std::string answer_to(const std::string& question, const std::string& text)
{
    const auto host = make_host_backend();
    captured_run run(*host);
    std::ostringstream diagnostics;
    EXPECT_EQ(run.run(parse_good(text), diagnostics), status_ok) << diagnostics.str();
    return run.query(question).value_or("no interface");
}

rule_table rules_after(const std::string& text)
{
    return read_rule_table(answer_to("show flow_rule", text)).value_or(rule_table{});
}

const std::string up_ani_100 = "hook kind=up_ani " + frame_of_vlan_100 + "\n";

TEST(shown_rules, have_key_and_path)
{
    const rule_table table = rules_after(good_line + up_ani_100);
    EXPECT_EQ(table.total, 1u);
    EXPECT_EQ(table.buckets, 64u);
    EXPECT_EQ(table.threshold, 48u);
    ASSERT_THAT(table.rules, SizeIs(1));
    const dumped_rule& rule = table.rules[0];
    EXPECT_EQ(to_text(rule.key.source), "02:00:00:00:01:01");
    EXPECT_EQ(to_text(rule.key.destination), "02:00:00:00:00:01");
    EXPECT_EQ(rule.key.direction, "UP_ANI");
    EXPECT_THAT(rule.key.tags, ElementsAre(vlan_tag{0x8100, 100}));
    EXPECT_THAT(rule.steps, ElementsAre(me_id{me_class::mbsp, 1}, me_id{me_class::mbpcd, 0x1001},
                                        me_id{me_class::gemiw, 0x11}, me_id{me_class::gemctp, 1}));
}

TEST(shown_rules, are_found_by_the_frame_that_learnt_them)
{
    const rule_table table = rules_after(good_line + up_ani_100);
    const auto hook = parse_only<hook_command>("hook kind=up_ani " + frame_of_vlan_100);
    EXPECT_NE(table.find(key_of(hook.options, *hook.frame)), nullptr);
    const auto other = parse_only<hook_command>("hook kind=up_ani " + frame_of_vlan_101);
    EXPECT_EQ(table.find(key_of(other.options, *other.frame)), nullptr);
    const auto back = parse_only<hook_command>("hook kind=down_ani " + frame_of_vlan_100);
    EXPECT_EQ(table.find(key_of(back.options, *back.frame)), nullptr);
}

TEST(shown_rules, have_all_tags_of_their_frames)
{
    const std::string macs = "frame=0200000000010200000001";
    const rule_table table =
        rules_after("load\nhook kind=switch param=1\nhook kind=down_uni " + macs +
                    "010800\nhook kind=down_uni " + macs + "0288a8a0648100200a0800\n");
    ASSERT_THAT(table.rules, SizeIs(2));
    std::vector<std::string> tags = {to_text(table.rules[0].key.tags),
                                     to_text(table.rules[1].key.tags)};
    EXPECT_THAT(tags, testing::UnorderedElementsAre("untagged", "100p5/10p1"));
}

TEST(shown_rules, are_read_between_the_lines_of_packets)
{
    std::string text = answer_to("show flow_rule", good_line + up_ani_100);
    for (size_t at = text.find('\n'); at != text.npos; at = text.find('\n', at + 60))
        text.insert(at + 1, "***TRACE***[gpon_flow_list_get_related_id][124]: Enter\n");
    const std::optional<rule_table> table = read_rule_table(text);
    ASSERT_TRUE(table);
    ASSERT_THAT(table->rules, SizeIs(1));
    EXPECT_THAT(table->rules[0].steps, SizeIs(4));
}

TEST(shown_rules, are_none_in_text_without_a_table)
{
    EXPECT_FALSE(read_rule_table(""));
    EXPECT_FALSE(read_rule_table("show flow rule:\nnothing follows"));
    EXPECT_THAT(read_rule_table(answer_to("show flow_rule", "load\n"))->rules, IsEmpty());
}

TEST(shown_instances, have_attributes_and_links)
{
    const auto all = read_instances(answer_to("show raw_data", good_line));
    const auto port = std::ranges::find(all, me_id{me_class::mbpcd, 0x1001}, &dumped_instance::id);
    ASSERT_NE(port, all.end());
    EXPECT_EQ(port->attributes[3].name, "tpPointer");
    EXPECT_THAT(port->attributes[3].values, ElementsAre(0x11));
    EXPECT_EQ(port->links[0].name, "vtfdInst");
    EXPECT_THAT(port->links[0].instances, ElementsAre(0x1001));
    EXPECT_THAT(port->links[1].instances, IsEmpty());
    const auto bridge = std::ranges::find(all, me_id{me_class::mbsp, 1}, &dumped_instance::id);
    ASSERT_NE(bridge, all.end());
    EXPECT_THAT(bridge->links[0].instances, ElementsAre(0x101, 0x1001));
}

// Every class, with every attribute set: what is shown must be what was written.
TEST(shown_instances, equal_the_records_that_were_written)
{
    std::ostringstream text;
    text << "load\n";
    for (const class_record& fields : me_classes()) {
        text << "me create " << gpon::class_number(fields.id) << " 0x0203 raw=";
        for (unsigned i = 0; i < fields.raw_size; ++i)
            text << (i == 0 ? "03" : i == 1 ? "02" : "11");
        text << '\n';
    }
    const scenario parsed = parse_good(text.str());
    const auto all = read_instances(answer_to("show raw_data", text.str()));
    for (const class_record& fields : me_classes()) {
        const auto shown = std::ranges::find(all, me_id{fields.id, 0x203}, &dumped_instance::id);
        ASSERT_NE(shown, all.end()) << fields.name;
        bytes expected(fields.raw_size);
        for (const gpon_me_field& field : fields.fields)
            std::fill_n(expected.begin() + field.offset, field.width * field.count, 0x11);
        expected[0] = 0x03;
        expected[1] = 0x02;
        EXPECT_EQ(raw_record(*shown), expected) << fields.name;
    }
}

TEST(shown_instances, build_the_same_mirror_as_the_scenario)
{
    const line_model planned = final_entities(parse_good(good_line));
    const line_model shown = model_of(read_instances(answer_to("show raw_data", good_line)));
    ASSERT_EQ(shown.all().size(), planned.all().size());
    for (const me_instance* one : planned.all()) {
        const me_instance* other = shown.find(one->id);
        ASSERT_NE(other, nullptr) << to_text(one->id);
        EXPECT_EQ(other->raw, one->raw) << to_text(one->id);
        ASSERT_EQ(other->rows.size(), one->rows.size());
        for (size_t i = 0; i < one->rows.size(); ++i)
            EXPECT_EQ(other->rows[i].instances, one->rows[i].instances)
                << to_text(one->id) << " row " << i;
    }
}

TEST(shown_instances, are_marked_if_their_list_is_cut)
{
    std::string text = "load\nme create MAC_BRIDGE_SERVICE_PROFILE 1\n";
    for (unsigned i = 1; i <= 100; ++i)
        text += "me create MAC_BRIDGE_PORT_CON_DATA " + std::to_string(i) +
                " bridgeID=1 tpType=1 tpPointer=" + std::to_string(i) + "\n";
    const auto all = read_instances(answer_to("show raw_data 45 1", text));
    ASSERT_THAT(all, SizeIs(1));
    EXPECT_TRUE(all[0].links[0].cut);
    EXPECT_GT(all[0].links[0].instances.size(), 60u);
}

TEST(shown_json, is_valid_when_empty)
{
    EXPECT_EQ(rules_document(rule_table{})["rules"], json::array());
    EXPECT_EQ(instances_document(std::vector<dumped_instance>{})["instances"], json::array());
    const auto status = status_document(module_status{});
    EXPECT_EQ(status["loaded"], false);
    EXPECT_EQ(status["instances"], json::object());
}

TEST(shown_json, has_numbers_as_numbers)
{
    const auto rules = rules_document(rules_after(good_line + up_ani_100))["rules"];
    EXPECT_EQ(rules[0]["tags"][0]["vlan"], 100);
    EXPECT_EQ(rules[0]["steps"][3]["class"], "GEM_PORT_CTP");
    const auto me = instances_document(read_instances(answer_to("show raw_data 268", good_line)));
    EXPECT_EQ(me["instances"][0]["attributes"]["portID"], 1025);
    EXPECT_EQ(me["instances"][0]["links"]["gemIwInst"][0], 0x11);
}

TEST(scenario_state, is_taken_before_the_last_unload)
{
    EXPECT_THAT(without_last_unload(parse_good("load\nunload\necho x\n")).lines, SizeIs(1));
    EXPECT_THAT(without_last_unload(parse_good("load\nunload\nload\n")).lines, SizeIs(3));
    EXPECT_THAT(without_last_unload(parse_good("echo x\n")).lines, SizeIs(1));
}

TEST(colours, are_used_on_terminals_only)
{
    EXPECT_FALSE(colours_of(-1).on);
    EXPECT_EQ(palette{false}.bad("x"), "x");
    EXPECT_EQ(palette{true}.bad("x"), "\033[31mx\033[0m");
}

} // namespace
} // namespace gponflow

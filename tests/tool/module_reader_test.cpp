// SPDX-License-Identifier: GPL-2.0-only
// Records of the module, compared with the dumps that it prints.
#include <algorithm>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/explain/lines.h"
#include "tests/tool/numbered_change.h"
#include "tool/live/change_printer.h"
#include "tool/live/change_text.h"
#include "tool/live/counter_text.h"
#include "tool/live/module_status.h"
#include "tool/live/process_reader.h"
#include "tool/live/watch.h"
#include "tool/scenario/captured_run.h"
#include "tool/scenario/final_state.h"
#include "tool/scenario/host_backend.h"
#include "tool/scenario/open.h"

namespace gponflow {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class module_reader_test : public testing::Test {
protected:
    void run_file(const std::string& file)
    {
        std::ostringstream diagnostics;
        const std::optional<scenario> parsed = open_scenario(file, diagnostics);
        ASSERT_TRUE(parsed) << diagnostics.str();
        EXPECT_EQ(run.run(without_last_unload(*parsed), diagnostics), status_ok)
            << diagnostics.str();
    }

    std::unique_ptr<backend> host = make_host_backend();
    captured_run run{*host};
    std::unique_ptr<module_reader> reader = make_process_reader();
};

using instances = module_reader_test;

TEST_F(instances, are_those_of_the_dump)
{
    run_file("scenarios/demo.scn");
    const std::vector<dumped_instance> printed =
        read_instances(run.query("show raw_data").value_or(""));
    const std::vector<dumped_instance> seen = reader->instances();
    ASSERT_GE(printed.size(), 50u);
    ASSERT_EQ(seen.size(), printed.size());
    for (size_t i = 0; i < seen.size(); ++i) {
        SCOPED_TRACE(to_text(printed[i].id));
        EXPECT_EQ(seen[i].id, printed[i].id);
        ASSERT_EQ(seen[i].attributes.size(), printed[i].attributes.size());
        for (size_t a = 0; a < seen[i].attributes.size(); ++a) {
            EXPECT_EQ(seen[i].attributes[a].name, printed[i].attributes[a].name);
            EXPECT_EQ(seen[i].attributes[a].array, printed[i].attributes[a].array);
            EXPECT_EQ(seen[i].attributes[a].values, printed[i].attributes[a].values);
        }
        ASSERT_EQ(seen[i].links.size(), printed[i].links.size());
        for (size_t l = 0; l < seen[i].links.size(); ++l) {
            EXPECT_EQ(seen[i].links[l].name, printed[i].links[l].name);
            EXPECT_EQ(seen[i].links[l].list, printed[i].links[l].list);
            EXPECT_EQ(seen[i].links[l].instances, printed[i].links[l].instances);
        }
    }
}

using rules = module_reader_test;

TEST_F(rules, are_those_of_the_dump_with_their_hits)
{
    run_file("scenarios/demo.scn");
    const std::optional<rule_table> printed =
        read_rule_table(run.query("show flow_rule").value_or(""));
    const rule_table seen = reader->table();
    ASSERT_TRUE(printed);
    ASSERT_GT(printed->rules.size(), 20u);
    EXPECT_EQ(seen.total, printed->total);
    EXPECT_EQ(seen.buckets, printed->buckets);
    EXPECT_EQ(seen.threshold, printed->threshold);
    ASSERT_EQ(seen.rules.size(), printed->rules.size());
    uint64_t hits = 0;
    for (size_t i = 0; i < seen.rules.size(); ++i) {
        EXPECT_EQ(seen.rules[i].key, printed->rules[i].key);
        EXPECT_EQ(seen.rules[i].steps, printed->rules[i].steps);
        EXPECT_EQ(seen.rules[i].hash % seen.buckets, printed->rules[i].hash % seen.buckets);
        hits += seen.rules[i].hits.value_or(0);
    }
    EXPECT_GT(hits, 0u);
}

TEST_F(rules, are_none_without_a_module)
{
    EXPECT_THAT(reader->rules(), IsEmpty());
    EXPECT_THAT(reader->instances(), IsEmpty());
    EXPECT_FALSE(reader->state().enabled);
}

// A module that learns a rule before each request.
class growing_module final : public module_reader {
public:
    std::vector<counter_value> counters() override { return {}; }
    engine_state state() override
    {
        return {.enabled = true, .rules = ++rules_, .buckets = 64, .threshold = 48, .store = {}};
    }
    std::vector<seen_rule> rules() override
    {
        ++dumps;
        return std::vector<seen_rule>(++rules_);
    }
    std::vector<dumped_instance> instances() override { return {}; }

    int dumps = 0;

private:
    unsigned rules_ = 0;
};

// Each dump holds the lock of the table, and is consistent in itself.
TEST(table, has_as_many_rules_as_its_total_says_after_one_dump)
{
    growing_module grows;
    const rule_table read = grows.table();
    EXPECT_EQ(read.total, read.rules.size());
    EXPECT_EQ(read.total, 2u);
    EXPECT_EQ(grows.dumps, 1);
    EXPECT_FALSE(grows.take_change());
}

// A module whose table grows, or that is loaded again, during its first dumps.
class replaced_module final : public module_reader {
public:
    replaced_module(unsigned growths, unsigned loads) : growths_(growths), loads_(loads) {}

    std::vector<counter_value> counters() override
    {
        next_load();
        return {{"calls_up_uni", "", load_ * 1000u}};
    }
    engine_state state() override
    {
        return {
            .enabled = true, .rules = 0, .buckets = buckets_, .threshold = buckets_, .store = {}};
    }
    std::vector<seen_rule> rules() override
    {
        ++dumps;
        next_load();
        if (growths_ != 0) {
            --growths_;
            buckets_ *= 2;
        }
        return std::vector<seen_rule>(load_);
    }
    std::vector<dumped_instance> instances() override
    {
        return std::vector<dumped_instance>(load_);
    }
    unsigned load_number() const override { return load_; }

    int dumps = 0;

private:
    void next_load()
    {
        if (loads_ == 0)
            return;
        --loads_;
        ++load_;
    }

    unsigned growths_;
    unsigned loads_;
    unsigned load_ = 1;
    unsigned buckets_ = 64;
};

TEST(table, is_read_again_if_it_grew_meanwhile)
{
    replaced_module grows(2, 0);
    const rule_table read = grows.table();
    EXPECT_EQ(read.buckets, 256u);
    EXPECT_EQ(read.threshold, 256u);
    EXPECT_EQ(grows.dumps, 3);
    EXPECT_FALSE(grows.take_change());
}

TEST(table, is_of_one_module)
{
    replaced_module loaded_again(0, 1);
    const rule_table read = loaded_again.table();
    EXPECT_EQ(read.total, 2u);
    EXPECT_EQ(loaded_again.dumps, 2);
}

TEST(table, ends_with_a_note_if_it_always_grows)
{
    replaced_module grows(1000, 0);
    EXPECT_GE(grows.table().buckets, 64u);
    EXPECT_LT(grows.dumps, 20);
    EXPECT_TRUE(grows.take_change());
}

// A module whose rules change during one dump, and whose table grows during the same one.
class once_changed_module final : public module_reader {
public:
    std::vector<counter_value> counters() override { return {}; }
    engine_state state() override
    {
        return {.enabled = true, .rules = 0, .buckets = buckets, .threshold = 48, .store = {}};
    }
    std::vector<seen_rule> rules() override
    {
        changed_ = changed_ || changes;
        if (changes && grows)
            buckets *= 2;
        changes = false;
        return {};
    }
    std::vector<dumped_instance> instances() override { return {}; }

    bool changes = true;
    bool grows = false;
    unsigned buckets = 64;
};

TEST(table, has_one_note_if_it_changed_once)
{
    once_changed_module module;
    EXPECT_EQ(module.table().buckets, 64u);
    EXPECT_TRUE(module.take_change());
    EXPECT_EQ(module.table().buckets, 64u);
    EXPECT_FALSE(module.take_change());
}

TEST(table, has_no_note_of_the_first_reading_if_it_is_read_again)
{
    once_changed_module module;
    module.grows = true;
    EXPECT_EQ(module.table().buckets, 128u);
    EXPECT_FALSE(module.take_change());
}

TEST(table, keeps_the_note_of_a_result_before_it)
{
    once_changed_module module;
    EXPECT_THAT(module.rules(), IsEmpty());
    EXPECT_EQ(module.table().buckets, 64u);
    EXPECT_TRUE(module.take_change());
}

// The rules of the first reading are of another module than its switch.
TEST(status, is_of_one_module)
{
    replaced_module loaded_again(0, 1);
    const module_status read = read_status(loaded_again);
    EXPECT_TRUE(read.loaded);
    EXPECT_EQ(read.rules.total, 2u);
    EXPECT_EQ(read.instances.size(), 2u);
    EXPECT_EQ(loaded_again.dumps, 3); // two of the table, and one of the second reading
    EXPECT_FALSE(loaded_again.take_change());
}

TEST(snapshot, ends_with_a_note_if_the_module_is_always_loaded_again)
{
    replaced_module module(0, 5);
    const counter_snapshot mixed = read_snapshot(module, nullptr);
    EXPECT_EQ(mixed.load, 6u);
    EXPECT_TRUE(mixed.mixed);
    EXPECT_FALSE(read_snapshot(module, &mixed).mixed);
    EXPECT_FALSE(module.take_change());
}

TEST(snapshot, is_of_one_module_and_counts_reloads)
{
    replaced_module module(0, 2);
    const counter_snapshot first = read_snapshot(module, nullptr);
    EXPECT_EQ(first.load, 3u);
    EXPECT_EQ(first.counters.front().value, 3000u);
    EXPECT_EQ(first.reloads, 0u);
    replaced_module other(0, 0);
    const counter_snapshot second = read_snapshot(other, &first);
    EXPECT_EQ(second.reloads, 1u);
    EXPECT_EQ(read_snapshot(other, &second).reloads, 1u);
}

TEST(mixed_snapshot, is_marked_in_json_and_refused_as_metrics)
{
    const counter_snapshot whole{{}, {{"calls_up_uni", "Frames", 10}}, 1, 0};
    counter_snapshot mixed = whole;
    mixed.mixed = true;
    std::ostringstream json_of_whole, json_of_mixed, metrics;
    print_counters_json(whole, true, json_of_whole);
    EXPECT_THAT(json_of_whole.str(), testing::Not(testing::HasSubstr("changed")));
    print_counters_json(mixed, true, json_of_mixed);
    EXPECT_THAT(json_of_mixed.str(), testing::HasSubstr("\"changed\":true,\"counters\""));
    EXPECT_THROW(print_open_metrics(mixed, metrics), refusal);
    EXPECT_EQ(metrics.str(), "");
    print_open_metrics(whole, metrics);
    EXPECT_THAT(metrics.str(), testing::HasSubstr("gpon_flow_calls_up_uni_total 10\n"));
}

// The counters of another module are no increase.
TEST(snapshot, has_no_rates_after_that_of_another_module)
{
    const counter_snapshot before{{}, {{"calls_up_uni", "Frames", 10}}, 1, 0};
    const counter_snapshot same{{}, {{"calls_up_uni", "Frames", 30}}, 1, 0};
    const counter_snapshot other{{}, {{"calls_up_uni", "Frames", 30}}, 2, 1};
    std::ostringstream out, out_of_other, json_of_same, json_of_other;
    print_counters(same, {&before, 10}, false, out);
    EXPECT_THAT(out.str(), testing::HasSubstr("calls_up_uni  30     2.0         Frames"));
    EXPECT_THAT(out.str(), testing::Not(testing::HasSubstr("loaded again")));
    print_counters(other, {&before, 10}, false, out_of_other);
    EXPECT_THAT(out_of_other.str(), testing::HasSubstr("calls_up_uni  30     -           Frames"));
    EXPECT_THAT(out_of_other.str(), testing::HasSubstr("\nthe module was loaded again: "));
    print_counters_json(same, true, json_of_same);
    print_counters_json(other, true, json_of_other);
    EXPECT_THAT(json_of_same.str(), testing::Not(testing::HasSubstr("reloads")));
    EXPECT_THAT(json_of_other.str(), testing::HasSubstr("\"reloads\":1"));
}

// The second module has a rule with the key of the first one, and with more hits.
TEST(rule_watch, begins_anew_with_another_module)
{
    rule_table table{1, 64, 48, {dumped_rule{}}};
    rule_watch watch;
    table.rules.front().hits = 5;
    watch.update(table, 0, {.load = 1});
    table.rules.front().hits = 7;
    watch.update(table, 2, {.load = 1});
    EXPECT_EQ(watch.rules.begin()->second.rate, 1.0);
    EXPECT_EQ(watch.lines(2, "s").back(), "1 rule");
    EXPECT_THAT(watch.json_line(2, "s"), testing::Not(testing::HasSubstr("reloads")));
    table.rules.front().hits = 100;
    watch.update(table, 4, {.load = 2});
    const watched_rule& anew = watch.rules.begin()->second;
    EXPECT_EQ(anew.since, 4u);
    EXPECT_TRUE(anew.from_before);
    EXPECT_EQ(anew.rate, 0.0);
    EXPECT_EQ(watch.lines(4, "s").back(), "module loaded again 1 time; 1 rule");
    EXPECT_THAT(watch.json_line(4, "s"), testing::HasSubstr("\"reloads\":1"));
}

TEST(rule_watch, notes_a_change_in_its_own_update_only)
{
    const rule_table table{1, 64, 48, {dumped_rule{}}};
    rule_watch watch;
    watch.update(table, 0, {.load = 1, .changed = true});
    EXPECT_EQ(watch.lines(0, "s").back(),
              "changed while read, rules may be missing or listed twice; 1 rule");
    EXPECT_THAT(watch.json_line(0, "s"), testing::HasSubstr("\"changed\":true"));
    watch.update(table, 2, {.load = 1});
    EXPECT_EQ(watch.lines(2, "s").back(), "1 rule");
    EXPECT_THAT(watch.json_line(2, "s"), testing::Not(testing::HasSubstr("changed")));
    watch.update(table, 4, {.load = 2, .changed = true});
    EXPECT_EQ(watch.lines(4, "s").back(),
              "module loaded again 1 time; changed while read, rules may be missing or listed "
              "twice; 1 rule");
}

using changes = module_reader_test;

TEST_F(changes, have_consecutive_numbers_and_texts)
{
    std::vector<module_change> seen;
    const process_changes follow([&](const module_change& change) { seen.push_back(change); });
    std::ostringstream diagnostics;
    EXPECT_EQ(run.run(parse_good("load\nme create TRAFFIC_DESCRIPTOR 7 cir=1\n"
                                 "me delete TRAFFIC_DESCRIPTOR 7\n"),
                      diagnostics),
              status_ok);
    ASSERT_THAT(seen, SizeIs(2));
    EXPECT_EQ(seen[1].number, seen[0].number + 1);
    EXPECT_EQ(text_of(seen[0]), "created  TRAFFIC_DESCRIPTOR 0x0007");
    EXPECT_EQ(text_of(seen[1]), "deleted  TRAFFIC_DESCRIPTOR 0x0007");
    EXPECT_EQ(missing_text(3), "missing  3 changes: not received");
}

std::vector<std::string> words_of(const std::string& text)
{
    std::vector<std::string> words;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        words.push_back(line.substr(0, line.find(':')));
    return words;
}

TEST(change_printer, counts_the_changes_between_two_and_after_the_last)
{
    const std::string grown = text_of(numbered_change(0));
    std::ostringstream out;
    change_printer printer({}, UINT32_MAX - 1, out);
    printer.take(numbered_change(UINT32_MAX));
    printer.take(numbered_change(2));
    EXPECT_TRUE(printer.end_at(2));
    EXPECT_TRUE(printer.end_at(5));
    EXPECT_TRUE(printer.end_at(4));
    printer.take(numbered_change(4));
    printer.take(numbered_change(6));
    EXPECT_THAT(words_of(out.str()), ElementsAre(grown, "missing  2 changes", grown,
                                                 "missing  3 changes", grown, grown));
}

// A listener that joins in a quiet time of the module hears of lost changes that are not its own.
TEST(change_printer, does_not_miss_what_was_before_it)
{
    std::ostringstream out;
    change_printer printer({}, 7, out);
    EXPECT_TRUE(printer.end_at(7));
    EXPECT_EQ(out.str(), "");
    change_printer without_numbers({}, {}, out);
    EXPECT_FALSE(without_numbers.end_at(9));
    EXPECT_FALSE(printer.end_at({}));
    EXPECT_EQ(out.str(), "");
}

TEST(change_printer, ends_at_its_limit)
{
    std::ostringstream out;
    change_printer printer({false, 1}, 0, out);
    printer.take(numbered_change(1));
    EXPECT_TRUE(printer.is_complete());
    printer.take(numbered_change(5));
    EXPECT_TRUE(printer.end_at(9));
    EXPECT_THAT(words_of(out.str()), SizeIs(1));
}

TEST_F(changes, show_the_new_steps_of_a_rule)
{
    gpon_event event = {};
    event.kind = GPON_EVENT_RULE_RELEARNT;
    event.rule.direction = 1;
    event.rule.steps = 1;
    event.rule.class_id[0] = 45;
    event.rule.inst_id[0] = 1;
    event.rule.hits = 2;
    EXPECT_EQ(text_of(change_of(event, 7)),
              "relearnt UP_ANI 00:00:00:00:00:00 > 00:00:00:00:00:00 untagged: "
              "MAC_BRIDGE_SERVICE_PROFILE 0x0001, 2 hits");
}

} // namespace
} // namespace gponflow
